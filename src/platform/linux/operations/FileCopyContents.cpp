#include "platform/linux/operations/FileCopyContents.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>

namespace ZtFoundation::detail {

namespace {

constexpr int kBuffer = 256 << 10;
// Below this, two plain calls are quicker than the kernel's own copy.
constexpr off_t kWorthTheKernel = off_t{256} << 10;
constexpr off_t kPartWithProgress = off_t{8} << 20;
constexpr off_t kBlock = 512;  // of st_blocks, whatever the file system
constexpr off_t kPart = off_t{1} << 30;

bool hasHoles(const struct stat& status) { return off_t{status.st_blocks} * kBlock < status.st_size; }

bool isUnsupported(int error) {
  return error == ENOTSUP || error == ENOTTY || error == ENOSYS || error == EXDEV || error == EINVAL;
}

// What lies between two holes, or all that is left where the file system does not tell.
struct Data {
  off_t begin;
  off_t end;
};

Data nextData(int file, off_t at, off_t size) {
  const off_t begin = ::lseek(file, at, SEEK_DATA);
  if (begin < 0) return errno == ENXIO ? Data{size, size} : Data{at, size};
  const off_t end = ::lseek(file, begin, SEEK_HOLE);
  return {std::min(begin, size), end > begin ? std::min(end, size) : size};
}

int writeAllAt(int to, const char* bytes, std::size_t size, off_t at) {
  while (size > 0) {
    const ssize_t written = retryInterrupted([&] { return ::pwrite(to, bytes, size, at); });
    if (written <= 0) return written < 0 ? errno : EIO;
    bytes += written;
    size -= static_cast<std::size_t>(written);
    at += written;
  }
  return 0;
}

FileDescriptor openLeased(int folder, const char* name) {
  const FileDescriptor item(retryInterrupted([&] { return ::openat(folder, name, O_PATH | O_NOFOLLOW | O_CLOEXEC); }));
  struct stat status;
  if (!item || ::fstat(item.get(), &status) != 0) return {};
  errno = ESTALE;
  if (!S_ISREG(status.st_mode)) return {};
  const PathOfDescriptor path(item.get());
  return FileDescriptor(retryInterrupted([&] { return ::open(path.get(), O_RDONLY | O_NOCTTY | O_CLOEXEC); }));
}

}  // namespace

FileDescriptor openToCopy(int folder, const char* name) {
  constexpr int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  FileDescriptor file(retryInterrupted([&] { return ::openat(folder, name, flags); }));
  return file || errno != EAGAIN ? std::move(file) : openLeased(folder, name);
}

int ContentsCopier::copy(int from, const struct stat& status, int to) {
  if (status.st_size == 0) return copyToEnd(from, to);
  if (status.st_dev != device_) canClone_ = canCopyInKernel_ = true;
  device_ = status.st_dev;
  const int error = clone(from, status, to);
  return error == ENOTSUP ? copyData(from, status, to) : error;
}

int ContentsCopier::tell(std::uint64_t bytes) const { return !progress_ || progress_(bytes) ? 0 : ECANCELED; }

// ENOTSUP whatever the reason is: the copy through memory shows whether it matters.
int ContentsCopier::clone(int from, const struct stat& status, int to) {
  if (!canClone_) return ENOTSUP;
  if (::ioctl(to, FICLONE, from) == 0) return tell(static_cast<std::uint64_t>(status.st_size));
  canClone_ = !isUnsupported(errno);
  return ENOTSUP;
}

// Files of the kernel's own have contents and no size.
int ContentsCopier::copyToEnd(int from, int to) {
  return copyThroughMemory(from, to, 0, std::numeric_limits<off_t>::max());
}

int ContentsCopier::copyData(int from, const struct stat& status, int to) {
  return hasHoles(status) ? copyBetweenHoles(from, status.st_size, to) : copyRange(from, to, 0, status.st_size);
}

int ContentsCopier::copyBetweenHoles(int from, off_t size, int to) {
  for (off_t at = 0; at < size;) {
    const Data data = nextData(from, at, size);
    int error = tell(static_cast<std::uint64_t>(data.begin - at));
    if (error == 0) error = copyRange(from, to, data.begin, data.end);
    if (error != 0) return error;
    at = data.end;
  }
  struct stat now;
  if (::fstat(from, &now) != 0) return errno;
  return retryInterrupted([&] { return ::ftruncate(to, std::min(size, now.st_size)); }) == 0 ? 0 : errno;
}

int ContentsCopier::copyRange(int from, int to, off_t at, off_t end) {
  if (canCopyInKernel_ && end - at >= kWorthTheKernel) {
    const int error = copyInKernel(from, to, at, end);
    if (error != 0) return error;
  }
  return copyThroughMemory(from, to, at, end);
}

// Moves `at` as far as it gets. Where it fails, the copy through memory goes on and meets whatever really is in the
// way.
int ContentsCopier::copyInKernel(int from, int to, off_t& at, off_t end) {
  while (at < end) {
    const off_t part = std::min(end - at, progress_ ? kPartWithProgress : kPart);
    off_t in = at;
    off_t out = at;
    const ssize_t copied =
        retryInterrupted([&] { return ::copy_file_range(from, &in, to, &out, static_cast<std::size_t>(part), 0); });
    if (copied < 0) canCopyInKernel_ = !isUnsupported(errno);
    if (copied <= 0) return 0;
    at += copied;
    if (const int error = tell(static_cast<std::uint64_t>(copied))) return error;
  }
  return 0;
}

int ContentsCopier::copyThroughMemory(int from, int to, off_t at, off_t end) {
  if (at < end && !buffer_) buffer_ = std::make_unique_for_overwrite<char[]>(kBuffer);
  while (at < end) {
    const auto wanted = static_cast<std::size_t>(std::min(end - at, off_t{kBuffer}));
    const ssize_t got = retryInterrupted([&] { return ::pread(from, buffer_.get(), wanted, at); });
    if (got <= 0) return got < 0 ? errno : 0;
    int error = writeAllAt(to, buffer_.get(), static_cast<std::size_t>(got), at);
    if (error == 0) error = tell(static_cast<std::uint64_t>(got));
    if (error != 0) return error;
    at += got;
  }
  return 0;
}

}  // namespace ZtFoundation::detail
