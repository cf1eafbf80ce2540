#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Array.h>

namespace ZtFoundation::QvFoundationExtensions {

namespace {

// Whether a folder stands at `path` afterwards.
bool makeFolder(const Ref<NSFileManager>& maker, const Ref<NSString>& path, const Ref<NSDictionary>& attributes) {
  bool isFolder = false;
  if (NSFileManager::defaultManager()->fileExistsAtPath_isDirectory(path, &isFolder)) return isFolder;
  return maker->createDirectoryAtPath_attributes(path, attributes);
}

}  // namespace

bool createDirectoryAtPath_attributes_recursively(const Ref<NSFileManager>& self, const Ref<NSString>& path,
                                                  const Ref<NSDictionary>& attributes, bool recursively) {
  if (!self || !path) return false;
  if (!recursively) return self->createDirectoryAtPath_attributes(path, attributes);
  Ref<NSString> reached = NSString::string();
  const Ref<NSArray> components = path->pathComponents();
  for (const Ref<NSObject>& component : *components) {
    reached = reached->stringByAppendingPathComponent(as<NSString>(component));
    if (!makeFolder(self, reached, attributes)) return false;
  }
  return true;
}

}  // namespace ZtFoundation::QvFoundationExtensions
