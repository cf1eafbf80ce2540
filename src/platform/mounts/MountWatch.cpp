#include "platform/mounts/MountWatch.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>

namespace ZtFoundation::mounts {

MountWatch::Identity MountWatch::identityOf(const char* path) {
  struct stat status;
  return ::stat(path, &status) == 0 ? Identity{status.st_dev, status.st_ino} : Identity{};
}

// The table of a child is another file than its parent's. An open one stays that of the namespace and the root in which it was opened.
MountWatch::Place MountWatch::place() const {
  return {identityOf(path_.c_str()), identityOf("/proc/self/ns/mnt"), identityOf("/")};
}

// Whether the file is still the one that was opened: the host may have closed it, and opened something else under its number.
bool MountWatch::isOpen() const {
  struct stat status;
  return file_ >= 0 && ::fstat(file_, &status) == 0 && Identity{status.st_dev, status.st_ino} == place_.table;
}

void MountWatch::close() {
  if (isOpen()) ::close(file_);
  file_ = -1;
}

bool MountWatch::mayHaveChanged() const {
  if (!isOpen() || place() != place_) return true;
  pollfd changes{file_, POLLPRI, 0};
  return ::poll(&changes, 1, 0) != 0;
}

std::string MountWatch::read() {
  close();
  place_ = place();
  file_ = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
  std::string text;
  char piece[16384];
  for (;;) {
    const ssize_t count = ::read(file_, piece, sizeof(piece));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return text;
    text.append(piece, static_cast<std::size_t>(count));
  }
}

}  // namespace ZtFoundation::mounts
