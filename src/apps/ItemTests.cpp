#include <ZtFoundation/Applications.h>

#include "platform/services/LaunchServices.h"
#include "platform/services/Service.h"

namespace ZtFoundation {

namespace {

constexpr LSItemInfoFlags kKindsOfFolder = kLSItemInfoIsVolume | kLSItemInfoIsContainer | kLSItemInfoIsPackage;

// Whether the flags in `mask` are exactly `expected`; not so when the item cannot be asked.
bool hasFlags(const Ref<NSURL>& url, LSRequestedInfo wanted, LSItemInfoFlags mask, LSItemInfoFlags expected) {
  if (!url) return false;
  LSItemInfoRecord info;
  return service<LaunchServices>().LSCopyItemInfoForURL(url, wanted, &info) == noErr && (info.flags & mask) == expected;
}

bool hasBasicFlag(const Ref<NSURL>& url, LSItemInfoFlags flag) {
  return hasFlags(url, kLSRequestBasicFlagsOnly, flag, flag);
}

}  // namespace

bool ZtLSIsNativeApplicationAtURL(const Ref<NSURL>& url) {
  return hasFlags(url, kLSRequestAppTypeFlags, kLSItemInfoIsNativeApp, kLSItemInfoIsNativeApp);
}
bool ZtLSIsNativeApplicationAtPath(const Ref<NSString>& path) {
  return ZtLSIsNativeApplicationAtURL(NSURL::fileURLWithPath(path));
}

bool ZtLSIsApplicationAtURL(const Ref<NSURL>& url) { return hasBasicFlag(url, kLSItemInfoIsApplication); }
bool ZtLSIsApplicationAtPath(const Ref<NSString>& path) { return ZtLSIsApplicationAtURL(NSURL::fileURLWithPath(path)); }

bool ZtLSIsPlainFileAtURL(const Ref<NSURL>& url) { return hasBasicFlag(url, kLSItemInfoIsPlainFile); }
bool ZtLSIsPlainFileAtPath(const Ref<NSString>& path) { return ZtLSIsPlainFileAtURL(NSURL::fileURLWithPath(path)); }

bool ZtLSIsDirectoryAtURL(const Ref<NSURL>& url) {
  return hasFlags(url, kLSRequestBasicFlagsOnly, kKindsOfFolder, kLSItemInfoIsContainer);
}
bool ZtLSIsDirectoryAtPath(const Ref<NSString>& path) { return ZtLSIsDirectoryAtURL(NSURL::fileURLWithPath(path)); }

bool ZtLSIsVolumeAtURL(const Ref<NSURL>& url) { return hasBasicFlag(url, kLSItemInfoIsVolume); }
bool ZtLSIsVolumeAtPath(const Ref<NSString>& path) { return ZtLSIsVolumeAtURL(NSURL::fileURLWithPath(path)); }

}  // namespace ZtFoundation
