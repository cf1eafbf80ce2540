#include <ZtFoundation/Logging.h>

#include <gmock/gmock.h>

#include <sys/stat.h>

#include "logging/TestBundle.h"
#include "support/ReplacedMethod.h"

#include <ZtFoundation/platform/Bundle.h>
#include <ZtFoundation/platform/FileManager.h>

namespace plugintests {

using namespace ZtFoundation;
using testbundle::TestBundle;

Ref<ZtLoggingManager> load(const TestBundle& bundle) {
  return ZtLoggingManager::loggingManagerWithBundlePath(bundle.path());
}

std::string lastMessage(const Ref<ZtLoggingManager>& manager) {
  return send<Ref<NSString>>(manager, ZT_SELECTOR("lastMessage"))->utf8();
}

// ---- What loads

TEST(PluginManager, IsMadeOfThePrincipalClass) {
  const TestBundle bundle("Recording", "RecordingManager");
  testing::internal::CaptureStderr();
  const Ref<ZtLoggingManager> manager = load(bundle);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  ASSERT_TRUE(manager);
  EXPECT_STREQ(manager->isa()->name(), "RecordingManager");
  EXPECT_EQ(manager->retainCount(), 1U);
  EXPECT_FALSE(ZtLoggingManager::sharedLoggingManager());
  EXPECT_FALSE(send<Ref<NSString>>(manager, ZT_SELECTOR("lastMessage")));
}

TEST(PluginManager, ReceivesMessages) {
  const TestBundle bundle("Recording", "RecordingManager");
  const Ref<ZtLoggingManager> manager = load(bundle);
  ASSERT_TRUE(manager);
  manager->configureWithPath_watch("/etc/log.plist", true);
  EXPECT_EQ(lastMessage(manager), "configured with /etc/log.plist, watched");
  ZtLoggingManager::setSharedLoggingManager(manager);
  YbLog("camera", ZtLogLevelDebug, "%d of %@", 3, "ten");
  ZtLoggingManager::setSharedLoggingManager(nullptr);
  EXPECT_EQ(lastMessage(manager), "camera 7 3 of ten");
  manager->appendToLogger_level_message("lens", 5, "plain");
  EXPECT_EQ(lastMessage(manager), "lens 5 plain");
}

bool nothingExists(NSFileManager&, const Ref<NSString>&) { return false; }

TEST(PluginManager, IsLoadedOnlyFromWhatTheFileManagerFinds) {
  const TestBundle bundle("Recording", "RecordingManager");
  const ZtFoundation::test::ReplacedMethod<&nothingExists> replaced(NSFileManager::classObject(),
                                                                    ZT_SELECTOR("fileExistsAtPath:"));
  EXPECT_FALSE(load(bundle));
}

TEST(PluginManager, IsNewEachTime) {
  const TestBundle bundle("Recording", "RecordingManager");
  const Ref<ZtLoggingManager> first = load(bundle);
  const Ref<ZtLoggingManager> second = load(bundle);
  ASSERT_TRUE(first && second);
  EXPECT_FALSE(first == second);
  EXPECT_EQ(first->isa(), second->isa());
}

TEST(PluginManager, IsOfTheBundlesOwnClassWhenTwoBundlesUseOneName) {
  const TestBundle one("Recording", "RecordingManager");
  const TestBundle other("Recording", "RecordingManager");
  const Ref<ZtLoggingManager> first = load(one);
  const Ref<ZtLoggingManager> second = load(other);
  ASSERT_TRUE(first && second);
  EXPECT_NE(first->isa(), second->isa());
}

TEST(PluginManager, MayBeOfTheBaseClassItself) {
  const Ref<ZtLoggingManager> manager = load(TestBundle("Recording", "ZtLoggingManager"));
  ASSERT_TRUE(manager);
  EXPECT_TRUE(manager->isMemberOfClass(ZtLoggingManager::classObject()));
}

TEST(PluginManager, WithoutPrincipalClassIsOfTheFirstClass) {
  const Ref<ZtLoggingManager> manager = load(TestBundle("Recording", ""));
  ASSERT_TRUE(manager);
  EXPECT_STREQ(manager->isa()->name(), "RecordingManager");
}

TEST(PluginManager, WithoutInfoIsFoundByTheBundlesName) {
  const TestBundle bundle;
  bundle.addCode("Recording", "Test");
  EXPECT_TRUE(load(bundle));
}

TEST(PluginManager, LoadsThroughLinksAndRelativePaths) {
  const TestBundle bundle("Recording", "RecordingManager");
  const test::ScratchFolder folder;
  std::filesystem::create_directory_symlink(bundle.path(), folder / "Link.bundle");
  const Ref<ZtLoggingManager> linked = ZtLoggingManager::loggingManagerWithBundlePath(folder / "Link.bundle");
  const Ref<ZtLoggingManager> relative =
      ZtLoggingManager::loggingManagerWithBundlePath(std::filesystem::relative(bundle.path()).string());
  ASSERT_TRUE(linked && relative);
  EXPECT_EQ(linked->isa(), relative->isa());
}

TEST(PluginManager, IsInitialisedByAMessage) {
  const Ref<ZtLoggingManager> manager = load(TestBundle("Initialising", "PreparedManager"));
  ASSERT_TRUE(manager);
  EXPECT_EQ(lastMessage(manager), "prepared");
  EXPECT_EQ(manager->retainCount(), 1U);
}

TEST(PluginManager, StaysLoadedWhenItsFolderIsGone) {
  Ref<ZtLoggingManager> manager;
  {
    const TestBundle bundle("Recording", "RecordingManager");
    manager = load(bundle);
    ASSERT_TRUE(manager);
    std::filesystem::remove_all(bundle.path());
  }
  manager->appendToLogger_level_message("lens", 5, "still here");
  EXPECT_EQ(lastMessage(manager), "lens 5 still here");
  EXPECT_TRUE(class_createInstance(manager->isa()));
}

// ---- What is refused

TEST(PluginManager, RefusalsLogNothing) {
  const TestBundle empty;
  testing::internal::CaptureStderr();
  EXPECT_FALSE(ZtLoggingManager::loggingManagerWithBundlePath(nullptr));
  EXPECT_FALSE(ZtLoggingManager::loggingManagerWithBundlePath(empty.path() + ".gone"));
  EXPECT_FALSE(load(empty));
  EXPECT_FALSE(load(TestBundle("MissingSymbol", "RecordingManager")));
  EXPECT_FALSE(load(TestBundle("Unrelated", "UnrelatedThing")));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(PluginManager, WhoseInitAnswersNoneOrThrowsIsNone) {
  EXPECT_FALSE(load(TestBundle("Initialising", "RefusingManager")));
  EXPECT_FALSE(load(TestBundle("Initialising", "FailingManager")));
}

TEST(PluginManager, OfAClassThatDeniesItsSuperclassIsNone) {
  EXPECT_FALSE(load(TestBundle("Initialising", "DenyingManager")));
}

TEST(PluginManager, OfNoPathIsNone) {
  EXPECT_FALSE(ZtLoggingManager::loggingManagerWithBundlePath(nullptr));
  EXPECT_FALSE(ZtLoggingManager::loggingManagerWithBundlePath(""));
}

TEST(PluginManager, OfNothingAtThePathIsNone) {
  const TestBundle bundle("Recording", "RecordingManager");
  EXPECT_FALSE(ZtLoggingManager::loggingManagerWithBundlePath(bundle.path() + ".gone"));
  EXPECT_FALSE(ZtLoggingManager::loggingManagerWithBundlePath(bundle.path() + "/Contents/Info.plist"));
}

TEST(PluginManager, OfCodeThatDoesNotLoadIsNone) {
  const TestBundle empty;
  EXPECT_FALSE(load(empty));
  EXPECT_FALSE(load(TestBundle("MissingSymbol", "RecordingManager")));

  const TestBundle noELF("Recording", "RecordingManager");
  noELF.setExecutable("#!/bin/sh\necho no code\n");
  EXPECT_FALSE(load(noELF));
  noELF.setExecutable("");
  EXPECT_FALSE(load(noELF));
  noELF.setExecutable(
      "\x7f"
      "ELF and no more");
  EXPECT_FALSE(load(noELF));
}

TEST(PluginManager, OfACutShortSharedObjectIsNone) {
  const TestBundle bundle("Recording", "RecordingManager");
  std::filesystem::resize_file(bundle.contents() / "Linux/Executable", 100);
  EXPECT_FALSE(load(bundle));
}

TEST(PluginManager, OfAnExecutableThatIsNoFileIsNone) {
  const TestBundle folder;
  folder.setInfo(testbundle::infoText({{"CFBundleExecutable", "Executable"}}));
  std::filesystem::create_directories(folder.contents() / "Linux/Executable");
  EXPECT_FALSE(load(folder));

  const TestBundle pipe;
  pipe.setInfo(testbundle::infoText({{"CFBundleExecutable", "Pipe"}}));
  std::filesystem::create_directories(pipe.contents() / "Linux");
  ASSERT_EQ(::mkfifo((pipe.contents() / "Linux/Pipe").c_str(), 0600), 0);
  EXPECT_FALSE(load(pipe));
}

TEST(PluginManager, OfAnExecutableOutsideTheBundleIsNone) {
  const TestBundle bundle("Recording", "RecordingManager");
  for (const char* name : {"../Linux/Executable", "..", ".", "", "/Executable"}) {
    bundle.setInfo(testbundle::infoText({{"CFBundleExecutable", name}}));
    EXPECT_FALSE(load(bundle)) << name;
  }
}

TEST(PluginManager, OfAnUnrelatedPrincipalClassIsNone) {
  EXPECT_FALSE(load(TestBundle("Unrelated", "UnrelatedThing")));
  EXPECT_FALSE(load(TestBundle("Recording", "NSString")));
  EXPECT_FALSE(load(TestBundle("Unrelated", "")));
  EXPECT_TRUE(load(TestBundle("Unrelated", "SecondManager")));
}

TEST(PluginManager, OfAMissingPrincipalClassIsNone) {
  EXPECT_FALSE(load(TestBundle("Recording", "NoSuchManager")));
  EXPECT_FALSE(load(TestBundle("Recording", " RecordingManager")));
}

TEST(PluginManager, OfAClassThatCannotBeMadeIsNone) {
  EXPECT_FALSE(load(TestBundle("Unmakeable", "ThrowingManager")));
  EXPECT_FALSE(load(TestBundle("Unmakeable", "DemandingManager")));
}

TEST(PluginManager, WithBrokenInfoIsFoundByTheBundlesName) {
  const TestBundle bundle;
  bundle.addCode("Recording", "Test");
  for (const char* text : {"", "no property list", "<plist><array/></plist>", "<plist><dict><key>NSPrinc"}) {
    bundle.setInfo(text);
    EXPECT_TRUE(load(bundle)) << text;
  }
}

TEST(PluginManager, WithAPrincipalClassThatIsNoStringIsNone) {
  const TestBundle bundle;
  bundle.addCode("Recording", "Test");
  bundle.setInfo("<plist><dict><key>NSPrincipalClass</key><integer>5</integer></dict></plist>");
  EXPECT_FALSE(load(bundle));
}

// In a process of its own, because the system's loader remembers.
TEST(PluginManagerDeathTest, WhoseInitialisationThrowsIsNone) {
  const TestBundle bundle("ThrowingInitializer", "HalfLoadedManager");
  EXPECT_EXIT(
      {
        const bool refused = !load(bundle) && !load(bundle);
        const bool isAnotherLoaded = static_cast<bool>(load(TestBundle("Recording", "RecordingManager")));
        std::exit(refused && isAnotherLoaded ? 7 : 1);  // not before the other one's folder is gone
      },
      testing::ExitedWithCode(7), "");
}

// ---- Bundles

TEST(Bundle, IsAFolder) {
  const TestBundle test("Recording", "RecordingManager");
  const Ref<NSBundle> bundle = NSBundle::bundleWithPath(test.path());
  ASSERT_TRUE(bundle);
  EXPECT_EQ(bundle->bundlePath()->utf8(), test.path());
  EXPECT_EQ(bundle->executablePath()->utf8(), test.path() + "/Contents/Linux/Executable");
  EXPECT_FALSE(NSBundle::bundleWithPath(nullptr));
  EXPECT_FALSE(NSBundle::bundleWithPath(test.path() + "/Contents/Info.plist"));
}

TEST(Bundle, ReadsItsInfo) {
  const TestBundle test("Recording", "RecordingManager");
  const Ref<NSBundle> bundle = NSBundle::bundleWithPath(test.path());
  EXPECT_TRUE(isEqual(bundle->objectForInfoDictionaryKey("NSPrincipalClass"), Ref<NSString>("RecordingManager")));
  EXPECT_FALSE(bundle->objectForInfoDictionaryKey("Missing"));
  EXPECT_FALSE(bundle->objectForInfoDictionaryKey(nullptr));
}

TEST(Bundle, LoadsOnce) {
  const TestBundle test("Recording", "RecordingManager");
  const Ref<NSBundle> bundle = NSBundle::bundleWithPath(test.path());
  EXPECT_FALSE(bundle->isLoaded());
  EXPECT_TRUE(bundle->load());
  EXPECT_TRUE(bundle->isLoaded());
  EXPECT_TRUE(bundle->load());
  EXPECT_STREQ(class_getName(bundle->principalClass()), "RecordingManager");
}

TEST(Bundle, PrincipalClassLoadsTheCode) {
  const TestBundle test("Recording", "RecordingManager");
  const Ref<NSBundle> bundle = NSBundle::bundleWithPath(test.path());
  EXPECT_NE(bundle->principalClass(), nullptr);
  EXPECT_TRUE(bundle->isLoaded());
  const TestBundle empty;
  EXPECT_EQ(NSBundle::bundleWithPath(empty.path())->principalClass(), nullptr);
}

}  // namespace plugintests
