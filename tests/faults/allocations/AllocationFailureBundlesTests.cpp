// Bundles and their resources with each of their allocations failing.
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include <ZtFoundation/Logging.h>
#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Bundle.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Runtime.h>

#include <support/FailingAllocations.h>
#include <support/FileTree.h>
#include <support/QuietStandardError.h>
#include <support/ScopedEnvironment.h>

namespace ZtFoundation::test {
namespace {

constexpr char kInformation[] =
    "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>org.example.a.bundle.for.tests</string>"
    "<key>CFBundleExecutable</key><string>Missing</string><key>NSPrincipalClass</key><string>NSMissing</string>"
    "<key>CFBundleDevelopmentRegion</key><string>en</string></dict></plist>";
constexpr char kDefaults[] =
    "<plist version=\"1.0\"><dict><key>a setting</key><string>its default value</string></dict></plist>";

// A bundle with code that is loaded for the first time in each run.
struct PlugIn {
  ScratchFolder folder;
  Ref<NSString> path = folder.string("PlugIn.bundle");
  Ref<NSBundle> bundle = make();

 private:
  Ref<NSBundle> make() const {
    const std::string code = folder / "PlugIn.bundle/Contents/Linux";
    std::filesystem::create_directories(code);
    std::filesystem::copy_file(ZT_TEST_PLUGINS "/AllocatingManager.so", code + "/PlugIn");
    return NSBundle::bundleWithPath(path);
  }
};

// A bundle without code. Each run asks an object of its own, which knows nothing yet.
struct Asked {
  ScopedEnvironment environment;
  Ref<NSString> path = NSString::stringWithFileSystemRepresentation(root());
  Ref<NSBundle> bundle = NSBundle::bundleWithPath(path);
  Ref<NSString> name = "Defaults.plist";
  Ref<NSString> stem = "Defaults";
  Ref<NSString> type = "plist";
  Ref<NSString> subfolder = "a subfolder";
  Ref<NSString> defaults = NSBundle::bundleWithPath(path)->pathForResource_ofType(stem, type);

  Asked() { environment.set("LANG", "ja_JP.UTF-8"); }
  std::string describe() const { return describeProcess(); }

  static const std::string& root() {
    static const std::string root = make();
    return root;
  }

 private:
  static std::string make() {
    const std::string path = FileTree::beside("Test of allocations.bundle");
    const std::string resources = path + "/Contents/Resources/";
    std::filesystem::create_directories(resources + "a subfolder/en.lproj");
    std::filesystem::create_directories(resources + "ja.lproj");
    writeFile(path + "/Contents/Info.plist", kInformation);
    writeFile(resources + "Defaults.plist", kDefaults);
    writeFile(resources + "ja.lproj/Text.txt", "text");
    writeFile(resources + "a subfolder/en.lproj/Defaults.plist", kDefaults);
    return path;
  }
};

class AllocationFailureBundles : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(describeTree(Asked::root()), before_); }

 private:
  QuietStandardError quiet_;
  std::string before_ = describeTree(Asked::root());
};

TEST_F(AllocationFailureBundles, Finding) {
  const EachOf<Asked> each;
  each("NSBundle::bundleWithPath", [](Asked& a) { return NSBundle::bundleWithPath(a.path)->bundlePath(); });
  each("NSBundle::mainBundle", [](Asked&) { return NSBundle::mainBundle()->bundlePath(); });
  each("NSBundle::bundleForClass",
       [](Asked&) { return NSBundle::bundleForClass(NSBundle::classObject())->bundlePath(); });
  each("NSBundle::bundlePath", [](Asked& a) { return a.bundle->bundlePath(); });
  each("NSBundle::classObject", [](Asked&) { return NSBundle::classObject(); });
}

TEST_F(AllocationFailureBundles, Information) {
  const EachOf<Asked> each;
  each("NSBundle::infoDictionary", [](Asked& a) { return a.bundle->infoDictionary(); });
  each("NSBundle::objectForInfoDictionaryKey",
       [](Asked& a) { return a.bundle->objectForInfoDictionaryKey("CFBundleExecutable"); });
  each("NSBundle::bundleIdentifier", [](Asked& a) { return a.bundle->bundleIdentifier(); });
  each("NSBundle::executablePath", [](Asked& a) { return a.bundle->executablePath(); });
  each("NSBundle::executablePath (of the program)", [](Asked&) { return NSBundle::mainBundle()->executablePath(); });
  each("NSBundle::load", [](Asked& a) { return a.bundle->load(); });
  each("NSBundle::isLoaded", [](Asked& a) { return a.bundle->isLoaded(); });
  each("NSBundle::principalClass", [](Asked& a) { return a.bundle->principalClass() != nullptr; });
  each("NSBundle::principalClass (of the program)",
       [](Asked&) { return class_getName(NSBundle::mainBundle()->principalClass()); });
}

// Loaded code stays, and so do its bundle and what the system keeps of it.
TEST_F(AllocationFailureBundles, Code) {
  const EachOf<PlugIn> each;
  each("NSBundle::load (code)", [](PlugIn& p) { return p.bundle->load() && p.bundle->isLoaded(); },
       {.keepsMemory = true});
  each("NSBundle::principalClass (code)",
       [](PlugIn& p) { return std::string(class_getName(p.bundle->principalClass())); }, {.keepsMemory = true});
  // What the constructor throws is none.
  each("ZtLoggingManager::loggingManagerWithBundlePath (code)",
       [](PlugIn& p) { return ZtLoggingManager::loggingManagerWithBundlePath(p.path) != nullptr; },
       {.documented = {"0"}, .keepsMemory = true});
}

TEST_F(AllocationFailureBundles, Resources) {
  const EachOf<Asked> each;
  each("NSBundle::resourcePath", [](Asked& a) { return a.bundle->resourcePath(); });
  each("NSBundle::pathForResource_ofType", [](Asked& a) { return a.bundle->pathForResource_ofType(a.stem, a.type); });
  each("NSBundle::pathForResource_ofType (localized)",
       [](Asked& a) { return a.bundle->pathForResource_ofType("Text", "txt"); });
  each("NSBundle::pathForResource_ofType_inDirectory",
       [](Asked& a) { return a.bundle->pathForResource_ofType_inDirectory(a.stem, a.type, a.subfolder); });
  each("NSBundle::pathForResource_ofType_inDirectory_forLocalization", [](Asked& a) {
    return a.bundle->pathForResource_ofType_inDirectory_forLocalization(a.stem, a.type, a.subfolder, "en");
  });
  each("NSBundle::localizations", [](Asked& a) { return a.bundle->localizations(); });
  each("NSBundle::preferredLocalizations", [](Asked& a) { return a.bundle->preferredLocalizations(); });
}

TEST_F(AllocationFailureBundles, PropertyLists) {
  using namespace JxResourcesExtensions;
  using namespace QvPropertyListExtensions;
  const EachOf<Asked> each;
  each("JxResourcesExtensions::propertyListWithResourceNamed",
       [](Asked& a) { return propertyListWithResourceNamed(a.bundle, a.name); });
  each("JxResourcesExtensions::mutablePropertyListWithResourceNamed",
       [](Asked& a) { return mutablePropertyListWithResourceNamed(a.bundle, a.name); });
  each("JxResourcesExtensions::propertyListWithResourceNamed_bundleForClass",
       [](Asked& a) { return propertyListWithResourceNamed_bundleForClass(a.name, NSBundle::classObject()); });
  each("JxResourcesExtensions::mutablePropertyListWithResourceNamed_bundleForClass",
       [](Asked& a) { return mutablePropertyListWithResourceNamed_bundleForClass(a.name, NSBundle::classObject()); });
  each("JxResourcesExtensions::_plistWithPath_mutabilityOption",
       [](Asked& a) { return _plistWithPath_mutabilityOption(a.bundle, a.defaults, 1); });
  each("QvPropertyListExtensions::propertyListForResourceNamed_ofType",
       [](Asked& a) { return propertyListForResourceNamed_ofType(a.bundle, a.stem, a.type)->values(); });
  each("QvPropertyListExtensions::propertyListForResourceNamed_ofType_inDirectory", [](Asked& a) {
    return propertyListForResourceNamed_ofType_inDirectory(a.bundle, a.stem, a.type, a.subfolder)->values();
  });
  each("QvPropertyListExtensions::propertyListForResourceNamed_ofType_inDirectory_forLocalization", [](Asked& a) {
    return propertyListForResourceNamed_ofType_inDirectory_forLocalization(a.bundle, a.stem, a.type, a.subfolder, "en")
        ->values();
  });
}

}  // namespace
}  // namespace ZtFoundation::test
