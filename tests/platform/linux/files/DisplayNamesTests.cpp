#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/Runtime.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <new>

#include "platform/linux/SystemCallFaults.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {

/// Shows names in capitals.
class LoudManager : public NSFileManager {
  ZT_OBJECT(LoudManager, NSFileManager)
 public:
  Ref<NSString> displayNameAtPath(const Ref<NSString>& path) override {
    return NSFileManager::displayNameAtPath(path)->uppercaseString();
  }
};

ZT_IMPLEMENT_CLASS(LoudManager);

Ref<NSString> noName(NSFileManager&, const Ref<NSString>&) { return nullptr; }

namespace {

class DisplayNamesTests : public ::testing::Test {
 protected:
  DisplayNamesTests() {
    std::filesystem::create_directories(folder / "a/b.app");
    std::filesystem::create_directory_symlink("a", folder / "link");
    std::filesystem::create_symlink("nowhere", folder / "a/broken");
    const Ref<NSArray> folders = folder.string("")->pathComponents();
    prefix = files->displayNameAtPath("/")->utf8();
    for (NSUInteger at = 1; at < folders->count(); ++at) {
      prefix.append("|").append((*folders)[at]->description()->utf8());
    }
  }

  /// Without those of the scratch folder; "(none)" for none.
  std::string components(const Ref<NSString>& path) {
    const Ref<NSArray> found = files->componentsToDisplayForPath(path);
    if (!found) return "(none)";
    const std::string text = found->componentsJoinedByString("|")->fileSystemRepresentation();
    EXPECT_TRUE(text.starts_with(prefix)) << text;
    return text.substr(prefix.size());
  }

  ScratchFolder folder;
  std::string prefix;
  Ref<NSFileManager> files = NSFileManager::defaultManager();
};

TEST_F(DisplayNamesTests, AreTheLastComponents) {
  const struct {
    const char* path;
    const char* expected;
  } cases[] = {{"/a/b.txt", "b.txt"},
               {"/a/b/", "b"},
               {"b", "b"},
               {"", ""},
               {"/no/such/x", "x"},
               {"/a/X.app", "X.app"},
               {"/a/.hidden", ".hidden"},
               {"/a/\xC3\xA9", "\xC3\xA9"}};
  for (const auto& each : cases) EXPECT_EQ(files->displayNameAtPath(each.path)->utf8(), each.expected);
  EXPECT_NE(files->displayNameAtPath("/")->length(), 0U);
  EXPECT_FALSE(files->displayNameAtPath(nullptr));
}

TEST_F(DisplayNamesTests, TheWayToAnItem) {
  EXPECT_EQ(components(folder.string("")), "");
  EXPECT_EQ(components(folder.string("a/b.app")), "|a|b.app");
  EXPECT_EQ(components(folder.string("a//b.app/")), "|a|b.app");
  EXPECT_EQ(components(folder.string("link/b.app")), "|link|b.app");
  EXPECT_EQ(components(folder.string("link")), "|link");
  EXPECT_EQ(components(folder.string("a/broken")), "|a|broken");
}

TEST_F(DisplayNamesTests, DotsCountForWhereTheyLead) {
  EXPECT_EQ(components(folder.string("./a/.")), "|a");
  EXPECT_EQ(components(folder.string("a/../a/b.app")), "|a|b.app");
  EXPECT_EQ(components(folder.string("link/../a")), "|a");
  EXPECT_EQ(components(folder.string("a/b.app/..")), "|a");
  EXPECT_EQ(components(folder.string("a/./broken")), "|a|broken");
}

TEST_F(DisplayNamesTests, RelativePathsCountFromTheCurrentFolder) {
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder.path());
  EXPECT_EQ(components("a/b.app"), "|a|b.app");
  EXPECT_EQ(components("."), "");
  EXPECT_EQ(components("a/.."), "");
  std::filesystem::current_path(before);
}

TEST_F(DisplayNamesTests, AMissingItemHasNone) {
  for (const char* name : {"missing", "a/missing", "a/missing/..", "link/missing"}) {
    EXPECT_EQ(components(folder.string(name)), "(none)") << name;
  }
  EXPECT_EQ(components(nullptr), "(none)");
  EXPECT_EQ(components(""), "(none)");
  EXPECT_EQ(components(std::u16string(u"/tmp\0x", 6)), "(none)");
}

TEST_F(DisplayNamesTests, AWayThatCannotBeResolvedIsNone) {
  for (const int error : {EIO, ENOMEM}) {
    const auto ask = [&] { return components(folder.string("a/../a/b.app")); };
    FaultScript probe({});
    ASSERT_EQ(ask(), "|a|b.app");
    const auto resolved = std::ranges::find(probe.calls(), "realpath") - probe.calls().begin();
    FaultScript script({static_cast<int>(resolved), error, false});
    if (error == ENOMEM) {
      EXPECT_THROW(ask(), std::bad_alloc);
    } else {
      EXPECT_EQ(ask(), "(none)");
    }
    EXPECT_EQ(script.faulted(), "realpath");
  }
}

TEST_F(DisplayNamesTests, NamesNeedNotBeUTF8) {
  writeFile(folder / "a/\xFFx", "");
  EXPECT_EQ(components(folder.string("a/\xFFx")), "|a|\xFFx");
  EXPECT_EQ(files->displayNameAtPath(folder.string("a/\xFFx"))->fileSystemRepresentation(), "\xFFx");
}

TEST_F(DisplayNamesTests, AnOverrideCounts) {
  const Ref<NSFileManager> loud = make<LoudManager>();
  const auto found = send<Ref<NSArray>>(loud, ZT_SELECTOR("componentsToDisplayForPath:"), folder.string("a/b.app"));
  ASSERT_TRUE(found);
  EXPECT_TRUE(found->componentsJoinedByString("|")->utf8().ends_with("|A|B.APP"));
  EXPECT_EQ(send<Ref<NSString>>(loud, ZT_SELECTOR("displayNameAtPath:"), "/a/b")->utf8(), "B");
}

TEST_F(DisplayNamesTests, AManagerWithoutANameForAnItemLeavesItOut) {
  const SEL selector = ZT_SELECTOR("displayNameAtPath:");
  const Class silent = registerSubclass(NSFileManager::classObject(), "ManagerWithoutNames");
  ASSERT_TRUE(silent != nullptr);
  ASSERT_TRUE(class_addMethod<&noName>(silent, selector));
  const auto manager = as<NSFileManager>(class_createInstance(silent));
  EXPECT_EQ(manager->componentsToDisplayForPath(folder.string("a"))->count(), 0U);
}

}  // namespace
}  // namespace ZtFoundation::test
