#include "platform/linux/folders/VolumeFolders.h"

#include <ZtFoundation/platform/FolderTypes.h>
#include <unistd.h>

#include <algorithm>

#include "platform/linux/files/ItemPath.h"
#include "platform/services/FileCatalog.h"
#include "platform/services/Service.h"
#include "platform/services/Volumes.h"

namespace ZtFoundation::detail {

namespace {

// The nearest folder above `path`, or the item itself, that is there, without links on the way.
std::string nearestExisting(std::string path) {
  for (;;) {
    if (auto real = canonicalPath(path)) return *std::move(real);
    path.resize(std::max(path.rfind('/'), std::size_t{1}));
  }
}

bool liesOn(FSVolumeRefNum volume, const std::string& path) {
  FSRef item;
  const Ref<NSString> existing = NSString::stringWithFileSystemRepresentation(nearestExisting(path));
  return service<FileCatalog>().FSPathMakeRef(existing, &item, nullptr) == noErr &&
         service<Volumes>().volumeHolding(item) == volume;
}

std::string user() { return std::to_string(::geteuid()); }

// By the rules of freedesktop.org for trash: an administrator's folder counts only if it cannot be tampered with.
std::vector<FolderPlace> trashPlaces(const std::string& top) {
  std::vector<FolderPlace> places;
  const std::string common = inDirectory(top, ".Trash");
  if (isSharedFolder(common)) places.push_back({inDirectory(common, user()), false});
  places.push_back({inDirectory(top, ".Trash-").append(user()), false});
  return places;
}

// Another volume may be mounted at the usual places.
std::vector<FolderPlace> temporaryPlaces(FSVolumeRefNum volume, const std::string& top) {
  for (const std::string& around : {top, inDirectory(top, "var")}) {
    const std::string common = inDirectory(around, "tmp");
    const bool isSafe = (around == top || isTrustedFolder(around)) && isSharedFolder(common);
    if (isSafe && liesOn(volume, common)) return {{common}};
  }
  return {{inDirectory(top, ".tmp-").append(user()), false}};
}

bool isKeptOnEachVolume(OSType type) { return type == kTrashFolderType || type == kTemporaryFolderType; }

}  // namespace

OSErr findPlacesOnVolume(FSVolumeRefNum volume, OSType type, const Directory& ofUser,
                         std::vector<FolderPlace>* places) {
  FSRef root;
  const OSErr error = service<Volumes>().FSGetVolumeInfo(volume, 0, nullptr, kFSVolInfoNone, nullptr, nullptr, &root);
  if (error != noErr) return error;
  if (isKeptOnEachVolume(type) && !(ofUser && liesOn(volume, *ofUser))) {
    const std::string top = root.path()->fileSystemRepresentation();
    *places = type == kTrashFolderType ? trashPlaces(top) : temporaryPlaces(volume, top);
  } else if (ofUser) {
    places->push_back({*ofUser});
  }
  return noErr;
}

}  // namespace ZtFoundation::detail
