#include <ZtFoundation/Files.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using Names = std::set<std::string>;

class FileMoveTests : public testing::Test {
 protected:
  FileMoveTests() {
    ::umask(022);
    std::filesystem::create_directories(folder / "folder/inner");
    writeFile(folder / "file", "text");
    std::filesystem::create_symlink("file", folder / "link");
  }

  bool move(const std::string& from, const std::string& to) {
    return NSFileManager::defaultManager()->movePath_toPath_handler(folder.string(from), folder.string(to), nullptr);
  }

  ScratchFolder folder;
};

TEST_F(FileMoveTests, ItemsGetTheirNewPlace) {
  EXPECT_TRUE(move("file", "folder/moved"));
  EXPECT_TRUE(move("link/", "moved link"));
  EXPECT_TRUE(move("folder/", "moved/"));
  EXPECT_EQ(folder.names(), (Names{"moved", "moved link"}));
  EXPECT_EQ(contentsOf(folder / "moved/moved"), "text");
  EXPECT_EQ(std::filesystem::read_symlink(folder / "moved link"), "file") << "the link itself";
}

TEST_F(FileMoveTests, NothingIsReplaced) {
  writeFile(folder / "other", "other");
  std::filesystem::create_directory(folder / "empty");
  for (const char* to : {"other", "link", "empty", "file", "folder/."}) EXPECT_FALSE(move("file", to)) << to;
  for (const char* to : {"other", "empty", "folder", "link"}) EXPECT_FALSE(move("folder", to)) << to;
  EXPECT_EQ(contentsOf(folder / "other"), "other");
  EXPECT_EQ(folder.names(), (Names{"empty", "file", "folder", "link", "other"}));
}

TEST_F(FileMoveTests, WhatCannotBeMovedStays) {
  EXPECT_FALSE(move("missing", "to"));
  EXPECT_FALSE(move("file", "missing/to"));
  EXPECT_FALSE(move("folder", "folder/inner/to")) << "into itself";
  EXPECT_FALSE(move("file", std::string(300, 'n')));
  EXPECT_FALSE(NSFileManager::defaultManager()->movePath_toPath_handler(nullptr, folder.string("to"), nullptr));
  EXPECT_FALSE(NSFileManager::defaultManager()->movePath_toPath_handler(folder.string("file"), nullptr, nullptr));
  ::chmod((folder / "folder").c_str(), 0755);
  ::chmod(folder.path().c_str(), 0755);
  if (::geteuid() == 0) {
    EXPECT_EQ(asOrdinaryUser([&] { return move("file", "to") ? 1 : 0; }), 0);
  }
  EXPECT_EQ(folder.names(), (Names{"file", "folder", "link"}));
  EXPECT_TRUE(std::filesystem::is_empty(folder / "folder/inner"));
}

TEST_F(FileMoveTests, LocksAreHeeded) {
  using JxFileCatalogInformation::setFinderLock;
  writeFile(folder / "folder/inside", "");
  setFinderLock(folder.string("file"), true);
  setFinderLock(folder.string("folder"), true);
  if (!JxFileCatalogInformation::isLockedByFinder(folder.string("file"))) GTEST_SKIP() << "no locks here";
  EXPECT_FALSE(move("file", "to"));
  EXPECT_FALSE(move("folder", "to"));
  EXPECT_FALSE(move("folder/inside", "to")) << "a locked folder loses nothing";
  EXPECT_FALSE(move("link", "folder/to")) << "and gains nothing";
  setFinderLock(folder.string("folder"), false);
  EXPECT_TRUE(move("folder", "to"));
  EXPECT_FALSE(move("file", "to/file"));
}

}  // namespace
}  // namespace ZtFoundation::test
