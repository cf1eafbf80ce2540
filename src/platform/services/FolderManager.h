/// \file FolderManager.h
/// The standard folders of the system and its users.
#pragma once

#include <ZtFoundation/platform/FileReference.h>

namespace ZtFoundation {

class FolderManager {
 public:
  virtual ~FolderManager() = default;
  static FolderManager& production();

  /// The folder of `type` in a domain, or on a volume for the number of one. With `create` a missing folder is made,
  /// with its parents, for its user only. fnfErr for a type that is unknown or has no folder there, and for a folder
  /// that is missing and not to be made; fLckdErr for one to be made in a locked folder; nsvErr for a volume that there
  /// is not; permErr for what is made for the user on a volume, when the last of its places holds a link to a folder
  /// or somebody else's; dupFNErr where one would have to be made in the place of something else; else the system's
  /// error, also where the user's home folder or choice cannot be read.
  virtual OSErr FSFindFolder(FSVolumeRefNum volumeOrDomain, OSType type, bool create, FSRef* folder) = 0;
  /// The home folder of the user; none when there is no telling.
  virtual Ref<NSString> homeFolder() = 0;
};

}  // namespace ZtFoundation
