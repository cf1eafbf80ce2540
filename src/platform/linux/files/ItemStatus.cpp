#include "platform/linux/files/ItemStatus.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace ZtFoundation::detail {

namespace {

std::optional<struct statx> status(int folder, const char* path, int flags) noexcept {
  constexpr unsigned wanted = STATX_BASIC_STATS | STATX_BTIME;
  struct statx result;
  if (::statx(folder, path, flags | AT_NO_AUTOMOUNT, wanted, &result) != 0) return std::nullopt;
  return result;
}

bool hasCapability(unsigned capability) noexcept {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3] = {};
  return ::syscall(SYS_capget, &header, data) == 0 && (data[capability / 32].effective >> (capability % 32) & 1U) != 0;
}

}  // namespace

std::optional<struct statx> statusOfItem(int folder, const std::string& path) noexcept {
  return status(folder, path.c_str(), AT_SYMLINK_NOFOLLOW);
}

std::optional<struct statx> statusOfItem(const std::string& path) noexcept { return statusOfItem(AT_FDCWD, path); }

std::optional<struct statx> statusOfEndOfLinks(const std::string& path) noexcept {
  return status(AT_FDCWD, path.c_str(), 0);
}

std::optional<struct statx> statusOfDescriptor(int item) noexcept { return status(item, "", AT_EMPTY_PATH); }

FSRef::Identity identityOf(const struct statx& status) noexcept {
  FSRef::Identity identity;
  identity.device = gnu_dev_makedev(status.stx_dev_major, status.stx_dev_minor);
  identity.number = status.stx_ino;
  identity.hasBirth = (status.stx_mask & STATX_BTIME) != 0;
  if (identity.hasBirth) {
    identity.bornSeconds = status.stx_btime.tv_sec;
    identity.bornNanoseconds = status.stx_btime.tv_nsec;
  }
  identity.isFolder = isFolder(status);
  return identity;
}

bool isOthersInSticky(const struct statx& item, const struct statx& folder) noexcept {
  const uid_t user = ::geteuid();
  return (folder.stx_mode & S_ISVTX) != 0 && user != item.stx_uid && user != folder.stx_uid;
}

bool isKeptBySticky(const struct statx& item, const struct statx& folder) noexcept {
  return isOthersInSticky(item, folder) && !hasCapability(CAP_FOWNER);
}

}  // namespace ZtFoundation::detail
