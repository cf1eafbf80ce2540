#include "platform/linux/folders/Folders.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "platform/linux/files/FinderLock.h"
#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using detail::isSharedFolder;
using detail::isTrustedFolder;
using detail::provideFolder;

class FoldersTests : public ::testing::Test {
 protected:
  FoldersTests() {
    ::umask(022);
    std::filesystem::create_directory(folder / "there");
    writeFile(folder / "file", "text");
    std::filesystem::create_symlink("there", folder / "link");
    std::filesystem::create_symlink("nowhere", folder / "broken");
    std::filesystem::create_symlink("loop", folder / "loop");
  }

  OSErr provide(const std::string& name, bool create, bool mayBeForeign = true) const {
    return provideFolder({folder / name, mayBeForeign}, create);
  }
  unsigned modeOf(const std::string& name) const {
    struct stat status {};
    EXPECT_EQ(::lstat((folder / name).c_str(), &status), 0) << name;
    return status.st_mode & 07777U;
  }

  ScratchFolder folder;
};

TEST_F(FoldersTests, AFolderThatIsThereIsFound) {
  for (const bool create : {false, true}) {
    EXPECT_EQ(provide("there", create), noErr);
    EXPECT_EQ(provide("there/", create), noErr);
    EXPECT_EQ(provide("link", create), noErr);
    EXPECT_EQ(provideFolder({"/"}, create), noErr);
  }
  EXPECT_EQ(folder.names().size(), 5U);
}

TEST_F(FoldersTests, AMissingFolderIsMadeOnlyWhenAskedFor) {
  EXPECT_EQ(provide("a/b/c", false), fnfErr);
  EXPECT_FALSE(std::filesystem::exists(folder / "a"));
  ::umask(0);
  EXPECT_EQ(provide("a/b/c", true), noErr);
  ::umask(022);
  for (const char* made : {"a", "a/b", "a/b/c"}) EXPECT_EQ(modeOf(made), 0700U) << made;
  EXPECT_EQ(provide("link/d", true), noErr);
  EXPECT_TRUE(std::filesystem::is_directory(folder / "there/d"));
  EXPECT_EQ(modeOf("there"), 0755U) << "was there before";
}

TEST_F(FoldersTests, SomethingElseInTheWay) {
  EXPECT_EQ(provide("file", false), fnfErr);
  EXPECT_EQ(provide("file", true), dupFNErr);
  EXPECT_EQ(provide("broken", false), fnfErr);
  EXPECT_EQ(provide("broken", true), dupFNErr);
  EXPECT_EQ(provide("loop", true), dupFNErr);
  for (const bool create : {false, true}) EXPECT_EQ(provide("file/x", create), fnfErr);
  EXPECT_EQ(contentsOf(folder / "file"), "text");
  EXPECT_FALSE(std::filesystem::exists(folder / "nowhere"));
}

TEST_F(FoldersTests, ALockedFolderGetsNoOthers) {
  const std::string locked = folder / "there";
  std::filesystem::create_directory(locked + "/a");
  if (detail::setLocked(locked, true) != 0) GTEST_SKIP() << "items cannot be locked on this file system";
  EXPECT_EQ(provide("there/b", true), fLckdErr);
  EXPECT_EQ(provide("link/b/c", true), fLckdErr);
  EXPECT_EQ(provide("there/a", true), noErr) << "is there";
  EXPECT_EQ(provide("there/a/c", true), noErr) << "the lock is not that of the folders inside";
  EXPECT_EQ(detail::setLocked(locked, false), 0);
  EXPECT_FALSE(std::filesystem::exists(locked + "/b"));
}

TEST_F(FoldersTests, OtherErrorsPassThrough) {
  for (const bool create : {false, true}) {
    EXPECT_EQ(provide(std::string(300, 'n'), create), bdNamErr);
    EXPECT_EQ(provideFolder({"/proc/none/x"}, create), fnfErr) << "the system's answer there";
  }
  const std::string deep = "/" + std::string(100'000, 'a').replace(1, 1, "/");
  EXPECT_EQ(provideFolder({deep}, true), bdNamErr);
  EXPECT_EQ(::chmod((folder / "there").c_str(), 0), 0);
  EXPECT_EQ(asOrdinaryUser([&] { return provide("there/x", false) == afpAccessDenied; }), 1);
  EXPECT_EQ(::chmod((folder / "there").c_str(), 0755), 0);
  EXPECT_EQ(::chmod(folder.path().c_str(), 0755), 0);
  if (::geteuid() == 0) {
    EXPECT_EQ(asOrdinaryUser([&] { return provide("there/x", true) == afpAccessDenied; }), 1);
  }
}

TEST_F(FoldersTests, OneThatMustBeTheUsersOwn) {
  EXPECT_EQ(provide("there", false, false), noErr);
  EXPECT_EQ(provide("new", true, false), noErr);
  EXPECT_EQ(provide("link", false, false), permErr) << "others could have put the link there";
  EXPECT_EQ(provide("missing", false, false), fnfErr);
  EXPECT_EQ(::chmod(folder.path().c_str(), 0755), 0);
  if (::geteuid() == 0) {
    EXPECT_EQ(asOrdinaryUser([&] { return provide("there", true, false) == permErr; }), 1);
  }
}

TEST_F(FoldersTests, SharedFoldersHaveTheStickyBit) {
  EXPECT_FALSE(isSharedFolder(folder / "there"));
  EXPECT_EQ(::chmod((folder / "there").c_str(), 01777), 0);
  EXPECT_TRUE(isSharedFolder(folder / "there"));
  EXPECT_FALSE(isSharedFolder(folder / "link"));
  EXPECT_FALSE(isSharedFolder(folder / "missing"));
  EXPECT_EQ(::chmod((folder / "file").c_str(), 01777), 0);
  EXPECT_FALSE(isSharedFolder(folder / "file"));
}

TEST_F(FoldersTests, FoldersOfAdministratorsAndOfTheUserAreTrusted) {
  EXPECT_TRUE(isTrustedFolder(folder / "there"));
  EXPECT_TRUE(isTrustedFolder("/"));
  EXPECT_FALSE(isTrustedFolder(folder / "link"));
  EXPECT_FALSE(isTrustedFolder(folder / "file"));
  EXPECT_FALSE(isTrustedFolder(folder / "missing"));
  if (::chown((folder / "there").c_str(), kOrdinaryUser, kOrdinaryUser) != 0) {
    GTEST_SKIP() << "no right to give folders away";
  }
  EXPECT_EQ(::chmod((folder / "there").c_str(), 01777), 0);
  EXPECT_EQ(isTrustedFolder(folder / "there"), ::geteuid() == kOrdinaryUser);
  EXPECT_EQ(isSharedFolder(folder / "there"), ::geteuid() == kOrdinaryUser);
}

}  // namespace
}  // namespace ZtFoundation::test
