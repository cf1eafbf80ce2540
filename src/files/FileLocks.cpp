#include <ZtFoundation/Files.h>

#include "files/LoggedCalls.h"

namespace ZtFoundation::QvFoundationExtensions {

namespace {

using detail::LoggedCalls;

bool saysLocked(const FSCatalogInfo& info) { return (info.nodeFlags & kFSNodeLockedMask) != 0; }

bool saysLocked(const FSVolumeInfo& info) {
  return (info.flags & (kFSVolFlagHardwareLockedMask | kFSVolFlagSoftwareLockedMask)) != 0;
}

// Whether the item is afterwards as `locked` says.
bool setLocked(const LoggedCalls& calls, const Ref<NSString>& path, bool locked) {
  FSRef item;
  FSCatalogInfo info;
  if (!calls.FSPathMakeRef(path, &item) || !calls.FSGetCatalogInfo(item, kFSCatInfoNodeFlags, &info)) return false;
  if (saysLocked(info) == locked) return true;
  info.nodeFlags ^= kFSNodeLockedMask;
  return calls.FSSetCatalogInfo(item, kFSCatInfoNodeFlags, info);
}

}  // namespace

bool isVolumeLockedAtPath(const Ref<NSFileManager>& self, const Ref<NSString>& path) {
  const LoggedCalls calls("isVolumeLockedAtPath:");
  FSVolumeRefNum number = kFSInvalidVolumeRefNum;
  FSVolumeInfo volume;
  return self && calls.volumeOf(path, &number) && calls.FSGetVolumeInfo(number, kFSVolInfoFlags, &volume) &&
         saysLocked(volume);
}

bool isFileLockedAtPath(const Ref<NSFileManager>& self, const Ref<NSString>& path) {
  const LoggedCalls calls("isFileLockedAtPath:");
  FSRef item;
  FSCatalogInfo info;
  return self && calls.FSPathMakeRef(path, &item) && calls.FSGetCatalogInfo(item, kFSCatInfoNodeFlags, &info) &&
         saysLocked(info);
}

bool isLockedAtPath_volumeLocked_fileLocked(const Ref<NSFileManager>& self, const Ref<NSString>& path,
                                            bool* volumeLocked, bool* fileLocked) {
  if (!self || volumeLocked == nullptr || fileLocked == nullptr) return false;
  const LoggedCalls calls("isLockedAtPath:volumeLocked:fileLocked:");
  FSRef item;
  FSCatalogInfo info;
  FSVolumeInfo volume;
  if (!calls.FSPathMakeRef(path, &item) ||
      !calls.FSGetCatalogInfo(item, kFSCatInfoNodeFlags | kFSCatInfoVolume, &info) ||
      !calls.FSGetVolumeInfo(info.volume, kFSVolInfoFlags, &volume)) {
    return false;
  }
  *fileLocked = saysLocked(info);
  *volumeLocked = saysLocked(volume);
  return true;
}

bool lockFileAtPath(const Ref<NSFileManager>& self, const Ref<NSString>& path) {
  return self && setLocked(LoggedCalls("lockFileAtPath:"), path, true);
}

bool unlockFileAtPath(const Ref<NSFileManager>& self, const Ref<NSString>& path) {
  return self && setLocked(LoggedCalls("unlockFileAtPath:"), path, false);
}

}  // namespace ZtFoundation::QvFoundationExtensions
