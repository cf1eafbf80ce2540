#include "Streams.h"

#include <ZtFoundation/platform/String.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <new>
#include <utility>

#include "Descriptor.h"
#include "Failure.h"

namespace ztplist {

using namespace ZtFoundation;

namespace {

constexpr std::size_t kBufferSize = 1 << 16;

[[noreturn]] void failWithErrno(const std::string& what) {
  throw Failure(Exit::InputOutput, what + ": " + std::strerror(errno));
}

int openForReading(const std::string& file) {
  if (file == kStandardStream) return STDIN_FILENO;
  const int number = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
  if (number < 0) failWithErrno(file);
  return number;
}

// A 32-bit build has no addresses for large files.
std::size_t sizeHint(int descriptor) {
  struct stat status {};
  if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return kBufferSize;
  if (!std::in_range<std::ptrdiff_t>(status.st_size)) throw std::bad_alloc();
  return static_cast<std::size_t>(status.st_size) + 1;  // One more, so that the end is met without growing.
}

std::size_t readSome(int descriptor, char* bytes, std::size_t capacity, const std::string& file) {
  for (;;) {
    const ssize_t count = ::read(descriptor, bytes, capacity);
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EINTR) failWithErrno(displayName(file));
  }
}

// Pipes and devices have no place that something else could take. A folder is refused by opening.
bool isReplaced(const std::string& file) {
  struct stat status {};
  return ::stat(file.c_str(), &status) != 0 || S_ISREG(status.st_mode);
}

void keepTaken(int descriptor, int mode) {
  // The lowest free descriptor is the one that open answers, and lower ones have been seen to before.
  if (::fcntl(descriptor, F_GETFD) < 0) (void)!::open("/dev/null", mode);
}

}  // namespace

void prepareStandardStreams() {
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  // Opened the wrong way round, so that using a stream that was closed is an error still.
  keepTaken(STDIN_FILENO, O_WRONLY);
  keepTaken(STDOUT_FILENO, O_RDONLY);
  keepTaken(STDERR_FILENO, O_WRONLY);
  std::setvbuf(stderr, nullptr, _IOFBF, kBufferSize);
}

bool isStandardOutput(std::string_view file) {
  constexpr std::array<std::string_view, 4> kNames{kStandardStream, "/dev/stdout", "/dev/fd/1", "/proc/self/fd/1"};
  return std::ranges::find(kNames, file) != kNames.end();
}

std::string displayName(const std::string& file) { return file == kStandardStream ? "standard input" : file; }

Ref<NSData> readBytes(const std::string& file) {
  const Descriptor input(openForReading(file));
  std::string bytes(sizeHint(input.get()), '\0');
  std::size_t used = 0;
  while (const std::size_t count = readSome(input.get(), bytes.data() + used, bytes.size() - used, file)) {
    used += count;
    if (used == bytes.size()) bytes.resize(2 * used);
  }
  bytes.resize(used);
  return NSData::dataWithString(std::move(bytes));
}

void saveBytes(const std::string& file, const Ref<NSData>& bytes) {
  errno = 0;
  if (bytes->writeToFile_atomically(NSString::stringWithFileSystemRepresentation(file), isReplaced(file))) return;
  if (errno != 0) failWithErrno(file);
  throw Failure(Exit::InputOutput, file + ": cannot be written");
}

bool writesToTerminal() { return ::isatty(STDOUT_FILENO) == 1; }

Output& Output::operator<<(std::string_view text) {
  buffer_ += text;
  if (buffer_.size() >= kBufferSize) flush();
  return *this;
}

void Output::flush() {
  std::string_view rest = buffer_;
  while (!rest.empty()) {
    const ssize_t count = ::write(STDOUT_FILENO, rest.data(), rest.size());
    if (count < 0 && errno != EINTR) throw OutputFailure(std::strerror(errno));
    rest.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  }
  buffer_.clear();
}

void Output::finish() {
  flush();
  if (::close(STDOUT_FILENO) != 0) throw OutputFailure(std::strerror(errno));
}

}  // namespace ztplist
