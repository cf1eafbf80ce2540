#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Runtime.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "support/ChildProcess.h"
#include "support/RecordingLog.h"
#include "support/ReplacedMethod.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using namespace JxFileExistence;

struct Case {
  const char* name;
  bool exists;
  bool file;
  bool directory;
};

constexpr Case kCases[] = {
    {"file", true, true, false},      {"inner", true, false, true},        {"inner/", true, false, true},
    {"missing", false, false, false}, {"file/x", false, false, false},     {"to file", true, true, false},
    {"to folder", true, false, true}, {"to nowhere", false, false, false}, {"to itself", false, false, false},
    {"\xFF", true, true, false},
};

class FileExistenceTests : public ::testing::Test {
 protected:
  FileExistenceTests() {
    writeFile(folder / "file", "text");
    writeFile(folder / "\xFF", "text");
    std::filesystem::create_directory(folder / "inner");
    std::filesystem::create_symlink("file", folder / "to file");
    std::filesystem::create_symlink("inner", folder / "to folder");
    std::filesystem::create_symlink("nowhere", folder / "to nowhere");
    std::filesystem::create_symlink("to itself", folder / "to itself");
  }

  ScratchFolder folder;
};

TEST_F(FileExistenceTests, OfPathsAndFileURLs) {
  for (const Case& item : kCases) {
    const Ref<NSString> path = folder.string(item.name);
    EXPECT_EQ(exists(path), item.exists) << item.name;
    EXPECT_EQ(fileExists(path), item.file) << item.name;
    EXPECT_EQ(directoryExists(path), item.directory) << item.name;
    const Ref<NSURL> url = NSURL::fileURLWithPath(path);
    EXPECT_EQ(exists(url), item.exists) << item.name;
    EXPECT_EQ(fileExists(url), item.file) << item.name;
    EXPECT_EQ(directoryExists(url), item.directory) << item.name;
  }
}

TEST_F(FileExistenceTests, TheSchemeOfAURLIsNotTested) {
  const ZtFoundation::test::RecordingLog log;
  const Ref<NSURL> page =
      NSURL::URLWithString(NSString::stringWithFileSystemRepresentation("http://example.org" + folder / "file"));
  EXPECT_TRUE(exists(page));
  EXPECT_TRUE(fileExists(page));
  EXPECT_FALSE(directoryExists(page));
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(FileExistenceTests, NoneAndPathsThatCannotBeAreNo) {
  for (const Ref<NSString>& path : {Ref<NSString>(), NSString::string(), NSString::stringWithUnits(UnitView("/\0", 2)),
                                    NSString::stringWithFileSystemRepresentation("/" + std::string(5000, 'x'))}) {
    EXPECT_FALSE(exists(path) || fileExists(path) || directoryExists(path));
  }
  const Ref<NSURL> none;
  const Ref<NSURL> withoutPath = NSURL::URLWithString("http://example.org");
  for (const Ref<NSURL>& url : {none, withoutPath})
    EXPECT_FALSE(exists(url) || fileExists(url) || directoryExists(url));
}

TEST_F(FileExistenceTests, WhatMayNotBeLookedAtDoesNotExist) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can be another user";
  std::filesystem::permissions(folder.path(), std::filesystem::perms(0700));
  EXPECT_EQ(
      asOrdinaryUser([&] { return exists(folder.string("file")) || directoryExists(folder.string("inner")) ? 1 : 0; }),
      0);
}

bool everythingExists(NSFileManager&, const Ref<NSString>&) { return true; }
bool everythingIsAFolder(NSFileManager&, const Ref<NSString>&, bool* isDirectory) { return *isDirectory = true; }

TEST_F(FileExistenceTests, TheDefaultManagerIsAskedByMessage) {
  const ReplacedMethod<&everythingExists> replaced(NSFileManager::classObject(), ZT_SELECTOR("fileExistsAtPath:"));
  EXPECT_TRUE(exists(folder.string("missing")));
  const ReplacedMethod<&everythingIsAFolder> alsoReplaced(NSFileManager::classObject(),
                                                          ZT_SELECTOR("fileExistsAtPath:isDirectory:"));
  EXPECT_TRUE(directoryExists(folder.string("file")));
  EXPECT_FALSE(exists(Ref<NSString>()) || directoryExists(Ref<NSString>())) << "nobody is asked about no path";
}

}  // namespace
}  // namespace ZtFoundation::test
