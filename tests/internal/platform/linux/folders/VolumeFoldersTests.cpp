#include "platform/linux/folders/VolumeFolders.h"

#include <ZtFoundation/platform/FolderTypes.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "internal/platform/linux/StandInVolumes.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using detail::Directory;
using Paths = std::vector<std::string>;

constexpr FSVolumeRefNum kCard = -5;

class VolumeFoldersTests : public ::testing::Test {
 protected:
  VolumeFoldersTests() {
    for (const char* name : {"card", "home"}) std::filesystem::create_directory(folder / name);
    volumes.add(kCard, card, u"Card");
  }

  /// The paths of the places; a "!" after one that must be the user's own.
  Paths places(OSType type, const Directory& ofUser, FSVolumeRefNum volume = kCard) {
    std::vector<detail::FolderPlace> found;
    EXPECT_EQ(detail::findPlacesOnVolume(volume, type, ofUser, &found), noErr);
    Paths paths;
    for (const auto& place : found) paths.push_back(place.path + (place.mayBeForeign ? "" : "!"));
    return paths;
  }
  void makeFolder(const std::string& path, mode_t mode) {
    std::filesystem::create_directory(path);
    EXPECT_EQ(::chmod(path.c_str(), mode), 0);
  }

  ScratchFolder folder;
  StandInVolumes volumes;
  const std::string card = folder / "card";
  const std::string home = folder / "home";
  const std::string user = std::to_string(::geteuid());
};

TEST_F(VolumeFoldersTests, MostFoldersAreTheUsers) {
  EXPECT_EQ(places(kMusicDocumentsFolderType, home + "/Music"), Paths{home + "/Music"});
  EXPECT_EQ(places(kMusicDocumentsFolderType, std::nullopt), Paths{});
}

TEST_F(VolumeFoldersTests, AnUnknownVolumeIsAnError) {
  std::vector<detail::FolderPlace> found;
  for (const OSType type : {kMusicDocumentsFolderType, kTrashFolderType}) {
    EXPECT_EQ(detail::findPlacesOnVolume(-9, type, home, &found), nsvErr);
  }
  EXPECT_TRUE(found.empty());
}

TEST_F(VolumeFoldersTests, TheTrashOfAnotherVolume) {
  const std::string own = card + "/.Trash-" + user + "!";
  const std::string trash = home + "/Trash";
  EXPECT_EQ(places(kTrashFolderType, trash), Paths{own});
  EXPECT_EQ(places(kTrashFolderType, std::nullopt), Paths{own});
  makeFolder(card + "/.Trash", 0777);
  EXPECT_EQ(places(kTrashFolderType, trash), Paths{own}) << "without the sticky bit anybody could tamper with it";
  makeFolder(card + "/.Trash", 01777);
  EXPECT_EQ(places(kTrashFolderType, trash), (Paths{card + "/.Trash/" + user + "!", own}));
  std::filesystem::rename(card + "/.Trash", card + "/Trash");
  std::filesystem::create_symlink("Trash", card + "/.Trash");
  EXPECT_EQ(places(kTrashFolderType, trash), Paths{own}) << "a link";
}

TEST_F(VolumeFoldersTests, TheTemporaryFolderOfAnotherVolume) {
  const std::string own = card + "/.tmp-" + user + "!";
  EXPECT_EQ(places(kTemporaryFolderType, home), Paths{own});
  makeFolder(card + "/tmp", 0777);
  EXPECT_EQ(places(kTemporaryFolderType, home), Paths{own});
  makeFolder(card + "/var", 0755);
  makeFolder(card + "/var/tmp", 01777);
  EXPECT_EQ(places(kTemporaryFolderType, home), Paths{card + "/var/tmp"});
  makeFolder(card + "/tmp", 01777);
  EXPECT_EQ(places(kTemporaryFolderType, home), Paths{card + "/tmp"});
  volumes.add(-6, card + "/tmp", u"Memory");
  EXPECT_EQ(places(kTemporaryFolderType, home), Paths{card + "/var/tmp"}) << "another volume is mounted there";
}

TEST_F(VolumeFoldersTests, FoldersOfStrangersAreNotTrusted) {
  constexpr uid_t kStranger = 2'000'000'011;
  makeFolder(card + "/.Trash", 01777);
  makeFolder(card + "/tmp", 01777);
  makeFolder(card + "/var", 0755);
  makeFolder(card + "/var/tmp", 01777);
  const auto give = [&](const char* name) { return ::chown((card + name).c_str(), kStranger, kStranger) == 0; };
  if (!give("/.Trash") || !give("/tmp")) GTEST_SKIP() << "no right to give folders away";
  EXPECT_EQ(places(kTrashFolderType, home), Paths{card + "/.Trash-" + user + "!"});
  EXPECT_EQ(places(kTemporaryFolderType, home), Paths{card + "/var/tmp"});
  EXPECT_TRUE(give("/var"));
  EXPECT_EQ(places(kTemporaryFolderType, home), Paths{card + "/.tmp-" + user + "!"});
}

TEST_F(VolumeFoldersTests, AFolderAroundTheTemporaryOneIsNoLink) {
  makeFolder(card + "/else", 0755);
  makeFolder(card + "/else/tmp", 01777);
  std::filesystem::create_symlink("else", card + "/var");
  EXPECT_EQ(places(kTemporaryFolderType, home), Paths{card + "/.tmp-" + user + "!"});
}

TEST_F(VolumeFoldersTests, TheUsersOwnCountWhereTheyLieOnTheVolume) {
  for (const OSType type : {kTrashFolderType, kTemporaryFolderType}) {
    EXPECT_EQ(places(type, card + "/me"), Paths{card + "/me"}) << "need not be there yet";
    EXPECT_EQ(places(type, home + "/x", StandInVolumes::kStartUp), Paths{home + "/x"});
  }
  std::filesystem::create_symlink(card, home + "/link");
  EXPECT_EQ(places(kTrashFolderType, home + "/link/a/b"), Paths{home + "/link/a/b"}) << "a link leads to the volume";
}

TEST_F(VolumeFoldersTests, TheRootOfAVolumeMayBeTheRoot) {
  volumes.add(-7, folder.path(), u"Other");
  EXPECT_EQ(places(kTrashFolderType, home + "/Trash", StandInVolumes::kStartUp), Paths{"/.Trash-" + user + "!"});
}

}  // namespace
}  // namespace ZtFoundation::test
