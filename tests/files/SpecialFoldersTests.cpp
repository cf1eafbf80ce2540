#include <ZtFoundation/Files.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "support/PrivateMounts.h"
#include "support/ScopedEnvironment.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using namespace QvFoundationExtensions;
using JxFindFolderExtensions::homePicturesDirectory;

// A home folder of the test's own.
class SpecialFoldersTests : public ::testing::Test {
 protected:
  SpecialFoldersTests() {
    environment.set("HOME", home.path());
    for (const char* name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"}) {
      environment.set(name, std::nullopt);
    }
  }

  static std::string text(const Ref<NSString>& path) { return path ? path->fileSystemRepresentation() : "(none)"; }

  ScratchFolder home;
  ScopedEnvironment environment;
  Ref<NSFileManager> files = NSFileManager::defaultManager();
};

TEST_F(SpecialFoldersTests, AMissingFolderIsLogged) {
  ::testing::internal::CaptureStderr();
  EXPECT_FALSE(findFolderForType_inDomain_create(files, kMusicDocumentsFolderType, kUserDomain, false));
  EXPECT_TRUE(::testing::internal::GetCapturedStderr().ends_with(
      "] [NSFileManager findFolderForType:inDomain:create:] FSFindFolder failed with error: -43\n"));
  EXPECT_TRUE(home.names().empty());
}

TEST_F(SpecialFoldersTests, AFolderIsMade) {
  EXPECT_EQ(text(findFolderForType_inDomain_create(files, kMusicDocumentsFolderType, kUserDomain, true)),
            home / "Music");
  EXPECT_EQ(text(findFolderForType_inDomain_create(files, kMusicDocumentsFolderType, 0x18005, false)), home / "Music")
      << "the low 16 bits of the domain count";
  EXPECT_EQ(text(findFolderForType_inDomain_create(files, kCurrentUserFolderType, kUserDomain, false)), home.path());
}

TEST_F(SpecialFoldersTests, Pictures) {
  EXPECT_EQ(text(homePicturesDirectory()), home / "Pictures");
  EXPECT_TRUE(std::filesystem::is_directory(home / "Pictures"));
  std::filesystem::create_directory(home / ".config");
  writeFile(home / ".config/user-dirs.dirs",
            "XDG_PICTURES_DIR=\"$HOME/B\xC3\xBC"
            "cher \xFF\"\n");
  EXPECT_EQ(text(homePicturesDirectory()), home /
                                               "B\xC3\xBC"
                                               "cher \xFF");
}

TEST_F(SpecialFoldersTests, PicturesThatCannotBeMade) {
  writeFile(home / "Pictures", "in the way");
  ::testing::internal::CaptureStderr();
  EXPECT_FALSE(homePicturesDirectory());
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST_F(SpecialFoldersTests, OnTheVolumeOfAPath) {
  EXPECT_EQ(text(findFolderForType_inVolumeWithPath_create(files, kMusicDocumentsFolderType, home.string(""), true)),
            home / "Music");
  EXPECT_EQ(text(findFolderForType_inVolumeWithPath_create(files, kTrashFolderType, home.string(""), true)),
            home / ".local/share/Trash");
}

TEST_F(SpecialFoldersTests, OnAnotherVolume) {
  PrivateMounts mounts;
  const std::string card = mounts.memory("card");
  if (card.empty()) GTEST_SKIP() << mounts.whyNot();
  writeFile(card + "/file", "");
  const std::string user = std::to_string(::geteuid());
  EXPECT_EQ(text(findFolderForType_inVolumeWithPath_create(files, kTrashFolderType, card + "/file", true)),
            card + "/.Trash-" + user);
  EXPECT_EQ(text(findFolderForType_inVolumeWithPath_create(files, kTemporaryFolderType, card + "/file", true)),
            card + "/.tmp-" + user);
  EXPECT_EQ(text(findFolderForType_inVolumeWithPath_create(files, kMusicDocumentsFolderType, card, true)),
            home / "Music");
}

}  // namespace
}  // namespace ZtFoundation::test
