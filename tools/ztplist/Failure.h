/// \file Failure.h
/// How a run of ztplist ends.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace ztplist {

/// The exit codes; scripts rely on them.
enum class Exit : int {
  Success = 0,
  No = 1,           ///< the answer is no: files differ, a file is not sound, nothing is at the key path
  Usage = 2,        ///< the command line is wrong
  InputOutput = 3,  ///< something could not be read or written
  Invalid = 4,      ///< the input is no property list, or the value has no form in the wanted format
};

/// Ends the run with an exit code and a message for standard error.
class Failure : public std::runtime_error {
 public:
  Failure(Exit code, const std::string& text) : std::runtime_error(text), code_(code) {}
  Exit code() const noexcept { return code_; }

 private:
  Exit code_;
};

/// Standard output takes no more.
class OutputFailure : public Failure {
 public:
  explicit OutputFailure(const std::string& reason) : Failure(Exit::InputOutput, "standard output: " + reason) {}
};

/// Tells about the exception that is being handled, with `prefix` before what no Failure tells of, and answers the exit
/// code that stands for it.
Exit complainAboutException(const std::string& prefix);

/// `text` with control characters but those of `kept`, and bytes that are no UTF-8, as `\x1b`, so that names and texts
/// from outside drive no terminal and begin no line.
std::string visible(std::string_view text, std::string_view kept = "");

/// Writes "ztplist: text" as a line to standard error, made visible. It is seen when the next complaint is, or the
/// buffer is full.
void tell(const std::string& text);
/// The same, seen at once.
void complain(const std::string& text);

}  // namespace ztplist
