#include <ZtFoundation/Files.h>
#include <gtest/gtest.h>

#include "internal/files/StandInPlatform.h"
#include "support/RecordingLog.h"

namespace ZtFoundation::test {
namespace {

using namespace QvFoundationExtensions;
using JxFindFolderExtensions::homePicturesDirectory;
using Lines = std::vector<std::string>;

class SpecialFoldersTests : public ::testing::Test {
 protected:
  StandInPlatform platform;
  ::ZtFoundation::test::RecordingLog log;
  Ref<NSFileManager> files = NSFileManager::defaultManager();
};

TEST_F(SpecialFoldersTests, ByDomain) {
  EXPECT_EQ(findFolderForType_inDomain_create(files, kDesktopFolderType, kUserDomain, false)->utf8(), "/folders/found");
  EXPECT_EQ(findFolderForType_inDomain_create(files, kFontsFolderType, kSystemDomain, true)->utf8(), "/folders/found");
  EXPECT_EQ(platform.calls, (Lines{"FSFindFolder -32763 0x6465736b find", "CFURLCreateFromFSRef /folders/found",
                                   "FSFindFolder -32766 0x666f6e74 create", "CFURLCreateFromFSRef /folders/found"}));
  EXPECT_EQ(log.lines(), Lines{});
}

TEST_F(SpecialFoldersTests, OfTheDomainTheLow16BitsCount) {
  for (const std::int32_t domain : {32773, 0x7FFF8005, -32763, -98299}) {
    findFolderForType_inDomain_create(files, kDesktopFolderType, domain, false);
    EXPECT_EQ(platform.calls[platform.calls.size() - 2], "FSFindFolder -32763 0x6465736b find");
  }
}

TEST_F(SpecialFoldersTests, ByVolume) {
  EXPECT_EQ(findFolderForType_inVolume_create(files, kTrashFolderType, -12, true)->utf8(), "/folders/found");
  EXPECT_EQ(platform.calls, (Lines{"FSFindFolder -12 0x74727368 create", "CFURLCreateFromFSRef /folders/found"}));
}

TEST_F(SpecialFoldersTests, ByAPathOnTheVolume) {
  EXPECT_EQ(findFolderForType_inVolumeWithPath_create(files, kTrashFolderType, "/x", false)->utf8(), "/folders/found");
  EXPECT_EQ(platform.calls, (Lines{"FSPathMakeRef /x", "FSGetCatalogInfo /x 0x4", "FSFindFolder -7 0x74727368 find",
                                   "CFURLCreateFromFSRef /folders/found"}));
}

TEST_F(SpecialFoldersTests, TheRootOfAVolumeIsNotAsked) {
  platform.knownRoot = "/x";
  EXPECT_TRUE(findFolderForType_inVolumeWithPath_create(files, kTrashFolderType, "/x", false));
  EXPECT_EQ(platform.calls, (Lines{"FSFindFolder -7 0x74727368 find", "CFURLCreateFromFSRef /folders/found"}));
}

TEST_F(SpecialFoldersTests, AFolderThatIsNotFound) {
  platform.failures["FSFindFolder"] = fnfErr;
  EXPECT_FALSE(findFolderForType_inDomain_create(files, kDesktopFolderType, kUserDomain, false));
  EXPECT_FALSE(findFolderForType_inVolume_create(files, kDesktopFolderType, -7, true));
  EXPECT_FALSE(findFolderForType_inVolumeWithPath_create(files, kDesktopFolderType, "/x", false));
  const char* const line = "[NSFileManager findFolderForType:inDomain:create:] FSFindFolder failed with error: -43";
  EXPECT_EQ(log.lines(), (Lines{line, line, line})) << "all three ask in the same way";
}

TEST_F(SpecialFoldersTests, AFolderThatHasNoURL) {
  platform.hasURLs = false;
  EXPECT_FALSE(findFolderForType_inDomain_create(files, kDesktopFolderType, kUserDomain, false));
  EXPECT_FALSE(findFolderForType_inVolume_create(files, kDesktopFolderType, -7, true));
  const char* const line = "[NSFileManager findFolderForType:inDomain:create:] CFURLCreateFromFSRef failed.";
  EXPECT_EQ(log.lines(), (Lines{line, line}));
}

TEST_F(SpecialFoldersTests, AVolumeThatIsNotFound) {
  platform.failures["FSGetCatalogInfo"] = ioErr;
  EXPECT_FALSE(findFolderForType_inVolumeWithPath_create(files, kDesktopFolderType, "/x", false));
  EXPECT_EQ(platform.calls.size(), 2U);
  platform.failures["FSPathMakeRef"] = fnfErr;
  EXPECT_FALSE(findFolderForType_inVolumeWithPath_create(files, kDesktopFolderType, "/x", false));
  EXPECT_EQ(platform.calls.size(), 3U);
  EXPECT_EQ(log.lines(),
            (Lines{"[NSFileManager findFolderForType:inVolumeWithPath:create:] FSGetCatalogInfo failed with error: -36",
                   "[NSFileManager findFolderForType:inVolumeWithPath:create:] FSPathMakeRef failed with error: -43"}));
}

TEST_F(SpecialFoldersTests, PicturesAreTheUsersAndMade) {
  EXPECT_EQ(homePicturesDirectory()->utf8(), "/folders/found");
  EXPECT_EQ(platform.calls.front(), "FSFindFolder -32763 0x70646f63 create");
}

TEST_F(SpecialFoldersTests, WithoutPicturesNothingIsSaid) {
  platform.hasURLs = false;
  EXPECT_FALSE(homePicturesDirectory());
  platform.failures["FSFindFolder"] = fnfErr;
  EXPECT_FALSE(homePicturesDirectory());
  EXPECT_EQ(platform.calls.size(), 3U);
  EXPECT_EQ(log.lines(), Lines{});
}

TEST_F(SpecialFoldersTests, NoneFails) {
  EXPECT_FALSE(findFolderForType_inDomain_create(nullptr, kDesktopFolderType, kUserDomain, false));
  EXPECT_FALSE(findFolderForType_inVolume_create(nullptr, kDesktopFolderType, -7, false));
  EXPECT_FALSE(findFolderForType_inVolumeWithPath_create(nullptr, kDesktopFolderType, "/x", false));
  EXPECT_EQ(platform.calls, Lines{});
  EXPECT_EQ(log.lines(), Lines{});
  EXPECT_FALSE(findFolderForType_inVolumeWithPath_create(files, kDesktopFolderType, nullptr, false));
  EXPECT_EQ(log.lines().size(), 1U);
}

}  // namespace
}  // namespace ZtFoundation::test
