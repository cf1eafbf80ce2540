/// \file ItemStatus.h
/// What the system tells about an item, and what makes it this item and no
/// other.
#pragma once

#include <ZtFoundation/platform/FileReference.h>
#include <sys/stat.h>

#include <optional>
#include <string>

namespace ZtFoundation::detail {

/// The status of an item by its path, from the folder `folder`; a link is an
/// item itself. None with the reason in `errno`.
std::optional<struct statx> statusOfItem(int folder, const std::string& path) noexcept;
std::optional<struct statx> statusOfItem(const std::string& path) noexcept;
/// The status of what the path leads to, links followed to their end.
std::optional<struct statx> statusOfEndOfLinks(const std::string& path) noexcept;
/// The status of an open item.
std::optional<struct statx> statusOfDescriptor(int item) noexcept;

FSRef::Identity identityOf(const struct statx& status) noexcept;

inline bool isFolder(const struct statx& status) noexcept { return S_ISDIR(status.stx_mode); }
inline bool isLink(const struct statx& status) noexcept { return S_ISLNK(status.stx_mode); }
inline bool isImmutable(const struct statx& status) noexcept {
  return (status.stx_attributes & STATX_ATTR_IMMUTABLE) != 0;
}
/// Whether something is mounted there; none from kernels before 5.8.
inline std::optional<bool> isMountRoot(const struct statx& status) noexcept {
  if ((status.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT) == 0) return std::nullopt;
  return (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
}
/// In a sticky folder only those who own the item or the folder may take the item away.
bool isOthersInSticky(const struct statx& item, const struct statx& folder) noexcept;
/// The same, but who may act for every owner is kept from nothing.
bool isKeptBySticky(const struct statx& item, const struct statx& folder) noexcept;

}  // namespace ZtFoundation::detail
