#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Runtime.h>

namespace ZtFoundation::QvFoundationExtensions {

namespace {

bool makeOneFolder(const Ref<NSFileManager>& maker, const Ref<NSString>& path, const Ref<NSDictionary>& attributes) {
  return send<bool>(maker, ZT_SELECTOR("createDirectoryAtPath:attributes:"), path, attributes);
}

// Whether a folder stands at `path` afterwards.
bool makeFolder(const Ref<NSFileManager>& maker, const Ref<NSString>& path, const Ref<NSDictionary>& attributes) {
  bool isFolder = false;
  const bool exists =
      send<bool>(NSFileManager::defaultManager(), ZT_SELECTOR("fileExistsAtPath:isDirectory:"), path, &isFolder);
  return exists ? isFolder : makeOneFolder(maker, path, attributes);
}

}  // namespace

bool createDirectoryAtPath_attributes_recursively(const Ref<NSFileManager>& self, const Ref<NSString>& path,
                                                  const Ref<NSDictionary>& attributes, bool recursively) {
  if (!self || !path) return false;
  if (!recursively) return makeOneFolder(self, path, attributes);
  Ref<NSString> reached = NSString::string();
  const Ref<NSArray> components = path->pathComponents();
  for (const Ref<NSObject>& component : *components) {
    reached = reached->stringByAppendingPathComponent(as<NSString>(component));
    if (!makeFolder(self, reached, attributes)) return false;
  }
  return true;
}

}  // namespace ZtFoundation::QvFoundationExtensions
