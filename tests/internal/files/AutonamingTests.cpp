// Room on the volume, and who does the work.

#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Runtime.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <filesystem>

#include "platform/linux/volumes/Volumes.h"
#include "platform/services/Service.h"
#include "support/ReplacedMethod.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

/// One volume with as much room as wanted.
class LittleRoom final : public NoVolumes {
 public:
  std::uint64_t freeBytes = 0;
  int asked = 0;
  std::string folder;  // whose volume was asked for last

  OSErr FSGetVolumeInfo(FSVolumeRefNum, std::uint32_t, FSVolumeRefNum*, FSVolumeInfoBitmap, FSVolumeInfo* info,
                        HFSUniStr255*, FSRef*) override {
    ++asked;
    if (info != nullptr) info->freeBytes = freeBytes;
    return noErr;
  }
  FSVolumeRefNum volumeHolding(const FSRef& item) override {
    folder = item.path()->lastPathComponent()->utf8();
    return -7;
  }
};

std::vector<std::string> requests;
bool answer = true;

bool noteCreation(NSFileManager&, const Ref<NSString>& path, const Ref<NSData>& contents,
                  const Ref<NSDictionary>& attributes) {
  EXPECT_FALSE(attributes);
  requests.push_back(path->lastPathComponent()->utf8().append(contents ? " with contents" : " empty"));
  return answer;
}

bool noteCopy(NSFileManager&, const Ref<NSString>& from, const Ref<NSString>& to, const Ref<NSObject>& handler) {
  EXPECT_FALSE(handler);
  requests.push_back(from->lastPathComponent()->utf8().append(" > ").append(to->lastPathComponent()->utf8()));
  return answer;
}

// Another process that takes each name right after it was found free.
bool existsToday(NSFileManager& files, const Ref<NSString>& path) {
  const bool exists = files.NSFileManager::fileExistsAtPath(path);
  if (!exists) writeFile(path->fileSystemRepresentation(), "theirs");
  return exists;
}

class AutonamingStepsTests : public testing::Test {
 protected:
  AutonamingStepsTests() {
    requests.clear();
    answer = true;
    writeFile(folder / "from", std::string(100, 'x'));
  }

  OSStatus create(const Ref<NSData>& contents) {
    return JxTalvoZtWdExensions::createFileWithContents_autoname(folder.string("from"), contents, true);
  }
  OSStatus copy(bool autoname) {
    return JxTalvoZtWdExensions::copyFileTo_autoname(folder.string("from"), folder.string("to"), autoname);
  }

  ScratchFolder folder;
  LittleRoom volume;
  ScopedService<Volumes> scope{volume};
  ReplacedMethod<&noteCreation> creation{NSFileManager::classObject(),
                                         ZT_SELECTOR("createFileAtPath:contents:attributes:")};
  ReplacedMethod<&noteCopy> copying{NSFileManager::classObject(), ZT_SELECTOR("copyPath:toPath:handler:")};
};

TEST_F(AutonamingStepsTests, ContentsNeedTheirLengthInRoom) {
  const Ref<NSData> contents = NSData::dataWithBytes("12345");
  volume.freeBytes = 4;
  EXPECT_EQ(create(contents), dskFulErr);
  EXPECT_TRUE(requests.empty());
  volume.freeBytes = 5;
  EXPECT_EQ(create(contents), noErr);
  EXPECT_EQ(requests, std::vector<std::string>{"from_1 with contents"});
  answer = false;
  EXPECT_EQ(create(contents), paramErr);
}

TEST_F(AutonamingStepsTests, TheRoomIsThatOfTheFolderAndComesAfterItsRights) {
  std::filesystem::create_directory(folder / "inner");
  const Ref<NSString> target = folder.string("inner/a");
  const Ref<NSData> contents = NSData::dataWithBytes("12345");
  EXPECT_EQ(JxTalvoZtWdExensions::createFileWithContents_autoname(target, contents, false), dskFulErr);
  EXPECT_EQ(volume.folder, "inner");
  volume.folder.clear();
  EXPECT_EQ(JxTalvoZtWdExensions::copyFileTo_autoname(folder.string("from"), target, false), dskFulErr);
  EXPECT_EQ(volume.folder, "inner");
  JxFileCatalogInformation::setFinderLock(folder.string("inner"), true);
  if (!JxFileCatalogInformation::isLockedByFinder(folder.string("inner"))) GTEST_SKIP() << "no locks here";
  EXPECT_EQ(JxTalvoZtWdExensions::createFileWithContents_autoname(target, contents, false), afpAccessDenied);
  JxFileCatalogInformation::setFinderLock(folder.string("inner"), false);
}

TEST_F(AutonamingStepsTests, WithoutContentsRoomIsNotAskedFor) {
  EXPECT_EQ(create(nullptr), noErr);
  EXPECT_EQ(volume.asked, 0);
  EXPECT_EQ(requests, std::vector<std::string>{"from_1 empty"});
}

TEST_F(AutonamingStepsTests, ACopyNeedsThePhysicalSizeOfBothForksInRoom) {
  ::setxattr((folder / "from").c_str(), "user.ZtFoundation.resources", "fork", 4, 0);  // where there are attributes
  const std::uint64_t physical = JxFileCatalogInformation::filePhysicalSize(folder.string("from"));
  ASSERT_GT(physical, 100U) << "whole blocks";
  volume.freeBytes = physical - 1;
  EXPECT_EQ(copy(false), dskFulErr);
  EXPECT_TRUE(requests.empty());
  volume.freeBytes = physical;
  EXPECT_EQ(copy(false), noErr);
  writeFile(folder / "to", "taken");
  EXPECT_EQ(copy(true), noErr);
  EXPECT_EQ(requests, (std::vector<std::string>{"from > to", "from > to_1"}));
  volume.freeBytes = 0;
  EXPECT_EQ(copy(false), dupFNErr) << "comes before the room";
  volume.freeBytes = physical;
  answer = false;
  EXPECT_EQ(copy(true), paramErr);
}

TEST_F(AutonamingStepsTests, ADestinationThatAnotherTakesMeanwhileGetsNoOtherName) {
  volume.freeBytes = 1 << 20;
  const ReplacedMethod<&existsToday> replaced(NSFileManager::classObject(), ZT_SELECTOR("fileExistsAtPath:"));
  EXPECT_EQ(copy(false), noErr);
  EXPECT_EQ(requests, std::vector<std::string>{"from > to"}) << "which the manager is left to refuse";
}

}  // namespace
}  // namespace ZtFoundation::test
