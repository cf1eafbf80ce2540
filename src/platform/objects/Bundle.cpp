#include <ZtFoundation/platform/Bundle.h>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/PropertyListSerialization.h>
#include <ZtFoundation/platform/Runtime.h>

#include <optional>
#include <string>
#include <utility>

#include "platform/objects/BundleNames.h"
#include "platform/services/BundleCode.h"
#include "platform/services/ForkSafeLocks.h"

namespace ZtFoundation {

ZT_IMPLEMENT_CLASS(NSBundle, ZT_METHOD("bundlePath", &NSBundle::bundlePath),
                   ZT_METHOD("infoDictionary", &NSBundle::infoDictionary),
                   ZT_METHOD("objectForInfoDictionaryKey:", &NSBundle::objectForInfoDictionaryKey),
                   ZT_METHOD("bundleIdentifier", &NSBundle::bundleIdentifier),
                   ZT_METHOD("executablePath", &NSBundle::executablePath), ZT_METHOD("load", &NSBundle::load),
                   ZT_METHOD("isLoaded", &NSBundle::isLoaded), ZT_METHOD("principalClass", &NSBundle::principalClass),
                   ZT_METHOD("resourcePath", &NSBundle::resourcePath),
                   ZT_METHOD("pathForResource:ofType:", &NSBundle::pathForResource_ofType),
                   ZT_METHOD("pathForResource:ofType:inDirectory:", &NSBundle::pathForResource_ofType_inDirectory),
                   ZT_METHOD("pathForResource:ofType:inDirectory:forLocalization:",
                             &NSBundle::pathForResource_ofType_inDirectory_forLocalization),
                   ZT_METHOD("localizations", &NSBundle::localizations),
                   ZT_METHOD("preferredLocalizations", &NSBundle::preferredLocalizations),
                   ZT_CLASS_METHOD("bundleWithPath:", &NSBundle::bundleWithPath),
                   ZT_CLASS_METHOD("mainBundle", &NSBundle::mainBundle),
                   ZT_CLASS_METHOD("bundleForClass:", &NSBundle::bundleForClass));

using detail::isFileName;
using detail::isFolder;

namespace {

// None when the file cannot be read now, an empty dictionary when it holds none.
Ref<NSDictionary> dictionaryInFile(const Ref<NSString>& path) {
  std::optional<std::string> bytes = service<BundleCode>().contentsOfSmallFile(path->fileSystemRepresentation());
  if (!bytes) return nullptr;
  const auto found =
      as<NSDictionary>(NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
          NSData::dataWithString(*std::move(bytes)), NSPropertyListImmutable, nullptr, nullptr));
  return found ? found : NSDictionary::dictionary();
}

bool isCalled(const Ref<NSString>& path, const char* name) { return path->lastPathComponent()->isEqualToString(name); }

// The folder around Contents/Linux/<file>; none for a file that lies elsewhere.
Ref<NSString> bundleFolderAround(const Ref<NSString>& file) {
  const Ref<NSString> folder = file->stringByDeletingLastPathComponent();
  const Ref<NSString> contents = folder->stringByDeletingLastPathComponent();
  const bool isInside = isCalled(folder, "Linux") && isCalled(contents, "Contents");
  return isInside ? contents->stringByDeletingLastPathComponent() : nullptr;
}

Ref<NSString> fileOf(CodeModule module) {
  const std::string file = service<BundleCode>().fileOf(module);
  return file.empty() ? nullptr : NSString::stringWithFileSystemRepresentation(file);
}

// One for all bundles: it is held for a few instructions.
std::mutex& lock() { return lockOf(ForkSafe::Bundles); }

}  // namespace

/// The bundles that live as long as the process.
class NSBundle::Lasting {
 public:
  static Lasting& shared() {
    static Lasting& shared = *new Lasting;
    return shared;
  }

  Ref<NSBundle> atPath(const Ref<NSString>& path) {
    const std::lock_guard guard(lock());
    return firstAt(path);
  }
  Ref<NSBundle> withCode(CodeModule module) {
    const std::lock_guard guard(lock());
    return firstWith(module);
  }
  // The one that has been at its path first. Nobody is found by a relative path, so one with that code will do then.
  Ref<NSBundle> add(const Ref<NSBundle>& bundle, CodeModule module) {
    const std::lock_guard guard(lock());
    const bool isFoundByPath = bundle->path_->isAbsolutePath();
    if (const Ref<NSBundle> known = isFoundByPath ? firstAt(bundle->path_) : firstWith(module)) return known;
    bundles_.push_back(bundle);
    return bundle;
  }

 private:
  template <class Matches>
  Ref<NSBundle> first(Matches matches) const {
    for (const Ref<NSBundle>& each : bundles_) {
      if (matches(*each)) return each;
    }
    return nullptr;
  }
  Ref<NSBundle> firstWith(CodeModule module) const {
    if (module == nullptr) return nullptr;
    return first([&](const NSBundle& each) { return each.module_.load(std::memory_order_acquire) == module; });
  }
  // A relative path may have meant another folder earlier.
  Ref<NSBundle> firstAt(const Ref<NSString>& path) const {
    if (!path->isAbsolutePath()) return nullptr;
    return first([&](const NSBundle& each) { return each.path_->isEqualToString(path); });
  }

  std::vector<Ref<NSBundle>> bundles_;
};

// --- Making and finding

NSBundle::NSBundle(Ref<NSString> path, const void* module) : path_(std::move(path)), module_(module) {}

Ref<NSBundle> NSBundle::bundleWithPath(const Ref<NSString>& path) {
  if (!isFolder(path)) return nullptr;
  mainBundle();  // so that it is known
  const Ref<NSBundle> known = Lasting::shared().atPath(path);
  return known ? known : Ref<NSBundle>::adopt(new NSBundle(path->copy(), nullptr));
}

Ref<NSBundle> NSBundle::mainBundle() {
  const CodeModule program = service<BundleCode>().program();
  if (const Ref<NSBundle> known = Lasting::shared().withCode(program)) return known;
  const Ref<NSString> file = fileOf(program);
  if (!file) return nullptr;
  const Ref<NSString> around = bundleFolderAround(file);
  const Ref<NSString> folder = around ? around : file->stringByDeletingLastPathComponent();
  return Lasting::shared().add(Ref<NSBundle>::adopt(new NSBundle(folder, program)), program);
}

Ref<NSBundle> NSBundle::bundleOfModule(CodeModule module) {
  const Ref<NSBundle> program = mainBundle();
  if (const Ref<NSBundle> loaded = Lasting::shared().withCode(module)) return loaded;
  const Ref<NSString> file = fileOf(module);
  const Ref<NSString> folder = file ? bundleFolderAround(file) : nullptr;
  return folder ? Lasting::shared().add(Ref<NSBundle>::adopt(new NSBundle(folder, nullptr)), nullptr) : program;
}

Ref<NSBundle> NSBundle::bundleForClass(Class one) {
  for (Class each = one; each != nullptr; each = each->superclass()) {
    if (const CodeModule module = service<BundleCode>().moduleAt(each)) return bundleOfModule(module);
  }
  return nullptr;
}

// --- What Info.plist tells

bool NSBundle::isMain() const { return isLoaded() && module_ == service<BundleCode>().program(); }

Ref<NSString> NSBundle::contentsPath() const {
  const Ref<NSString> contents = path_->stringByAppendingPathComponent("Contents");
  return isFolder(contents) ? contents : path_;
}

// Read without the lock: looking for the file calls code of the host, which may ask this bundle. What was read first
// counts.
Ref<NSDictionary> NSBundle::infoDictionary() {
  {
    const std::lock_guard guard(lock());
    if (info_) return info_;
  }
  const Ref<NSDictionary> read = dictionaryInFile(contentsPath()->stringByAppendingPathComponent("Info.plist"));
  if (!read) return NSDictionary::dictionary();
  const std::lock_guard guard(lock());
  if (!info_) info_ = read;
  return info_;
}

Ref<NSObject> NSBundle::objectForInfoDictionaryKey(const Ref<NSString>& key) {
  return infoDictionary()->objectForKey(key);
}

Ref<NSString> NSBundle::bundleIdentifier() { return as<NSString>(objectForInfoDictionaryKey("CFBundleIdentifier")); }

Ref<NSString> NSBundle::executablePath() {
  if (isMain()) return fileOf(module_);
  Ref<NSString> name = as<NSString>(objectForInfoDictionaryKey("CFBundleExecutable"));
  if (!name) name = path_->lastPathComponent()->stringByDeletingPathExtension();
  if (!isFileName(name)) return nullptr;
  const Ref<NSString> contents = contentsPath();
  const bool isFlat = contents == path_;
  return (isFlat ? contents : contents->stringByAppendingPathComponent("Linux"))->stringByAppendingPathComponent(name);
}

// --- Code

bool NSBundle::load() {
  if (isLoaded()) return true;
  const Ref<NSString> executable = executablePath();
  if (!executable) return false;
  const CodeModule module = service<BundleCode>().load(executable->fileSystemRepresentation());
  if (module == nullptr) return false;
  // First, as memory may run out: what is loaded lasts. The code may have asked for its bundle while it was loaded.
  const Ref<NSBundle> lasting = Lasting::shared().add(this, module);
  for (NSBundle* each : {lasting.get(), this}) each->module_.store(module, std::memory_order_release);
  return true;
}

// The first of that name, or of any name for none.
Class NSBundle::ownClass(const Ref<NSString>& name) const {
  for (Class one : detail::registeredClasses()) {
    const bool matches = !name || name->isEqualToString(NSStringFromClass(one));
    if (matches && service<BundleCode>().moduleAt(one) == module_) return one;
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
