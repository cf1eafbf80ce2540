#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Data.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <filesystem>

#include "support/ChildProcess.h"
#include "support/ReplacedMethod.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using namespace JxTalvoZtWdExensions;
using Names = std::set<std::string>;

Ref<NSData> text(const char* bytes) { return NSData::dataWithBytes(bytes); }

// Another process that takes each name right after it was found free.
int namesToTake = 0;
bool takesFiles = true;
bool existsToday(NSFileManager& files, const Ref<NSString>& path) {
  const bool exists = files.NSFileManager::fileExistsAtPath(path);
  if (exists || namesToTake-- <= 0) return exists;
  const std::string name = path->fileSystemRepresentation();
  takesFiles ? writeFile(name, "theirs") : void(std::filesystem::create_directory(name));
  return false;
}

TEST(UnusedItems, AreMadeUnderFreeNames) {
  const ScratchFolder folder;
  EXPECT_EQ(createUnusedFinderFile(folder.string("a.txt"), text("1"))->utf8(), folder / "a.txt");
  EXPECT_EQ(createUnusedFinderFile(folder.string("a.txt"), text("2"))->utf8(), folder / "a 1.txt");
  EXPECT_EQ(createUnusedFinderFile(folder.string("a.txt"), nullptr)->utf8(), folder / "a 2.txt");
  EXPECT_EQ(createUnusedFinderFolder(folder.string("f.x"))->utf8(), folder / "f.x");
  EXPECT_EQ(createUnusedFinderFolder(folder.string("f.x"))->utf8(), folder / "f.x 1");
  EXPECT_EQ(folder.names(), (Names{"a.txt", "a 1.txt", "a 2.txt", "f.x", "f.x 1"}));
  EXPECT_EQ(contentsOf(folder / "a.txt"), "1");
  EXPECT_EQ(contentsOf(folder / "a 1.txt"), "2");
  EXPECT_EQ(contentsOf(folder / "a 2.txt"), "");
  EXPECT_TRUE(std::filesystem::is_directory(folder / "f.x 1"));
}

TEST(UnusedItems, HaveThePermissionsThatTheUmaskLeaves) {
  const ScratchFolder folder;
  const mode_t before = ::umask(027);
  createUnusedFinderFile(folder.string("a"), text("x"));
  ::umask(before);
  EXPECT_EQ(std::filesystem::status(folder / "a").permissions(), std::filesystem::perms{0640});
}

Ref<NSMutableData> growing;
bool growsWhenAsked(NSFileManager& files, const Ref<NSString>& path) {
  growing->setLength(growing->length() + (1 << 20));
  return files.NSFileManager::fileExistsAtPath(path);
}

TEST(UnusedItems, ContentsMayChangeWhileANameIsLookedFor) {
  const ScratchFolder folder;
  growing = NSMutableData::dataWithLength(10);
  const ReplacedMethod<&growsWhenAsked> replaced(NSFileManager::classObject(), ZT_SELECTOR("fileExistsAtPath:"));
  EXPECT_TRUE(createUnusedFinderFile(folder.string("a"), growing));
  EXPECT_TRUE(contentsOf(folder / "a") == std::string(growing->view()));
  growing.reset();
}

TEST(UnusedItems, ANameThatAnotherTakesFirstIsLeftToIt) {
  const ScratchFolder folder;
  const ReplacedMethod<&existsToday> replaced(NSFileManager::classObject(), ZT_SELECTOR("fileExistsAtPath:"));
  namesToTake = 2;
  takesFiles = true;
  EXPECT_EQ(createUnusedFinderFile(folder.string("a"), text("mine"))->utf8(), folder / "a 2");
  EXPECT_EQ(contentsOf(folder / "a"), "theirs");
  EXPECT_EQ(contentsOf(folder / "a 1"), "theirs");
  EXPECT_EQ(contentsOf(folder / "a 2"), "mine");

  namesToTake = 2;
  takesFiles = false;
  EXPECT_EQ(createUnusedFinderFolder(folder.string("f"))->utf8(), folder / "f 2");
  EXPECT_EQ(folder.names(), (Names{"a", "a 1", "a 2", "f", "f 1", "f 2"}));
}

TEST(UnusedItems, ManyProcessesLoseNone) {
  const ScratchFolder folder;
  constexpr int kProcesses = 4;
  constexpr int kFiles = 10;
  std::array<pid_t, kProcesses> children;
  for (pid_t& child : children) {
    child = startChild([&] {
      for (int file = 0; file < kFiles; ++file) {
        if (!createUnusedFinderFile(folder.string("a.txt"), text("x"))) return 1;
      }
      return 0;
    });
  }
  for (const pid_t child : children) EXPECT_EQ(waitForChild(child), 0);
  EXPECT_EQ(folder.names().size(), unsigned{kProcesses * kFiles});
}

TEST(UnusedItems, WhatCannotBeMadeLeavesNothing) {
  const ScratchFolder folder;
  writeFile(folder / "plain", "");
  std::filesystem::create_symlink("nowhere", folder / "link");
  for (const Ref<NSString>& path :
       {Ref<NSString>(), folder.string("missing/a"), folder.string("plain/a"), folder.string("link"),
        folder.string(std::string(300, 'n')), folder.string(std::string("a\0b", 3))}) {
    EXPECT_FALSE(createUnusedFinderFile(path, text("x"))) << path;
    EXPECT_FALSE(createUnusedFinderFolder(path)) << path;
  }
  EXPECT_FALSE(createUnusedFinderFile(folder.string("missing/"), text("x"))) << "no name of a file";
  EXPECT_EQ(folder.names(), (Names{"plain", "link"}));
  EXPECT_EQ(contentsOf(folder / "plain"), "");
}

TEST(UnusedItems, ALockedFolderGetsNone) {
  const ScratchFolder folder;
  std::filesystem::create_directory(folder / "locked");
  JxFileCatalogInformation::setFinderLock(folder.string("locked"), true);
  if (!JxFileCatalogInformation::isLockedByFinder(folder.string("locked")))
    GTEST_SKIP() << "no locks on this file system";
  EXPECT_FALSE(createUnusedFinderFile(folder.string("locked/a"), text("x")));
  EXPECT_FALSE(createUnusedFinderFolder(folder.string("locked/a")));
  JxFileCatalogInformation::setFinderLock(folder.string("locked"), false);
  EXPECT_TRUE(std::filesystem::is_empty(folder / "locked"));
}

}  // namespace
}  // namespace ZtFoundation::test
