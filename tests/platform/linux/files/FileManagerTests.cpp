#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/Runtime.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>

#include "internal/platform/linux/references/CardOfACamera.h"
#include "platform/linux/SystemCallFaults.h"
#include "support/ChildProcess.h"
#include "support/FarDates.h"
#include "support/PrivateMounts.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

class FileManagerTests : public testing::Test {
 protected:
  FileManagerTests() {
    ::umask(022);
    writeFile(folder / "file", "text");
    std::filesystem::create_directory(folder / "folder");
    std::filesystem::create_symlink("file", folder / "link");
    std::filesystem::create_symlink("folder", folder / "folder link");
    std::filesystem::create_symlink("nowhere", folder / "broken");
  }

  struct stat statusOf(const std::string& name) const {
    struct stat status {};
    EXPECT_EQ(::lstat((folder / name).c_str(), &status), 0) << name;
    return status;
  }
  unsigned modeOf(const std::string& name) const { return statusOf(name).st_mode & 07777U; }

  bool makeFolder(const std::string& name, const Ref<NSDictionary>& attributes = nullptr) const {
    return manager->createDirectoryAtPath_attributes(folder.string(name), attributes);
  }

  ScratchFolder folder;
  Ref<NSFileManager> manager = NSFileManager::defaultManager();
};

TEST_F(FileManagerTests, ThereIsOneDefaultManager) {
  ASSERT_TRUE(manager);
  EXPECT_EQ(manager, NSFileManager::defaultManager());
  EXPECT_EQ(NSClassFromString("NSFileManager"), NSFileManager::classObject());
  EXPECT_EQ(send<Ref<NSFileManager>>(NSFileManager::classObject(), ZT_SELECTOR("defaultManager")), manager);
}

// --- Existence

TEST_F(FileManagerTests, ExistenceFollowsLinks) {
  struct Case {
    std::string name;
    bool exists;
    bool isFolder;
  };
  const Case cases[] = {{"file", true, false},       {"folder", true, true},   {"link", true, false},
                        {"folder link", true, true}, {"broken", false, false}, {"missing", false, false},
                        {"file/", false, false},     {"folder/", true, true},  {".", true, true},
                        {"missing/..", false, false}};
  for (const auto& [name, exists, isFolder] : cases) {
    EXPECT_EQ(manager->fileExistsAtPath(folder.string(name)), exists) << name;
    for (const bool before : {false, true}) {
      bool told = before;
      EXPECT_EQ(manager->fileExistsAtPath_isDirectory(folder.string(name), &told), exists) << name;
      EXPECT_EQ(told, exists ? isFolder : before) << name;
    }
    EXPECT_EQ(manager->fileExistsAtPath_isDirectory(folder.string(name), nullptr), exists) << name;
  }
}

TEST_F(FileManagerTests, PathsThatNameNothingDoNotExist) {
  const std::string zero("fi\0le", 5);
  for (const Ref<NSString>& path : {Ref<NSString>(), Ref<NSString>(""), folder.string(zero), folder.string("file\0")}) {
    if (path && path->isEqualToString(folder.string("file"))) continue;
    EXPECT_FALSE(manager->fileExistsAtPath(path));
    EXPECT_FALSE(manager->fileExistsAtPath_isDirectory(path, nullptr));
    EXPECT_FALSE(manager->contentsAtPath(path));
    EXPECT_FALSE(manager->createDirectoryAtPath_attributes(path, nullptr));
    EXPECT_FALSE(manager->createFileAtPath_contents_attributes(path, nullptr, nullptr));
  }
}

TEST_F(FileManagerTests, NamesThatAreNoTextAreFound) {
  ASSERT_TRUE(makeFolder("\xFE\xFFx"));
  EXPECT_TRUE(std::filesystem::is_directory(folder / "\xFE\xFFx"));
  EXPECT_TRUE(manager->fileExistsAtPath(folder.string("\xFE\xFFx")));
  EXPECT_TRUE(manager->fileExistsAtPath(folder.string("")->stringByAppendingString(u"\xDCFE\xDCFFx")));
}

// --- Folders

TEST_F(FileManagerTests, AFolderGetsWhatTheUmaskLeaves) {
  EXPECT_TRUE(makeFolder("new"));
  EXPECT_EQ(modeOf("new"), 0755U);
  ::umask(027);
  EXPECT_TRUE(makeFolder("narrow"));
  EXPECT_EQ(modeOf("narrow"), 0750U);
  ::umask(022);
}

TEST_F(FileManagerTests, WhatExistsIsNotTouched) {
  const Ref<NSDictionary> attributes = NSDictionary::dictionaryWithEntries(
      {{NSFilePosixPermissions, 0700}, {NSFileModificationDate, NSDate::dateWithTimeIntervalSince1970(1000)}});
  for (const char* name : {"file", "folder", "link", "folder link", "broken"}) {
    const struct stat before = statusOf(name);
    EXPECT_FALSE(makeFolder(name, attributes)) << name;
    EXPECT_EQ(statusOf(name).st_mode, before.st_mode) << name;
    EXPECT_EQ(statusOf(name).st_mtim.tv_nsec, before.st_mtim.tv_nsec) << name;
  }
}

TEST_F(FileManagerTests, AFolderNeedsItsParent) {
  EXPECT_FALSE(makeFolder("missing/new"));
  EXPECT_FALSE(makeFolder("file/new"));
  EXPECT_TRUE(makeFolder("folder link/new"));
  ::chmod(folder.path().c_str(), 0555);
  EXPECT_EQ(asOrdinaryUser([&] { return makeFolder("new"); }), 0) << "a folder that may not be written";
  ::chmod(folder.path().c_str(), 0755);
}

// Whoever may write the folder around may put a link in the place of the new item.
TEST_F(FileManagerTests, AttributesAreForTheNewItemAlone) {
  const Ref<NSDictionary> attributes = NSDictionary::dictionaryWithEntries(
      {{NSFilePosixPermissions, 0777}, {NSFileModificationDate, NSDate::dateWithTimeIntervalSince1970(1000)}});
  const struct stat file = statusOf("file"), inner = statusOf("folder");
  const auto swap = [&](const char* made, const char* victim) {
    std::filesystem::rename(folder / made, folder / "taken");
    std::filesystem::create_symlink(victim, folder / made);
  };
  for (const auto& [made, call] : {std::pair("new", "open"), std::pair("new/", "open"), std::pair("new", "fchmod")}) {
    FaultScript script({});
    script.before(call, [&] { swap("new", "folder"); });
    EXPECT_EQ(makeFolder(made, attributes), std::string_view(call) == "fchmod") << made;
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "new"));
    std::filesystem::remove(folder / "new");
    std::filesystem::remove(folder / "taken");
  }
  {
    FaultScript script({});
    script.before("fchmod", [&] { swap("new", "file"); });
    manager->createFileAtPath_contents_attributes(folder.string("new"), nullptr, attributes);
  }
  EXPECT_TRUE(std::filesystem::is_symlink(folder / "new"));
  for (const auto& [name, before] : {std::pair("file", file), std::pair("folder", inner)}) {
    EXPECT_EQ(statusOf(name).st_mode, before.st_mode) << name;
    EXPECT_EQ(statusOf(name).st_mtim.tv_sec, before.st_mtim.tv_sec) << name;
  }
}

TEST_F(FileManagerTests, PermissionsAreIndependentOfTheUmask) {
  for (const int mode : {0777, 0700, 0111, 0, 01777, 02770}) {
    const std::string name = std::to_string(mode);
    EXPECT_TRUE(makeFolder(name, NSDictionary::dictionaryWithObject_forKey(mode, NSFilePosixPermissions)));
    EXPECT_EQ(modeOf(name), static_cast<unsigned>(mode));
    ::chmod((folder / name).c_str(), 0700);  // else only root could remove it
  }
}

TEST_F(FileManagerTests, WithoutProcItemsGetTheirAttributesAsWell) {
  PrivateMounts mounts;
  if (!mounts.isPossible()) GTEST_SKIP() << mounts.whyNot();
  mounts.bind(mounts.folder("empty"), "/proc");
  const Ref<NSDictionary> attributes = NSDictionary::dictionaryWithEntries(
      {{NSFilePosixPermissions, 0707}, {NSFileModificationDate, NSDate::dateWithTimeIntervalSince1970(1000)}});
  EXPECT_TRUE(manager->createFileAtPath_contents_attributes(folder.string("new"), nullptr, attributes));
  EXPECT_TRUE(makeFolder("new folder", attributes));
  for (const char* made : {"new", "new folder"}) {
    EXPECT_EQ(modeOf(made), 0707U) << made;
    EXPECT_EQ(statusOf(made).st_mtim.tv_sec, 1000) << made;
  }
}

// Whoever may not read a folder has its name in "/proc".
TEST_F(FileManagerTests, AFolderThatItsOwnerMayNotReadGetsItsAttributes) {
  ::chmod(folder.path().c_str(), 0777);
  const Ref<NSDictionary> attributes = NSDictionary::dictionaryWithEntries(
      {{NSFilePosixPermissions, 0311}, {NSFileModificationDate, NSDate::dateWithTimeIntervalSince1970(1000)}});
  EXPECT_EQ(asOrdinaryUser([&] { return makeFolder("new", attributes); }), 1);
  EXPECT_EQ(modeOf("new"), 0311U);
  EXPECT_EQ(statusOf("new").st_mtim.tv_sec, 1000);
  ::chmod((folder / "new").c_str(), 0700);  // else only root could remove it
}

TEST_F(FileManagerTests, PermissionsAreLeftOutWhereThereAreNone) {
  PrivateMounts mounts;
  const CardOfACamera camera(mounts);
  const std::string card = camera.root.empty() ? mounts.disk({.type = "vfat"}) : camera.root;
  if (card.empty()) GTEST_SKIP() << "no root, no mount.exfat-fuse or no /dev/fuse here, and no vfat";
  for (const int mode : {01777, 02775, 0600}) {
    const auto wanted = NSDictionary::dictionaryWithObject_forKey(mode, NSFilePosixPermissions);
    const Ref<NSString> item = Ref<NSString>(card + "/" + std::to_string(mode));
    EXPECT_TRUE(manager->createDirectoryAtPath_attributes(item, wanted)) << std::oct << mode;
    const Ref<NSString> file = item->stringByAppendingString("file");
    EXPECT_TRUE(manager->createFileAtPath_contents_attributes(file, nullptr, wanted)) << std::oct << mode;
  }
}

TEST_F(FileManagerTests, TheModificationDateIsSetToTheNanosecondThatADateHas) {
  struct Case {
    double since1970;
    time_t seconds;
    long nanoseconds;
  };
  for (const auto& [since1970, seconds, nanoseconds] :
       {Case{1e9, 1000000000, 0}, Case{1e9 + 0.5, 1000000000, 500000000}, Case{-0.25, -1, 750000000}}) {
    const std::string name = std::to_string(since1970);
    const Ref<NSDate> date = NSDate::dateWithTimeIntervalSince1970(since1970);
    ASSERT_TRUE(makeFolder(name, NSDictionary::dictionaryWithObject_forKey(date, NSFileModificationDate)));
    EXPECT_EQ(statusOf(name).st_mtim.tv_sec, seconds);
    EXPECT_EQ(statusOf(name).st_mtim.tv_nsec, nanoseconds);
  }
}

TEST_F(FileManagerTests, ModificationDatesBeyond32BitsAreSet) {
  writeFile(folder / "file", "");
  for (const time_t seconds : kFarDates) {
    if (!hasDateSet(folder / "file", seconds)) continue;
    const std::string name = std::to_string(seconds);
    const Ref<NSDate> date = NSDate::dateWithTimeIntervalSince1970(static_cast<double>(seconds) + 0.5);
    ASSERT_TRUE(makeFolder(name, NSDictionary::dictionaryWithObject_forKey(date, NSFileModificationDate)));
    EXPECT_EQ(statusOf(name).st_mtim.tv_sec, seconds);
    EXPECT_EQ(statusOf(name).st_mtim.tv_nsec, 500'000'000);
  }
}

TEST_F(FileManagerTests, AttributesThatSayNothingAreIgnored) {
  const double infinity = std::numeric_limits<double>::infinity();
  const Ref<NSDictionary> attributes = NSDictionary::dictionaryWithEntries({
      {NSFilePosixPermissions, "0700"},
      {NSFileModificationDate, 12},
      {NSFileOwnerAccountID, "root"},
      {NSFileOwnerAccountName, "no such user"},
      {NSFileGroupOwnerAccountName, 5},
      {"unknown", NSDate::dateWithTimeIntervalSince1970(infinity)},
  });
  EXPECT_TRUE(makeFolder("new", attributes));
  EXPECT_EQ(modeOf("new"), 0755U);
  EXPECT_EQ(statusOf("new").st_uid, ::geteuid());
  int count = 0;
  for (const double seconds : {infinity, -infinity, std::nan(""), 1e300}) {
    const Ref<NSDate> date = NSDate::dateWithTimeIntervalSince1970(seconds);
    const auto at = NSDictionary::dictionaryWithObject_forKey(date, NSFileModificationDate);
    const std::string name = std::to_string(++count);
    EXPECT_TRUE(makeFolder(name, at)) << seconds;
    EXPECT_LE(std::abs(statusOf(name).st_mtim.tv_sec - statusOf("new").st_mtim.tv_sec), 60) << seconds;
  }
}

TEST_F(FileManagerTests, RootGivesFoldersAway) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  const Ref<NSDictionary> byNumber =
      NSDictionary::dictionaryWithEntries({{NSFileOwnerAccountID, 1234}, {NSFileGroupOwnerAccountID, 2345}});
  ASSERT_TRUE(makeFolder("by number", byNumber));
  EXPECT_EQ(statusOf("by number").st_uid, 1234U);
  EXPECT_EQ(statusOf("by number").st_gid, 2345U);
  const Ref<NSDictionary> byName = NSDictionary::dictionaryWithEntries({{NSFileOwnerAccountName, "daemon"}});
  ASSERT_TRUE(makeFolder("by name", byName));
  EXPECT_EQ(statusOf("by name").st_uid, 1U);
  EXPECT_EQ(statusOf("by name").st_gid, 0U);
  const Ref<NSDictionary> group = NSDictionary::dictionaryWithEntries({{NSFileGroupOwnerAccountName, "daemon"}});
  ASSERT_TRUE(makeFolder("group", group));
  EXPECT_EQ(statusOf("group").st_uid, 0U);
  EXPECT_EQ(statusOf("group").st_gid, 1U);
}

// Cut to 32 bits, some of them would be somebody's.
TEST_F(FileManagerTests, AnIdentifierThatNobodyCanHaveIsNone) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root may give items away";
  for (const long long identifier : {4294968296LL, 4294967295LL, -1LL, -4294966296LL}) {
    const Ref<NSDictionary> attributes = NSDictionary::dictionaryWithEntries(
        {{NSFileOwnerAccountID, identifier}, {NSFileGroupOwnerAccountID, identifier}});
    EXPECT_TRUE(manager->createFileAtPath_contents_attributes(folder.string("new"), nullptr, attributes));
    EXPECT_EQ(statusOf("new").st_uid, ::geteuid()) << identifier;
    EXPECT_EQ(statusOf("new").st_gid, statusOf("file").st_gid) << identifier;
  }
}

TEST_F(FileManagerTests, WhoMayNotGiveFoldersAwayMakesThemAllTheSame) {
  ::chmod(folder.path().c_str(), 0777);
  const Ref<NSDictionary> attributes =
      NSDictionary::dictionaryWithEntries({{NSFileOwnerAccountID, 1234}, {NSFilePosixPermissions, 0701}});
  EXPECT_EQ(asOrdinaryUser([&] { return makeFolder("new", attributes); }), 1);
  EXPECT_EQ(modeOf("new"), 0701U);
}

// --- What cannot be given

class RefusedAttributeTests : public FileManagerTests {
 protected:
  /// The first call of the function `name` in `work` fails, or the one after `earlier` others.
  template <class Work>
  bool withFailing(const std::string& name, int error, Work work, int earlier = 0) const {
    int at = 0;
    {
      const FaultScript probe({});
      EXPECT_TRUE(work());
      auto call = std::ranges::find(probe.calls(), name);
      for (; earlier > 0; --earlier) call = std::find(call + 1, probe.calls().end(), name);
      at = static_cast<int>(call - probe.calls().begin());
    }
    restore();
    const FaultScript script({at, error, false});
    const bool success = work();
    EXPECT_EQ(script.faulted(), name);
    return success;
  }

  void restore() const {
    std::filesystem::remove_all(folder / "new");
    writeFile(folder / "file", "text");
    ::chmod((folder / "file").c_str(), 0644);
  }

  bool rewriteFile(const Ref<NSDictionary>& attributes) const {
    return manager->createFileAtPath_contents_attributes(folder.string("file"), NSData::dataWithBytes("new"),
                                                         attributes);
  }
};

// Others might read what was meant for its owner alone.
TEST_F(RefusedAttributeTests, WithoutItsPermissionsItIsAFailure) {
  const auto narrow = NSDictionary::dictionaryWithObject_forKey(0600, NSFilePosixPermissions);
  const auto wide = NSDictionary::dictionaryWithObject_forKey(0777, NSFilePosixPermissions);
  for (const int error : {EPERM, EACCES, EIO, ENOTSUP, ENOSYS}) {
    SCOPED_TRACE(std::strerror(error));
    const bool hasPermissions = error != ENOTSUP && error != ENOSYS;
    EXPECT_NE(withFailing("fchmod", error, [&] { return rewriteFile(narrow); }), hasPermissions);
    EXPECT_EQ(contentsOf(folder / "file"), hasPermissions ? "text" : "new");
    EXPECT_NE(withFailing("fchmod", error, [&] { return makeFolder("new", wide); }), hasPermissions);
    EXPECT_NE(std::filesystem::exists(folder / "new"), hasPermissions);
  }
}

TEST_F(RefusedAttributeTests, PermissionsThatAreThereNeedNotBeGiven) {
  const FaultScript script({});
  EXPECT_TRUE(rewriteFile(NSDictionary::dictionaryWithObject_forKey(0644, NSFilePosixPermissions)));
  EXPECT_TRUE(makeFolder("new", NSDictionary::dictionaryWithObject_forKey(0755, NSFilePosixPermissions)));
  for (const char* call : {"fchmod", "chmod"}) EXPECT_EQ(std::ranges::count(script.calls(), call), 0) << call;
}

TEST_F(RefusedAttributeTests, ADateThatIsRefusedIsLeftOut) {
  const auto date = NSDate::dateWithTimeIntervalSince1970(1000);
  const auto dated = NSDictionary::dictionaryWithObject_forKey(date, NSFileModificationDate);
  for (const int error : {EPERM, EACCES, ENOTSUP, ENOSYS, EIO}) {
    SCOPED_TRACE(std::strerror(error));
    EXPECT_EQ(withFailing("futimens", error, [&] { return rewriteFile(dated); }), error != EIO);
    EXPECT_EQ(contentsOf(folder / "file"), "new");
    EXPECT_EQ(withFailing("futimens", error, [&] { return makeFolder("new", dated); }), error != EIO);
    EXPECT_EQ(std::filesystem::exists(folder / "new"), error != EIO);
  }
}

TEST_F(RefusedAttributeTests, WhoMayOnlyWriteAFileCannotNarrowIt) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can be another user";
  ::chmod(folder.path().c_str(), 0777);
  ::chmod((folder / "file").c_str(), 0666);
  const auto narrow = NSDictionary::dictionaryWithObject_forKey(0600, NSFilePosixPermissions);
  EXPECT_EQ(asOrdinaryUser([&] { return rewriteFile(narrow); }), 0);
  EXPECT_EQ(contentsOf(folder / "file"), "text");
  EXPECT_EQ(asOrdinaryUser([&] { return rewriteFile(nullptr); }), 1);
  EXPECT_EQ(contentsOf(folder / "file"), "new");
}

TEST_F(RefusedAttributeTests, WhoMayOnlyWriteAFileCannotWidenIt) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can be another user";
  ::chmod(folder.path().c_str(), 0777);
  ::chmod((folder / "file").c_str(), 0666);
  const auto wide = NSDictionary::dictionaryWithObject_forKey(0777, NSFilePosixPermissions);
  EXPECT_EQ(asOrdinaryUser([&] { return rewriteFile(wide); }), 0);
  EXPECT_EQ(contentsOf(folder / "file"), "text");
  EXPECT_EQ(modeOf("file"), 0666U);
}

TEST_F(RefusedAttributeTests, OldContentsAreShownToNobodyElse) {
  const auto wide = NSDictionary::dictionaryWithEntries({{NSFilePosixPermissions, 0644}, {NSFileOwnerAccountID, 1234}});
  ::chmod((folder / "file").c_str(), 0600);
  FaultScript script({});
  struct stat status {};
  script.before("ftruncate", [&] { status = statusOf("file"); });
  EXPECT_TRUE(rewriteFile(wide));
  EXPECT_EQ(status.st_mode & 07777, 0600U);
  EXPECT_EQ(status.st_uid, ::geteuid());
  EXPECT_EQ(modeOf("file"), 0644U);
}

TEST_F(RefusedAttributeTests, WhatCannotBeEmptiedStaysHidden) {
  const auto wide = NSDictionary::dictionaryWithObject_forKey(0644, NSFilePosixPermissions);
  EXPECT_FALSE(withFailing("ftruncate", EIO, [&] {
    ::chmod((folder / "file").c_str(), 0600);
    return rewriteFile(wide);
  }));
  EXPECT_EQ(contentsOf(folder / "file"), "text");
  EXPECT_EQ(modeOf("file"), 0600U);
}

TEST_F(RefusedAttributeTests, NothingIsWrittenWithoutWiderPermissions) {
  const auto wide = NSDictionary::dictionaryWithObject_forKey(0644, NSFilePosixPermissions);
  EXPECT_FALSE(withFailing(
      "fchmod", EIO,
      [&] {
        ::chmod((folder / "file").c_str(), 0600);
        return rewriteFile(wide);
      },
      1));
  EXPECT_EQ(contentsOf(folder / "file"), "");
  EXPECT_EQ(modeOf("file"), 0600U);
}

// Somebody else could open it in the meantime.
TEST_F(RefusedAttributeTests, NothingIsWrittenBeforeAFileHasItsRights) {
  FaultScript script({});
  unsigned mode = 0;
  script.before("write", [&] { mode = modeOf("file"); });
  EXPECT_TRUE(rewriteFile(NSDictionary::dictionaryWithObject_forKey(0600, NSFilePosixPermissions)));
  EXPECT_EQ(mode, 0600U);
}

TEST_F(RefusedAttributeTests, WhatWritingTakesAwayIsGivenAgain) {
  ::chmod(folder.path().c_str(), 0777);
  const auto wanted = NSDictionary::dictionaryWithObject_forKey(04755, NSFilePosixPermissions);
  const Ref<NSString> path = folder.string("new");
  const Ref<NSData> data = NSData::dataWithBytes("new");
  EXPECT_EQ(asOrdinaryUser([&] { return manager->createFileAtPath_contents_attributes(path, data, wanted); }), 1);
  EXPECT_EQ(modeOf("new"), 04755U);
}

// --- Files

TEST_F(FileManagerTests, ContentsAreTheWholeFile) {
  EXPECT_EQ(manager->contentsAtPath(folder.string("link"))->view(), "text");
  EXPECT_FALSE(manager->contentsAtPath(folder.string("folder")));
  EXPECT_FALSE(manager->contentsAtPath(folder.string("missing")));
}

TEST_F(FileManagerTests, FilesAreMadeOrRewritten) {
  const Ref<NSData> data = NSData::dataWithBytes("new");
  EXPECT_TRUE(manager->createFileAtPath_contents_attributes(folder.string("new"), data, nullptr));
  EXPECT_EQ(contentsOf(folder / "new"), "new");
  EXPECT_EQ(modeOf("new"), 0644U);
  EXPECT_TRUE(manager->createFileAtPath_contents_attributes(folder.string("link"), data, nullptr));
  EXPECT_EQ(contentsOf(folder / "file"), "new");
  EXPECT_TRUE(manager->createFileAtPath_contents_attributes(folder.string("file"), nullptr, nullptr));
  EXPECT_EQ(contentsOf(folder / "file"), "");
  const Ref<NSDictionary> narrow = NSDictionary::dictionaryWithObject_forKey(0600, NSFilePosixPermissions);
  EXPECT_TRUE(manager->createFileAtPath_contents_attributes(folder.string("file"), data, narrow));
  EXPECT_EQ(modeOf("file"), 0600U);
  EXPECT_FALSE(manager->createFileAtPath_contents_attributes(folder.string("folder"), data, nullptr));
  EXPECT_FALSE(manager->createFileAtPath_contents_attributes(folder.string("missing/new"), data, nullptr));
}

TEST_F(FileManagerTests, LockedFilesAndFoldersGetNoContents) {
  using JxFileCatalogInformation::setFinderLock;
  const Ref<NSData> data = NSData::dataWithBytes("new");
  const auto create = [&](const char* name) {
    return manager->createFileAtPath_contents_attributes(folder.string(name), data, nullptr);
  };
  std::filesystem::create_symlink("folder/made", folder / "into folder");
  setFinderLock(folder.string("file"), true);
  setFinderLock(folder.string("folder"), true);
  if (!JxFileCatalogInformation::isLockedByFinder(folder.string("file"))) GTEST_SKIP() << "no locks here";
  for (const char* name : {"file", "link", "folder/made", "into folder"}) EXPECT_FALSE(create(name)) << name;
  EXPECT_FALSE(manager->createDirectoryAtPath_attributes(folder.string("folder/inner"), nullptr));
  EXPECT_EQ(contentsOf(folder / "file"), "text");
  EXPECT_TRUE(std::filesystem::is_empty(folder / "folder"));
  setFinderLock(folder.string("folder"), false);
  EXPECT_TRUE(create("into folder"));
  EXPECT_EQ(contentsOf(folder / "folder/made"), "new");
}

}  // namespace
}  // namespace ZtFoundation::test
