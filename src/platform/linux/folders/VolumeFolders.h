/// \file VolumeFolders.h
/// The folders that each volume has for itself: the trash and the temporary folder.
#pragma once

#include <ZtFoundation/platform/FileReference.h>

#include <vector>

#include "platform/linux/folders/BaseDirectories.h"
#include "platform/linux/folders/Folders.h"

namespace ZtFoundation::detail {

/// Where a folder of `type` may be on the volume, in the order in which the places come into question; `ofUser` is the
/// one of the user's domain. nsvErr when there is no such volume.
OSErr findPlacesOnVolume(FSVolumeRefNum volume, OSType type, const Directory& ofUser, std::vector<FolderPlace>* places);

}  // namespace ZtFoundation::detail
