#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Date.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <cmath>
#include <ctime>
#include <filesystem>

#include "platform/services/FileCatalog.h"
#include "platform/services/Service.h"
#include "support/RecordingLog.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using namespace JxFileCatalogInformation;
using ZtFoundation::test::RecordingLog;

// --- Real items

class CatalogInformationTests : public ::testing::Test {
 protected:
  CatalogInformationTests() { writeFile(folder / "file", std::string(5000, 'x')); }

  ScratchFolder folder;
  const Ref<NSString> path = folder.string("file");
};

TEST_F(CatalogInformationTests, SizesOfBothForks) {
  struct stat status {};
  ASSERT_EQ(::stat((folder / "file").c_str(), &status), 0);
  EXPECT_EQ(dataLogicalSize(path), 5000U);
  EXPECT_EQ(dataPhysicalSize(path), 512U * static_cast<std::uint64_t>(status.st_blocks));
  EXPECT_EQ(resourceLogicalSize(path), 0U);
  EXPECT_EQ(resourcePhysicalSize(path), 0U);
  if (::setxattr((folder / "file").c_str(), "user.ZtFoundation.resources", "fork", 4, 0) != 0) {
    GTEST_SKIP() << "no extended attributes on this file system";
  }
  EXPECT_EQ(resourceLogicalSize(path), 4U);
  EXPECT_EQ(resourcePhysicalSize(path), 512U);
  EXPECT_EQ(fileLogicalSize(path), 5004U);
  EXPECT_EQ(filePhysicalSize(path), dataPhysicalSize(path) + 512);
}

TEST_F(CatalogInformationTests, Dates) {
  const timespec times[2] = {{1000000000, 0}, {978307200, 500'000'000}};
  ASSERT_EQ(::utimensat(AT_FDCWD, (folder / "file").c_str(), times, 0), 0);
  EXPECT_EQ(modificationDate(path)->timeIntervalSinceReferenceDate(), 0.5);
  const Ref<NSDate> born = creationDate(path);
  if (!born) GTEST_SKIP() << "this file system keeps no dates of birth";
  EXPECT_NEAR(born->timeIntervalSince1970(), static_cast<double>(std::time(nullptr)), 60);
}

TEST_F(CatalogInformationTests, TheLockOfAnItem) {
  EXPECT_FALSE(isLockedByFinder(path));
  setFinderLock(path, true);
  if (!isLockedByFinder(path)) GTEST_SKIP() << "no extended attributes on this file system";
  setFinderLock(path, true);
  EXPECT_TRUE(isLockedByFinder(path));
  setFinderLock(path, false);
  EXPECT_FALSE(isLockedByFinder(path));
  setFinderLock(folder.string(""), true);
  EXPECT_TRUE(isLockedByFinder(folder.string("")));
  setFinderLock(folder.string(""), false);
}

TEST_F(CatalogInformationTests, ALinkHasNoLockAndItsOwnValues) {
  std::filesystem::create_symlink("file", folder / "link");
  setFinderLock(folder.string("link"), true);
  EXPECT_FALSE(isLockedByFinder(folder.string("link")));
  EXPECT_FALSE(isLockedByFinder(path));
  EXPECT_EQ(dataLogicalSize(folder.string("link")), 4U) << "the length of what it leads to";
}

TEST_F(CatalogInformationTests, AFolderHasNoSizes) {
  const Ref<NSString> self = folder.string("");
  EXPECT_EQ(fileLogicalSize(self) + filePhysicalSize(self) + dataLogicalSize(self) + dataPhysicalSize(self), 0U);
  EXPECT_NE(modificationDate(self), nullptr);
}

void expectNothing(const Ref<NSString>& path) {
  EXPECT_EQ(catalogInformations(path), nullptr);
  EXPECT_EQ(creationDate(path), nullptr);
  EXPECT_EQ(modificationDate(path), nullptr);
  for (const auto size : {fileLogicalSize, filePhysicalSize, dataLogicalSize, dataPhysicalSize, resourceLogicalSize,
                          resourcePhysicalSize}) {
    EXPECT_EQ(size(path), 0U);
  }
  EXPECT_FALSE(isLockedByFinder(path));
  setFinderLock(path, true);
}

TEST_F(CatalogInformationTests, OfNothingThereIsNothing) {
  const RecordingLog log;
  expectNothing(folder.string("missing"));
  expectNothing(folder.string("file/"));
  expectNothing(nullptr);
  expectNothing("");
  EXPECT_EQ(catalogInformations(path), nullptr);
  EXPECT_EQ(folder.names(), std::set<std::string>{"file"});
  EXPECT_TRUE(log.lines().empty());
}

// --- What is asked of the catalog

class NotingCatalog final : public FileCatalog {
 public:
  OSErr FSPathMakeRef(const Ref<NSString>&, FSRef*, bool*) override { return paramErr; }
  bool CFURLGetFSRef(const Ref<NSURL>& url, FSRef* ref) override {
    if (!exists) return false;
    *ref = FSRef({}, url->path());
    return true;
  }
  Ref<NSURL> CFURLCreateFromFSRef(const FSRef*) override { return nullptr; }
  OSErr FSGetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap bits, FSCatalogInfo* info, FSSpec* spec) override {
    EXPECT_EQ(ref->path()->utf8(), "/item");
    EXPECT_EQ(spec, nullptr);
    wanted.push_back(bits);
    if (isReadable) *info = record;
    return isReadable ? OSErr{noErr} : OSErr{ioErr};
  }
  OSErr FSSetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap bits, const FSCatalogInfo* info) override {
    EXPECT_EQ(ref->path()->utf8(), "/item");
    EXPECT_EQ(bits, kFSCatInfoNodeFlags);
    written.push_back(info->nodeFlags);
    return fLckdErr;  // nobody looks at it
  }
  OSErr FSCreateDirectoryUnicode(const FSRef*, const Ref<NSString>&) override { return paramErr; }
  OSErr FSRenameUnicode(const FSRef*, const Ref<NSString>&) override { return paramErr; }

  bool exists = true;
  bool isReadable = true;
  FSCatalogInfo record;
  std::vector<FSCatalogInfoBitmap> wanted;
  std::vector<std::uint16_t> written;

 private:
  ScopedService<FileCatalog> scope_{*this};
};

using Wanted = std::vector<FSCatalogInfoBitmap>;

TEST(CatalogInformationStepsTests, OnlyTheFieldsThatAreNeededAreAskedFor) {
  NotingCatalog catalog;
  catalog.record.dataLogicalSize = 1ULL << 40;
  catalog.record.rsrcLogicalSize = 2;
  catalog.record.dataPhysicalSize = 4;
  catalog.record.rsrcPhysicalSize = 8;
  const struct {
    std::uint64_t (*size)(const Ref<NSString>&);
    FSCatalogInfoBitmap wanted;
    std::uint64_t answer;
  } sizes[] = {{fileLogicalSize, 0xC000, (1ULL << 40) + 2},
               {filePhysicalSize, 0xC000, 12},
               {dataLogicalSize, 0x4000, 1ULL << 40},
               {dataPhysicalSize, 0x4000, 4},
               {resourceLogicalSize, 0x8000, 2},
               {resourcePhysicalSize, 0x8000, 8}};
  for (const auto& each : sizes) {
    catalog.wanted.clear();
    EXPECT_EQ(each.size("/item"), each.answer);
    EXPECT_EQ(catalog.wanted, Wanted{each.wanted});
  }
  catalog.wanted.clear();
  catalogInformations("/item");
  EXPECT_TRUE(catalog.wanted.empty());
}

TEST(CatalogInformationStepsTests, EachDateIsItsOwn) {
  NotingCatalog catalog;
  catalog.record.createDate = {0, 3061152000U, 0x8000};
  catalog.record.contentModDate = {1, 0, 0};
  EXPECT_EQ(creationDate("/item")->timeIntervalSinceReferenceDate(), 0.5);
  EXPECT_EQ(modificationDate("/item")->timeIntervalSinceReferenceDate(), 4294967296.0 - 3061152000.0);
  EXPECT_EQ(catalog.wanted, (Wanted{0x20, 0x40}));
  catalog.record = {};
  EXPECT_EQ(creationDate("/item"), nullptr);
  EXPECT_EQ(modificationDate("/item"), nullptr);
}

TEST(CatalogInformationStepsTests, TheLockIsOneBitAndTheOthersStay) {
  const struct {
    std::uint16_t flags;
    bool lock;
    std::uint16_t written;
  } cases[] = {{0x0000, true, 0x0001}, {0x0001, true, 0x0001},  {0x0001, false, 0x0000}, {0x0000, false, 0x0000},
               {0xFFFE, true, 0xFFFF}, {0xFFFF, false, 0xFFFE}, {0xFFFE, false, 0xFFFE}, {0xFFFF, true, 0xFFFF}};
  for (const auto& each : cases) {
    NotingCatalog catalog;
    catalog.record.nodeFlags = each.flags;
    EXPECT_EQ(isLockedByFinder("/item"), (each.flags & 1) != 0);
    setFinderLock("/item", each.lock);
    EXPECT_EQ(catalog.wanted, (Wanted{0x2, 0x2}));
    EXPECT_EQ(catalog.written, std::vector<std::uint16_t>{each.written}) << "also when nothing changed";
  }
}

TEST(CatalogInformationStepsTests, AfterAFailureNothingIsWritten) {
  NotingCatalog catalog;
  catalog.record.nodeFlags = 1;
  catalog.record.dataLogicalSize = 5;
  catalog.isReadable = false;
  expectNothing("/item");
  EXPECT_FALSE(catalog.wanted.empty());
  catalog.wanted.clear();
  catalog.exists = false;
  expectNothing("/item");
  EXPECT_TRUE(catalog.wanted.empty());
  EXPECT_TRUE(catalog.written.empty());
}

}  // namespace
}  // namespace ZtFoundation::test
