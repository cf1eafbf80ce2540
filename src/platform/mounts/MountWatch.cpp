#include "platform/mounts/MountWatch.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>

namespace ZtFoundation::mounts {

namespace {

bool isShortage(int error) { return error == EMFILE || error == ENFILE || error == ENOMEM; }

}  // namespace

MountWatch::Place MountWatch::place() {
  Place place{::getpid(), {}, 0};
  struct statx root;
  constexpr int flags = AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC;
  if (::statx(AT_FDCWD, "/", flags, STATX_INO | STATX_MNT_ID, &root) != 0) return place;
  place.root = {makedev(root.stx_dev_major, root.stx_dev_minor), root.stx_ino};
  place.rootMount = root.stx_mnt_id;
  return place;
}

// Whether the file is still the one that was opened: the host may have closed it, and opened something else under its
// number.
bool MountWatch::isOpen() const {
  struct stat status;
  return ::fstat(file_, &status) == 0 && Identity{status.st_dev, status.st_ino} == identity_;
}

// A file that is not the kernel's own does not tell of changes; it is replaced by another one.
bool MountWatch::isReplaced() const {
  struct stat status;
  return !path_.starts_with("/proc/") &&
         (::stat(path_.c_str(), &status) != 0 || Identity{status.st_dev, status.st_ino} != identity_);
}

void MountWatch::close() {
  if (isOpen()) ::close(file_);
  file_ = -1;
}

bool MountWatch::mayHaveChanged() const {
  if (!isOpen() || place() != place_ || isReplaced()) return true;
  pollfd changes{file_, POLLPRI, 0};
  return ::poll(&changes, 1, 0) != 0;
}

std::optional<std::string> MountWatch::read() {
  close();
  place_ = place();
  file_ = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
  if (file_ < 0) return isShortage(errno) ? std::nullopt : std::optional<std::string>("");
  struct stat status;
  if (::fstat(file_, &status) == 0) identity_ = {status.st_dev, status.st_ino};
  std::string text;
  char piece[16384];
  for (;;) {
    const ssize_t count = ::read(file_, piece, sizeof(piece));
    if (count < 0 && errno == EINTR) continue;
    if (count == 0) return text;
    if (count < 0) {
      close();
      return std::nullopt;
    }
    text.append(piece, static_cast<std::size_t>(count));
  }
}

}  // namespace ZtFoundation::mounts
