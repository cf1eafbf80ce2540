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

}  // namespace ZtFoundation::detail
