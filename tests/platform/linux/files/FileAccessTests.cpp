#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Number.h>
#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <pwd.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>

#include "support/ChildProcess.h"
#include "support/FarDates.h"
#include "support/PrivateMounts.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using JxFileCatalogInformation::isLockedByFinder;
using JxFileCatalogInformation::setFinderLock;

class FileAccessTests : public testing::Test {
 protected:
  FileAccessTests() {
    ::chmod(folder.path().c_str(), 0755);
    writeFile(folder / "file", "text");
    std::filesystem::create_directory(folder / "inner");
    std::filesystem::create_symlink("file", folder / "link");
    std::filesystem::create_symlink("nowhere", folder / "dangling");
  }
  bool isReadable(const std::string& name) { return manager->isReadableFileAtPath(folder.string(name)); }
  bool isWritable(const std::string& name) { return manager->isWritableFileAtPath(folder.string(name)); }
  bool isExecutable(const std::string& name) { return manager->isExecutableFileAtPath(folder.string(name)); }
  bool isDeletable(const std::string& name) { return manager->isDeletableFileAtPath(folder.string(name)); }
  Ref<NSDictionary> attributes(const std::string& name, bool traverse) {
    return manager->fileAttributesAtPath_traverseLink(folder.string(name), traverse);
  }
  void give(const std::string& name, unsigned user) { ASSERT_EQ(::lchown((folder / name).c_str(), user, user), 0); }
  bool lock(const std::string& name) {
    setFinderLock(folder.string(name), true);
    return isLockedByFinder(folder.string(name));
  }

  ScratchFolder folder;
  const Ref<NSFileManager> manager = NSFileManager::defaultManager();
};

TEST_F(FileAccessTests, RightsOfAnOrdinaryUser) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can be another user";
  for (unsigned mode = 0; mode < 8; ++mode) {
    ASSERT_EQ(::chmod((folder / "file").c_str(), mode), 0);
    EXPECT_EQ(asOrdinaryUser([&] {
                const unsigned may = 4U * isReadable("link") + 2U * isWritable("link") + 1U * isExecutable("link");
                return may == mode && isReadable("file") == isReadable("link") ? 0 : 1;
              }),
              0)
        << mode;
  }
}

TEST_F(FileAccessTests, RootReadsAndWritesAllAndRunsWhatSomebodyMayRun) {
  if (::geteuid() != 0) GTEST_SKIP() << "this process is not root";
  ::chmod((folder / "file").c_str(), 0);
  EXPECT_TRUE(isReadable("file") && isWritable("file"));
  EXPECT_FALSE(isExecutable("file"));
  ::chmod((folder / "file").c_str(), 0001);
  EXPECT_TRUE(isExecutable("file"));
}

TEST_F(FileAccessTests, WhatIsMissingMayNothing) {
  for (const char* name : {"missing", "file/x"}) {
    EXPECT_FALSE(isReadable(name) || isWritable(name) || isExecutable(name) || isDeletable(name)) << name;
  }
  EXPECT_FALSE(isReadable("dangling") || isWritable("dangling") || isExecutable("dangling"));
  for (const Ref<NSString>& path :
       {Ref<NSString>(), NSString::string(), NSString::stringWithUnits(UnitView("a\0", 2))}) {
    EXPECT_FALSE(manager->isReadableFileAtPath(path) || manager->isWritableFileAtPath(path) ||
                 manager->isExecutableFileAtPath(path) || manager->isDeletableFileAtPath(path));
    EXPECT_EQ(manager->fileAttributesAtPath_traverseLink(path, true), nullptr);
  }
}

TEST_F(FileAccessTests, ALockedItemIsNeitherWritableNorDeletable) {
  if (!lock("file")) GTEST_SKIP() << "no extended attributes on this file system";
  EXPECT_TRUE(isReadable("file"));
  EXPECT_FALSE(isWritable("file") || isWritable("link") || isDeletable("file"));
  EXPECT_TRUE(isDeletable("link")) << "the link itself";
}

TEST_F(FileAccessTests, AnItemThatCannotBeAskedForItsLockIsNotWritable) {
  const auto work = [&]() -> int {
    const rlimit none{0, 0};
    if (!isWritable("file") || ::setrlimit(RLIMIT_NOFILE, &none) != 0) return 1;
    return isReadable("file") && !isWritable("file") && !isDeletable("file") ? 0 : 2;
  };
  EXPECT_EQ(inChild(work), 0);
}

// --- Deleting

TEST_F(FileAccessTests, WhatCanBeDeleted) {
  for (const char* name : {"file", "inner", "inner/", "link", "dangling"}) EXPECT_TRUE(isDeletable(name)) << name;
  for (const char* name : {"inner/.", "inner/..", ".", ".."}) EXPECT_FALSE(isDeletable(name)) << name;
  EXPECT_FALSE(manager->isDeletableFileAtPath("/"));
  EXPECT_FALSE(manager->isDeletableFileAtPath("///"));
  EXPECT_EQ(inChild([&] {
              if (::chdir(folder.path().c_str()) != 0) return 1;
              return manager->isDeletableFileAtPath("file") && !manager->isDeletableFileAtPath("missing") ? 0 : 2;
            }),
            0);
}

TEST_F(FileAccessTests, WhatCanOnlyGrowCannotBeDeleted) {
  PrivateMounts mounts;
  const std::string disk = mounts.disk({.type = "ext4"});
  if (disk.empty()) GTEST_SKIP() << mounts.whyNot();
  for (const char* name : {"/only", "/only/item", "/item"}) std::filesystem::create_directory(disk + name);
  const auto mayOnlyGrow = [&](const std::string& name, int flags) {
    const int item = ::open((disk + name).c_str(), O_RDONLY);
    EXPECT_EQ(::ioctl(item, FS_IOC_SETFLAGS, &flags), 0);
    ::close(item);
  };
  for (const int flags : {0, FS_APPEND_FL}) {
    for (const char* name : {"/only", "/item"}) mayOnlyGrow(name, flags);
    for (const std::string name : {"/only/item", "/item"}) {
      EXPECT_EQ(manager->isDeletableFileAtPath(Ref<NSString>(disk + name)), flags == 0) << name;
    }
  }
}

TEST_F(FileAccessTests, TheFolderMustBeWritable) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can be another user";
  give("file", kOrdinaryUser);
  EXPECT_EQ(asOrdinaryUser([&] { return isDeletable("file") ? 1 : 0; }), 0);
  for (const auto& [mode, expected] : {std::pair(0757U, true), std::pair(0756U, false), std::pair(0753U, true)}) {
    ::chmod(folder.path().c_str(), mode);
    EXPECT_EQ(asOrdinaryUser([&] { return isDeletable("file") ? 1 : 0; }), expected) << std::oct << mode;
  }
}

TEST_F(FileAccessTests, InAStickyFolderOnlyTheOwnersMay) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can be another user";
  const auto mayOther = [&] { return asOrdinaryUser([&] { return isDeletable("file") ? 1 : 0; }); };
  ::chmod(folder.path().c_str(), 01777);
  EXPECT_EQ(mayOther(), 0);
  EXPECT_TRUE(isDeletable("file")) << "root";
  give("file", kOrdinaryUser);
  EXPECT_EQ(mayOther(), 1) << "its owner";
  give("file", 1);
  EXPECT_EQ(mayOther(), 0);
  give("", kOrdinaryUser);
  EXPECT_EQ(mayOther(), 1) << "the folder's owner";
  EXPECT_TRUE(isDeletable("file")) << "root, who owns neither";
  give("", 0);
  ::chmod(folder.path().c_str(), 0777);
  EXPECT_EQ(mayOther(), 1) << "not sticky";
  ::symlink("file", (folder / "other link").c_str());
  ::chmod(folder.path().c_str(), 01777);
  give("other link", kOrdinaryUser);
  EXPECT_EQ(asOrdinaryUser([&] { return isDeletable("other link") ? 1 : 0; }), 1) << "the owner of a link is its own";
}

TEST_F(FileAccessTests, ALockedFolderKeepsWhatIsInIt) {
  writeFile(folder / "inner/file", "text");
  EXPECT_TRUE(isDeletable("inner/file"));
  if (!lock("inner")) GTEST_SKIP() << "no extended attributes on this file system";
  EXPECT_FALSE(isDeletable("inner/file"));
  EXPECT_FALSE(isDeletable("inner"));
  setFinderLock(folder.string("inner"), false);
}

TEST_F(FileAccessTests, AMountPointCannotBeDeleted) {
  PrivateMounts mounts;
  const std::string volume = mounts.memory("volume");
  if (volume.empty()) GTEST_SKIP() << mounts.whyNot();
  EXPECT_FALSE(manager->isDeletableFileAtPath(NSString::stringWithFileSystemRepresentation(volume)));
  EXPECT_TRUE(isDeletable("inner"));
  mounts.bind(volume, folder / "inner");
  EXPECT_FALSE(isDeletable("inner"));
  mounts.unmount(folder / "inner");
  const std::string same = mounts.folder("same device");
  mounts.bind(same, mounts.folder("target"));
  EXPECT_FALSE(
      manager->isDeletableFileAtPath(NSString::stringWithFileSystemRepresentation(mounts.store() + "/target")));
  EXPECT_TRUE(manager->isDeletableFileAtPath(NSString::stringWithFileSystemRepresentation(same)));
}

// --- Attributes

TEST_F(FileAccessTests, DatesBeyond32BitsAreTold) {
  for (const time_t seconds : kFarDates) {
    if (!hasDateSet(folder / "file", seconds)) continue;
    const Ref<NSDate> date = attributes("file", false)->get<NSDate>(NSFileModificationDate);
    EXPECT_EQ(date->timeIntervalSince1970(), static_cast<double>(seconds) + 0.5);
  }
}

TEST_F(FileAccessTests, SizesBeyond32BitsAreTold) {
  for (const std::uintmax_t size :
       {0x7FFF'FFFFULL, 0x8000'0000ULL, 0xFFFF'FFFFULL, 0x1'0000'0000ULL, 0x5'0000'0001ULL}) {
    std::filesystem::resize_file(folder / "file", size);
    EXPECT_EQ(attributes("file", false)->get<std::uint64_t>(NSFileSize), size);
  }
}

TEST_F(FileAccessTests, AttributesOfAFile) {
  ASSERT_EQ(::chmod((folder / "file").c_str(), 04751), 0);
  std::filesystem::create_hard_link(folder / "file", folder / "second");
  const timespec times[2] = {{1, 0}, {1000000000, 500'000'000}};
  ASSERT_EQ(::utimensat(AT_FDCWD, (folder / "file").c_str(), times, 0), 0);
  struct stat status {};
  struct statx more {};
  ASSERT_EQ(::stat((folder / "file").c_str(), &status), 0);
  ASSERT_EQ(::statx(AT_FDCWD, (folder / "file").c_str(), 0, STATX_BTIME, &more), 0);
  const Ref<NSDictionary> file = attributes("file", false);
  ASSERT_TRUE(file);
  EXPECT_EQ(file->get<std::string>(NSFileType), "NSFileTypeRegular");
  EXPECT_EQ(file->get<long long>(NSFileSize), 4);
  EXPECT_EQ(file->get<unsigned>(NSFilePosixPermissions), 04751U);
  EXPECT_EQ(file->get<NSDate>(NSFileModificationDate)->timeIntervalSince1970(), 1000000000.5);
  EXPECT_EQ(file->get<unsigned>(NSFileReferenceCount), 2U);
  EXPECT_EQ(file->get<std::uint64_t>(NSFileSystemNumber), status.st_dev);
  EXPECT_EQ(file->get<std::uint64_t>(NSFileSystemFileNumber), status.st_ino);
  EXPECT_EQ(file->get<unsigned>(NSFileOwnerAccountID), ::geteuid());
  EXPECT_EQ(file->get<unsigned>(NSFileGroupOwnerAccountID), status.st_gid);
  if (const passwd* user = ::getpwuid(status.st_uid)) {
    EXPECT_EQ(file->get<std::string>(NSFileOwnerAccountName), user->pw_name);
  }
  if (const group* group = ::getgrgid(status.st_gid)) {
    EXPECT_EQ(file->get<std::string>(NSFileGroupOwnerAccountName), group->gr_name);
  }
  const Ref<NSDate> born = file->get<NSDate>(NSFileCreationDate);
  ASSERT_EQ(static_cast<bool>(born), (more.stx_mask & STATX_BTIME) != 0);
  if (!born) GTEST_SKIP() << "this file system keeps no dates of birth";
  EXPECT_NEAR(born->timeIntervalSince1970(), static_cast<double>(std::time(nullptr)), 60);
}

TEST_F(FileAccessTests, WhereDatesOfBirthAreNotKeptThereIsNone) {
  struct statx status {};
  ASSERT_EQ(::statx(AT_FDCWD, "/proc/self/stat", 0, STATX_BTIME, &status), 0);
  if ((status.stx_mask & STATX_BTIME) != 0) GTEST_SKIP() << "this system keeps them everywhere";
  const Ref<NSDictionary> attributes = manager->fileAttributesAtPath_traverseLink("/proc/self/stat", false);
  ASSERT_TRUE(attributes);
  EXPECT_FALSE(attributes->containsKey(NSFileCreationDate));
}

TEST_F(FileAccessTests, AnOwnerWithoutANameHasANumber) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  give("file", 3'456'789'012U);
  const Ref<NSDictionary> file = attributes("file", false);
  EXPECT_EQ(file->get<unsigned>(NSFileOwnerAccountID), 3'456'789'012U);
  EXPECT_FALSE(file->containsKey(NSFileOwnerAccountName));
  EXPECT_FALSE(file->containsKey(NSFileGroupOwnerAccountName));
}

TEST_F(FileAccessTests, LinksAreFollowedOnlyOnDemand) {
  EXPECT_EQ(attributes("link", false)->get<std::string>(NSFileType), "NSFileTypeSymbolicLink");
  EXPECT_EQ(attributes("link", true)->get<std::string>(NSFileType), "NSFileTypeRegular");
  EXPECT_EQ(attributes("dangling", false)->get<std::string>(NSFileType), "NSFileTypeSymbolicLink");
  EXPECT_EQ(attributes("dangling", true), nullptr);
  EXPECT_EQ(attributes("missing", false), nullptr);
}

TEST_F(FileAccessTests, EachKindOfItemHasItsType) {
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(attributes("pipe", false)->get<std::string>(NSFileType), "NSFileTypeUnknown");
  EXPECT_EQ(attributes("inner", false)->get<std::string>(NSFileType), "NSFileTypeDirectory");
  const Ref<NSDictionary> device = manager->fileAttributesAtPath_traverseLink("/dev/null", true);
  EXPECT_EQ(device->get<std::string>(NSFileType), "NSFileTypeCharacterSpecial");
  if (::mknod((folder / "socket").c_str(), S_IFSOCK | 0600, 0) == 0) {
    EXPECT_EQ(attributes("socket", false)->get<std::string>(NSFileType), "NSFileTypeSocket");
  }
  if (::mknod((folder / "block").c_str(), S_IFBLK | 0600, 0x700) == 0) {
    EXPECT_EQ(attributes("block", false)->get<std::string>(NSFileType), "NSFileTypeBlockSpecial");
  }
}

}  // namespace
}  // namespace ZtFoundation::test
