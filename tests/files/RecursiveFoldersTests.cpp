#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/Runtime.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/ReplacedMethod.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {

/// Notes what it is asked to make and makes it, up to a limit.
class NotingManager : public NSFileManager {
  ZT_OBJECT(NotingManager, NSFileManager)
 public:
  bool createDirectoryAtPath_attributes(const Ref<NSString>& path, const Ref<NSDictionary>& attributes) override {
    made.push_back(path->utf8());
    return made.size() <= limit && NSFileManager::createDirectoryAtPath_attributes(path, attributes);
  }
  bool fileExistsAtPath_isDirectory(const Ref<NSString>&, bool*) override {
    ADD_FAILURE() << "the default manager is asked what exists";
    return false;
  }

  std::vector<std::string> made;
  std::size_t limit = 100;
};

/// Another process is always a moment faster.
class BeatenManager : public NSFileManager {
  ZT_OBJECT(BeatenManager, NSFileManager)
 public:
  bool createDirectoryAtPath_attributes(const Ref<NSString>& path, const Ref<NSDictionary>& attributes) override {
    std::filesystem::create_directory(path->utf8());
    return NSFileManager::createDirectoryAtPath_attributes(path, attributes);
  }
};

ZT_IMPLEMENT_CLASS(BeatenManager);

bool everythingIsAFolder(NSFileManager&, const Ref<NSString>&, bool* isFolder) {
  *isFolder = true;
  return true;
}
bool refuseToMakeFolders(NSFileManager&, const Ref<NSString>&, const Ref<NSDictionary>&) { return false; }

ZT_IMPLEMENT_CLASS(NotingManager);

namespace {

using Names = std::set<std::string>;
using QvFoundationExtensions::createDirectoryAtPath_attributes_recursively;

class RecursiveFoldersTests : public testing::Test {
 protected:
  RecursiveFoldersTests() {
    ::umask(022);
    std::filesystem::create_directory(folder / "a");
    writeFile(folder / "a/f", "text");
  }

  bool make(const std::string& name, bool recursively = true, const Ref<NSDictionary>& attributes = nullptr) {
    return createDirectoryAtPath_attributes_recursively(manager, folder.string(name), attributes, recursively);
  }
  bool isFolder(const std::string& name) const { return std::filesystem::is_directory(folder / name); }
  unsigned modeOf(const std::string& name) const {
    struct stat status {};
    EXPECT_EQ(::stat((folder / name).c_str(), &status), 0);
    return status.st_mode & 07777U;
  }

  ScratchFolder folder;
  Ref<NSFileManager> manager = NSFileManager::defaultManager();
};

TEST_F(RecursiveFoldersTests, AFolderThatExistsIsASuccess) {
  EXPECT_TRUE(make("a"));
  EXPECT_TRUE(make(""));
  EXPECT_TRUE(make("a/"));
  EXPECT_TRUE(createDirectoryAtPath_attributes_recursively(manager, "/", nullptr, true));
  EXPECT_EQ(folder.names(), Names{"a"});
}

TEST_F(RecursiveFoldersTests, AllMissingFoldersAreMadeWithTheAttributes) {
  EXPECT_TRUE(make("a/b/c", true, NSDictionary::dictionaryWithObject_forKey(0711, NSFilePosixPermissions)));
  EXPECT_EQ(modeOf("a/b"), 0711U);
  EXPECT_EQ(modeOf("a/b/c"), 0711U);
  EXPECT_EQ(modeOf("a"), 0755U) << "was there before";
  EXPECT_TRUE(make("x/y//z/"));
  EXPECT_TRUE(isFolder("x/y/z"));
}

TEST_F(RecursiveFoldersTests, AFileInTheWayFails) {
  EXPECT_FALSE(make("a/f/g"));
  EXPECT_FALSE(make("a/f"));
  std::filesystem::create_symlink("f", folder / "a/link");
  ::testing::internal::CaptureStderr();
  EXPECT_FALSE(make("a/link/g"));
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(contentsOf(folder / "a/f"), "text");
}

TEST_F(RecursiveFoldersTests, LinksToFoldersCountAsFolders) {
  std::filesystem::create_symlink("a", folder / "link");
  EXPECT_TRUE(make("link/b"));
  EXPECT_TRUE(isFolder("a/b"));
  std::filesystem::create_symlink("nowhere", folder / "broken");
  EXPECT_FALSE(make("broken/b"));
}

TEST_F(RecursiveFoldersTests, APathWithoutComponentsIsASuccess) {
  EXPECT_TRUE(createDirectoryAtPath_attributes_recursively(manager, "", nullptr, true));
  EXPECT_FALSE(createDirectoryAtPath_attributes_recursively(manager, "", nullptr, false));
}

TEST_F(RecursiveFoldersTests, NoneFails) {
  for (const bool recursively : {false, true}) {
    EXPECT_FALSE(createDirectoryAtPath_attributes_recursively(nullptr, folder.string("new"), nullptr, recursively));
    EXPECT_FALSE(createDirectoryAtPath_attributes_recursively(nullptr, folder.string("a"), nullptr, recursively));
    EXPECT_FALSE(createDirectoryAtPath_attributes_recursively(manager, nullptr, nullptr, recursively));
  }
}

TEST_F(RecursiveFoldersTests, WithoutTheFlagOneFolderIsMade) {
  EXPECT_FALSE(make("b/c", false));
  EXPECT_TRUE(make("b", false));
  EXPECT_FALSE(make("b", false)) << "exists already";
  EXPECT_FALSE(make("a/f", false));
  EXPECT_TRUE(make("private", false, NSDictionary::dictionaryWithObject_forKey(0711, NSFilePosixPermissions)));
  EXPECT_EQ(modeOf("private"), 0711U);
}

TEST_F(RecursiveFoldersTests, WhatWasMadeBeforeAFailureStays) {
  EXPECT_FALSE(make("p/q/" + std::string(300, 'n') + "/r"));
  EXPECT_TRUE(isFolder("p/q"));
  EXPECT_FALSE(make(std::string("u/v\0w/x", 7)));
  EXPECT_TRUE(isFolder("u"));
  EXPECT_EQ(folder.names(), (Names{"a", "p", "u"}));
}

TEST_F(RecursiveFoldersTests, RelativePathsCountFromTheCurrentFolder) {
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder.path());
  EXPECT_TRUE(createDirectoryAtPath_attributes_recursively(manager, "r/s", nullptr, true));
  EXPECT_TRUE(createDirectoryAtPath_attributes_recursively(manager, "./r/../r/t", nullptr, true));
  std::filesystem::current_path(before);
  EXPECT_TRUE(isFolder("r/s"));
  EXPECT_TRUE(isFolder("r/t"));
}

TEST_F(RecursiveFoldersTests, TheReceiverMakesEachFolder) {
  const Ref<NotingManager> noting = ZtFoundation::make<NotingManager>();
  const Ref<NSString> path = folder.string("a/b/c");
  EXPECT_TRUE(createDirectoryAtPath_attributes_recursively(noting, path, nullptr, true));
  EXPECT_EQ(noting->made, (std::vector<std::string>{folder / "a/b", folder / "a/b/c"}));
  noting->limit = 3;
  EXPECT_FALSE(createDirectoryAtPath_attributes_recursively(noting, folder.string("a/d/e/f"), nullptr, true));
  EXPECT_EQ(noting->made.size(), 4U) << "nothing is tried after a failure";
  EXPECT_TRUE(isFolder("a/d"));
  noting->limit = 100;
  EXPECT_FALSE(createDirectoryAtPath_attributes_recursively(noting, folder.string("a/f/g"), nullptr, true));
  EXPECT_EQ(noting->made.size(), 4U) << "nothing is made over or behind a file";
}

TEST_F(RecursiveFoldersTests, TheDefaultManagerIsAskedByMessage) {
  const ReplacedMethod<&everythingIsAFolder> replaced(NSFileManager::classObject(),
                                                      ZT_SELECTOR("fileExistsAtPath:isDirectory:"));
  EXPECT_TRUE(make("a/f/g"));
  EXPECT_EQ(contentsOf(folder / "a/f"), "text");
}

TEST_F(RecursiveFoldersTests, AFolderThatAnotherProcessMakesInBetweenIsAFailure) {
  const Ref<BeatenManager> beaten = ZtFoundation::make<BeatenManager>();
  EXPECT_FALSE(createDirectoryAtPath_attributes_recursively(beaten, folder.string("a/b/c"), nullptr, true));
  EXPECT_TRUE(isFolder("a/b"));
  EXPECT_FALSE(isFolder("a/b/c"));
}

TEST_F(RecursiveFoldersTests, NamesNeedNotBeUTF8) {
  const Ref<NSString> path = NSString::stringWithFileSystemRepresentation(folder / "a/\xFF/\xC3");
  EXPECT_TRUE(createDirectoryAtPath_attributes_recursively(manager, path, nullptr, true));
  EXPECT_TRUE(isFolder("a/\xFF/\xC3"));
}

TEST_F(RecursiveFoldersTests, AReplacedMethodOfTheReceiverCounts) {
  const SEL selector = ZT_SELECTOR("createDirectoryAtPath:attributes:");
  const Class silent = registerSubclass(NSFileManager::classObject(), "SilentManager");
  ASSERT_TRUE(silent != nullptr);
  ASSERT_TRUE(class_addMethod<&refuseToMakeFolders>(silent, selector));
  const Ref<NSFileManager> refusing = as<NSFileManager>(class_createInstance(silent));
  for (const bool recursively : {false, true}) {
    EXPECT_FALSE(createDirectoryAtPath_attributes_recursively(refusing, folder.string("new"), nullptr, recursively));
  }
  EXPECT_EQ(folder.names(), Names{"a"});
}

}  // namespace
}  // namespace ZtFoundation::test
