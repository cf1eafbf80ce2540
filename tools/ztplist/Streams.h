/// \file Streams.h
/// Reading whole files and standard input, writing standard output, saving files.
#pragma once

#include <ZtFoundation/platform/Data.h>

#include <string>
#include <string_view>

namespace ztplist {

/// The operand that stands for standard input or standard output.
inline constexpr std::string_view kStandardStream = "-";

/// Sees to it that descriptors 0 to 2 are taken, so that no file opened later is mistaken for a standard stream, and
/// that a reader that goes away and a file that may not grow further are met as errors of writing. Buffers standard error, for messages by the
/// million.
void prepareStandardStreams();

/// Whether `file`, named for writing, stands for standard output: "-", or one of the names that the system has for it.
bool isStandardOutput(std::string_view file);

/// How messages call the operand.
std::string displayName(const std::string& file);

/// All bytes of the file, or of standard input for "-". Throws Failure.
ZtFoundation::Ref<ZtFoundation::NSData> readBytes(const std::string& file);

/// Replaces the file as a whole or leaves it as it was; a symbolic link stays one. What is no regular file is written to
/// as it is. Throws Failure.
void saveBytes(const std::string& file, const ZtFoundation::Ref<ZtFoundation::NSData>& bytes);

/// True when standard output is a terminal.
bool writesToTerminal();

/// Buffered standard output. Each operation throws Failure when the stream takes no more.
class Output {
 public:
  Output() = default;
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  Output& operator<<(std::string_view text);
  Output& operator<<(char character) { return *this << std::string_view(&character, 1); }
  /// Writes what is buffered and closes the stream, so that late errors are noticed too.
  void finish();

 private:
  void flush();

  std::string buffer_;
};

}  // namespace ztplist
