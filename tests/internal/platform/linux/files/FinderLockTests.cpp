#include "platform/linux/files/FinderLock.h"

#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/FileManager.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <cerrno>
#include <filesystem>

#include "platform/linux/files/FileDescriptor.h"
#include "support/ChildProcess.h"
#include "support/PrivateMounts.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using detail::FileDescriptor;
using detail::isFolderLocked;
using detail::isLocked;
using detail::isLockedAt;
using detail::kLockAttribute;
using detail::setLocked;

// --- The kernel's own flag

int flagsOf(const std::string& path) {
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  int flags = 0;
  return ::ioctl(file.get(), FS_IOC_GETFLAGS, &flags) == 0 ? flags : -1;
}

bool changeFlags(const std::string& path, int change, bool isSet) {
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  int flags = flagsOf(path);
  if (flags < 0) return false;
  flags = isSet ? flags | change : flags & ~change;
  return ::ioctl(file.get(), FS_IOC_SETFLAGS, &flags) == 0;
}

bool setImmutable(const std::string& path, bool immutable) { return changeFlags(path, FS_IMMUTABLE_FL, immutable); }

/// Takes the flag away again, else the folder could not be removed.
class Immutable {
 public:
  explicit Immutable(std::string path) : path_(std::move(path)), isSet_(setImmutable(path_, true)) {}
  Immutable(const Immutable&) = delete;
  Immutable& operator=(const Immutable&) = delete;
  ~Immutable() { setImmutable(path_, false); }
  explicit operator bool() const { return isSet_; }

 private:
  std::string path_;
  bool isSet_;
};

bool hasAttribute(const std::string& path) { return ::lgetxattr(path.c_str(), kLockAttribute, nullptr, 0) >= 0; }

unsigned modeOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(::stat(path.c_str(), &status), 0);
  return status.st_mode & 07777U;
}

class FinderLockTests : public testing::Test {
 protected:
  FinderLockTests() {
    writeFile(file, "text");
    std::filesystem::create_directory(inner);
  }
  void SetUp() override {
    if (setLocked(file, true) == ENOTSUP) GTEST_SKIP() << "no extended attributes on this file system";
    setLocked(file, false);
  }

  ScratchFolder folder;
  const std::string file = folder / "file";
  const std::string inner = folder / "inner";
};

TEST_F(FinderLockTests, FilesAndFoldersAreLockedAndUnlocked) {
  for (const std::string& path : {file, inner}) {
    EXPECT_FALSE(isLocked(path));
    EXPECT_EQ(setLocked(path, true), 0);
    EXPECT_TRUE(isLocked(path));
    EXPECT_TRUE(hasAttribute(path));
    EXPECT_EQ(setLocked(path, true), 0);
    EXPECT_TRUE(isLocked(path));
    EXPECT_EQ(setLocked(path, false), 0);
    EXPECT_FALSE(isLocked(path));
    EXPECT_FALSE(hasAttribute(path));
    EXPECT_EQ(setLocked(path, false), 0);
  }
}

TEST_F(FinderLockTests, EachWayToNameAnItemWorks) {
  ASSERT_EQ(setLocked(file, true), 0);
  const FileDescriptor opened(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
  const FileDescriptor named(::open(file.c_str(), O_PATH | O_CLOEXEC));
  const FileDescriptor holder(::open(folder.path().c_str(), O_PATH | O_CLOEXEC));
  EXPECT_TRUE(isLocked(opened.get()));
  EXPECT_TRUE(isLocked(named.get()));
  EXPECT_TRUE(isLockedAt(holder.get(), "file"));
  EXPECT_FALSE(isLockedAt(holder.get(), "inner"));
  EXPECT_EQ(setLocked(named.get(), false), 0);
  EXPECT_FALSE(isLocked(opened.get()));
  EXPECT_FALSE(isLocked(named.get()));
  EXPECT_FALSE(isLockedAt(holder.get(), "file"));
}

TEST_F(FinderLockTests, AMissingItemIsNotLockedAndCannotBe) {
  EXPECT_FALSE(isLocked(folder / "missing"));
  EXPECT_EQ(setLocked(folder / "missing", true), ENOENT);
  EXPECT_TRUE(isLocked(-1)) << "what cannot be asked may be locked";
  EXPECT_EQ(setLocked(-1, true), EBADF);
}

TEST_F(FinderLockTests, ALinkCarriesNoLock) {
  std::filesystem::create_symlink("file", folder / "link");
  EXPECT_EQ(setLocked(folder / "link", true), 0);
  EXPECT_FALSE(isLocked(folder / "link"));
  EXPECT_FALSE(isLocked(file));
  ASSERT_EQ(setLocked(file, true), 0);
  EXPECT_FALSE(isLocked(folder / "link"));
  EXPECT_EQ(setLocked(folder / "link", false), 0);
  EXPECT_TRUE(isLocked(file));
}

TEST_F(FinderLockTests, APipeCannotBeLocked) {
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(setLocked(folder / "pipe", true), EPERM);
  EXPECT_FALSE(isLocked(folder / "pipe"));
}

TEST_F(FinderLockTests, TheImmutableFlagIsALockAndUnlockingClearsBoth) {
  ::chmod(folder.path().c_str(), 0755);
  ASSERT_EQ(setLocked(file, true), 0);
  const Immutable immutable(file);
  if (!immutable) GTEST_SKIP() << "this process or file system cannot make a file immutable";
  EXPECT_EQ(setLocked(file, false), 0);
  EXPECT_FALSE(isLocked(file));
  EXPECT_FALSE(hasAttribute(file));
  ASSERT_TRUE(setImmutable(file, true));
  EXPECT_TRUE(isLocked(file));
  EXPECT_EQ(setLocked(file, true), 0);
  EXPECT_EQ(asOrdinaryUser([&] { return setLocked(file, false); }), EPERM) << "only root may clear it";
  ASSERT_EQ(::chmod(file.c_str(), 0600), -1) << "it is immutable";
  EXPECT_TRUE(isLocked(file));
  EXPECT_EQ(setLocked(file, false), 0) << "without the attribute";
  EXPECT_FALSE(isLocked(file));
  ASSERT_EQ(::chmod(file.c_str(), 0), 0);
  ASSERT_TRUE(setImmutable(file, true));
  EXPECT_EQ(asOrdinaryUser([&] { return setLocked(file, false); }), EACCES) << "not even its flags may be asked for";
}

TEST_F(FinderLockTests, UnlockingLeavesTheOtherFlags) {
  const bool hasAnother = changeFlags(file, FS_NODUMP_FL, true);
  const Immutable immutable(file);
  if (!hasAnother || !immutable) GTEST_SKIP() << "this process or file system cannot make a file immutable";
  const int before = flagsOf(file);
  EXPECT_EQ(setLocked(file, false), 0);
  EXPECT_EQ(flagsOf(file), before & ~FS_IMMUTABLE_FL);
}

TEST_F(FinderLockTests, AnOwnerLocksAFileThatHeMayNotWrite) {
  for (const unsigned mode : {0444U, 0555U, 04400U, 0600U}) {
    ASSERT_EQ(::chmod(file.c_str(), mode), 0);
    if (::geteuid() == 0) {
      ASSERT_EQ(::chown(file.c_str(), kOrdinaryUser, kOrdinaryUser), 0);
    }
    ASSERT_EQ(::chmod(file.c_str(), mode), 0);
    ::chmod(folder.path().c_str(), 0755);
    EXPECT_EQ(asOrdinaryUser([&] { return setLocked(file, true) == 0 && isLocked(file) ? 0 : 1; }), 0) << mode;
    EXPECT_TRUE(isLocked(file));
    EXPECT_EQ(modeOf(file), mode);
    EXPECT_EQ(asOrdinaryUser([&] { return setLocked(file, false); }), 0) << mode;
    EXPECT_FALSE(isLocked(file));
    EXPECT_EQ(modeOf(file), mode);
  }
}

// Else it would be locked for some and not for others, its owner among them.
TEST_F(FinderLockTests, NobodyLocksWhatHeCannotSeeTheLockOf) {
  ::chmod(folder.path().c_str(), 0755);
  for (const unsigned mode : {0200U, 0U}) {
    if (::geteuid() == 0) {
      ASSERT_EQ(::chown(file.c_str(), kOrdinaryUser, kOrdinaryUser), 0);
    }
    ASSERT_EQ(::chmod(file.c_str(), mode), 0);
    EXPECT_EQ(asOrdinaryUser([&] { return setLocked(file, true); }), EACCES) << mode;
    EXPECT_EQ(modeOf(file), mode);
    ASSERT_EQ(::chmod(file.c_str(), 0600), 0);
    EXPECT_FALSE(isLocked(file));
  }
}

TEST_F(FinderLockTests, ALockThatIsNotSeenIsTakenAway) {
  ::chmod(folder.path().c_str(), 0755);
  for (const unsigned mode : {0200U, 0U}) {
    ASSERT_EQ(setLocked(file, true), 0);
    if (::geteuid() == 0) {
      ASSERT_EQ(::chown(file.c_str(), kOrdinaryUser, kOrdinaryUser), 0);
    }
    ASSERT_EQ(::chmod(file.c_str(), mode), 0);
    EXPECT_EQ(asOrdinaryUser([&] { return setLocked(file, false); }), 0) << mode;
    EXPECT_EQ(modeOf(file), mode);
    ASSERT_EQ(::chmod(file.c_str(), 0600), 0);
    EXPECT_FALSE(isLocked(file));
  }
}

TEST_F(FinderLockTests, NobodyUnlocksAnothersFileUnseen) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can be another user";
  ::chmod(folder.path().c_str(), 0755);
  ASSERT_EQ(setLocked(file, true), 0);
  ::chmod(file.c_str(), 0600);
  EXPECT_EQ(asOrdinaryUser([&] { return setLocked(file, false); }), EACCES);
  EXPECT_TRUE(isLocked(file));
}

TEST_F(FinderLockTests, NobodyLocksAnothersFile) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can be another user";
  ::chmod(folder.path().c_str(), 0755);
  ::chmod(file.c_str(), 0644);
  EXPECT_EQ(asOrdinaryUser([&] { return setLocked(file, true); }), EACCES);
  EXPECT_EQ(modeOf(file), 0644U);
  EXPECT_FALSE(isLocked(file));
  ASSERT_EQ(setLocked(file, true), 0);
  EXPECT_EQ(asOrdinaryUser([&] { return setLocked(file, true); }), 0) << "it is so already";
}

// Who changes the permissions of a file of a group that is not his loses this bit.
TEST_F(FinderLockTests, TheRightToActAsAGroupIsNotLost) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  ::chmod(folder.path().c_str(), 0755);
  ASSERT_EQ(::chown(file.c_str(), kOrdinaryUser, 2345) + ::chmod(file.c_str(), 02555), 0);
  EXPECT_EQ(asOrdinaryUser([&] { return setLocked(file, true); }), EACCES);
  EXPECT_EQ(modeOf(file), 02555U);
}

// --- Without the paths of descriptors

TEST_F(FinderLockTests, WithoutProcItemsAreAskedByTheirNames) {
  std::filesystem::create_symlink("file", folder / "link");
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  for (const bool locked : {false, true}) {
    for (const std::string& path : {file, inner}) ASSERT_EQ(setLocked(path, locked), 0);
    PrivateMounts mounts;
    if (!mounts.isPossible()) GTEST_SKIP() << mounts.whyNot();
    mounts.bind(mounts.folder("empty"), "/proc");
    EXPECT_EQ(isLocked(file), locked);
    EXPECT_EQ(isLocked(inner), locked);
    EXPECT_EQ(isFolderLocked(inner + "/item"), locked);
    EXPECT_EQ(detail::isEndOfLinksLocked(folder / "link"), locked);
    for (const char* name : {"link", "pipe", "missing"}) EXPECT_FALSE(isLocked(folder / name)) << name;
  }
}

TEST_F(FinderLockTests, WithoutProcAnOpenFolderCanBeAsked) {
  for (const bool locked : {false, true}) {
    ASSERT_EQ(setLocked(inner, locked), 0);
    const FileDescriptor named(::open(inner.c_str(), O_PATH | O_CLOEXEC));
    PrivateMounts mounts;
    if (!mounts.isPossible()) GTEST_SKIP() << mounts.whyNot();
    mounts.bind(mounts.folder("empty"), "/proc");
    EXPECT_EQ(isLocked(named.get()), locked);
    EXPECT_TRUE(isLocked(FileDescriptor(::open(file.c_str(), O_PATH | O_CLOEXEC)).get()))
        << "what cannot be asked may be locked";
  }
}

TEST_F(FinderLockTests, WithoutProcWhoMayNotReadAFileSeesNoLock) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can be another user";
  ::chmod(folder.path().c_str(), 0755);
  ASSERT_EQ(setLocked(file, true) + ::chmod(file.c_str(), 0200), 0);
  PrivateMounts mounts;
  if (!mounts.isPossible()) GTEST_SKIP() << mounts.whyNot();
  mounts.bind(mounts.folder("empty"), "/proc");
  EXPECT_EQ(asOrdinaryUser([&] { return isLocked(file) ? 1 : 0; }), 0);
}

// --- Folders

TEST_F(FinderLockTests, TheFolderThatAPathLiesIn) {
  ASSERT_EQ(setLocked(inner, true), 0);
  for (const std::string name : {"inner/a", "inner/a/", "inner//a//", "inner/./a"}) {
    EXPECT_TRUE(isFolderLocked(folder / name)) << name;
  }
  for (const std::string name : {"inner", "inner/", "a", "missing/a", "file/a"}) {
    EXPECT_FALSE(isFolderLocked(folder / name)) << name;
  }
  EXPECT_EQ(inChild([&] { return ::chdir(inner.c_str()) == 0 && isFolderLocked("a") && isFolderLocked("a/") ? 0 : 1; }),
            0);
  EXPECT_FALSE(isFolderLocked("/"));
  EXPECT_FALSE(isFolderLocked(""));
  std::filesystem::create_symlink("inner", folder / "link");
  EXPECT_TRUE(isFolderLocked(folder / "link/a"));
}

// --- Operations of the library that ask for the lock, as root too

bool save(const std::string& path, bool atomically) {
  return NSData::dataWithBytes("new")->writeToFile_atomically(NSString::stringWithFileSystemRepresentation(path),
                                                              atomically);
}

bool create(const std::string& path) {
  return NSFileManager::defaultManager()->createFileAtPath_contents_attributes(
      NSString::stringWithFileSystemRepresentation(path), NSData::dataWithBytes("new"), nullptr);
}

TEST_F(FinderLockTests, TheContentsOfALockedFileStay) {
  ASSERT_EQ(setLocked(file, true), 0);
  std::filesystem::create_symlink("file", folder / "link");
  for (const char* name : {"file", "link"}) {
    EXPECT_FALSE(save(folder / name, true));
    EXPECT_FALSE(save(folder / name, false));
    EXPECT_FALSE(create(folder / name));
  }
  EXPECT_EQ(contentsOf(file), "text");
  EXPECT_EQ(folder.names(), (std::set<std::string>{"file", "inner", "link"}));
  ASSERT_EQ(setLocked(file, false), 0);
  EXPECT_TRUE(save(file, true));
  EXPECT_TRUE(save(file, false));
  EXPECT_TRUE(create(file));
}

TEST_F(FinderLockTests, ALockedFolderGetsNoNewItemsAndKeepsItsOwn) {
  writeFile(inner + "/old", "text");
  ASSERT_EQ(setLocked(inner, true), 0);
  EXPECT_FALSE(save(inner + "/new", true));
  EXPECT_FALSE(save(inner + "/new", false));
  EXPECT_FALSE(create(inner + "/new"));
  EXPECT_FALSE(save(inner + "/old", true)) << "that would be another file of the same name";
  EXPECT_TRUE(save(inner + "/old", false));
  EXPECT_FALSE(NSFileManager::defaultManager()->createDirectoryAtPath_attributes(folder.string("inner/new"), nullptr));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(inner), {}), 1);
}

TEST_F(FinderLockTests, TheErrorOfASaveIsThatOfWhatIsNotPermitted) {
  writeFile(inner + "/old", "text");
  ASSERT_EQ(setLocked(file, true), 0);
  ASSERT_EQ(setLocked(inner, true), 0);
  for (const std::string& path : {file, inner + "/old", inner + "/new"}) {
    errno = 0;
    EXPECT_FALSE(save(path, true));
    EXPECT_EQ(errno, EPERM) << path;
  }
}

TEST_F(FinderLockTests, WhereTheAnswerCannotBeHadTheItemCountsAsLocked) {
  const auto work = [&]() -> int {
    const rlimit none{0, 0};
    if (isLocked(file) || ::setrlimit(RLIMIT_NOFILE, &none) != 0) return 1;
    return isLocked(file) && isLockedAt(AT_FDCWD, file) && isFolderLocked(file) ? 0 : 2;
  };
  EXPECT_EQ(inChild(work), 0);
  EXPECT_FALSE(isLocked(folder / "missing"));
  EXPECT_FALSE(isLocked(file + "/missing"));
  EXPECT_FALSE(isFolderLocked(folder / "missing/item"));
}

TEST_F(FinderLockTests, WhatNoPathLeadsToIsNotLocked) {
  std::filesystem::create_symlink("loop", folder / "loop");
  writeFile(inner + "/file", "text");
  ::chmod(folder.path().c_str(), 0755);
  ::chmod(inner.c_str(), 0600);
  EXPECT_FALSE(isLocked(folder / std::string(256, 'n')));
  EXPECT_FALSE(isLocked(folder / "loop/item"));
  EXPECT_EQ(asOrdinaryUser([&] { return isLocked(inner + "/file") ? 1 : 0; }), 0);
  ::chmod(inner.c_str(), 0700);
}

TEST_F(FinderLockTests, TheAttributeAloneCanBeAskedFor) {
  for (const std::string& path : {file, inner}) {
    const FileDescriptor item(::open(path.c_str(), O_PATH | O_CLOEXEC));
    EXPECT_FALSE(detail::hasLockAttribute(item.get()));
    EXPECT_FALSE(detail::hasLockAttributeAt(AT_FDCWD, path.c_str()));
    ASSERT_EQ(setLocked(path, true), 0);
    EXPECT_TRUE(detail::hasLockAttribute(item.get()));
    EXPECT_TRUE(detail::hasLockAttributeAt(AT_FDCWD, path.c_str()));
  }
  std::filesystem::create_symlink("file", folder / "link");
  EXPECT_FALSE(detail::hasLockAttributeAt(AT_FDCWD, (folder / "link").c_str()));
  EXPECT_FALSE(detail::hasLockAttributeAt(AT_FDCWD, (folder / "missing").c_str()));
}

}  // namespace
}  // namespace ZtFoundation::test
