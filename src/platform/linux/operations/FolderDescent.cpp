#include "platform/linux/operations/FolderDescent.h"

#include <fcntl.h>

#include <algorithm>

#include "platform/linux/files/ItemStatus.h"

namespace ZtFoundation::detail {

namespace {

constexpr std::size_t kMostOpen = 24;

FileDescriptor openFolder(int at, const char* name) {
  constexpr int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
  return FileDescriptor(retryInterrupted([&] { return ::openat(at, name, flags); }));
}

std::uint64_t deviceOf(const struct statx& status) {
  return (std::uint64_t{status.stx_dev_major} << 32) | status.stx_dev_minor;
}

// Where the kernel does not tell, another device than that of the folder around does.
bool isMountPoint(const struct statx& status, int folder, const char* name) {
  if (const auto isTold = isMountRoot(status)) return *isTold;
  struct statx around;
  const char* const outer = *name == '\0' ? ".." : "";
  return ::statx(folder, outer, AT_EMPTY_PATH, STATX_INO, &around) != 0 || deviceOf(around) != deviceOf(status);
}

}  // namespace

bool identify(int folder, const char* name, FolderIdentity& identity) noexcept {
  struct statx status;
  if (::statx(folder, name, AT_EMPTY_PATH | AT_SYMLINK_NOFOLLOW, STATX_INO | STATX_ATIME, &status) != 0) return false;
  identity.device = deviceOf(status);
  identity.number = status.stx_ino;
  identity.isMountPoint = isMountPoint(status, folder, name);
  identity.isImmutable = isImmutable(status);
  identity.accessed.tv_sec = static_cast<time_t>(status.stx_atime.tv_sec);
  identity.accessed.tv_nsec = static_cast<long>(status.stx_atime.tv_nsec);
  return true;
}

bool FolderDescent::enter(int at, const char* name) {
  Level level{openFolder(at, name), {}};
  if (!level.folder || !identify(level.folder.get(), "", level.identity)) return false;
  levels_.push_back(std::move(level));
  if (levels_.size() > kMostOpen) FileDescriptor(std::move(levels_[levels_.size() - 1 - kMostOpen].folder));
  return true;
}

bool FolderDescent::leave() {
  const Level inner = std::move(levels_.back());
  levels_.pop_back();
  if (levels_.empty() || levels_.back().folder) return true;
  FileDescriptor outer = openFolder(inner.folder.get(), "..");
  FolderIdentity found;
  if (!outer || !identify(outer.get(), "", found)) return false;
  errno = ESTALE;
  if (!found.isSameAs(identity())) return false;
  levels_.back().folder = std::move(outer);
  return true;
}

bool FolderDescent::passes(const FolderIdentity& identity) const noexcept {
  return std::any_of(levels_.begin(), levels_.end() - 1,
                     [&](const Level& level) { return level.identity.isSameAs(identity); });
}

}  // namespace ZtFoundation::detail
