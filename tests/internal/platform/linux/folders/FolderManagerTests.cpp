#include "platform/services/FolderManager.h"

#include <ZtFoundation/platform/FolderTypes.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <utility>

#include "internal/platform/linux/StandInVolumes.h"
#include "support/ChildProcess.h"
#include "support/Sanitizers.h"
#include "support/ScopedEnvironment.h"
#include "support/ScratchFolder.h"

namespace {

int errorOfUserDatabase = 0;  // 0: it answers

}  // namespace

// The library's code asks this one.
extern "C" int getpwuid_r(uid_t user, passwd* record, char* buffer, std::size_t size, passwd** found) {
  static const auto next = reinterpret_cast<decltype(&::getpwuid_r)>(::dlsym(RTLD_NEXT, "getpwuid_r"));
  *found = nullptr;
  return errorOfUserDatabase != 0 ? errorOfUserDatabase : next(user, record, buffer, size, found);
}

namespace ZtFoundation::test {
namespace {

constexpr FSVolumeRefNum kCard = -5;
constexpr FSVolumeRefNum kUserDomains[] = {kUserDomain, kOnSystemDisk, kOnAppropriateDisk};
constexpr FSVolumeRefNum kOtherDomains[] = {kLocalDomain, kNetworkDomain, kSystemDomain};

class FolderManagerTests : public ::testing::Test {
 protected:
  FolderManagerTests() {
    environment.set("HOME", home);
    for (const char* name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "TMPDIR"}) {
      environment.set(name, std::nullopt);
    }
    environment.set("XDG_CONFIG_DIRS", folder / "etc" + ":" + folder / "etc2");
    environment.set("XDG_DATA_DIRS", folder / "first" + ":" + folder / "middle" + ":" + folder / "last");
    std::filesystem::create_directories(card);
    volumes.add(kCard, card, u"Card");
  }

  OSErr find(FSVolumeRefNum volumeOrDomain, OSType type, bool create = false) {
    return FolderManager::production().FSFindFolder(volumeOrDomain, type, create, &found);
  }
  /// The path of the folder, or the number of the error.
  std::string path(FSVolumeRefNum volumeOrDomain, OSType type, bool create = false) {
    const OSErr error = find(volumeOrDomain, type, create);
    return error == noErr ? found.path()->fileSystemRepresentation() : std::to_string(error);
  }
  void choose(const std::string& lines) {
    std::filesystem::create_directories(home + "/.config");
    writeFile(home + "/.config/user-dirs.dirs", lines);
  }

  ScratchFolder folder;
  ScopedEnvironment environment;
  StandInVolumes volumes;
  FSRef found;
  const std::string home = folder / "home/me";
  const std::string card = folder / "card";
};

const struct {
  OSType type;
  const char* inHome;
} kUserFolders[] = {
    {kCurrentUserFolderType, ""},
    {kDesktopFolderType, "/Desktop"},
    {kDocumentsFolderType, "/Documents"},
    {kPictureDocumentsFolderType, "/Pictures"},
    {kMusicDocumentsFolderType, "/Music"},
    {kMovieDocumentsFolderType, "/Videos"},
    {kDownloadsFolderType, "/Downloads"},
    {kPreferencesFolderType, "/.config"},
    {kCachedDataFolderType, "/.cache"},
    {kApplicationSupportFolderType, "/.local/share"},
    {kTrashFolderType, "/.local/share/Trash"},
    {kFontsFolderType, "/.local/share/fonts"},
    {kApplicationsFolderType, "/.local/share/applications"},
};

TEST_F(FolderManagerTests, TheUsersFoldersByDefault) {
  for (const FSVolumeRefNum domain : kUserDomains) {
    for (const auto& [type, inHome] : kUserFolders) {
      EXPECT_EQ(path(domain, type), "-43") << inHome << " is missing";
      EXPECT_EQ(path(domain, type, true), home + inHome);
      EXPECT_EQ(path(domain, type), home + inHome);
    }
    std::filesystem::remove_all(home);
  }
}

TEST_F(FolderManagerTests, TheNumbersOfTheVocabulary) {
  EXPECT_EQ(kOnSystemDisk, -32768);
  EXPECT_EQ(kOnAppropriateDisk, -32767);
  EXPECT_EQ(kSystemDomain, -32766);
  EXPECT_EQ(kLocalDomain, -32765);
  EXPECT_EQ(kNetworkDomain, -32764);
  EXPECT_EQ(kUserDomain, -32763);
  EXPECT_EQ(kPictureDocumentsFolderType, 0x70646F63U);
}

TEST_F(FolderManagerTests, UnknownTypesAreAnError) {
  for (const OSType type : {OSType{0}, OSType{0x7A7A7A7A}, OSType{0xFFFFFFFF}}) {
    for (const FSVolumeRefNum domain : {kUserDomain, kSystemDomain, kCard}) {
      EXPECT_EQ(find(domain, type, true), fnfErr);
    }
  }
  EXPECT_TRUE(found.isEmpty());
}

TEST_F(FolderManagerTests, AFolderThatIsMadeIsForItsOwner) {
  EXPECT_EQ(find(kUserDomain, kMusicDocumentsFolderType, true), noErr);
  struct stat status {};
  for (const std::string& made : {home + "/Music", home, folder / "home"}) {
    ASSERT_EQ(::stat(made.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U) << made;
  }
}

TEST_F(FolderManagerTests, AUserMayChooseFolders) {
  choose(
      "XDG_DESKTOP_DIR=\"$HOME/1\"\nXDG_DOCUMENTS_DIR=\"$HOME/2\"\nXDG_PICTURES_DIR=\"$HOME/3\"\n"
      "XDG_MUSIC_DIR=\"$HOME/4\"\nXDG_VIDEOS_DIR=\"$HOME/5\"\nXDG_DOWNLOAD_DIR=\"" +
      card + "/6\"\n");
  EXPECT_EQ(path(kUserDomain, kDesktopFolderType, true), home + "/1");
  EXPECT_EQ(path(kUserDomain, kDocumentsFolderType, true), home + "/2");
  EXPECT_EQ(path(kUserDomain, kPictureDocumentsFolderType, true), home + "/3");
  EXPECT_EQ(path(kUserDomain, kMusicDocumentsFolderType, true), home + "/4");
  EXPECT_EQ(path(kUserDomain, kMovieDocumentsFolderType, true), home + "/5");
  EXPECT_EQ(path(kUserDomain, kDownloadsFolderType, true), card + "/6");
  EXPECT_EQ(path(kUserDomain, kTrashFolderType, true), home + "/.local/share/Trash");
}

TEST_F(FolderManagerTests, NothingIsRemembered) {
  EXPECT_EQ(path(kUserDomain, kPictureDocumentsFolderType, true), home + "/Pictures");
  choose("XDG_PICTURES_DIR=\"$HOME/Photos\"\n");
  EXPECT_EQ(path(kUserDomain, kPictureDocumentsFolderType, true), home + "/Photos");
  environment.set("XDG_CONFIG_HOME", folder / "empty");
  EXPECT_EQ(path(kUserDomain, kPictureDocumentsFolderType), home + "/Pictures");
  environment.set("HOME", folder / "other");
  EXPECT_EQ(path(kUserDomain, kPictureDocumentsFolderType, true), folder / "other/Pictures");
  EXPECT_EQ(FolderManager::production().homeFolder()->utf8(), folder / "other");
}

TEST_F(FolderManagerTests, TheHomeFolderAsAChoiceMeansNone) {
  for (const std::string& value : {std::string("$HOME"), std::string("$HOME/"), home, home + "//"}) {
    choose("XDG_PICTURES_DIR=\"" + value + "\"\n");
    EXPECT_EQ(find(kUserDomain, kPictureDocumentsFolderType, true), fnfErr) << value;
  }
  EXPECT_FALSE(std::filesystem::exists(home + "/Pictures"));
}

TEST_F(FolderManagerTests, ALinkToAFolderKeepsItsPath) {
  std::filesystem::create_directories(home);
  std::filesystem::create_directory_symlink(card, home + "/Pictures");
  EXPECT_EQ(path(kUserDomain, kPictureDocumentsFolderType), home + "/Pictures");
}

TEST_F(FolderManagerTests, TheTemporaryFolder) {
  environment.set("TMPDIR", card);
  EXPECT_EQ(path(kUserDomain, kTemporaryFolderType), card);
  environment.set("TMPDIR", "relative");
  EXPECT_EQ(path(kUserDomain, kTemporaryFolderType), "/tmp");
}

TEST_F(FolderManagerTests, OtherDomainsHaveNoFoldersOfUsers) {
  for (const FSVolumeRefNum domain : kOtherDomains) {
    for (const OSType type :
         {kDesktopFolderType, kDocumentsFolderType, kPictureDocumentsFolderType, kMusicDocumentsFolderType,
          kMovieDocumentsFolderType, kDownloadsFolderType, kTrashFolderType, kCurrentUserFolderType}) {
      EXPECT_EQ(find(domain, type, true), fnfErr);
    }
    EXPECT_EQ(path(domain, kTemporaryFolderType), "/tmp");
    EXPECT_EQ(path(domain, kCachedDataFolderType), "/var/cache");
  }
}

TEST_F(FolderManagerTests, OtherDomainsHaveTheDirectoriesOfTheSystem) {
  const struct {
    OSType type;
    std::string first, last;
  } cases[] = {
      {kPreferencesFolderType, "etc", "etc2"},
      {kApplicationSupportFolderType, "first", "last"},
      {kFontsFolderType, "first/fonts", "last/fonts"},
      {kApplicationsFolderType, "first/applications", "last/applications"},
  };
  for (const auto& each : cases) {
    for (const FSVolumeRefNum domain : {kLocalDomain, kNetworkDomain}) {
      EXPECT_EQ(path(domain, each.type), "-43");
      EXPECT_EQ(path(domain, each.type, true), folder / each.first);
      std::filesystem::remove(folder / each.first);
    }
    EXPECT_EQ(path(kSystemDomain, each.type), "-43");
    EXPECT_EQ(path(kSystemDomain, each.type, true), folder / each.last);
    std::filesystem::remove(folder / each.last);
  }
}

TEST_F(FolderManagerTests, OfSeveralDirectoriesOneThatHasTheFolderCounts) {
  std::filesystem::create_directories(folder / "middle/fonts");
  std::filesystem::create_directories(folder / "first");
  std::filesystem::create_directories(folder / "last");
  for (const bool create : {false, true}) {
    for (const FSVolumeRefNum domain : kOtherDomains) {
      EXPECT_EQ(path(domain, kFontsFolderType, create), folder / "middle/fonts");
    }
  }
  std::filesystem::create_directory(folder / "first/fonts");
  std::filesystem::create_directory(folder / "last/fonts");
  EXPECT_EQ(path(kLocalDomain, kFontsFolderType), folder / "first/fonts");
  EXPECT_EQ(path(kSystemDomain, kFontsFolderType), folder / "last/fonts");
}

TEST_F(FolderManagerTests, AVolumeHasATrashOfItsOwn) {
  const std::string own = card + "/.Trash-" + std::to_string(::geteuid());
  EXPECT_EQ(path(kCard, kTrashFolderType), "-43");
  EXPECT_EQ(path(kCard, kTrashFolderType, true), own);
  EXPECT_EQ(path(kCard, kTrashFolderType), own);
  std::filesystem::create_directory(card + "/.Trash");
  ASSERT_EQ(::chmod((card + "/.Trash").c_str(), 01777), 0);
  EXPECT_EQ(path(kCard, kTrashFolderType), own) << "the other is not made without being asked for";
  EXPECT_EQ(path(kCard, kTrashFolderType, true), card + "/.Trash/" + std::to_string(::geteuid()));
}

TEST_F(FolderManagerTests, ATrashThatSomebodyElsePutThereDoesNotCount) {
  const std::string user = std::to_string(::geteuid());
  std::filesystem::create_directory(card + "/.Trash");
  ASSERT_EQ(::chmod((card + "/.Trash").c_str(), 01777), 0);
  std::filesystem::create_directory_symlink(home, card + "/.Trash/" + user);
  std::filesystem::create_directories(home);
  EXPECT_EQ(path(kCard, kTrashFolderType, true), card + "/.Trash-" + user);
  std::filesystem::remove_all(card + "/.Trash-" + user);
  std::filesystem::create_directory_symlink(home, card + "/.Trash-" + user);
  EXPECT_EQ(find(kCard, kTrashFolderType, true), permErr);
}

TEST_F(FolderManagerTests, AVolumeHasATemporaryFolderOfItsOwn) {
  EXPECT_EQ(path(kCard, kTemporaryFolderType, true), card + "/.tmp-" + std::to_string(::geteuid()));
  environment.set("TMPDIR", card + "/mine");
  EXPECT_EQ(path(kCard, kTemporaryFolderType, true), card + "/mine");
}

TEST_F(FolderManagerTests, OtherFoldersOnAVolumeAreTheUsers) {
  EXPECT_EQ(path(kCard, kMusicDocumentsFolderType, true), home + "/Music");
  EXPECT_EQ(path(StandInVolumes::kStartUp, kTrashFolderType, true), home + "/.local/share/Trash");
}

TEST_F(FolderManagerTests, AnUnknownVolumeIsAnError) {
  for (const FSVolumeRefNum volume : {FSVolumeRefNum{0}, FSVolumeRefNum{-77}, FSVolumeRefNum{1}}) {
    EXPECT_EQ(find(volume, kMusicDocumentsFolderType, true), nsvErr);
  }
  EXPECT_FALSE(std::filesystem::exists(home));
}

TEST_F(FolderManagerTests, TheHomeFolderNeedNotBeThere) {
  EXPECT_EQ(FolderManager::production().homeFolder()->utf8(), home);
  environment.set("HOME", "relative");
  EXPECT_NE(FolderManager::production().homeFolder()->utf8(), "relative");
}

TEST_F(FolderManagerTests, WhoHasNoHomeFolderHasNoFoldersInIt) {
  constexpr uid_t kStranger = 2'000'000'011;
  if (::geteuid() != 0 || ::getpwuid(kStranger) != nullptr) GTEST_SKIP() << "nobody here is without an account";
  environment.set("HOME", std::nullopt);
  const auto work = [&]() -> int {
    if (::setuid(kStranger) != 0) return 77;
    if (FolderManager::production().homeFolder()) return 1;
    for (const auto& [type, inHome] : kUserFolders) {
      if (find(kUserDomain, type, true) != fnfErr) return 2;
    }
    return path(kUserDomain, kTemporaryFolderType) == "/tmp" ? 0 : 3;
  };
  const int result = inChild(work);
  if (result == 77) GTEST_SKIP() << "no right to become another user";
  EXPECT_EQ(result, 0);
}

void leaveNoDescriptors() {
  const rlimit none{};
  ::setrlimit(RLIMIT_NOFILE, &none);
}

TEST_F(FolderManagerTests, AChoiceThatCannotBeReadNowIsNoReasonForAnotherFolder) {
  if (kIsSanitized) GTEST_SKIP() << "the checks of the sanitizer need descriptors of their own";
  choose("XDG_MUSIC_DIR=\"$HOME/Songs\"\n");
  EXPECT_EQ(inChild([&] {
              leaveNoDescriptors();
              return find(kUserDomain, kMusicDocumentsFolderType, true) == tmfoErr ? 0 : 1;
            }),
            0);
  EXPECT_FALSE(std::filesystem::exists(home + "/Music"));
}

TEST_F(FolderManagerTests, AHomeThatCannotBeReadNowIsNotMissing) {
  environment.set("HOME", std::nullopt);
  const std::pair<int, OSErr> errors[] = {{EMFILE, tmfoErr}, {EIO, ioErr},    {ENOENT, fnfErr},
                                          {ESRCH, fnfErr},   {EBADF, fnfErr}, {EPERM, fnfErr}};
  for (const auto& [systemError, error] : errors) {
    errorOfUserDatabase = systemError;
    EXPECT_EQ(find(kUserDomain, kMusicDocumentsFolderType, true), error) << systemError;
    EXPECT_EQ(find(kCard, kTrashFolderType), error) << systemError << ", where it would be another one";
  }
  errorOfUserDatabase = 0;
  EXPECT_TRUE(std::filesystem::is_empty(card));
}

TEST_F(FolderManagerTests, NamesNeedNotBeUTF8) {
  choose("XDG_MUSIC_DIR=\"$HOME/M\xFFsic\"\n");
  EXPECT_EQ(path(kUserDomain, kMusicDocumentsFolderType, true), home + "/M\xFFsic");
}

}  // namespace
}  // namespace ZtFoundation::test
