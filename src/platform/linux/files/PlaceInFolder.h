/// \file PlaceInFolder.h
/// Where a path leads, without looking at the item itself.
#pragma once

#include <optional>
#include <string>

#include "platform/linux/files/FileDescriptor.h"

namespace ZtFoundation::detail {

/// A name in an open folder, so that nothing goes astray when a folder above is renamed meanwhile. The descriptor
/// serves calls that take a folder and a name, and nothing else.
struct PlaceInFolder {
  FileDescriptor folder;
  std::string name;

  explicit operator bool() const noexcept { return static_cast<bool>(folder); }
};

/// Links on the way are followed, one at the end is the item itself; slashes at the end do not count. The name is "."
/// for the root, and may be "." or ".." where the path ends so. A place without a folder is an error, which errno
/// tells.
PlaceInFolder placeOf(std::string path);

/// Where a file is, or would be made, when links are followed to their end. A path with a slash at the end names no
/// file. In a sticky folder that all may write, only links of this user and of the folder's owner are followed. A place
/// without a folder is an error.
PlaceInFolder endOfLinks(const std::string& path);

/// Where the link `name` in an open folder leads; none on an error, which errno tells, EINVAL when it is no link.
std::optional<std::string> destinationOfLink(int folder, const char* name);

}  // namespace ZtFoundation::detail
