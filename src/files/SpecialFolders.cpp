#include <ZtFoundation/Files.h>

#include "files/LoggedCalls.h"
#include "platform/services/FolderManager.h"
#include "platform/services/Service.h"

namespace ZtFoundation {

namespace QvFoundationExtensions {

using detail::LoggedCalls;

Ref<NSString> findFolderForType_inDomain_create(const Ref<NSFileManager>& self, OSType type, std::int32_t domain,
                                                bool create) {
  if (!self) return nullptr;
  const LoggedCalls calls("findFolderForType:inDomain:create:");
  FSRef folder;
  if (!calls.FSFindFolder(static_cast<FSVolumeRefNum>(domain), type, create, &folder)) return nullptr;
  const Ref<NSURL> url = calls.CFURLCreateFromFSRef(folder);
  return url ? url->path() : nullptr;
}

Ref<NSString> findFolderForType_inVolume_create(const Ref<NSFileManager>& self, OSType type, FSVolumeRefNum volume,
                                                bool create) {
  return findFolderForType_inDomain_create(self, type, volume, create);
}

Ref<NSString> findFolderForType_inVolumeWithPath_create(const Ref<NSFileManager>& self, OSType type,
                                                        const Ref<NSString>& path, bool create) {
  if (!self) return nullptr;
  const LoggedCalls calls("findFolderForType:inVolumeWithPath:create:");
  FSVolumeRefNum volume = kFSInvalidVolumeRefNum;
  return calls.volumeOf(path, &volume) ? findFolderForType_inVolume_create(self, type, volume, create) : nullptr;
}

}  // namespace QvFoundationExtensions

Ref<NSString> JxFindFolderExtensions::homePicturesDirectory() {
  FSRef folder;
  const OSErr error = service<FolderManager>().FSFindFolder(kUserDomain, kPictureDocumentsFolderType, true, &folder);
  return error == noErr ? JxFileSystemRepresentation::pathStringFromFSRef(&folder) : nullptr;
}

}  // namespace ZtFoundation
