#include <ZtFoundation/platform/Bundle.h>

#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/PropertyListSerialization.h>
#include <ZtFoundation/platform/Runtime.h>

#include "platform/services/BundleCode.h"

namespace ZtFoundation {

ZT_IMPLEMENT_CLASS(NSBundle, ZT_METHOD("bundlePath", &NSBundle::bundlePath),
                   ZT_METHOD("infoDictionary", &NSBundle::infoDictionary),
                   ZT_METHOD("objectForInfoDictionaryKey:", &NSBundle::objectForInfoDictionaryKey),
                   ZT_METHOD("executablePath", &NSBundle::executablePath), ZT_METHOD("load", &NSBundle::load),
                   ZT_METHOD("isLoaded", &NSBundle::isLoaded), ZT_METHOD("principalClass", &NSBundle::principalClass),
                   ZT_CLASS_METHOD("bundleWithPath:", &NSBundle::bundleWithPath));

namespace {

bool isFileName(const Ref<NSString>& name) {
  const std::string text = name->utf8();
  return !text.empty() && text != "." && text != ".." && text.find('/') == std::string::npos;
}

Ref<NSDictionary> dictionaryInFile(const Ref<NSString>& path) {
  const Ref<NSData> bytes = NSFileManager::defaultManager()->contentsAtPath(path);
  return as<NSDictionary>(NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
      bytes, NSPropertyListImmutable, nullptr, nullptr));
}

}  // namespace

NSBundle::NSBundle(Ref<NSString> path) : path_(std::move(path)) {}

Ref<NSBundle> NSBundle::bundleWithPath(const Ref<NSString>& path) {
  bool isFolder = false;
  const bool exists = NSFileManager::defaultManager()->fileExistsAtPath_isDirectory(path, &isFolder);
  return exists && isFolder ? Ref<NSBundle>::adopt(new NSBundle(path->copy())) : nullptr;
}

Ref<NSDictionary> NSBundle::infoDictionary() {
  std::call_once(infoOnce_, [this] {
    info_ = dictionaryInFile(path_->stringByAppendingPathComponent("Contents/Info.plist"));
    if (!info_) info_ = NSDictionary::dictionary();
  });
  return info_;
}

Ref<NSObject> NSBundle::objectForInfoDictionaryKey(const Ref<NSString>& key) {
  return infoDictionary()->objectForKey(key);
}

Ref<NSString> NSBundle::executablePath() {
  Ref<NSString> name = as<NSString>(objectForInfoDictionaryKey("CFBundleExecutable"));
  if (!name) name = path_->lastPathComponent()->stringByDeletingPathExtension();
  if (!isFileName(name)) return nullptr;
  return path_->stringByAppendingPathComponent("Contents/Linux")->stringByAppendingPathComponent(name);
}

bool NSBundle::load() {
  if (isLoaded()) return true;
  const Ref<NSString> executable = executablePath();
  if (!executable) return false;
  module_.store(service<BundleCode>().load(executable->fileSystemRepresentation()), std::memory_order_release);
  return isLoaded();
}

// The first of that name, or of any name for none.
Class NSBundle::ownClass(const Ref<NSString>& name) const {
  for (Class one : detail::registeredClasses()) {
    const bool matches = !name || name->isEqualToString(NSStringFromClass(one));
    if (matches && service<BundleCode>().holds(module_, one)) return one;
  }
  return nullptr;
}

Class NSBundle::principalClass() {
  if (!load()) return nullptr;
  const Ref<NSObject> entry = objectForInfoDictionaryKey("NSPrincipalClass");
  if (!entry) return ownClass(nullptr);
  const Ref<NSString> name = as<NSString>(entry);
  if (!name) return nullptr;
  Class own = ownClass(name);
  return own != nullptr ? own : NSClassFromString(name);
}

}  // namespace ZtFoundation
