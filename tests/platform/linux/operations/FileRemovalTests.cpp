#include <ZtFoundation/Files.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include "support/ChildProcess.h"
#include "support/QuickFolder.h"
#include "support/ScopedEnvironment.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using Names = std::set<std::string>;
using JxFileCatalogInformation::setFinderLock;

bool removeItem(const std::string& path) {
  return NSFileManager::defaultManager()->removeFileAtPath_handler(NSString::stringWithFileSystemRepresentation(path),
                                                                   nullptr);
}

class FileRemovalTests : public testing::Test {
 protected:
  FileRemovalTests() { ::umask(022); }

  bool removeInside(const std::string& name) { return removeItem(folder / name); }
  void makeFolder(const std::string& name) {
    std::error_code ignored;  // races take folders away
    std::filesystem::create_directories(folder / name, ignored);
  }
  void write(const std::string& name, const std::string& contents = "text") { writeFile(folder / name, contents); }
  bool exists(const std::string& name) {
    struct stat status;
    return ::lstat((folder / name).c_str(), &status) == 0;
  }

  ScratchFolder folder;
};

TEST_F(FileRemovalTests, ItemsOfEachKindAreRemoved) {
  write("file");
  makeFolder("empty");
  makeFolder("full/a/b");
  write("full/a/b/file");
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  ASSERT_EQ(::mkfifo((folder / "full/pipe").c_str(), 0600), 0);
  std::filesystem::create_symlink("nowhere", folder / "broken");
  for (const char* name : {"file", "empty", "full/", "pipe", "broken"}) EXPECT_TRUE(removeInside(name)) << name;
  EXPECT_EQ(folder.names(), Names{});
}

TEST_F(FileRemovalTests, LinksAreRemovedAndNotFollowed) {
  makeFolder("kept");
  write("kept/file");
  makeFolder("tree");
  std::filesystem::create_symlink(folder / "kept", folder / "tree/link");
  std::filesystem::create_symlink("kept", folder / "link");
  EXPECT_TRUE(removeInside("tree"));
  EXPECT_TRUE(removeInside("link/")) << "a slash at the end does not count";
  EXPECT_EQ(folder.names(), Names{"kept"});
  EXPECT_TRUE(exists("kept/file"));
}

TEST_F(FileRemovalTests, WhatIsNoNameOfAnItemFails) {
  makeFolder("a/b");
  for (const char* path : {"a/.", "a/b/..", "missing", "a/missing/x"}) EXPECT_FALSE(removeInside(path)) << path;
  EXPECT_FALSE(removeItem(""));
  EXPECT_FALSE(removeItem("/"));
  EXPECT_FALSE(NSFileManager::defaultManager()->removeFileAtPath_handler(nullptr, nullptr));
  EXPECT_TRUE(exists("a/b"));
}

TEST_F(FileRemovalTests, LockedItemsStay) {
  write("file");
  makeFolder("locked");
  write("locked/inside");
  makeFolder("tree/a");
  write("tree/a/file");
  makeFolder("tree2/a");
  write("tree2/a/file");
  for (const char* name : {"file", "locked", "tree/a/file", "tree2/a"}) setFinderLock(folder.string(name), true);
  if (!JxFileCatalogInformation::isLockedByFinder(folder.string("file"))) GTEST_SKIP() << "no locks here";
  for (const char* name : {"file", "locked", "locked/inside", "tree", "tree2"})
    EXPECT_FALSE(removeInside(name)) << name;
  for (const char* name : {"file", "locked/inside", "tree/a/file", "tree2/a/file"}) EXPECT_TRUE(exists(name)) << name;
  for (const char* name : {"file", "locked", "tree/a/file", "tree2/a"}) setFinderLock(folder.string(name), false);
  for (const char* name : {"file", "locked", "tree", "tree2"}) EXPECT_TRUE(removeInside(name)) << name;
}

TEST_F(FileRemovalTests, ImmutableItemsStay) {
  makeFolder("tree/a/b");
  write("tree/a/b/file");
  const int file = ::open((folder / "tree/a").c_str(), O_RDONLY);
  int flags = FS_IMMUTABLE_FL;
  if (::ioctl(file, FS_IOC_SETFLAGS, &flags) != 0) GTEST_SKIP() << "no such flag here";
  EXPECT_FALSE(removeInside("tree"));
  EXPECT_TRUE(exists("tree/a/b/file")) << "which the flag itself does not protect";
  flags = 0;
  ASSERT_EQ(::ioctl(file, FS_IOC_SETFLAGS, &flags), 0);
  ::close(file);
  EXPECT_TRUE(removeInside("tree"));
}

TEST_F(FileRemovalTests, PermissionsAreRespected) {
  makeFolder("own");
  if (::geteuid() == 0) {
    ASSERT_EQ(::chown((folder / "own").c_str(), kOrdinaryUser, kOrdinaryUser), 0);
  }
  ::chmod(folder.path().c_str(), 0755);
  const auto work = [&]() -> int {
    makeFolder("own/empty");
    makeFolder("own/full");
    write("own/full/file");
    makeFolder("own/protected");
    write("own/protected/file");
    ::chmod((folder / "own/empty").c_str(), 0);
    ::chmod((folder / "own/full").c_str(), 0);
    ::chmod((folder / "own/protected").c_str(), 0555);
    if (!removeInside("own/empty")) return 1;
    if (removeInside("own/full") || !exists("own/full")) return 2;
    if (removeInside("own/protected") || !exists("own/protected/file")) return 3;
    ::chmod((folder / "own/full").c_str(), 0700);
    ::chmod((folder / "own/protected").c_str(), 0700);
    return removeInside("own/full") && removeInside("own/protected") ? 0 : 4;
  };
  EXPECT_EQ(asOrdinaryUser(work), 0);
}

TEST_F(FileRemovalTests, MountedFileSystemsAreNotEntered) {
  makeFolder("tree/mounted");
  makeFolder("tree/bound");
  makeFolder("kept");
  write("kept/file");
  const auto work = [&]() -> int {
    if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return 77;
    if (::mount("zt", (folder / "tree/mounted").c_str(), "tmpfs", 0, "size=64k") != 0) return 77;
    write("tree/mounted/file");
    if (removeInside("tree") || !exists("tree/mounted/file") || removeInside("tree/mounted")) return 1;
    if (::umount((folder / "tree/mounted").c_str()) != 0) return 2;
    // The same file system, so that only the mount tells.
    makeFolder("tree/bound");
    if (::mount((folder / "kept").c_str(), (folder / "tree/bound").c_str(), nullptr, MS_BIND, nullptr) != 0) return 3;
    return removeInside("tree") || !exists("kept/file") ? 4 : 0;
  };
  const int result = inChild(work);
  if (result == 77) GTEST_SKIP() << "no right to mount";
  EXPECT_EQ(result, 0);
  EXPECT_TRUE(exists("kept/file"));
}

TEST_F(FileRemovalTests, ManyNamesAndDeepFoldersGo) {
  ScopedEnvironment inMemory;
  inMemory.set("TMPDIR", folderInMemory());
  ScratchFolder deep;
  makeFolder("many");
  for (int i = 0; i < 5000; ++i) write(std::to_string(i).insert(0, 100, 'n').insert(0, "many/"), "");
  EXPECT_TRUE(removeInside("many"));
  const auto work = [&]() -> int {
    const rlimit few{40, 40};
    const rlimit stack{1 << 20, 1 << 20};
    if (::setrlimit(RLIMIT_NOFILE, &few) != 0 || ::setrlimit(RLIMIT_STACK, &stack) != 0) return 1;
    if (::chdir(deep.path().c_str()) != 0) return 2;
    for (int i = 0; i < 10000; ++i) {
      if (::mkdir("d", 0755) != 0 || ::chdir("d") != 0) return 3;
      writeFile("f", "");
    }
    return ::chdir("/") == 0 && removeItem(deep / "d") ? 0 : 4;
  };
  EXPECT_EQ(inChild(work), 0);
  EXPECT_EQ(deep.names(), Names{});
}

TEST_F(FileRemovalTests, AFolderThatBecomesALinkIsNotFollowed) {
  makeFolder("secret");
  std::atomic<bool> isDone = false;
  int files = 0;
  for (; files < 20; ++files) write(std::to_string(files).insert(0, "secret/"));
  std::filesystem::create_symlink(folder / "secret", folder / "link");
  std::thread swapper([&] {
    while (!isDone) {
      ::renameat2(AT_FDCWD, (folder / "link").c_str(), AT_FDCWD, (folder / "tree/a").c_str(), RENAME_EXCHANGE);
    }
  });
  for (int i = 0; i < 200; ++i) {
    makeFolder("tree");
    std::error_code exists;
    std::filesystem::create_directory(folder / "tree/a", exists);
    writeFile(folder / "tree/z", "");
    removeInside("tree");
    std::filesystem::create_symlink(folder / "secret", folder / "link", exists);
  }
  isDone = true;
  swapper.join();
  int left = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder / "secret")) ++left;
  EXPECT_EQ(left, files);
}

TEST_F(FileRemovalTests, ATreeThatIsMovedAwayMeanwhileHarmsNothingElse) {
  // The walk finds its way back by "..": a folder moved into another one must not make it remove there.
  makeFolder("kept/inner");
  for (int i = 0; i < 100; ++i) write(std::to_string(i).insert(0, "kept/"));
  std::atomic<bool> isDone = false;
  std::thread mover([&] {
    while (!isDone) {
      const int result = ::rename((folder / "tree/d/d/d").c_str(), (folder / "kept/inner/d").c_str());
      if (result == 0) ::rename((folder / "kept/inner/d").c_str(), (folder / "moved").c_str());
    }
  });
  for (int i = 0; i < 30; ++i) {
    std::string deep = "tree";
    for (int k = 0; k < 60; ++k) deep += "/d";
    makeFolder(deep);
    removeInside("tree");
    std::error_code ignored;
    std::filesystem::remove_all(folder / "moved", ignored);
    std::filesystem::remove_all(folder / "tree", ignored);
  }
  isDone = true;
  mover.join();
  int left = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder / "kept")) ++left;
  EXPECT_EQ(left, 101);
}

}  // namespace
}  // namespace ZtFoundation::test
