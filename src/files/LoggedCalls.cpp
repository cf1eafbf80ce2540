#include "files/LoggedCalls.h"

#include <ZtFoundation/platform/Log.h>

#include "platform/services/FolderManager.h"
#include "platform/services/Service.h"

namespace ZtFoundation::detail {

bool LoggedCalls::check(OSErr error, const char* call) const {
  if (error != noErr) NSLog("[NSFileManager %s] %s failed with error: %d", operation_, call, error);
  return error == noErr;
}

bool LoggedCalls::FSPathMakeRef(const Ref<NSString>& path, FSRef* item) const {
  return check(service<FileCatalog>().FSPathMakeRef(path, item, nullptr), "FSPathMakeRef");
}

bool LoggedCalls::FSGetCatalogInfo(const FSRef& item, FSCatalogInfoBitmap wanted, FSCatalogInfo* info) const {
  return check(service<FileCatalog>().FSGetCatalogInfo(&item, wanted, info, nullptr), "FSGetCatalogInfo");
}

bool LoggedCalls::FSSetCatalogInfo(const FSRef& item, FSCatalogInfoBitmap fields, const FSCatalogInfo& info) const {
  return check(service<FileCatalog>().FSSetCatalogInfo(&item, fields, &info), "FSSetCatalogInfo");
}

bool LoggedCalls::FSGetVolumeInfo(FSVolumeRefNum volume, FSVolumeInfoBitmap wanted, FSVolumeInfo* info) const {
  const OSErr error = service<Volumes>().FSGetVolumeInfo(volume, 0, nullptr, wanted, info, nullptr, nullptr);
  return check(error, "FSGetVolumeInfo");
}

bool LoggedCalls::FSGetVolumeParms(FSVolumeRefNum volume, GetVolParmsInfoBuffer* parameters) const {
  return check(service<Volumes>().FSGetVolumeParms(volume, parameters, sizeof(*parameters)), "FSGetVolumeParms");
}

bool LoggedCalls::FSGetVolumeMountInfoSize(FSVolumeRefNum volume, std::size_t* size) const {
  return check(service<Volumes>().FSGetVolumeMountInfoSize(volume, size), "FSGetVolumeMountInfoSize");
}

bool LoggedCalls::FSGetVolumeMountInfo(FSVolumeRefNum volume, void* buffer, std::size_t size) const {
  return check(service<Volumes>().FSGetVolumeMountInfo(volume, buffer, size), "PBGetVolMountInfo");
}

bool LoggedCalls::FSFindFolder(FSVolumeRefNum volumeOrDomain, OSType type, bool create, FSRef* folder) const {
  return check(service<FolderManager>().FSFindFolder(volumeOrDomain, type, create, folder), "FSFindFolder");
}

bool LoggedCalls::volumeOf(const Ref<NSString>& path, FSVolumeRefNum* volume) const {
  FSRef item;
  FSCatalogInfo info;
  info.volume = service<Volumes>().volumeRootedAt(path);
  const bool isTold = info.volume != kFSInvalidVolumeRefNum ||
                      (FSPathMakeRef(path, &item) && FSGetCatalogInfo(item, kFSCatInfoVolume, &info));
  if (isTold) *volume = info.volume;
  return isTold;
}

Ref<NSURL> LoggedCalls::CFURLCreateFromFSRef(const FSRef& item) const {
  Ref<NSURL> url = service<FileCatalog>().CFURLCreateFromFSRef(&item);
  if (!url) NSLog("[NSFileManager %s] CFURLCreateFromFSRef failed.", operation_);
  return url;
}

}  // namespace ZtFoundation::detail
