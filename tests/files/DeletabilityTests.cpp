#include <ZtFoundation/Files.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using JxTalvoZtWdExensions::isTalvoDeletable;

// The home folder of the first question stays that of the process, so every question is asked in a process of its own.
class DeletabilityTests : public testing::Test {
 protected:
  static bool isDeletable(const Ref<NSString>& path) {
    return inChild([&] { return isTalvoDeletable(path) ? 1 : 0; }) == 1;
  }
  /// Runs `work` where the folder is "/" and "/home/me" the home folder.
  template <class Work>
  int asRoot(Work work) const {
    return inChild([&]() -> int {
      ::setenv("HOME", "/home/me", 1);
      if (::chroot(folder.path().c_str()) != 0 || ::chdir("/") != 0) return 100;
      return static_cast<int>(work());
    });
  }

  ScratchFolder folder;
};

TEST_F(DeletabilityTests, WhatTheOwnerMayNotWriteIsNotDeletable) {
  writeFile(folder / "file", "");
  EXPECT_TRUE(isDeletable(folder.string("file")));
  ASSERT_EQ(::chmod((folder / "file").c_str(), 0444), 0);
  EXPECT_FALSE(isDeletable(folder.string("file")));
  ASSERT_EQ(::chmod((folder / "file").c_str(), 0200), 0);
  EXPECT_TRUE(isDeletable(folder.string("file")));
}

TEST_F(DeletabilityTests, WhatDoesNotExistIsNotDeletable) {
  EXPECT_FALSE(isDeletable(folder.string("missing")));
  EXPECT_FALSE(isDeletable(""));
  EXPECT_FALSE(isDeletable(nullptr));
}

TEST_F(DeletabilityTests, WhatTheProcessMayNotRemoveIsNotDeletable) {
  std::filesystem::create_directory(folder / "closed");
  writeFile(folder / "closed/file", "");
  ASSERT_EQ(::chmod((folder / "closed/file").c_str(), 0666), 0);
  ASSERT_EQ(::chmod((folder / "closed").c_str(), 0555), 0);
  ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
  EXPECT_EQ(asOrdinaryUser([&] { return isTalvoDeletable(folder.string("closed/file")) ? 1 : 0; }), 0);
  ASSERT_EQ(::chmod((folder / "closed").c_str(), 0777), 0);
  EXPECT_EQ(asOrdinaryUser([&] { return isTalvoDeletable(folder.string("closed/file")) ? 1 : 0; }), 1);
}

TEST_F(DeletabilityTests, TheProtectedFoldersStay) {
  if (asRoot([] { return 0; }) != 0) GTEST_SKIP() << "only root can make another folder the root";
  const char* const kept[] = {
      "/Applications",     "/Library",           "/System",          "/Users",          "/home/me",
      "/home/me/Desktop",  "/home/me/Documents", "/home/me/Library", "/home/me/Movies", "/home/me/Music",
      "/home/me/Pictures", "/home/me/Sites"};
  const char* const others[] = {"/Applications/Old.app",  "/Users/you",         "/home",         "/home/you",
                                "/home/me/Pictures/Trip", "/home/me/Downloads", "/applications", "/Volumes"};
  for (const char* const path : kept) std::filesystem::create_directories(folder.path() + path);
  for (const char* const path : others) std::filesystem::create_directories(folder.path() + path);
  for (const char* const path : kept) EXPECT_EQ(asRoot([&] { return isTalvoDeletable(path) ? 1 : 0; }), 0) << path;
  for (const char* const path : others) EXPECT_EQ(asRoot([&] { return isTalvoDeletable(path) ? 1 : 0; }), 1) << path;
}

TEST_F(DeletabilityTests, PathsAreComparedByTheLetter) {
  if (asRoot([] { return 0; }) != 0) GTEST_SKIP() << "only root can make another folder the root";
  std::filesystem::create_directories(folder / "home/me/Music");
  std::filesystem::create_directories(folder / "Users");
  std::filesystem::create_directory_symlink("Users", folder / "People");
  for (const char* const path :
       {"/Users/", "//Users", "/./Users", "/home/me/Music/", "/home/me/../me/Music", "/People"}) {
    EXPECT_EQ(asRoot([&] { return isTalvoDeletable(path) ? 1 : 0; }), 1) << path;
  }
}

}  // namespace
}  // namespace ZtFoundation::test
