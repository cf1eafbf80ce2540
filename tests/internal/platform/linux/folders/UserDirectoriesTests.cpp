#include "platform/linux/folders/UserDirectories.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "support/ChildProcess.h"
#include "support/ScopedEnvironment.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using detail::Directory;
using detail::parsedUserDirectory;

constexpr const char* kKey = "XDG_MUSIC_DIR";

TEST(UserDirectories, AreReadLineByLine) {
  const struct {
    std::string text;
    Directory expected;
  } cases[] = {
      {"", std::nullopt},
      {"XDG_MUSIC_DIR=\"$HOME/Songs\"\n", "/home/me/Songs"},
      {"XDG_MUSIC_DIR=\"$HOME/Songs\"", "/home/me/Songs"},
      {"XDG_MUSIC_DIR=\"/data/Songs\"\n", "/data/Songs"},
      {"  \t XDG_MUSIC_DIR \t = \t\"/data/Songs\"  # mine\n", "/data/Songs"},
      {"XDG_MUSIC_DIR=\"/data/Songs\"\r\n", "/data/Songs"},
      {"\n\n# comment\nXDG_DESKTOP_DIR=\"/d\"\nXDG_MUSIC_DIR=\"/m\"\nXDG_VIDEOS_DIR=\"/v\"\n", "/m"},
      // The last one counts, but only of those that say something.
      {"XDG_MUSIC_DIR=\"/a\"\nXDG_MUSIC_DIR=\"/b\"\n", "/b"},
      {"XDG_MUSIC_DIR=\"/a\"\nXDG_MUSIC_DIR=\"relative\"\n#XDG_MUSIC_DIR=\"/c\"\n", "/a"},
      // What is not of the form.
      {"# XDG_MUSIC_DIR=\"/a\"\n", std::nullopt},
      {"export XDG_MUSIC_DIR=\"/a\"\n", std::nullopt},
      {"XDG_MUSIC_DIRECTORY=\"/a\"\n", std::nullopt},
      {"XDG_MUSIC=\"/a\"\n", std::nullopt},
      {"xdg_music_dir=\"/a\"\n", std::nullopt},
      {"XDG_MUSIC_DIR=/a\n", std::nullopt},
      {"XDG_MUSIC_DIR='/a'\n", std::nullopt},
      {"XDG_MUSIC_DIR\n", std::nullopt},
      {"XDG_MUSIC_DIR=", std::nullopt},
      {"XDG_MUSIC_DIR=\"\"\n", std::nullopt},
      {"XDG_MUSIC_DIR=\"/a\n", std::nullopt},
      {"XDG_MUSIC_DIR=\"/a\\\"\n", std::nullopt},
      {"XDG_MUSIC_DIR=\"/a\\", std::nullopt},
      {"XDG_MUSIC_DIR=\"Songs\"\n", std::nullopt},
      {"XDG_MUSIC_DIR=\"./Songs\"\n", std::nullopt},
      {"XDG_MUSIC_DIR=\"~/Songs\"\n", std::nullopt},
      {"XDG_MUSIC_DIR=\"$HOMEx/Songs\"\n", std::nullopt},
      {"XDG_MUSIC_DIR=\"${HOME}/Songs\"\n", std::nullopt},
      {"XDG_MUSIC_DIR=\"\\$HOME/Songs\"\n", std::nullopt},
      {"XDG_MUSIC_DIR=\"$HOME$HOME\"\n", std::nullopt},
      {std::string("XDG_MUSIC_DIR=\"/a\0b\"\n", 21), std::nullopt},
      {std::string("XDG_MUSIC_DIR=\"/a\\\0b\"\n", 22), std::nullopt},
      // Quoting.
      {"XDG_MUSIC_DIR=\"/a \\\"b\\\" \\\\ \\$c \\`d\\` \\e\"\n", "/a \"b\" \\ $c `d` e"},
      {"XDG_MUSIC_DIR=\"/a#b\"\n", "/a#b"},
      {"XDG_MUSIC_DIR=\"/a$HOME\"\n", "/a$HOME"},
      {"XDG_MUSIC_DIR=\"$HOME/M\xC3\xBCsik\xFF\"\n", "/home/me/M\xC3\xBCsik\xFF"},
      // Slashes at the end; the home folder itself.
      {"XDG_MUSIC_DIR=\"$HOME/Songs///\"\n", "/home/me/Songs"},
      {"XDG_MUSIC_DIR=\"/data/\"\n", "/data"},
      {"XDG_MUSIC_DIR=\"/\"\n", "/"},
      {"XDG_MUSIC_DIR=\"$HOME\"\n", "/home/me"},
      {"XDG_MUSIC_DIR=\"$HOME/\"\n", "/home/me"},
      {"XDG_MUSIC_DIR=\"/home/me/\"\n", "/home/me"},
  };
  for (const auto& each : cases)
    EXPECT_EQ(parsedUserDirectory(each.text, kKey, "/home/me"), each.expected) << each.text;
}

TEST(UserDirectories, TheRootMayBeTheHomeFolder) {
  EXPECT_EQ(parsedUserDirectory("XDG_MUSIC_DIR=\"$HOME/Songs\"", kKey, "/"), "/Songs");
  EXPECT_EQ(parsedUserDirectory("XDG_MUSIC_DIR=\"$HOME\"", kKey, "/"), "/");
  EXPECT_EQ(parsedUserDirectory("XDG_MUSIC_DIR=\"$HOME/\"", kKey, "/"), "/");
}

TEST(UserDirectories, WithoutAHomeFolderAbsoluteEntriesCount) {
  EXPECT_EQ(parsedUserDirectory("XDG_MUSIC_DIR=\"/a\"\nXDG_MUSIC_DIR=\"$HOME/b\"", kKey, std::nullopt), "/a");
  EXPECT_EQ(parsedUserDirectory("XDG_MUSIC_DIR=\"$HOME\"", kKey, std::nullopt), std::nullopt);
}

TEST(UserDirectories, ManyLinesTakeLittleTime) {
  std::string text;
  for (int line = 0; line < 200'000; ++line) text += "XDG_VIDEOS_DIR=\"$HOME/Videos\"\n";
  EXPECT_EQ(parsedUserDirectory(text, kKey, "/home/me"), std::nullopt);
}

class UserDirectoriesFile : public ::testing::Test {
 protected:
  UserDirectoriesFile() {
    environment.set("HOME", home.path());
    environment.set("XDG_CONFIG_HOME", std::nullopt);
    std::filesystem::create_directory(home / ".config");
  }

  static Directory chosen() {
    Directory found;
    EXPECT_EQ(detail::findChosenUserDirectory(kKey, &found), noErr);
    return found;
  }
  static OSErr error() {
    Directory found;
    const OSErr error = detail::findChosenUserDirectory(kKey, &found);
    EXPECT_EQ(found, std::nullopt);
    return error;
  }

  ScratchFolder home;
  ScopedEnvironment environment;
};

TEST_F(UserDirectoriesFile, IsInTheFolderForSettings) {
  EXPECT_EQ(chosen(), std::nullopt);
  writeFile(home / ".config/user-dirs.dirs", "XDG_MUSIC_DIR=\"$HOME/Songs\"\n");
  EXPECT_EQ(chosen(), home / "Songs");
  environment.set("XDG_CONFIG_HOME", home / "settings");
  EXPECT_EQ(chosen(), std::nullopt) << "the one in .config does not count now";
  std::filesystem::create_directory(home / "settings");
  writeFile(home / "settings/user-dirs.dirs", "XDG_MUSIC_DIR=\"$HOME/Other\"\n");
  EXPECT_EQ(chosen(), home / "Other");
  environment.set("XDG_CONFIG_HOME", "settings");
  EXPECT_EQ(chosen(), home / "Songs");
}

TEST_F(UserDirectoriesFile, WhatIsNoRegularFileIsNotRead) {
  ASSERT_EQ(::mkfifo((home / ".config/user-dirs.dirs").c_str(), 0600), 0);
  EXPECT_EQ(chosen(), std::nullopt);
  std::filesystem::remove(home / ".config/user-dirs.dirs");
  std::filesystem::create_directory(home / ".config/user-dirs.dirs");
  EXPECT_EQ(chosen(), std::nullopt);
  std::filesystem::remove(home / ".config/user-dirs.dirs");
  std::filesystem::create_symlink("/dev/zero", home / ".config/user-dirs.dirs");
  EXPECT_EQ(chosen(), std::nullopt);
}

TEST_F(UserDirectoriesFile, WhatCannotBeReadIsAnError) {
  writeFile(home / ".config/user-dirs.dirs", "XDG_MUSIC_DIR=\"$HOME/Songs\"\n");
  ASSERT_EQ(::chmod((home / ".config/user-dirs.dirs").c_str(), 0), 0);
  ASSERT_EQ(::chmod(home.path().c_str(), 0755), 0);
  EXPECT_EQ(asOrdinaryUser([] { return error() == afpAccessDenied; }), 1);
}

}  // namespace
}  // namespace ZtFoundation::test
