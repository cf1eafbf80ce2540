#include "platform/linux/files/SmallFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>

#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/files/FileErrors.h"

namespace ZtFoundation::detail {

namespace {

OSErr errorOfSmallFile(int failure, const struct stat& status) {
  if (failure != 0) return fileError(errno);
  return S_ISREG(status.st_mode) && status.st_size <= off_t{kLongestSmallFile} ? noErr : fnfErr;
}

OSErr lookForSmallFile(const std::string& path) {
  struct stat status {};
  return errorOfSmallFile(::stat(path.c_str(), &status), status);
}

OSErr lookAtSmallFile(int file) {
  struct stat status {};
  return errorOfSmallFile(::fstat(file, &status), status);
}

// It may grow meanwhile, and some file systems tell no size.
OSErr readUpToTheLimit(int file, std::string* bytes) {
  std::array<char, 4096> part;
  for (bytes->clear(); bytes->size() <= kLongestSmallFile;) {
    const ssize_t got = retryInterrupted([&] { return ::read(file, part.data(), part.size()); });
    if (got < 0) return fileError(errno);
    if (got == 0) return noErr;
    bytes->append(part.data(), static_cast<std::size_t>(got));
  }
  bytes->clear();
  return fnfErr;
}

}  // namespace

bool isSmallFile(const std::string& path) { return lookForSmallFile(path) == noErr; }

// Pipes and devices are not even opened, since that alone may set something going. What has come in the place of the
// file meanwhile is no longer waited for.
OSErr readSmallFile(const std::string& path, std::string* bytes) {
  if (const OSErr error = lookForSmallFile(path); error != noErr) return error;
  constexpr int flags = O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
  const FileDescriptor file(retryInterrupted([&] { return ::open(path.c_str(), flags); }));
  if (!file) return fileError(errno);
  if (const OSErr error = lookAtSmallFile(file.get()); error != noErr) return error;
  return readUpToTheLimit(file.get(), bytes);
}

}  // namespace ZtFoundation::detail
