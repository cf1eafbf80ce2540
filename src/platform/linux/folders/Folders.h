/// \file Folders.h
/// Folders that programs keep files in: whether they are there, and making them.
#pragma once

#include <ZtFoundation/platform/FileErrors.h>

#include <string>

namespace ZtFoundation::detail {

/// Links are followed.
bool isFolder(const std::string& path);
/// A folder itself, no link to one, that belongs to the user or an administrator.
bool isTrustedFolder(const std::string& path);
/// The same with the sticky bit: there users may make files that others cannot take away.
bool isSharedFolder(const std::string& path);

/// A place where a folder may be.
struct FolderPlace {
  std::string path;  ///< absolute
  bool mayBeForeign =
      true;  ///< false when others may write there, so that the folder must be the user's own, no link to one
};

/// noErr when a folder is there or, with `create`, has been made there with its missing parents, for its owner only.
/// fnfErr when it is missing, dupFNErr when something else is in the way of a new one, fLckdErr when the folder around
/// it is locked, permErr when it ought to be the user's own and is not.
OSErr provideFolder(const FolderPlace& place, bool create);

}  // namespace ZtFoundation::detail
