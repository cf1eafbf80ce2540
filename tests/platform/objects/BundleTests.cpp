#include <ZtFoundation/platform/Bundle.h>

#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/PropertyListSerialization.h>
#include <ZtFoundation/platform/Runtime.h>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <sstream>
#include <utility>

#include "support/ChildProcess.h"
#include "support/ReplacedMethod.h"
#include "support/Sanitizers.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {

class Inhabitant : public NSObject {
  ZT_OBJECT(Inhabitant, NSObject)
};

ZT_REGISTER_CLASS(Inhabitant);

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

class BundleTests : public testing::Test {
 protected:
  /// A property list with these strings.
  static std::string info(std::initializer_list<std::pair<std::string, std::string>> entries) {
    std::string text = "{";
    for (const auto& [key, value] : entries) text.append(key).append(" = \"").append(value).append("\"; ");
    return text.append("}");
  }
  std::string bundle(const std::string& name, const std::string& information = "{}") const {
    fs::create_directories(folder / name + "/Contents/Linux");
    writeFile(folder / name + "/Contents/Info.plist", information);
    return folder / name;
  }
  /// A new bundle with a copy of the guest's code, which therefore is a class of its own.
  std::string guestBundle(const std::string& name) const {
    const std::string path = bundle(name, info({{"CFBundleExecutable", "Code"}}));
    fs::copy_file(ZT_TEST_BUNDLES "/Guest.so", path + "/Contents/Linux/Code");
    return path;
  }

  ScratchFolder folder;
};

/// What the host, run from `program`, tells line by line.
std::vector<std::string> linesOf(const std::string& program, const std::string& argument = "") {
  std::string command = "'";
  command.append(program).append("' ").append(argument);
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> output(::popen(command.c_str(), "r"), &::pclose);
  std::vector<std::string> lines;
  char line[4096];
  while (std::fgets(line, sizeof line, output.get()) != nullptr) {
    lines.emplace_back(line);
    lines.back().pop_back();
  }
  return lines;
}

// ---- The main bundle

TEST_F(BundleTests, TheMainBundleOfAProgramOutsideABundleIsItsFolder) {
  const fs::path program = fs::read_symlink("/proc/self/exe");
  const Ref<NSBundle> bundle = NSBundle::mainBundle();
  ASSERT_TRUE(bundle);
  EXPECT_EQ(bundle->bundlePath()->utf8(), program.parent_path());
  EXPECT_EQ(bundle->executablePath()->utf8(), program);
  EXPECT_FALSE(bundle->bundleIdentifier());
  EXPECT_TRUE(bundle->isLoaded());
  EXPECT_TRUE(bundle->load());
}

TEST_F(BundleTests, TheMainBundleIsAlwaysTheSameObject) {
  EXPECT_TRUE(NSBundle::mainBundle() == NSBundle::mainBundle());
  EXPECT_TRUE(NSBundle::bundleWithPath(NSBundle::mainBundle()->bundlePath()) == NSBundle::mainBundle());
}

TEST_F(BundleTests, AProgramInABundleHasThatBundle) {
  const std::string path = bundle("My Viewer.app", info({{"CFBundleIdentifier", "org.example.viewer"}}));
  const std::string program = path + "/Contents/Linux/viewer";
  fs::copy_file(ZT_TEST_BUNDLES "/Host", program);
  EXPECT_THAT(linesOf(program), ElementsAre(path, "org.example.viewer", program, "Resident", "1", "1"));
  fs::create_symlink(program, folder / "link");
  EXPECT_THAT(linesOf(folder / "link"), ElementsAre(path, "org.example.viewer", program, "Resident", "1", "1"));
}

TEST_F(BundleTests, TheMainBundleIsKnownByItsPathFromTheBeginning) {
  const std::string path = bundle("Viewer.app");
  const std::string program = path + "/Contents/Linux/viewer";
  fs::copy_file(ZT_TEST_BUNDLES "/Host", program);
  EXPECT_THAT(linesOf(program, "is '" + path + "'"), ElementsAre("1"));
  EXPECT_THAT(linesOf(program, "is '" + path + "/Contents'"), ElementsAre("0"));
}

TEST_F(BundleTests, AProgramOutsideABundleHasItsFolder) {
  for (const std::string name : {"Contents", "App.app/Contents/Other", "App.app/Linux", "plain"}) {
    fs::create_directories(folder / name);
    const std::string program = (folder / name) + "/program";
    fs::copy_file(ZT_TEST_BUNDLES "/Host", program);
    writeFile(folder / name + "/Info.plist", info({{"CFBundleIdentifier", "flat"}, {"NSPrincipalClass", "Guest"}}));
    EXPECT_THAT(linesOf(program), ElementsAre(folder / name, "flat", program, "(null)", "1", "1"));
  }
}

TEST_F(BundleTests, AProgramMayBeCalledLikeOneThatIsGone) {
  const std::string program = bundle("Viewer.app") + "/Contents/Linux/viewer (deleted)";
  fs::copy_file(ZT_TEST_BUNDLES "/Host", program);
  EXPECT_EQ(linesOf(program).at(2), program);
}

TEST_F(BundleTests, AProgramThatIsGoneHasTheBundleThatItWasIn) {
  const std::string path = bundle("Viewer.app", info({{"CFBundleIdentifier", "org.example.viewer"}}));
  const std::string program = path + "/Contents/Linux/viewer";
  fs::copy_file(ZT_TEST_BUNDLES "/Host", program);
  EXPECT_THAT(linesOf(program, "remove"), ElementsAre(path, "org.example.viewer", program, "Resident", "1", "1"));
}

// ---- Identifiers

TEST_F(BundleTests, TheIdentifierIsThatOfInfo) {
  EXPECT_EQ(NSBundle::bundleWithPath(bundle("a", info({{"CFBundleIdentifier", "org.a"}})))->bundleIdentifier()->utf8(),
            "org.a");
  for (const char* text : {"{}", "{CFBundleIdentifier = (a);}", "(CFBundleIdentifier)", "broken", ""}) {
    EXPECT_FALSE(NSBundle::bundleWithPath(bundle("b", text))->bundleIdentifier()) << text;
  }
}

TEST_F(BundleTests, AnInfoThatIsNoFileIsNotWaitedFor) {
  const std::string path = bundle("a");
  fs::remove(path + "/Contents/Info.plist");
  ASSERT_EQ(::mkfifo((path + "/Contents/Info.plist").c_str(), 0600), 0);
  EXPECT_FALSE(NSBundle::bundleWithPath(path)->bundleIdentifier());
  EXPECT_EQ(NSBundle::bundleWithPath(path)->executablePath()->utf8(), path + "/Contents/Linux/a");
}

TEST_F(BundleTests, AnInfoThatIsTooLongSaysNothing) {
  std::string text = info({{"CFBundleIdentifier", "org.a"}});
  text.resize(1 << 20, ' ');
  EXPECT_TRUE(NSBundle::bundleWithPath(bundle("a", text))->bundleIdentifier());
  EXPECT_FALSE(NSBundle::bundleWithPath(bundle("b", text + " "))->bundleIdentifier());
}

TEST_F(BundleTests, AnInfoThatCannotBeReadNowIsReadLater) {
  if (kIsSanitized) GTEST_SKIP() << "the checks of the sanitizer need descriptors of their own";
  const Ref<NSBundle> asked = NSBundle::bundleWithPath(bundle("a", info({{"CFBundleIdentifier", "org.a"}})));
  EXPECT_EQ(inChild([&] {
              rlimit limit{};
              ::getrlimit(RLIMIT_NOFILE, &limit);
              const rlimit none{0, limit.rlim_max};
              ::setrlimit(RLIMIT_NOFILE, &none);
              const bool isKnown = static_cast<bool>(asked->bundleIdentifier());
              ::setrlimit(RLIMIT_NOFILE, &limit);
              return !isKnown && asked->bundleIdentifier() ? 0 : 1;
            }),
            0);
}

Ref<NSBundle> bundleThatIsAsked;

// Of a host that asks the bundle as soon as the bundle looks for its files.
bool existsAndAsks(const Ref<NSFileManager>&, const Ref<NSString>& path, bool* isFolder) {
  if (const Ref<NSBundle> bundle = std::exchange(bundleThatIsAsked, nullptr)) bundle->infoDictionary();
  return *isFolder = fs::is_directory(path->fileSystemRepresentation());
}

TEST_F(BundleTests, CodeOfTheHostMayAskABundleThatIsBeingRead) {
  const Ref<NSBundle> asked = NSBundle::bundleWithPath(bundle("a", info({{"CFBundleIdentifier", "org.a"}})));
  EXPECT_EQ(inChild([&] {
              ::alarm(20);
              const ReplacedMethod<&existsAndAsks> replaced(NSFileManager::classObject(),
                                                            ZT_SELECTOR("fileExistsAtPath:isDirectory:"));
              bundleThatIsAsked = asked;
              const Ref<NSDictionary> first = asked->infoDictionary();
              return first->count() == 1 && !bundleThatIsAsked && asked->infoDictionary() == first ? 0 : 1;
            }),
            0);
}

TEST_F(BundleTests, AnExecutableNameWithASlashIsNone) {
  for (const char* const name : {"Sub/Code",
                                 "Sub/\xCC\xB8"
                                 "Code",
                                 "../Code", ".."}) {
    const std::string path = bundle("a", info({{"CFBundleExecutable", name}}));
    EXPECT_FALSE(NSBundle::bundleWithPath(path)->executablePath()) << name;
  }
}

TEST_F(BundleTests, AnExecutableNameThatTheSystemWouldCutIsNone) {
  const std::string path = bundle("a");
  const Ref<NSString> name = std::u16string_view(u"Code\0x", 6);
  const Ref<NSData> bytes = NSPropertyListSerialization::dataFromPropertyList_format_errorDescription(
      NSDictionary::of({{"CFBundleExecutable", name}}), NSPropertyListBinaryFormat_v1_0, nullptr);
  writeFile(path + "/Contents/Info.plist", std::string(bytes->view()));
  fs::copy_file(ZT_TEST_BUNDLES "/Guest.so", path + "/Contents/Linux/Code");
  const Ref<NSBundle> bundle = NSBundle::bundleWithPath(path);
  ASSERT_TRUE(bundle->objectForInfoDictionaryKey("CFBundleExecutable"));
  EXPECT_FALSE(bundle->executablePath());
  EXPECT_FALSE(bundle->load());
}

TEST_F(BundleTests, AFlatBundleHasItsInfoAndItsCodeInTheFolder) {
  fs::create_directory(folder / "Flat.bundle");
  writeFile(folder / "Flat.bundle/Info.plist", info({{"CFBundleIdentifier", "flat"}}));
  fs::copy_file(ZT_TEST_BUNDLES "/Guest.so", folder / "Flat.bundle/Flat");
  const Ref<NSBundle> flat = NSBundle::bundleWithPath(folder / "Flat.bundle");
  EXPECT_EQ(flat->bundleIdentifier()->utf8(), "flat");
  EXPECT_EQ(flat->executablePath()->utf8(), folder / "Flat.bundle/Flat");
  EXPECT_TRUE(flat->load());
  EXPECT_TRUE(NSBundle::bundleForClass(flat->principalClass()) == flat);
}

TEST_F(BundleTests, TheInfoOfAFlatBundleDoesNotCountBesideContents) {
  const std::string path = bundle("a");
  writeFile(path + "/Info.plist", info({{"CFBundleIdentifier", "flat"}}));
  EXPECT_FALSE(NSBundle::bundleWithPath(path)->bundleIdentifier());
}

// ---- The same object

TEST_F(BundleTests, ABundleThatIsNotLoadedIsReadAnew) {
  const std::string path = bundle("a", info({{"CFBundleIdentifier", "old"}}));
  EXPECT_EQ(NSBundle::bundleWithPath(path)->bundleIdentifier()->utf8(), "old");
  bundle("a", info({{"CFBundleIdentifier", "new"}}));
  EXPECT_EQ(NSBundle::bundleWithPath(path)->bundleIdentifier()->utf8(), "new");
}

TEST_F(BundleTests, ALoadedBundleIsTheSameObjectForItsPath) {
  const std::string path = guestBundle("a");
  const NSBundle* address = nullptr;
  {
    const Ref<NSBundle> bundle = NSBundle::bundleWithPath(path);
    EXPECT_FALSE(NSBundle::bundleWithPath(path) == bundle);
    ASSERT_TRUE(bundle->load());
    address = bundle.get();
  }
  EXPECT_EQ(NSBundle::bundleWithPath(path).get(), address);
  EXPECT_TRUE(NSBundle::bundleWithPath(path)->isLoaded());
  EXPECT_FALSE(NSBundle::bundleWithPath(path + "/").get() == address);
}

TEST_F(BundleTests, CodeThatAsksForItsBundleWhileItIsLoadedGetsOneThatIsLoadedThen) {
  const std::string path = bundle("a", info({{"CFBundleExecutable", "Code"}}));
  fs::copy_file(ZT_TEST_BUNDLES "/Curious.so", path + "/Contents/Linux/Code");
  const Ref<NSBundle> loading = NSBundle::bundleWithPath(path);
  ASSERT_TRUE(loading->load());
  const Ref<NSBundle> asked = NSBundle::bundleForClass(loading->principalClass());
  EXPECT_TRUE(loading->isLoaded());
  EXPECT_TRUE(asked->isLoaded());
  EXPECT_TRUE(NSBundle::bundleWithPath(path) == asked);
}

TEST_F(BundleTests, ARelativePathIsLookedAtEachTime) {
  const fs::path before = fs::current_path();
  guestBundle("one/a");
  guestBundle("two/a");
  fs::current_path(folder / "one");
  const Ref<NSBundle> one = NSBundle::bundleWithPath("a");
  ASSERT_TRUE(one->load());
  fs::current_path(folder / "two");
  const Ref<NSBundle> two = NSBundle::bundleWithPath("a");
  EXPECT_FALSE(one == two);
  EXPECT_FALSE(two->isLoaded());
  EXPECT_TRUE(two->load());
  EXPECT_TRUE(NSBundle::bundleForClass(two->principalClass()) == two);
  EXPECT_TRUE(NSBundle::bundleForClass(one->principalClass()) == one);
  const Ref<NSBundle> again = NSBundle::bundleWithPath("a");
  EXPECT_TRUE(again->load());
  EXPECT_TRUE(again->isLoaded());
  EXPECT_EQ(again->retainCount(), 1U) << "not every one that loads the same code lasts";
  fs::current_path(before);
}

TEST_F(BundleTests, ALoadedBundleThatIsGoneIsNoLongerAtItsPath) {
  const std::string path = guestBundle("a");
  const Ref<NSBundle> bundle = NSBundle::bundleWithPath(path);
  ASSERT_TRUE(bundle->load());
  fs::remove_all(path);
  EXPECT_FALSE(NSBundle::bundleWithPath(path));
  EXPECT_TRUE(NSBundle::bundleForClass(bundle->principalClass()) == bundle);
}

// ---- The bundle of a class

TEST_F(BundleTests, ClassesOfTheProgramAndOfTheLibraryBelongToTheMainBundle) {
  EXPECT_TRUE(NSBundle::bundleForClass(Inhabitant::classObject()) == NSBundle::mainBundle());
  EXPECT_TRUE(NSBundle::bundleForClass(NSObject::classObject()) == NSBundle::mainBundle());
  EXPECT_TRUE(NSBundle::bundleForClass(NSBundle::classObject()) == NSBundle::mainBundle());
  EXPECT_TRUE(NSBundle::bundleForClass(NSBundle::classObject()->metaclass()) == NSBundle::mainBundle());
}

TEST_F(BundleTests, NoClassHasNoBundle) { EXPECT_FALSE(NSBundle::bundleForClass(nullptr)); }

TEST_F(BundleTests, ClassesOfAPlugInBelongToItsBundle) {
  const Ref<NSBundle> one = NSBundle::bundleWithPath(guestBundle("one.bundle"));
  const Ref<NSBundle> two = NSBundle::bundleWithPath(guestBundle("two.bundle"));
  ASSERT_TRUE(one->principalClass() != nullptr && two->principalClass() != nullptr);
  EXPECT_TRUE(NSBundle::bundleForClass(one->principalClass()) == one);
  EXPECT_TRUE(NSBundle::bundleForClass(two->principalClass()) == two);
}

TEST_F(BundleTests, CodeThatLiesElsewhereBelongsToTheBundleThatLoadedIt) {
  const std::string path = bundle("a.bundle", info({{"CFBundleExecutable", "Code"}}));
  fs::copy_file(ZT_TEST_BUNDLES "/Guest.so", folder / "elsewhere.so");
  fs::create_symlink(folder / "elsewhere.so", path + "/Contents/Linux/Code");
  const Ref<NSBundle> bundle = NSBundle::bundleWithPath(path);
  ASSERT_TRUE(bundle->load());
  EXPECT_TRUE(NSBundle::bundleForClass(bundle->principalClass()) == bundle);
  EXPECT_EQ(bundle->executablePath()->utf8(), path + "/Contents/Linux/Code");
}

TEST_F(BundleTests, AClassMadeAtRunTimeBelongsWhereItsSuperclassDoes) {
  const Ref<NSBundle> bundle = NSBundle::bundleWithPath(guestBundle("a.bundle"));
  Class below = registerSubclass(bundle->principalClass(), "BelowGuest");
  ASSERT_TRUE(below != nullptr);
  EXPECT_TRUE(NSBundle::bundleForClass(below) == bundle);
  EXPECT_TRUE(NSBundle::bundleForClass(registerSubclass(below, "FarBelowGuest")) == bundle);
  EXPECT_TRUE(NSBundle::bundleForClass(registerSubclass(NSObject::classObject(), "BelowObject")) ==
              NSBundle::mainBundle());
}

/// The class that the code at `path` registers, loaded without a bundle.
Class classIn(const std::string& path) {
  const std::size_t before = detail::registeredClasses().size();
  EXPECT_NE(::dlopen(path.c_str(), RTLD_NOW), nullptr) << ::dlerror();
  const auto classes = detail::registeredClasses();
  return classes.size() > before ? classes.back() : nullptr;
}

TEST_F(BundleTests, CodeThatTheHostLoadsItselfBelongsToTheBundleThatItLiesIn) {
  const std::string path = guestBundle("a.bundle");
  Class guest = classIn(path + "/Contents/Linux/Code");
  ASSERT_TRUE(guest != nullptr);
  const Ref<NSBundle> bundle = NSBundle::bundleForClass(guest);
  ASSERT_TRUE(bundle);
  EXPECT_EQ(bundle->bundlePath()->utf8(), path);
  EXPECT_TRUE(NSBundle::bundleForClass(guest) == bundle);
  EXPECT_TRUE(NSBundle::bundleWithPath(path) == bundle);
  EXPECT_TRUE(bundle->load());
  EXPECT_EQ(bundle->principalClass(), guest);
}

TEST_F(BundleTests, CodeInNoBundleBelongsToTheMainBundle) {
  fs::copy_file(ZT_TEST_BUNDLES "/Guest.so", folder / "loose.so");
  EXPECT_TRUE(NSBundle::bundleForClass(classIn(folder / "loose.so")) == NSBundle::mainBundle());
}

// ---- By message

TEST_F(BundleTests, AnswersMessages) {
  Class bundles = NSClassFromString("NSBundle");
  const Ref<NSBundle> main = send<Ref<NSBundle>>(bundles, ZT_SELECTOR("mainBundle"));
  EXPECT_TRUE(main == NSBundle::mainBundle());
  EXPECT_TRUE(send<Ref<NSBundle>>(bundles, ZT_SELECTOR("bundleForClass:"), Inhabitant::classObject()) == main);
  EXPECT_FALSE(send<Ref<NSString>>(main, ZT_SELECTOR("bundleIdentifier")));
}

}  // namespace
}  // namespace ZtFoundation::test
