#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Log.h>
#include <ZtFoundation/platform/Runtime.h>

#include "platform/services/FileCatalog.h"
#include "platform/services/LaunchServices.h"
#include "platform/services/Service.h"

namespace ZtFoundation {

namespace {

constexpr const char* kHiddenNamesPath = "/.hidden";

bool isInvisible(const FSRef& item) {
  LSItemInfoRecord info;
  const OSStatus status = service<LaunchServices>().LSCopyItemInfoForRef(&item, kLSRequestBasicFlagsOnly, &info);
  return status == noErr && (info.flags & kLSItemInfoIsInvisible) != 0;
}

// None when there are none, or they cannot be read.
Ref<NSString> hiddenNames(const Ref<NSFileManager>& files) {
  const Ref<NSString> path = kHiddenNamesPath;
  if (!send<bool>(files, ZT_SELECTOR("fileExistsAtPath:"), path)) return nullptr;
  return NSString::stringWithData_encoding(send<Ref<NSData>>(files, ZT_SELECTOR("contentsAtPath:"), path),
                                           NSUTF8StringEncoding);
}

bool isHiddenAtTheRoot(const Ref<NSFileManager>& files, const Ref<NSString>& path) {
  if (!QvPathExtensions::isRootDirectoryPath(path->stringByDeletingLastPathComponent())) return false;
  const Ref<NSString> names = hiddenNames(files);
  return names && names->componentsSeparatedByString("\n")->containsObject(path->lastPathComponent());
}

}  // namespace

bool QvFoundationExtensions::isVisibleFileAtPath(const Ref<NSFileManager>& self, const Ref<NSString>& path) {
  if (!self) return false;
  FSRef item;
  if (service<FileCatalog>().FSPathMakeRef(path, &item, nullptr) != noErr) return true;
  return !isInvisible(item) && !isHiddenAtTheRoot(self, path);
}

bool QvFoundationExtensions::isVisibleFileAtURL(const Ref<NSFileManager>& self, const Ref<NSURL>& url) {
  if (!self) return false;
  if (url && url->isFileURL()) return isVisibleFileAtPath(self, url->path());
  NSLog("IS NOT FILE URL: %@", url);
  return false;
}

}  // namespace ZtFoundation
