#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Data.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using namespace JxFileOperation;
using Names = std::set<std::string>;

class FileOperationsTests : public testing::Test {
 protected:
  FileOperationsTests() {
    ::umask(022);
    std::filesystem::create_directory(folder / "a");
    writeFile(folder / "a/f", "text");
  }

  OSStatus makeFolder(const std::string& name, bool recursively) {
    return createDirectoryWithRecursively(folder.string(name), recursively);
  }
  bool isFolder(const std::string& name) const { return std::filesystem::is_directory(folder / name); }
  bool exists(const std::string& name) const {
    return std::filesystem::exists(std::filesystem::symlink_status(folder / name));
  }
  // Runs `work` and expects that the log stays empty.
  template <class Work>
  void expectNoLines(Work work) {
    testing::internal::CaptureStderr();
    work();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  }

  ScratchFolder folder;
};

// --- createFileWithContents, copyFileTo

TEST_F(FileOperationsTests, CreatingReplacesAndCopyingDoesNot) {
  EXPECT_EQ(createFileWithContents(folder.string("a/f"), NSData::dataWithBytes("new")), noErr);
  EXPECT_EQ(contentsOf(folder / "a/f"), "new");
  EXPECT_EQ(createFileWithContents(folder.string("a/empty"), nullptr), noErr);
  EXPECT_EQ(contentsOf(folder / "a/empty"), "");
  EXPECT_EQ(copyFileTo(folder.string("a/f"), folder.string("a/empty")), dupFNErr);
  EXPECT_EQ(copyFileTo(folder.string("a/f"), folder.string("a/g")), noErr);
  EXPECT_EQ(contentsOf(folder / "a/g"), "new");
}

TEST_F(FileOperationsTests, FilesBeyond4GiBAreCopied) {
  const std::uintmax_t sizes[] = {0x7FFF'FFFF, 0x8000'0000, 0xFFFF'FFFF, 0x1'0000'0000, 0x1'4000'0001};
  for (const std::uintmax_t size : sizes) {
    std::filesystem::resize_file(folder / "a/f", size);
    std::filesystem::remove(folder / "a/copy");
    EXPECT_EQ(copyFileTo(folder.string("a/f"), folder.string("a/copy")), noErr);
    EXPECT_EQ(std::filesystem::file_size(folder / "a/copy"), size);
  }
}

// --- createDirectoryWithRecursively

TEST_F(FileOperationsTests, AFolderThatExistsIsNoSuccess) {
  for (const bool recursively : {false, true}) {
    EXPECT_EQ(makeFolder("a", recursively), dupFNErr);
    EXPECT_EQ(makeFolder("a/f", recursively), dupFNErr);
    EXPECT_EQ(createDirectoryWithRecursively("/", recursively), dupFNErr);
    EXPECT_EQ(createDirectoryWithRecursively("", recursively), dupFNErr);
    EXPECT_EQ(createDirectoryWithRecursively(nullptr, recursively), paramErr);
  }
}

TEST_F(FileOperationsTests, MissingFoldersAboveAreMadeOnlyWithTheFlag) {
  expectNoLines([&] { EXPECT_EQ(makeFolder("a/b/c", false), dupFNErr); });
  EXPECT_FALSE(exists("a/b"));
  EXPECT_EQ(makeFolder("a/b/c", true), noErr);
  EXPECT_TRUE(isFolder("a/b/c"));
  EXPECT_EQ(makeFolder("a/d", false), noErr);
  EXPECT_EQ(makeFolder("a/e", true), noErr);
  EXPECT_TRUE(isFolder("a/d"));
  EXPECT_TRUE(isFolder("a/e"));
}

TEST_F(FileOperationsTests, ASlashAtTheEndCountsWithoutTheFlag) {
  EXPECT_EQ(makeFolder("a/b/", false), dupFNErr);
  EXPECT_FALSE(exists("a/b"));
  EXPECT_EQ(makeFolder("a/b/", true), noErr);
  EXPECT_TRUE(isFolder("a/b"));
  EXPECT_EQ(makeFolder("a//c", false), dupFNErr);
  EXPECT_FALSE(exists("a/c"));
  EXPECT_EQ(makeFolder("a//c", true), noErr);
  EXPECT_TRUE(isFolder("a/c"));
}

TEST_F(FileOperationsTests, AColonStaysAColon) {
  EXPECT_EQ(makeFolder("a/x:y", false), noErr);
  EXPECT_TRUE(isFolder("a/x:y"));
  EXPECT_EQ(makeFolder("a/p:q/r:s", true), noErr);
  EXPECT_TRUE(isFolder("a/p:q/r:s"));
}

TEST_F(FileOperationsTests, LinksToFoldersServeAsFolders) {
  std::filesystem::create_symlink("a", folder / "link");
  EXPECT_EQ(makeFolder("link/b", false), noErr);
  EXPECT_EQ(makeFolder("link/c/d", true), noErr);
  EXPECT_TRUE(isFolder("a/b"));
  EXPECT_TRUE(isFolder("a/c/d"));
  EXPECT_TRUE(std::filesystem::is_symlink(folder / "link"));
}

TEST_F(FileOperationsTests, ErrorsOfTheSystemPassThroughAndFoldersMadeBeforeStay) {
  const std::string path = std::string("a/b/").append(300, 'n').append("/c");
  EXPECT_EQ(makeFolder(path, true), bdNamErr);
  EXPECT_TRUE(isFolder("a/b"));
  EXPECT_NE(makeFolder("a/f/g", true), noErr);
  EXPECT_EQ(contentsOf(folder / "a/f"), "text");
}

// --- renameFileTo

TEST_F(FileOperationsTests, ItemsGetOtherNames) {
  EXPECT_EQ(renameFileTo(folder.string("a/f"), "g:h"), noErr);
  EXPECT_EQ(contentsOf(folder / "a/g:h"), "text");
  EXPECT_EQ(renameFileTo(folder.string("a"), "b"), noErr);
  EXPECT_EQ(folder.names(), Names{"b"});
}

TEST_F(FileOperationsTests, NamesThatCannotBeAreRefused) {
  writeFile(folder / "a/g", "other");
  expectNoLines([&] {
    EXPECT_EQ(renameFileTo(folder.string("a/f"), nullptr), paramErr);
    EXPECT_EQ(renameFileTo(folder.string("a/f"), ""), paramErr);
    EXPECT_EQ(renameFileTo(folder.string("a/f/"), "x"), paramErr);
    EXPECT_EQ(renameFileTo(folder.string("a/missing"), "x"), paramErr);
    EXPECT_EQ(renameFileTo(nullptr, "x"), paramErr);
    EXPECT_EQ(renameFileTo(folder.string("a/f"), "g"), dupFNErr);
    EXPECT_EQ(renameFileTo(folder.string("a/f"), "../x"), bdNamErr);
    EXPECT_EQ(renameFileTo(folder.string("a/f"), ".."), bdNamErr);
    EXPECT_EQ(renameFileTo(folder.string("a/f"), std::string(300, 'n')), bdNamErr);
  });
  EXPECT_EQ(contentsOf(folder / "a/f"), "text");
  EXPECT_EQ(contentsOf(folder / "a/g"), "other");
}

// --- removeFileForcefully

TEST_F(FileOperationsTests, ItemsAreRemovedWithAllThatIsInThem) {
  EXPECT_EQ(removeFileForcefully(folder.string("a"), false), noErr);
  EXPECT_EQ(folder.names(), Names{});
}

TEST_F(FileOperationsTests, WhatDoesNotExistCannotBeRemoved) {
  std::filesystem::create_symlink("nowhere", folder / "broken");
  expectNoLines([&] {
    for (const bool unlocking : {false, true}) {
      EXPECT_EQ(removeFileForcefully(folder.string("missing"), unlocking), paramErr);
      EXPECT_EQ(removeFileForcefully(folder.string("broken"), unlocking), paramErr);
      EXPECT_EQ(removeFileForcefully(nullptr, unlocking), paramErr);
    }
  });
}

TEST_F(FileOperationsTests, TheOwnersPermissionsCountForEverybody) {
  ::chmod((folder / "a/f").c_str(), 0444);
  EXPECT_EQ(removeFileForcefully(folder.string("a/f"), true), afpAccessDenied);
  ::chmod((folder / "a/f").c_str(), 0200);
  ::chmod((folder / "a").c_str(), 0577);
  EXPECT_EQ(removeFileForcefully(folder.string("a/f"), true), afpAccessDenied);
  EXPECT_TRUE(exists("a/f"));
  ::chmod((folder / "a").c_str(), 0700);
  EXPECT_EQ(removeFileForcefully(folder.string("a/f"), true), noErr);
}

TEST_F(FileOperationsTests, WhatIsRefusedKeepsItsLock) {
  const Ref<NSString> item = folder.string("a/f");
  ::chmod((folder / "a/f").c_str(), 0444);
  JxFileCatalogInformation::setFinderLock(item, true);
  if (!JxFileCatalogInformation::isLockedByFinder(item)) GTEST_SKIP() << "no locks here";
  EXPECT_EQ(removeFileForcefully(item, true), afpAccessDenied);
  EXPECT_TRUE(JxFileCatalogInformation::isLockedByFinder(item));
  ::chmod((folder / "a/f").c_str(), 0644);
  ::chmod((folder / "a").c_str(), 0555);
  EXPECT_EQ(removeFileForcefully(item, true), afpAccessDenied);
  EXPECT_TRUE(JxFileCatalogInformation::isLockedByFinder(item));
  ::chmod((folder / "a").c_str(), 0755);
}

TEST_F(FileOperationsTests, LockedItemsAndFoldersKeepTheirNames) {
  JxFileCatalogInformation::setFinderLock(folder.string("a"), true);
  if (!JxFileCatalogInformation::isLockedByFinder(folder.string("a"))) GTEST_SKIP() << "no locks here";
  writeFile(folder / "b", "");
  for (const std::string& name : {std::string("c"), std::string("b"), std::string(300, 'n')}) {
    EXPECT_EQ(renameFileTo(folder.string("a"), name), fLckdErr) << name;
  }
  EXPECT_EQ(renameFileTo(folder.string("a/f"), "g"), fLckdErr);
  EXPECT_EQ(makeFolder("a/b", false), fLckdErr);
  EXPECT_EQ(makeFolder("a/b", true), fLckdErr);
  EXPECT_EQ(copyFileTo(folder.string("a/f"), folder.string("a/g")), paramErr);
  EXPECT_EQ(createFileWithContents(folder.string("a/g"), nullptr), afpAccessDenied);
  EXPECT_EQ(removeFileForcefully(folder.string("a/f"), true), paramErr) << "only the item's own lock is taken away";
  JxFileCatalogInformation::setFinderLock(folder.string("a"), false);
  JxFileCatalogInformation::setFinderLock(folder.string("a/f"), true);
  EXPECT_EQ(createFileWithContents(folder.string("a/f"), nullptr), paramErr);
  EXPECT_EQ(contentsOf(folder / "a/f"), "text");
}

TEST_F(FileOperationsTests, ALockIsTakenAwayOnlyWithTheFlag) {
  JxFileCatalogInformation::setFinderLock(folder.string("a/f"), true);
  if (!JxFileCatalogInformation::isLockedByFinder(folder.string("a/f"))) GTEST_SKIP() << "no locks here";
  EXPECT_EQ(removeFileForcefully(folder.string("a/f"), false), paramErr);
  EXPECT_EQ(contentsOf(folder / "a/f"), "text");
  EXPECT_TRUE(JxFileCatalogInformation::isLockedByFinder(folder.string("a/f")));
  EXPECT_EQ(removeFileForcefully(folder.string("a"), true), paramErr) << "the lock of what is inside stays";
  EXPECT_EQ(removeFileForcefully(folder.string("a/f"), true), noErr);
  EXPECT_FALSE(exists("a/f"));
}

TEST_F(FileOperationsTests, ALinkIsRemovedByTheRightsOfWhatItLeadsTo) {
  std::filesystem::create_symlink("f", folder / "a/link");
  ::chmod((folder / "a/f").c_str(), 0444);
  EXPECT_EQ(removeFileForcefully(folder.string("a/link"), true), afpAccessDenied);
  EXPECT_TRUE(exists("a/link"));
  ::chmod((folder / "a/f").c_str(), 0644);
  EXPECT_EQ(removeFileForcefully(folder.string("a/link"), false), noErr);
  EXPECT_FALSE(exists("a/link"));
  EXPECT_EQ(contentsOf(folder / "a/f"), "text");
}

TEST_F(FileOperationsTests, WhatALinkLeadsToKeepsItsLock) {
  std::filesystem::create_symlink("f", folder / "a/link");
  JxFileCatalogInformation::setFinderLock(folder.string("a/f"), true);
  if (!JxFileCatalogInformation::isLockedByFinder(folder.string("a/f"))) GTEST_SKIP() << "no locks here";
  EXPECT_EQ(removeFileForcefully(folder.string("a/link"), true), noErr);
  EXPECT_FALSE(exists("a/link"));
  EXPECT_EQ(contentsOf(folder / "a/f"), "text");
  EXPECT_TRUE(JxFileCatalogInformation::isLockedByFinder(folder.string("a/f")));
}

// --- Paths that are a single name

TEST_F(FileOperationsTests, OfASingleNameTheFolderAroundItCountsAsMissing) {
  const auto work = [&] {
    if (::chdir((folder / "a").c_str()) != 0) return 1;
    if (copyFileTo("f", folder.string("copy")) != noErr || contentsOf(folder / "copy") != "text") return 2;
    if (renameFileTo("f", "g") != noErr || contentsOf(folder / "a/g") != "text") return 3;
    if (removeFileForcefully("g", true) != afpAccessDenied || !exists("a/g")) return 4;
    return createDirectoryWithRecursively("n", true) == dupFNErr && !exists("a/n") ? 0 : 5;
  };
  EXPECT_EQ(inChild(work), 0);
}

}  // namespace
}  // namespace ZtFoundation::test
