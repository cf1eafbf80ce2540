#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Runtime.h>

namespace ZtFoundation::JxFileExistence {

namespace {

bool existsAs(const Ref<NSString>& path, bool folder) {
  bool isDirectory = false;
  return path &&
         send<bool>(NSFileManager::defaultManager(), ZT_SELECTOR("fileExistsAtPath:isDirectory:"), path,
                    &isDirectory) &&
         isDirectory == folder;
}

Ref<NSString> pathOf(const Ref<NSURL>& url) { return url ? url->path() : nullptr; }

}  // namespace

bool exists(const Ref<NSString>& self) {
  return self && send<bool>(NSFileManager::defaultManager(), ZT_SELECTOR("fileExistsAtPath:"), self);
}
bool fileExists(const Ref<NSString>& self) { return existsAs(self, false); }
bool directoryExists(const Ref<NSString>& self) { return existsAs(self, true); }

bool exists(const Ref<NSURL>& self) { return exists(pathOf(self)); }
bool fileExists(const Ref<NSURL>& self) { return fileExists(pathOf(self)); }
bool directoryExists(const Ref<NSURL>& self) { return directoryExists(pathOf(self)); }

}  // namespace ZtFoundation::JxFileExistence
