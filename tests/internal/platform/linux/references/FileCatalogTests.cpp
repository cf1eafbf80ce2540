#include "platform/services/FileCatalog.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <cmath>
#include <filesystem>

#include "platform/linux/files/FinderLock.h"
#include "platform/linux/volumes/Volumes.h"
#include "platform/services/Service.h"
#include "support/ChildProcess.h"
#include "support/FarDates.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

/// Everything lies on one volume.
class OneVolume : public NoVolumes {
 public:
  FSVolumeRefNum volumeHolding(const FSRef& item) override {
    asked = item.path()->utf8();
    return number;
  }

  FSVolumeRefNum number = -3;
  std::string asked;

 private:
  ScopedService<Volumes> scope_{*this};
};

class FileCatalogTests : public testing::Test {
 protected:
  FSRef refTo(const std::string& name) {
    FSRef ref;
    EXPECT_EQ(catalog.FSPathMakeRef(folder.string(name), &ref, nullptr), noErr) << name;
    return ref;
  }
  std::string pathOf(const FSRef& ref) {
    const Ref<NSURL> url = catalog.CFURLCreateFromFSRef(&ref);
    return url ? url->path()->fileSystemRepresentation() : std::string();
  }
  FSCatalogInfo info(const std::string& name, FSCatalogInfoBitmap wanted) {
    const FSRef ref = refTo(name);
    FSCatalogInfo result;
    EXPECT_EQ(catalog.FSGetCatalogInfo(&ref, wanted, &result, nullptr), noErr) << name;
    return result;
  }
  OSErr setLock(const std::string& name, bool locked) {
    const FSRef ref = refTo(name);
    FSCatalogInfo wanted;
    wanted.nodeFlags = locked ? kFSNodeLockedMask : 0;
    return catalog.FSSetCatalogInfo(&ref, kFSCatInfoNodeFlags, &wanted);
  }
  OSErr rename(const FSRef& ref, const Ref<NSString>& name) { return catalog.FSRenameUnicode(&ref, name); }
  OSErr makeFolder(const FSRef& parent, const Ref<NSString>& name) {
    return catalog.FSCreateDirectoryUnicode(&parent, name);
  }

  ScratchFolder folder;
  OneVolume volume;
  FileCatalog& catalog = FileCatalog::production();
};

struct stat statusOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
  return status;
}

// --- References

TEST_F(FileCatalogTests, AReferenceNamesWhatExists) {
  writeFile(folder / "file", "text");
  FSRef ref;
  bool isDirectory = true;
  ASSERT_EQ(catalog.FSPathMakeRef(folder.string("file"), &ref, &isDirectory), noErr);
  EXPECT_FALSE(isDirectory);
  EXPECT_EQ(ref.path()->utf8(), folder / "file");
  EXPECT_EQ(ref.identity().number, statusOf(folder / "file").st_ino);
  EXPECT_EQ(ref.identity().device, statusOf(folder / "file").st_dev);
  ASSERT_EQ(catalog.FSPathMakeRef(folder.string(""), &ref, &isDirectory), noErr);
  EXPECT_TRUE(isDirectory);
  EXPECT_EQ(ref.path()->utf8(), folder.path()) << "without the slash at the end";
}

TEST_F(FileCatalogTests, NothingThereIsNotFoundAndNothingIsTouched) {
  writeFile(folder / "file", "text");
  FSRef ref = refTo("file");
  bool isDirectory = true;
  const auto make = [&](const Ref<NSString>& path) { return catalog.FSPathMakeRef(path, &ref, &isDirectory); };
  EXPECT_EQ(make(folder.string("missing")), fnfErr);
  EXPECT_EQ(make(folder.string("file/x")), fnfErr);
  EXPECT_EQ(make(""), fnfErr);
  EXPECT_EQ(make(nullptr), paramErr);
  EXPECT_EQ(make(NSString::stringWithUnits(UnitView("/\0", 2))), fnfErr);
  EXPECT_EQ(make(folder.string(std::string(300, 'x'))), bdNamErr);
  EXPECT_EQ(catalog.FSPathMakeRef(folder.string("file"), nullptr, nullptr), paramErr);
  EXPECT_EQ(ref.path()->utf8(), folder / "file");
  EXPECT_TRUE(isDirectory);
}

TEST_F(FileCatalogTests, ALinkAtTheEndIsTheItemAndLinksBeforeAreFollowed) {
  std::filesystem::create_directory(folder / "a");
  writeFile(folder / "a/file", "text");
  std::filesystem::create_directory_symlink("a", folder / "link");
  std::filesystem::create_symlink("nowhere", folder / "dangling");
  EXPECT_EQ(refTo("link").identity().number, statusOf(folder / "link").st_ino);
  EXPECT_EQ(refTo("link/").identity().number, statusOf(folder / "link").st_ino);
  EXPECT_FALSE(refTo("link").identity().isFolder);
  EXPECT_EQ(refTo("link/file").identity().number, statusOf(folder / "a/file").st_ino);
  EXPECT_EQ(pathOf(refTo("link/file")), folder / "link/file");
  EXPECT_EQ(pathOf(refTo("dangling")), folder / "dangling");
}

TEST_F(FileCatalogTests, ASlashAtTheEndNamesNoFile) {
  writeFile(folder / "file", "text");
  std::filesystem::create_symlink("file", folder / "link");
  FSRef ref;
  for (const char* name : {"file/", "file//", "file/.", "file/./", "link/."}) {
    EXPECT_EQ(catalog.FSPathMakeRef(folder.string(name), &ref, nullptr), fnfErr) << name;
    EXPECT_FALSE(catalog.CFURLGetFSRef(NSURL::fileURLWithPath(folder.string(name)), &ref)) << name;
  }
  EXPECT_TRUE(ref.isEmpty());
  for (const char* name : {"", "/", ".", "./"}) {
    EXPECT_EQ(pathOf(refTo(name)), folder.path()) << name;
    EXPECT_TRUE(catalog.CFURLGetFSRef(NSURL::fileURLWithPath(folder.string(name)), &ref)) << name;
  }
  EXPECT_TRUE(catalog.CFURLGetFSRef(NSURL::fileURLWithPath("/"), &ref));
  EXPECT_EQ(pathOf(ref), "/");
}

// The slash belongs to what stands behind the path, or there is no path at all.
TEST_F(FileCatalogTests, OtherSlashesOfAURLSayNothing) {
  writeFile(folder / "file", "text");
  FSRef ref;
  for (const char* more : {"?/", "#/", "?a#/"}) {
    const Ref<NSURL> url = NSURL::URLWithString(std::string("file://").append(folder / "file").append(more));
    EXPECT_TRUE(catalog.CFURLGetFSRef(url, &ref)) << more;
    EXPECT_EQ(pathOf(ref), folder / "file");
  }
  EXPECT_FALSE(catalog.CFURLGetFSRef(NSURL::URLWithString("file://"), &ref));
}

TEST_F(FileCatalogTests, NamesOfAnyBytesSurvive) {
  writeFile(folder / "\xE4\xF6 \xE3\x81\x82", "text");
  EXPECT_EQ(pathOf(refTo("\xE4\xF6 \xE3\x81\x82")), folder / "\xE4\xF6 \xE3\x81\x82");
}

TEST_F(FileCatalogTests, ReferencesFromURLs) {
  writeFile(folder / "a b", "text");
  FSRef ref;
  EXPECT_TRUE(catalog.CFURLGetFSRef(NSURL::fileURLWithPath(folder.string("a b")), &ref));
  EXPECT_EQ(pathOf(ref), folder / "a b");
  EXPECT_FALSE(catalog.CFURLGetFSRef(NSURL::fileURLWithPath(folder.string("missing")), &ref));
  EXPECT_FALSE(catalog.CFURLGetFSRef(NSURL::URLWithString("http://example.org/"), &ref));
  EXPECT_FALSE(catalog.CFURLGetFSRef(NSURL::URLWithString("/"), &ref)) << "no file URL";
  EXPECT_FALSE(catalog.CFURLGetFSRef(nullptr, &ref));
  EXPECT_FALSE(catalog.CFURLGetFSRef(NSURL::fileURLWithPath(folder.string("a b")), nullptr));
}

TEST_F(FileCatalogTests, NoReferenceNoAnswer) {
  const FSRef empty;
  FSCatalogInfo info;
  for (const FSRef* ref : {static_cast<const FSRef*>(nullptr), &empty}) {
    EXPECT_EQ(catalog.CFURLCreateFromFSRef(ref), nullptr);
    EXPECT_EQ(catalog.FSGetCatalogInfo(ref, kFSCatInfoNone, nullptr, nullptr), fnfErr);
    EXPECT_EQ(catalog.FSSetCatalogInfo(ref, kFSCatInfoNodeFlags, &info), fnfErr);
    EXPECT_EQ(catalog.FSCreateDirectoryUnicode(ref, "x"), dirNFErr);
    EXPECT_EQ(catalog.FSRenameUnicode(ref, "x"), fnfErr);
  }
}

// --- Items that moved

TEST_F(FileCatalogTests, AnItemThatMovedIsFoundAgain) {
  std::filesystem::create_directories(folder / "a/b");
  std::filesystem::create_directories(folder / "c/d");
  writeFile(folder / "a/b/file", "text");
  const FSRef file = refTo("a/b/file");
  const FSRef inner = refTo("a/b");
  std::filesystem::rename(folder / "a/b/file", folder / "a/b/other name");
  EXPECT_EQ(pathOf(file), folder / "a/b/other name");
  std::filesystem::rename(folder / "a/b/other name", folder / "c/d/elsewhere");
  EXPECT_EQ(pathOf(file), folder / "c/d/elsewhere");
  std::filesystem::rename(folder / "a/b", folder / "c/e");
  EXPECT_EQ(pathOf(inner), folder / "c/e");
  std::filesystem::remove(folder / "a");
  EXPECT_EQ(pathOf(inner), folder / "c/e");
  FSCatalogInfo info;
  ASSERT_EQ(catalog.FSGetCatalogInfo(&file, kFSCatInfoDataSizes, &info, nullptr), noErr);
  EXPECT_EQ(info.dataLogicalSize, 4U);
}

class GoneItems : public FileCatalogTests {
 protected:
  void expectGone(const FSRef& ref) {
    FSCatalogInfo info;
    EXPECT_EQ(pathOf(ref), "");
    EXPECT_EQ(catalog.FSGetCatalogInfo(&ref, kFSCatInfoNodeFlags, &info, nullptr), fnfErr);
  }
};

TEST_F(GoneItems, AnItemThatTookThePlaceIsNeverTaken) {
  writeFile(folder / "file", "text");
  const FSRef ref = refTo("file");
  std::filesystem::rename(folder / "file", folder / "moved");
  writeFile(folder / "file", "another");
  EXPECT_EQ(pathOf(ref), folder / "moved");
  std::filesystem::remove(folder / "moved");
  expectGone(ref);
  EXPECT_EQ(contentsOf(folder / "file"), "another");
}

TEST_F(GoneItems, ALaterItemWithTheSameNumberIsNotTheItem) {
  writeFile(folder / "file", "text");
  const FSRef ref = refTo("file");
  if (!ref.identity().hasBirth) GTEST_SKIP() << "this file system keeps no dates of birth";
  FSRef::Identity earlier = ref.identity();
  earlier.bornSeconds -= 1;
  expectGone(FSRef(earlier, ref.path()));
}

// --- Roots of volumes that could not be asked when the reference was made

TEST_F(FileCatalogTests, ARootKnownByItsPathAloneIsWhateverIsThere) {
  const FSRef root(FSRef::Identity{}, folder.string(""));
  FSCatalogInfo info;
  ASSERT_EQ(catalog.FSGetCatalogInfo(&root, kFSCatInfoNodeFlags, &info, nullptr), noErr);
  EXPECT_EQ(info.nodeFlags, kFSNodeIsDirectoryMask);
}

// --- Fields

TEST_F(FileCatalogTests, SizesOfAFile) {
  writeFile(folder / "file", std::string(5000, 'x'));
  const FSCatalogInfo file = info("file", kFSCatInfoDataSizes | kFSCatInfoRsrcSizes);
  EXPECT_EQ(file.dataLogicalSize, 5000U);
  EXPECT_EQ(file.dataPhysicalSize, 512U * static_cast<std::uint64_t>(statusOf(folder / "file").st_blocks));
  EXPECT_EQ(file.rsrcLogicalSize, 0U);
  EXPECT_EQ(file.rsrcPhysicalSize, 0U);
}

TEST_F(FileCatalogTests, ASparseFileTakesLessThanItsLength) {
  writeFile(folder / "sparse", "");
  std::filesystem::resize_file(folder / "sparse", std::uintmax_t{5} << 32);
  const FSCatalogInfo file = info("sparse", kFSCatInfoDataSizes);
  EXPECT_EQ(file.dataLogicalSize, std::uint64_t{5} << 32);
  EXPECT_LT(file.dataPhysicalSize, 65536U);
}

TEST_F(FileCatalogTests, TheResourceForkIsAnExtendedAttribute) {
  writeFile(folder / "file", "text");
  const std::string fork(600, 'r');
  if (::setxattr((folder / "file").c_str(), "user.ZtFoundation.resources", fork.data(), fork.size(), 0) != 0) {
    GTEST_SKIP() << "no extended attributes on this file system";
  }
  const FSCatalogInfo file = info("file", kFSCatInfoRsrcSizes);
  EXPECT_EQ(file.rsrcLogicalSize, 600U);
  EXPECT_EQ(file.rsrcPhysicalSize, 1024U);
  EXPECT_EQ(file.dataLogicalSize, 0U) << "not asked for";
}

TEST_F(FileCatalogTests, AFolderHasNoForks) {
  std::filesystem::create_directory(folder / "inner");
  ::setxattr((folder / "inner").c_str(), "user.ZtFoundation.resources", "x", 1, 0);
  const FSCatalogInfo inner = info("inner", kFSCatInfoDataSizes | kFSCatInfoRsrcSizes | kFSCatInfoNodeFlags);
  EXPECT_EQ(inner.dataLogicalSize + inner.dataPhysicalSize + inner.rsrcLogicalSize + inner.rsrcPhysicalSize, 0U);
  EXPECT_EQ(inner.nodeFlags, kFSNodeIsDirectoryMask);
}

TEST_F(FileCatalogTests, Dates) {
  writeFile(folder / "file", "text");
  const timespec times[2] = {{1000000000, 0}, {1500000000, 250'000'000}};
  ASSERT_EQ(::utimensat(AT_FDCWD, (folder / "file").c_str(), times, 0), 0);
  const FSCatalogInfo file = info("file", kFSCatInfoContentMod | kFSCatInfoCreateDate);
  double modified = NAN;
  ASSERT_EQ(UCConvertUTCDateTimeToCFAbsoluteTime(&file.contentModDate, &modified), noErr);
  EXPECT_EQ(modified, 1500000000.25 - 978307200.0);
  if (!refTo("file").identity().hasBirth) GTEST_SKIP() << "this file system keeps no dates of birth";
  double born = NAN;
  ASSERT_EQ(UCConvertUTCDateTimeToCFAbsoluteTime(&file.createDate, &born), noErr);
  EXPECT_NEAR(born + 978307200.0, static_cast<double>(::time(nullptr)), 60);
}

// The record of the catalog begins in 1904.
TEST_F(FileCatalogTests, DatesBeyond32BitsAreTold) {
  constexpr time_t kFrom1904 = -2082844800;
  writeFile(folder / "file", "text");
  for (const time_t seconds : kFarDates) {
    if (!hasDateSet(folder / "file", seconds)) continue;
    const FSCatalogInfo file = info("file", kFSCatInfoContentMod);
    double modified = 0;
    if (seconds < kFrom1904) {
      EXPECT_EQ(UCConvertUTCDateTimeToCFAbsoluteTime(&file.contentModDate, &modified), paramErr) << seconds;
    } else {
      ASSERT_EQ(UCConvertUTCDateTimeToCFAbsoluteTime(&file.contentModDate, &modified), noErr) << seconds;
      EXPECT_EQ(modified + 978307200.0, static_cast<double>(seconds) + 0.5);
    }
  }
}

TEST_F(FileCatalogTests, AFileSystemWithoutDatesOfBirthTellsNone) {
  FSRef ref;
  FSCatalogInfo info;
  ASSERT_EQ(catalog.FSPathMakeRef("/proc/self", &ref, nullptr), noErr);
  if (ref.identity().hasBirth) GTEST_SKIP() << "this kernel tells a date of birth there";
  ASSERT_EQ(catalog.FSGetCatalogInfo(&ref, kFSCatInfoCreateDate, &info, nullptr), noErr);
  double born = 7;
  EXPECT_EQ(UCConvertUTCDateTimeToCFAbsoluteTime(&info.createDate, &born), paramErr);
}

TEST_F(FileCatalogTests, OnlyTheFieldsThatAreWantedAreFilled) {
  writeFile(folder / "file", "text");
  const FSRef ref = refTo("file");
  FSCatalogInfo info;
  info.nodeFlags = 0x7777;
  info.createDate.lowSeconds = info.contentModDate.lowSeconds = 77;
  info.dataLogicalSize = info.rsrcLogicalSize = 77;
  ASSERT_EQ(catalog.FSGetCatalogInfo(&ref, kFSCatInfoNone, &info, nullptr), noErr);
  EXPECT_EQ(info.nodeFlags, 0x7777);
  EXPECT_EQ(info.createDate.lowSeconds, 77U);
  EXPECT_EQ(info.contentModDate.lowSeconds, 77U);
  EXPECT_EQ(info.dataLogicalSize, 77U);
  EXPECT_EQ(info.rsrcLogicalSize, 77U);
  EXPECT_EQ(volume.asked, "") << "nobody wants the volume";
}

TEST_F(FileCatalogTests, TheVolume) {
  writeFile(folder / "file", "text");
  EXPECT_EQ(info("file", kFSCatInfoVolume).volume, -3);
  EXPECT_EQ(volume.asked, folder / "file");
  volume.number = 0;
  const FSRef ref = refTo("file");
  FSCatalogInfo info;
  info.volume = 5;
  EXPECT_EQ(catalog.FSGetCatalogInfo(&ref, kFSCatInfoVolume | kFSCatInfoDataSizes, &info, nullptr), nsvErr);
  EXPECT_EQ(info.volume, 5);
  EXPECT_EQ(info.dataLogicalSize, 0U) << "an error fills nothing";
  EXPECT_EQ(catalog.FSGetCatalogInfo(&ref, kFSCatInfoVolume, nullptr, nullptr), noErr) << "nobody is told";
}

// --- File description records

TEST_F(FileCatalogTests, AFileDescriptionHoldsVolumeParentAndName) {
  writeFile(folder / "Namen \xC3\xA4", "text");
  if (statusOf(folder.path()).st_ino > 0x7FFFFFFF) GTEST_SKIP() << "large numbers on this file system";
  const FSRef ref = refTo("Namen \xC3\xA4");
  FSSpec description;
  ASSERT_EQ(catalog.FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, &description), noErr);
  EXPECT_EQ(description.vRefNum, -3);
  EXPECT_EQ(static_cast<std::uint64_t>(description.parID), statusOf(folder.path()).st_ino);
  EXPECT_EQ(description.name[0], 8);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(description.name) + 1, 8), "Namen \xC3\xA4");
}

TEST_F(FileCatalogTests, TheParentInAFileDescriptionIsTheFolderNotALinkToIt) {
  if (statusOf(folder.path()).st_ino > 0x7FFFFFFF) GTEST_SKIP() << "large numbers on this file system";
  std::filesystem::create_directory(folder / "a");
  writeFile(folder / "a/file", "text");
  std::filesystem::create_directory_symlink("a", folder / "link");
  const FSRef ref = refTo("link/file");
  FSSpec description;
  ASSERT_EQ(catalog.FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, &description), noErr);
  EXPECT_EQ(static_cast<std::uint64_t>(description.parID), statusOf(folder / "a").st_ino);
}

TEST_F(FileCatalogTests, NamesOfMoreThan63BytesHaveNoDescription) {
  if (statusOf(folder.path()).st_ino > 0x7FFFFFFF) GTEST_SKIP() << "large numbers on this file system";
  writeFile(folder / std::string(63, 'x'), "text");
  writeFile(folder / std::string(64, 'x'), "text");
  const FSRef fits = refTo(std::string(63, 'x'));
  const FSRef tooLong = refTo(std::string(64, 'x'));
  FSSpec description;
  ASSERT_EQ(catalog.FSGetCatalogInfo(&fits, kFSCatInfoNone, nullptr, &description), noErr);
  EXPECT_EQ(description.name[0], 63);
  description.parID = 77;
  FSCatalogInfo info;
  EXPECT_EQ(catalog.FSGetCatalogInfo(&tooLong, kFSCatInfoDataSizes, &info, &description), bdNamErr);
  EXPECT_EQ(std::int32_t{description.parID}, 77);
  EXPECT_EQ(info.dataLogicalSize, 0U);
  volume.number = 0;
  EXPECT_EQ(catalog.FSGetCatalogInfo(&tooLong, kFSCatInfoVolume, &info, &description), nsvErr) << "the first error";
}

TEST_F(FileCatalogTests, AFolderOfALargeNumberIsInNoDescription) {
  if (statusOf("/proc/tty").st_ino <= 0x7FFFFFFF) GTEST_SKIP() << "no large numbers here";
  FSRef ref;
  FSSpec description;
  ASSERT_EQ(catalog.FSPathMakeRef("/proc/tty/drivers", &ref, nullptr), noErr);
  EXPECT_EQ(catalog.FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, &description), paramErr);
  EXPECT_EQ(description.vRefNum, 0);
}

TEST_F(FileCatalogTests, WithoutAVolumeThereIsNoDescription) {
  writeFile(folder / "file", "text");
  volume.number = 0;
  const FSRef ref = refTo("file");
  FSSpec description;
  EXPECT_NE(catalog.FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, &description), noErr);
}

// --- The lock

TEST_F(FileCatalogTests, TheLockIsAFlag) {
  writeFile(folder / "file", "text");
  if (setLock("file", true) != noErr) GTEST_SKIP() << "no extended attributes on this file system";
  EXPECT_EQ(info("file", kFSCatInfoNodeFlags).nodeFlags, kFSNodeLockedMask);
  EXPECT_TRUE(detail::isLocked(folder / "file"));
  EXPECT_EQ(setLock("file", false), noErr);
  EXPECT_EQ(info("file", kFSCatInfoNodeFlags).nodeFlags, 0);
}

TEST_F(FileCatalogTests, TheLockOfALinkIsIgnored) {
  writeFile(folder / "file", "text");
  std::filesystem::create_symlink("file", folder / "link");
  EXPECT_EQ(setLock("link", true), noErr);
  EXPECT_EQ(info("link", kFSCatInfoNodeFlags).nodeFlags, 0);
  EXPECT_EQ(info("file", kFSCatInfoNodeFlags).nodeFlags, 0);
}

TEST_F(FileCatalogTests, OnlyTheNodeFlagsCanBeSet) {
  writeFile(folder / "file", "text");
  const FSRef ref = refTo("file");
  FSCatalogInfo info;
  info.nodeFlags = kFSNodeLockedMask;
  EXPECT_EQ(catalog.FSSetCatalogInfo(&ref, kFSCatInfoNodeFlags | kFSCatInfoCreateDate, &info), paramErr);
  EXPECT_EQ(catalog.FSSetCatalogInfo(&ref, kFSCatInfoNone, &info), paramErr);
  EXPECT_EQ(catalog.FSSetCatalogInfo(&ref, kFSCatInfoNodeFlags, nullptr), paramErr);
  EXPECT_FALSE(detail::isLocked(folder / "file"));
}

// --- New folders

TEST_F(FileCatalogTests, AFolderIsMade) {
  ::umask(022);
  const FSRef parent = refTo("");
  EXPECT_EQ(makeFolder(parent, "new: \xE3\x81\x82"), noErr);
  EXPECT_EQ(statusOf(folder / "new: \xE3\x81\x82").st_mode, mode_t{S_IFDIR | 0755});
  EXPECT_EQ(makeFolder(parent, "new: \xE3\x81\x82"), dupFNErr);
  writeFile(folder / "file", "text");
  EXPECT_EQ(makeFolder(parent, "file"), dupFNErr);
  std::filesystem::rename(folder.path(), folder.path() + "-moved");
  EXPECT_EQ(makeFolder(parent, "later"), noErr) << "in the folder, wherever it is";
  std::filesystem::rename(folder.path() + "-moved", folder.path());
  EXPECT_TRUE(std::filesystem::is_directory(folder / "later"));
}

TEST_F(FileCatalogTests, NamesThatCannotBe) {
  const FSRef parent = refTo("");
  writeFile(folder / "file", "text");
  const FSRef file = refTo("file");
  const Ref<NSString> names[] = {"",      ".",
                                 "..",    "a/b",
                                 "/",     NSString::stringWithUnits(UnitView("a\0b", 3)),
                                 nullptr, NSString::stringWithFileSystemRepresentation(std::string(256, 'x'))};
  for (const Ref<NSString>& name : names) {
    EXPECT_EQ(makeFolder(parent, name), bdNamErr);
    EXPECT_EQ(rename(file, name), bdNamErr);
  }
  EXPECT_EQ(folder.names(), std::set<std::string>{"file"});
}

TEST_F(FileCatalogTests, AFolderNeedsAFolder) {
  writeFile(folder / "file", "text");
  EXPECT_EQ(makeFolder(refTo("file"), "new"), dirNFErr);
  std::filesystem::create_symlink("nowhere", folder / "dangling");
  std::filesystem::create_symlink("file", folder / "link");
  EXPECT_EQ(makeFolder(refTo("dangling"), "new"), dirNFErr);
  EXPECT_EQ(makeFolder(refTo("link"), "new"), dirNFErr);
  std::filesystem::create_directory(folder / "inner");
  if (setLock("inner", true) != noErr) GTEST_SKIP() << "no extended attributes on this file system";
  EXPECT_EQ(makeFolder(refTo("inner"), "new"), fLckdErr);
  EXPECT_TRUE(std::filesystem::is_empty(folder / "inner"));
}

TEST_F(FileCatalogTests, AFolderNeedsPermission) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can be another user";
  ::chmod(folder.path().c_str(), 0755);
  const FSRef parent = refTo("");
  writeFile(folder / "file", "text");
  const FSRef file = refTo("file");
  EXPECT_EQ(asOrdinaryUser([&] { return makeFolder(parent, "new") == afpAccessDenied ? 0 : 1; }), 0);
  EXPECT_EQ(asOrdinaryUser([&] { return rename(file, "new") == afpAccessDenied ? 0 : 1; }), 0);
}

// --- New names

TEST_F(FileCatalogTests, AnItemGetsAnotherName) {
  writeFile(folder / "file", "text");
  std::filesystem::create_directory(folder / "inner");
  std::filesystem::create_symlink("file", folder / "link");
  EXPECT_EQ(rename(refTo("file"), "a: new"), noErr);
  EXPECT_EQ(rename(refTo("inner"), "folder"), noErr);
  EXPECT_EQ(rename(refTo("link"), "other link"), noErr);
  EXPECT_EQ(folder.names(), (std::set<std::string>{"a: new", "folder", "other link"}));
  EXPECT_EQ(contentsOf(folder / "a: new"), "text");
  EXPECT_TRUE(std::filesystem::is_symlink(folder / "other link"));
}

TEST_F(FileCatalogTests, ARenamedItemKeepsItsReference) {
  writeFile(folder / "file", "text");
  const FSRef ref = refTo("file");
  ASSERT_EQ(rename(ref, "second"), noErr);
  ASSERT_EQ(rename(ref, "third"), noErr);
  EXPECT_EQ(pathOf(ref), folder / "third");
}

TEST_F(FileCatalogTests, ANameThatIsTakenIsNeverReplaced) {
  writeFile(folder / "file", "text");
  writeFile(folder / "other", "other");
  std::filesystem::create_directory(folder / "empty");
  std::filesystem::create_directory(folder / "folder");
  std::filesystem::create_symlink("nowhere", folder / "dangling");
  EXPECT_EQ(rename(refTo("file"), "other"), dupFNErr);
  EXPECT_EQ(rename(refTo("file"), "empty"), dupFNErr);
  EXPECT_EQ(rename(refTo("file"), "dangling"), dupFNErr);
  EXPECT_EQ(rename(refTo("folder"), "empty"), dupFNErr);
  EXPECT_EQ(contentsOf(folder / "other"), "other");
  EXPECT_EQ(folder.names(), (std::set<std::string>{"file", "other", "empty", "folder", "dangling"}));
}

TEST_F(FileCatalogTests, AnotherHardLinkOfTheItemIsAnotherName) {
  writeFile(folder / "file", "text");
  std::filesystem::create_hard_link(folder / "file", folder / "link");
  EXPECT_EQ(rename(refTo("file"), "link"), dupFNErr);
  EXPECT_EQ(folder.names(), (std::set<std::string>{"file", "link"}));
}

TEST_F(FileCatalogTests, ItsOwnNameIsNoChange) {
  writeFile(folder / "file", "text");
  EXPECT_EQ(rename(refTo("file"), "file"), noErr);
  EXPECT_EQ(rename(refTo("file"), "FILE"), noErr);
  EXPECT_EQ(folder.names(), std::set<std::string>{"FILE"});
}

TEST_F(FileCatalogTests, LockedItemsKeepTheirNames) {
  std::filesystem::create_directory(folder / "inner");
  writeFile(folder / "inner/file", "text");
  if (setLock("inner/file", true) != noErr) GTEST_SKIP() << "no extended attributes on this file system";
  EXPECT_EQ(rename(refTo("inner/file"), "new"), fLckdErr);
  EXPECT_EQ(rename(refTo("inner/file"), "file"), fLckdErr) << "its own name too";
  ASSERT_EQ(setLock("inner/file", false), noErr);
  ASSERT_EQ(setLock("inner", true), noErr);
  EXPECT_EQ(rename(refTo("inner"), "new"), fLckdErr);
  EXPECT_EQ(rename(refTo("inner/file"), "new"), fLckdErr) << "a locked folder keeps its entries";
  EXPECT_TRUE(std::filesystem::exists(folder / "inner/file"));
}

TEST_F(FileCatalogTests, TheRootKeepsItsName) {
  FSRef root;
  ASSERT_EQ(catalog.FSPathMakeRef("/", &root, nullptr), noErr);
  EXPECT_EQ(pathOf(root), "/");
  EXPECT_EQ(rename(root, "new"), fBsyErr);
}

}  // namespace
}  // namespace ZtFoundation::test
