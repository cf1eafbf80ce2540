// Copies on file systems of their own: shared blocks, disks that fill up, other volumes.

#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/String.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fiemap.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "support/PrivateMounts.h"
#include "support/QuickFolder.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

Ref<NSString> stringOf(const std::string& path) { return NSString::stringWithFileSystemRepresentation(path); }

bool copy(const std::string& from, const std::string& to) {
  return NSFileManager::defaultManager()->copyPath_toPath_handler(stringOf(from), stringOf(to), nullptr);
}
bool move(const std::string& from, const std::string& to) {
  return NSFileManager::defaultManager()->movePath_toPath_handler(stringOf(from), stringOf(to), nullptr);
}

bool exists(const std::string& path) {
  struct stat status;
  return ::lstat(path.c_str(), &status) == 0;
}

// Whether the first extent of the file is shared with another.
bool isShared(const std::string& path) {
  const int file = ::open(path.c_str(), O_RDONLY);
  ::fsync(file);
  alignas(struct fiemap) char bytes[sizeof(struct fiemap) + sizeof(struct fiemap_extent)] = {};
  auto* map = reinterpret_cast<struct fiemap*>(bytes);
  map->fm_length = ~std::uint64_t{0};
  map->fm_extent_count = 1;
  const bool isMapped = ::ioctl(file, FS_IOC_FIEMAP, map) == 0 && map->fm_mapped_extents == 1;
  ::close(file);
  const auto* extent = reinterpret_cast<const struct fiemap_extent*>(bytes + sizeof(struct fiemap));
  return isMapped && (extent->fe_flags & FIEMAP_EXTENT_SHARED) != 0;
}

TEST(FileCopyOnVolumesTests, FilesBeyond4GiBMoveToOtherVolumes) {
  constexpr off_t kSize = (off_t{5} << 30) + 1;
  PrivateMounts mounts;
  const std::string from = mounts.memory("from");
  const std::string to = mounts.memory("to");
  if (to.empty()) GTEST_SKIP() << mounts.whyNot();
  const int file = ::open((from + "/file").c_str(), O_WRONLY | O_CREAT, 0644);
  ASSERT_EQ(::pwrite(file, "x", 1, kSize - 1), 1);
  ::close(file);
  ASSERT_TRUE(move(from + "/file", to + "/file"));
  EXPECT_FALSE(exists(from + "/file"));
  struct stat status;
  ASSERT_EQ(::stat((to + "/file").c_str(), &status), 0);
  EXPECT_EQ(status.st_size, kSize);
  EXPECT_LE(status.st_blocks, 4096) << "holes stay holes";
  std::ifstream moved(to + "/file", std::ios::binary);
  moved.seekg(kSize - 1);
  EXPECT_EQ(moved.get(), 'x');
}

TEST(FileCopyOnVolumesTests, AVolumeIsNotTakenForAnotherOfItsKind) {
  PrivateMounts mounts;
  const std::string from = mounts.memory("from");
  const std::string to = mounts.memory("to");
  if (to.empty()) GTEST_SKIP() << mounts.whyNot();
  writeFile(from + "/file", "text");
  EXPECT_TRUE(copy(from, to + "/copy")) << "though their first folders have the same number";
  EXPECT_EQ(contentsOf(to + "/copy/file"), "text");
}

TEST(FileCopyOnVolumesTests, BlocksAreSharedWhereTheFileSystemCan) {
  for (const char* type : {"xfs", "btrfs"}) {
    PrivateMounts mounts;
    const std::string disk = mounts.disk({.type = type});
    if (disk.empty()) GTEST_SKIP() << mounts.whyNot();
    std::filesystem::create_directory(disk + "/from");
    const std::string contents(20 << 20, 'x');
    writeFile(disk + "/from/file", contents);
    writeFile(disk + "/from/small", contents.substr(0, 64 << 10));
    EXPECT_FALSE(isShared(disk + "/from/file"));
    ASSERT_TRUE(copy(disk + "/from", disk + "/to")) << type;
    for (const char* name : {"/to/file", "/to/small"}) EXPECT_TRUE(isShared(disk + name)) << type << name;
    EXPECT_TRUE(contentsOf(disk + "/to/file") == contents);
    writeFile(disk + "/to/file", "changed");
    EXPECT_TRUE(contentsOf(disk + "/from/file") == contents) << "a copy of its own";
  }
}

TEST(FileCopyOnVolumesTests, AFullDiskLeavesNothingOfTheCopy) {
  PrivateMounts mounts;
  const std::string source = mounts.memory("source");
  const std::string small = mounts.memory("small", "size=1m,nr_inodes=40");
  if (source.empty()) GTEST_SKIP() << mounts.whyNot();
  writeFile(source + "/large", std::string(3 << 20, 'x'));
  std::filesystem::create_directories(source + "/folder/a");
  writeFile(source + "/folder/a/large", std::string(3 << 20, 'x'));
  std::filesystem::create_directories(source + "/many");
  for (int i = 0; i < 100; ++i) writeFile(source + "/many/" + std::to_string(i), "");
  struct statfs before {};
  ASSERT_EQ(::statfs(small.c_str(), &before), 0);
  for (const char* name : {"/large", "/folder", "/many"}) {
    EXPECT_FALSE(copy(source + name, small + "/to")) << name;
    EXPECT_FALSE(move(source + name, small + "/to")) << name;
    EXPECT_TRUE(exists(source + name)) << name;
    EXPECT_TRUE(std::filesystem::is_empty(small)) << name;
  }
  struct statfs after {};
  ASSERT_EQ(::statfs(small.c_str(), &after), 0);
  EXPECT_EQ(after.f_bfree, before.f_bfree);
  EXPECT_EQ(std::filesystem::file_size(source + "/folder/a/large"), 3U << 20);
  EXPECT_TRUE(copy(source + "/many/1", small + "/fits"));
}

TEST(FileCopyOnVolumesTests, AReadOnlyVolumeTakesNothingAndLosesNothing) {
  PrivateMounts mounts;
  const std::string source = mounts.memory("source");
  const std::string sealed = mounts.memory("sealed");
  if (source.empty()) GTEST_SKIP() << mounts.whyNot();
  writeFile(source + "/file", "text");
  writeFile(sealed + "/file", "text");
  mounts.remountReadOnly(sealed);
  EXPECT_FALSE(copy(source + "/file", sealed + "/new"));
  EXPECT_FALSE(move(sealed + "/file", source + "/moved"));
  EXPECT_FALSE(exists(source + "/moved")) << "it could not have been a move";
  EXPECT_FALSE(NSFileManager::defaultManager()->removeFileAtPath_handler(stringOf(sealed + "/file"), nullptr));
  EXPECT_TRUE(copy(sealed + "/file", source + "/copied"));
}

TEST(FileCopyOnVolumesTests, AMoveToAnotherVolumeKeepsWhatACopyKeeps) {
  PrivateMounts mounts;
  const std::string source = mounts.memory("source");
  const std::string disk = mounts.disk({.type = "ext4"});
  if (disk.empty()) GTEST_SKIP() << mounts.whyNot();
  if (!takesAttributes(source)) GTEST_SKIP() << kNoAttributes;
  std::filesystem::create_directories(source + "/from/a");
  writeFile(source + "/from/a/file", "text");
  ASSERT_EQ(::setxattr((source + "/from/a/file").c_str(), "user.zt.note", "kept", 4, 0), 0);
  std::filesystem::create_symlink("a", source + "/from/link");
  ASSERT_TRUE(move(source + "/from", disk + "/to"));
  EXPECT_FALSE(exists(source + "/from"));
  EXPECT_EQ(contentsOf(disk + "/to/a/file"), "text");
  EXPECT_EQ(::getxattr((disk + "/to/a/file").c_str(), "user.zt.note", nullptr, 0), 4);
  EXPECT_TRUE(std::filesystem::is_symlink(disk + "/to/link"));
  writeFile(source + "/file", "other");
  writeFile(disk + "/taken", "old");
  EXPECT_FALSE(move(source + "/file", disk + "/taken"));
  EXPECT_EQ(contentsOf(disk + "/taken"), "old");
  EXPECT_EQ(contentsOf(source + "/file"), "other");
}

TEST(FileCopyOnVolumesTests, FileSystemsThatKeepLessTakeCopiesNevertheless) {
  PrivateMounts mounts;
  const std::string source = mounts.memory("source");
  if (source.empty()) GTEST_SKIP() << mounts.whyNot();
  const std::string card = mounts.disk({.type = "vfat"});
  if (card.empty()) GTEST_SKIP() << mounts.whyNot();
  std::filesystem::create_directories(source + "/from/a");
  writeFile(source + "/from/a/file", "text");
  ::setxattr((source + "/from/a/file").c_str(), "user.zt.note", "kept", 4, 0);  // where there are attributes
  ::chmod((source + "/from/a/file").c_str(), 0641);
  EXPECT_TRUE(copy(source + "/from", card + "/to"));
  EXPECT_EQ(contentsOf(card + "/to/a/file"), "text");
  EXPECT_TRUE(move(card + "/to", card + "/moved"));
  EXPECT_TRUE(NSFileManager::defaultManager()->removeFileAtPath_handler(stringOf(card + "/moved"), nullptr));
}

TEST(FileCopyOnVolumesTests, MountedFileSystemsAreCopiedWithTheirFolder) {
  PrivateMounts mounts;
  if (!mounts.isPossible()) GTEST_SKIP() << mounts.whyNot();
  const std::string from = mounts.folder("from");
  mounts.memory("from/mounted");
  writeFile(from + "/mounted/file", "text");
  const std::string target = mounts.memory("target");
  ASSERT_TRUE(copy(from, target + "/to"));
  EXPECT_EQ(contentsOf(target + "/to/mounted/file"), "text");
  std::filesystem::create_directories(from + "/circle");
  mounts.bind(from, from + "/circle");
  EXPECT_FALSE(copy(from, target + "/endless"));
  EXPECT_FALSE(exists(target + "/endless"));
}

}  // namespace
}  // namespace ZtFoundation::test
