#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Runtime.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "support/ScratchFolder.h"

namespace ZtFoundation::test {

class Settler : public NSObject {
  ZT_OBJECT(Settler, NSObject)
};

ZT_REGISTER_CLASS(Settler);

namespace {

namespace fs = std::filesystem;
using JxResourcesExtensions::_plistWithPath_mutabilityOption;
using JxResourcesExtensions::mutablePropertyListWithResourceNamed;
using JxResourcesExtensions::mutablePropertyListWithResourceNamed_bundleForClass;
using JxResourcesExtensions::propertyListWithResourceNamed;
using JxResourcesExtensions::propertyListWithResourceNamed_bundleForClass;
using QvPropertyListExtensions::propertyListForResourceNamed_ofType;
using QvPropertyListExtensions::propertyListForResourceNamed_ofType_inDirectory;
using QvPropertyListExtensions::propertyListForResourceNamed_ofType_inDirectory_forLocalization;

const std::string kINI = "[Main]\nName=Alice\n";

std::string xmlWith(const std::string& value) {
  std::string text = "<plist version=\"1.0\"><dict><key>k</key><string>";
  return text.append(value).append("</string></dict></plist>");
}

/// What a parse of `bytes` complains about, as lines of the log end.
std::string errorIn(const std::string& bytes) {
  Ref<NSString> error;
  NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
      NSData::dataWithString(std::string(bytes)), 0, nullptr, &error);
  return " " + error->utf8() + "\n";
}

std::size_t linesIn(const std::string& log) {
  return static_cast<std::size_t>(std::count(log.begin(), log.end(), '\n'));
}

class BundlePropertyListTests : public testing::Test {
 protected:
  BundlePropertyListTests() {
    setenv("LC_ALL", "de_DE.UTF-8", 1);
    unsetenv("LANGUAGE");
    fs::create_directories(resources() + "/de.lproj/sub");
    fs::create_directories(resources() + "/fr.lproj/sub");
    fs::create_directories(resources() + "/sub");
    add("Defaults.plist", xmlWith("plain"));
    bundle = NSBundle::bundleWithPath(folder / "Test.bundle");
  }
  ~BundlePropertyListTests() override { unsetenv("LC_ALL"); }

  std::string resources() const { return folder / "Test.bundle/Contents/Resources"; }
  void add(const std::string& name, const std::string& bytes) const { writeFile(resources() + "/" + name, bytes); }
  Ref<NSString> pathOf(const std::string& name) const { return resources() + "/" + name; }

  ScratchFolder folder;
  Ref<NSBundle> bundle;
};

std::string valueIn(const Ref<NSObject>& plist) {
  const Ref<NSDictionary> dictionary = as<NSDictionary>(plist);
  return dictionary ? as<NSString>(dictionary->objectForKey("k"))->utf8() : "none";
}
std::string valueIn(const Ref<QvPropertyList>& store) { return store ? valueIn(store->values()) : "none"; }

// ---- Values

TEST_F(BundlePropertyListTests, TheNameCarriesTheExtension) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(valueIn(propertyListWithResourceNamed(bundle, "Defaults.plist")), "plain");
  EXPECT_EQ(valueIn(mutablePropertyListWithResourceNamed(bundle, "Defaults.plist")), "plain");
  EXPECT_FALSE(propertyListWithResourceNamed(bundle, "Defaults"));
  EXPECT_FALSE(mutablePropertyListWithResourceNamed(bundle, "Defaults"));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(BundlePropertyListTests, TheFirstFormIsImmutable) {
  const auto value = as<NSDictionary>(propertyListWithResourceNamed(bundle, "Defaults.plist"));
  ASSERT_TRUE(value);
  EXPECT_FALSE(value->isMutable());
  EXPECT_FALSE(value->objectForKey("k")->isMutable());
}

TEST_F(BundlePropertyListTests, TheSecondFormIsMutableDownToTheStrings) {
  const auto value = as<NSMutableDictionary>(mutablePropertyListWithResourceNamed(bundle, "Defaults.plist"));
  ASSERT_TRUE(value);
  const auto text = as<NSMutableString>(value->objectForKey("k"));
  ASSERT_TRUE(text);
  text->appendString(" and more");
  EXPECT_EQ(valueIn(value), "plain and more");
  EXPECT_EQ(valueIn(mutablePropertyListWithResourceNamed(bundle, "Defaults.plist")), "plain");
}

TEST_F(BundlePropertyListTests, LocalizedResourcesAreFound) {
  add("de.lproj/Words.plist", xmlWith("deutsch"));
  add("fr.lproj/Words.plist", xmlWith("francais"));
  EXPECT_EQ(valueIn(propertyListWithResourceNamed(bundle, "Words.plist")), "deutsch");
  EXPECT_EQ(valueIn(mutablePropertyListWithResourceNamed(bundle, "Words.plist")), "deutsch");
}

TEST_F(BundlePropertyListTests, AllFormatsOfThePlatformAreRead) {
  add("text.plist", "{k = open;}");
  EXPECT_EQ(valueIn(propertyListWithResourceNamed(bundle, "text.plist")), "open");
  const Ref<NSData> binary = NSPropertyListSerialization::dataFromPropertyList_format_errorDescription(
      propertyListWithResourceNamed(bundle, "Defaults.plist"), NSPropertyListBinaryFormat_v1_0, nullptr);
  add("binary.plist", std::string(binary->view()));
  EXPECT_EQ(valueIn(propertyListWithResourceNamed(bundle, "binary.plist")), "plain");
}

TEST_F(BundlePropertyListTests, WithoutANameTheBundleIsNotAsked) {
  EXPECT_FALSE(propertyListWithResourceNamed(bundle, nullptr));
  writeFile(folder / "Test.bundle/Contents/Info.plist", xmlWith("read later"));
  EXPECT_EQ(bundle->infoDictionary()->count(), 1U);
}

TEST_F(BundlePropertyListTests, WhatIsMissingOrUnreadableIsNoneWithoutAWord) {
  fs::create_directory(resources() + "/folder.plist");
  testing::internal::CaptureStderr();
  EXPECT_FALSE(propertyListWithResourceNamed(bundle, "missing.plist"));
  EXPECT_FALSE(propertyListWithResourceNamed(bundle, "folder.plist"));
  EXPECT_FALSE(propertyListWithResourceNamed(bundle, nullptr));
  EXPECT_FALSE(mutablePropertyListWithResourceNamed(bundle, nullptr));
  EXPECT_FALSE(propertyListWithResourceNamed(bundle, ""));
  EXPECT_FALSE(propertyListWithResourceNamed(nullptr, "Defaults.plist"));
  EXPECT_FALSE(mutablePropertyListWithResourceNamed(nullptr, "Defaults.plist"));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(BundlePropertyListTests, WhatIsNoPropertyListIsNoneWithTheErrorInTheLog) {
  for (const std::string& bytes : {kINI, std::string(), xmlWith("\x01"), std::string("<plist><dict>%@ %s %n")}) {
    add("bad.plist", bytes);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(propertyListWithResourceNamed(bundle, "bad.plist"));
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(log.ends_with(errorIn(bytes))) << log;
    EXPECT_EQ(linesIn(log), 1U) << log;
    testing::internal::CaptureStderr();
    EXPECT_FALSE(mutablePropertyListWithResourceNamed(bundle, "bad.plist"));
    EXPECT_EQ(linesIn(testing::internal::GetCapturedStderr()), 1U);
  }
}

TEST_F(BundlePropertyListTests, ThePathFormTakesAnyFileAndOption) {
  const auto containers = as<NSDictionary>(_plistWithPath_mutabilityOption(bundle, pathOf("Defaults.plist"), 1));
  ASSERT_TRUE(containers);
  EXPECT_TRUE(containers->isMutable());
  EXPECT_FALSE(containers->objectForKey("k")->isMutable());
  writeFile(folder / "elsewhere", xmlWith("elsewhere"));
  EXPECT_EQ(valueIn(_plistWithPath_mutabilityOption(bundle, folder / "elsewhere", 0)), "elsewhere");
  testing::internal::CaptureStderr();
  EXPECT_FALSE(_plistWithPath_mutabilityOption(bundle, nullptr, 0));
  EXPECT_FALSE(_plistWithPath_mutabilityOption(bundle, folder / "missing", 0));
  EXPECT_FALSE(_plistWithPath_mutabilityOption(nullptr, folder / "elsewhere", 0));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// ---- The bundle of a class

/// A resource of the main bundle, for the length of a test.
class MainResource {
 public:
  explicit MainResource(const std::string& bytes) { writeFile(path(), bytes); }
  MainResource(const MainResource&) = delete;
  MainResource& operator=(const MainResource&) = delete;
  ~MainResource() { fs::remove(path()); }
  static std::string name() { return "BundleResourcesTests.plist"; }

 private:
  static std::string path() { return NSBundle::mainBundle()->resourcePath()->utf8() + "/" + name(); }
};

TEST_F(BundlePropertyListTests, TheClassFormsAskTheBundleOfTheClass) {
  const MainResource resource(xmlWith("main"));
  Class settler = Settler::classObject();
  const auto value = as<NSDictionary>(propertyListWithResourceNamed_bundleForClass(resource.name(), settler));
  const auto changeable =
      as<NSDictionary>(mutablePropertyListWithResourceNamed_bundleForClass(resource.name(), settler));
  ASSERT_TRUE(value && changeable);
  EXPECT_EQ(valueIn(value), "main");
  EXPECT_FALSE(value->isMutable());
  EXPECT_TRUE(changeable->isMutable());
  EXPECT_TRUE(changeable->objectForKey("k")->isMutable());
}

TEST_F(BundlePropertyListTests, TheClassFormsOfNoClassOrNameAreNone) {
  const MainResource resource(xmlWith("main"));
  EXPECT_FALSE(propertyListWithResourceNamed_bundleForClass(resource.name(), nullptr));
  EXPECT_FALSE(mutablePropertyListWithResourceNamed_bundleForClass(resource.name(), nullptr));
  EXPECT_FALSE(propertyListWithResourceNamed_bundleForClass(nullptr, Settler::classObject()));
  EXPECT_FALSE(mutablePropertyListWithResourceNamed_bundleForClass(nullptr, Settler::classObject()));
}

// ---- Stores

TEST_F(BundlePropertyListTests, AStoreIsOnTheResource) {
  const Ref<QvPropertyList> store = propertyListForResourceNamed_ofType(bundle, "Defaults", "plist");
  ASSERT_TRUE(store);
  EXPECT_EQ(valueIn(store), "plain");
  EXPECT_EQ(store->path()->utf8(), resources() + "/Defaults.plist");
  EXPECT_EQ(store->format(), NSPropertyListXMLFormat_v1_0);
  EXPECT_FALSE(store->hasUnsavedChanges());
  EXPECT_FALSE(propertyListForResourceNamed_ofType(bundle, "Defaults", "plist") == store);
}

TEST_F(BundlePropertyListTests, AStoreIsSavedToTheResource) {
  const Ref<QvPropertyList> store = propertyListForResourceNamed_ofType(bundle, "Defaults", "plist");
  as<NSMutableDictionary>(store->values())->setObject_forKey("changed", "k");
  EXPECT_TRUE(store->hasUnsavedChanges());
  EXPECT_TRUE(store->saveChanges());
  EXPECT_EQ(valueIn(propertyListWithResourceNamed(bundle, "Defaults.plist")), "changed");
}

TEST_F(BundlePropertyListTests, EachFormLooksWhereItSays) {
  add("sub/a.plist", xmlWith("sub"));
  add("de.lproj/sub/b.plist", xmlWith("deutsch"));
  add("fr.lproj/sub/b.plist", xmlWith("francais"));
  add("fr.lproj/c.plist", xmlWith("top"));
  const auto in = [&](const char* name, const Ref<NSString>& subfolder) {
    return valueIn(propertyListForResourceNamed_ofType_inDirectory(bundle, name, "plist", subfolder));
  };
  const auto localized = [&](const char* name, const Ref<NSString>& subfolder, const Ref<NSString>& localization) {
    return valueIn(propertyListForResourceNamed_ofType_inDirectory_forLocalization(bundle, name, "plist", subfolder,
                                                                                   localization));
  };
  EXPECT_EQ(valueIn(propertyListForResourceNamed_ofType(bundle, "a", "plist")), "none");
  EXPECT_EQ(in("a", "sub"), "sub");
  EXPECT_EQ(in("b", "sub"), "deutsch");
  EXPECT_EQ(in("Defaults", nullptr), "plain");
  EXPECT_EQ(in("Defaults", "sub"), "none");
  EXPECT_EQ(localized("b", "sub", "fr"), "francais");
  EXPECT_EQ(localized("c", nullptr, "fr"), "top");
  EXPECT_EQ(localized("b", "sub", "ja"), "none");
  EXPECT_EQ(localized("a", "sub", "ja"), "sub");
}

TEST_F(BundlePropertyListTests, AStoreOnAMissingResourceIsNone) {
  testing::internal::CaptureStderr();
  EXPECT_FALSE(propertyListForResourceNamed_ofType(bundle, "missing", "plist"));
  EXPECT_FALSE(propertyListForResourceNamed_ofType(bundle, "Defaults.plist", "plist"));
  EXPECT_FALSE(propertyListForResourceNamed_ofType(bundle, nullptr, "plist"));
  EXPECT_FALSE(propertyListForResourceNamed_ofType(nullptr, "Defaults", "plist"));
  EXPECT_FALSE(propertyListForResourceNamed_ofType_inDirectory(nullptr, "Defaults", "plist", nullptr));
  EXPECT_FALSE(
      propertyListForResourceNamed_ofType_inDirectory_forLocalization(nullptr, "Defaults", "plist", nullptr, "de"));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(BundlePropertyListTests, AStoreOnINITextIsEmpty) {
  add("main.ini", kINI);
  testing::internal::CaptureStderr();
  const Ref<QvPropertyList> store = propertyListForResourceNamed_ofType(bundle, "main", "ini");
  EXPECT_EQ(linesIn(testing::internal::GetCapturedStderr()), 2U);
  ASSERT_TRUE(store);
  EXPECT_EQ(as<NSDictionary>(store->values())->count(), 0U);
  EXPECT_TRUE(store->hasUnsavedChanges());
  EXPECT_EQ(store->format(), NSPropertyListXMLFormat_v1_0);
}

}  // namespace
}  // namespace ZtFoundation::test
