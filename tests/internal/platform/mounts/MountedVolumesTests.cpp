// What the module answers about volumes that are really mounted.

#include <gtest/gtest.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "RealVolumes.h"
#include "StandInTable.h"
#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

class MountedVolumesTests : public RealVolumes {};

TEST_F(MountedVolumesTests, TheStartUpVolumeIsFirst) {
  FSVolumeRefNum first = 0;
  FSRef root;
  ASSERT_EQ(volumes_->FSGetVolumeInfo(0, 1, &first, 0, nullptr, nullptr, &root), noErr);
  EXPECT_LT(first, 0);
  EXPECT_EQ(root.path()->fileSystemRepresentation(), "/");
  EXPECT_EQ(volumes_.at("/"), first);
  EXPECT_EQ(root.identity().number, referenceTo("/").identity().number);
  EXPECT_EQ(root.identity().device, referenceTo("/").identity().device);
  EXPECT_TRUE(root.identity().isFolder);
}

TEST_F(MountedVolumesTests, WhatTheKernelShowsAsFilesIsNoVolume) {
  EXPECT_FALSE(volumes_.has("/proc"));
  EXPECT_FALSE(volumes_.has("/sys"));
  EXPECT_EQ(volumes_.at("/proc"), 0);
  EXPECT_EQ(holderOf("/proc/self"), "/");
  EXPECT_EQ(holderOf("/sys/kernel"), "/");
}

TEST_F(MountedVolumesTests, EveryKindOfFileSystemIsAVolumeInTheOrderOfMounting) {
  if (!mounts_.isPossible()) GTEST_SKIP() << mounts_.whyNot();
  std::vector<std::string> expected{mounts_.store()};
  const auto add = [&](const std::string& root) {
    if (!root.empty()) expected.push_back(root);
  };
  add(mounts_.disk({.type = "ext4"}));
  add(mounts_.disk({.type = "xfs"}));
  add(mounts_.disk({.type = "btrfs"}));
  add(mounts_.memory("memory"));
  add(mounts_.overlay(mounts_.folder("memory")));
  add(mounts_.squashfs(mounts_.folder("memory")));
  add(mounts_.bind(mounts_.folder("memory"), mounts_.folder("bound")));
  const std::vector<std::string> roots = volumes_.roots();
  const auto ours = std::find(roots.begin(), roots.end(), mounts_.store());
  EXPECT_EQ(std::vector<std::string>(ours, roots.end()), expected);
  EXPECT_GE(expected.size(), 4U);

  for (const std::string& root : expected) {
    EXPECT_EQ(holderOf(root), root);
    const FSRef reference = volumes_.rootReference(volumes_.at(root));
    EXPECT_EQ(reference.identity().number, referenceTo(root).identity().number) << root;
    EXPECT_EQ(reference.identity().device, referenceTo(root).identity().device) << root;
    EXPECT_FALSE(volumes_.isServed(root)) << root;
    EXPECT_EQ(volumes_.media(root), "") << root;
  }
}

TEST_F(MountedVolumesTests, NumbersStayUntilUnmountedAndAreNotGivenAgainAtOnce) {
  const std::string first = mounts_.memory("first");
  SKIP_WITHOUT(first);
  const FSVolumeRefNum number = volumes_.at(first);
  const std::string second = mounts_.memory("second");
  EXPECT_EQ(volumes_.at(first), number);
  EXPECT_NE(volumes_.at(second), number);
  mounts_.unmount(first);
  EXPECT_EQ(volumes_->FSGetVolumeInfo(number, 0, nullptr, 0, nullptr, nullptr, nullptr), nsvErr);
  mounts_.memory("first");
  EXPECT_NE(volumes_.at(first), number);
  EXPECT_NE(volumes_.at(first), 0);
  EXPECT_EQ(volumes_->FSGetVolumeInfo(number, 0, nullptr, 0, nullptr, nullptr, nullptr), nsvErr);
}

TEST_F(MountedVolumesTests, AMovedVolumeKeepsItsNumber) {
  const std::string here = mounts_.memory("outer");
  SKIP_WITHOUT(here);
  const std::string inner = mounts_.memory("inner"), moved = mounts_.folder("moved");
  ASSERT_EQ(::mount(nullptr, mounts_.store().c_str(), nullptr, MS_PRIVATE, nullptr), 0);
  const FSVolumeRefNum number = volumes_.at(inner);
  ASSERT_EQ(::mount(inner.c_str(), moved.c_str(), nullptr, MS_MOVE, nullptr), 0);
  mounts_.unmountLater(moved);
  EXPECT_EQ(volumes_.at(inner), 0);
  EXPECT_EQ(volumes_.at(moved), number);
}

TEST_F(MountedVolumesTests, WhatIsHiddenUnderALaterMountIsNoVolumeUntilItIsSeenAgain) {
  const std::string below = mounts_.memory("place");
  SKIP_WITHOUT(below);
  const std::string inside = mounts_.memory("place/inside");
  const FSVolumeRefNum belowNumber = volumes_.at(below), insideNumber = volumes_.at(inside);
  const std::string above = mounts_.memory("place");
  EXPECT_NE(volumes_.at(above), belowNumber);
  EXPECT_EQ(volumes_.at(inside), 0);
  const std::vector<std::string> roots = volumes_.roots();
  EXPECT_EQ(std::count(roots.begin(), roots.end(), below), 1);
  EXPECT_FALSE(volumes_.has(inside));
  ASSERT_EQ(::umount2(above.c_str(), 0), 0);
  EXPECT_EQ(volumes_.at(below), belowNumber);
  EXPECT_EQ(volumes_.at(inside), insideNumber);
}

TEST_F(MountedVolumesTests, ASingleFileIsNoVolume) {
  const std::string memory = mounts_.memory("memory");
  SKIP_WITHOUT(memory);
  test::writeFile(memory + "/file", "x");
  test::writeFile(mounts_.store() + "/target", "");
  const std::string target = mounts_.bind(memory + "/file", mounts_.store() + "/target");
  EXPECT_FALSE(volumes_.has(target));
  EXPECT_EQ(holderOf(target), memory);
}

TEST_F(MountedVolumesTests, ASingleFileOfAServerInTheRootFolderIsNoVolume) {
  const std::string memory = mounts_.memory("memory");
  SKIP_WITHOUT(memory);
  test::writeFile(memory + "/file", "");
  std::filesystem::create_directory(memory + "/folder");
  test::writeFile(memory + "/table",
                  "1 0 0:1 / / rw - ext4 none rw\n"
                  "2 1 0:2 /x /file rw - nfs server:/ rw\n"
                  "3 1 0:2 /x /folder rw - nfs server:/ rw\n");
  const VolumesHere volumes({.mountTable = "/table"});
  EXPECT_EQ(test::inChild([&] {
              if (::chroot(memory.c_str()) != 0 || ::chdir("/") != 0) return 1;
              return volumes.roots() == std::vector<std::string>{"/", "/folder"} ? 0 : 2;
            }),
            0);
}

TEST_F(MountedVolumesTests, MountPointsMayHaveAnyName) {
  if (!mounts_.isPossible()) GTEST_SKIP() << mounts_.whyNot();
  for (const std::string name :
       {"with blanks ", "tab\there", "line\nend", "back\\slash", "#sharp", "\xFF\xFE", "\\040", "\xE3\x81\x82"}) {
    const std::string root = mounts_.memory(name);
    EXPECT_TRUE(volumes_.has(root)) << name;
    EXPECT_EQ(holderOf(root), root) << name;
    EXPECT_EQ(volumes_.name(root), name);
  }
}

TEST_F(MountedVolumesTests, ItemsBelongToTheVolumeThatTheirPathLeadsTo) {
  const std::string card = mounts_.memory("card");
  SKIP_WITHOUT(card);
  const std::string file = card + "/folder/file";
  std::filesystem::create_directory(card + "/folder");
  test::writeFile(file, "x");
  std::filesystem::create_symlink(card + "/folder", mounts_.store() + "/link");
  std::filesystem::create_symlink(file, mounts_.store() + "/file-link");
  EXPECT_EQ(holderOf(file), card);
  EXPECT_EQ(holderOf(mounts_.store() + "/link/file"), card);
  EXPECT_EQ(holderOf(mounts_.store() + "/link"), mounts_.store());
  EXPECT_EQ(holderOf(mounts_.store() + "/file-link"), mounts_.store());
  EXPECT_EQ(holderOf(card + "/../card/folder/.."), card);
  EXPECT_EQ(holderOf(card + "/.."), mounts_.store());
  mounts_.mountAt(mounts_.folder("card/proc"), "proc", "proc", 0, "");
  std::filesystem::create_symlink(card + "/proc", mounts_.store() + "/proc-link");
  EXPECT_EQ(holderOf(mounts_.store() + "/proc-link/version"), card) << "what stores nothing is on the volume below";
}

TEST_F(MountedVolumesTests, AFolderOnABindMountIsNotOnTheOriginal) {
  const std::string card = mounts_.memory("card");
  SKIP_WITHOUT(card);
  std::filesystem::create_directory(card + "/folder");
  const std::string bound = mounts_.bind(card + "/folder", mounts_.folder("bound"));
  test::writeFile(bound + "/file", "x");
  std::filesystem::create_symlink(bound, mounts_.store() + "/link");
  EXPECT_EQ(holderOf(bound + "/file"), bound);
  EXPECT_EQ(holderOf(card + "/folder/file"), card);
  EXPECT_EQ(holderOf(mounts_.store() + "/link/file"), bound);
  std::filesystem::create_symlink(bound, card + "/link");
  EXPECT_EQ(holderOf(card + "/link/file"), bound);
  EXPECT_NE(volumes_.at(bound), volumes_.at(card));
}

TEST_F(MountedVolumesTests, AnItemThatHasGoneFromItsPathIsFoundByItsDevice) {
  const std::string card = mounts_.memory("card");
  SKIP_WITHOUT(card);
  std::filesystem::create_directory(card + "/folder");
  test::writeFile(card + "/folder/file", "x");
  const FSRef file = referenceTo(card + "/folder/file"), folder = referenceTo(card + "/folder");
  const FSVolumeRefNum number = volumes_.at(card);
  std::filesystem::rename(card + "/folder", card + "/moved");
  EXPECT_EQ(volumes_->volumeHolding(file), number);
  std::filesystem::create_directory(card + "/folder");
  mounts_.memory("card/folder");
  EXPECT_EQ(volumes_->volumeHolding(folder), number);
}

TEST_F(MountedVolumesTests, NothingIsOnNoVolume) { EXPECT_EQ(volumes_->volumeHolding(FSRef()), 0); }

TEST_F(MountedVolumesTests, SizesAreThoseOfTheFileSystem) {
  const std::string disk = mounts_.disk({.type = "ext4", .megabytes = 64});
  SKIP_WITHOUT(disk);
  struct statvfs system;
  ASSERT_EQ(::statvfs(disk.c_str(), &system), 0);
  const FSVolumeInfo info = volumes_.info(disk, kFSVolInfoSizes);
  EXPECT_EQ(info.totalBytes, std::uint64_t{system.f_blocks} * system.f_frsize);
  EXPECT_EQ(info.freeBytes, std::uint64_t{system.f_bavail} * system.f_frsize);
  EXPECT_LT(info.freeBytes, std::uint64_t{system.f_bfree} * system.f_frsize) << "a part is kept for root";
  EXPECT_GT(info.totalBytes, 50U << 20);
}

TEST_F(MountedVolumesTests, SizesHave64Bits) {
  const std::string large = mounts_.memory("large", "size=5000g");
  SKIP_WITHOUT(large);
  EXPECT_EQ(volumes_.info(large, kFSVolInfoSizes).totalBytes, std::uint64_t{5000} << 30);
}

TEST_F(MountedVolumesTests, AFullVolumeHasNothingFree) {
  const std::string tiny = mounts_.memory("tiny", "size=64k");
  SKIP_WITHOUT(tiny);
  EXPECT_EQ(volumes_.info(tiny, kFSVolInfoSizes).freeBytes, 64U << 10);
  test::writeFile(tiny + "/file", std::string(80 << 10, 'x'));
  const FSVolumeInfo full = volumes_.info(tiny, kFSVolInfoSizes);
  EXPECT_EQ(full.freeBytes, 0U);
  EXPECT_EQ(full.totalBytes, 64U << 10);
}

TEST_F(MountedVolumesTests, OnlyWhatIsWantedIsFilled) {
  FSVolumeInfo info{.flags = 7, .totalBytes = 8, .freeBytes = 9};
  ASSERT_EQ(volumes_->FSGetVolumeInfo(0, 1, nullptr, kFSVolInfoNone, &info, nullptr, nullptr), noErr);
  EXPECT_EQ(info.flags, 7);
  EXPECT_EQ(info.totalBytes, 8U);
  ASSERT_EQ(volumes_->FSGetVolumeInfo(0, 1, nullptr, kFSVolInfoSizes, &info, nullptr, nullptr), noErr);
  EXPECT_EQ(info.flags, 7);
  EXPECT_NE(info.totalBytes, 8U);
  FSVolumeRefNum actual = 5;
  EXPECT_EQ(volumes_->FSGetVolumeInfo(0, 100000, &actual, kFSVolInfoSizes, &info, nullptr, nullptr), nsvErr);
  EXPECT_EQ(volumes_->FSGetVolumeInfo(0, 0, &actual, kFSVolInfoSizes, &info, nullptr, nullptr), nsvErr);
  EXPECT_EQ(volumes_->FSGetVolumeInfo(77, 1, &actual, kFSVolInfoSizes, &info, nullptr, nullptr), nsvErr);
  EXPECT_EQ(actual, 5);
}

// --- By a mount table that the test has written

class StandInVolumesTests : public ::testing::Test {
 protected:
  std::string holderOf(dev_t device, const std::string& path) const {
    const FSVolumeRefNum volume =
        table_.volumes().volumeHolding(FSRef({.device = device, .number = 1}, stringOf(path)));
    return volume != 0 ? table_->rootOf(volume) : "";
  }

  StandInTable table_;
};

TEST_F(StandInVolumesTests, WhatIsNotThereOrNotWantedIsNotFilled) {
  table_.set({{}, {.point = "/none/v", .type = "nfs"}});
  Volumes& volumes = table_.volumes();
  const FSVolumeRefNum local = table_->at("/"), served = table_->at("/none/v");
  GetVolParmsInfoBuffer parameters;
  parameters.vMServerAdr = 7;
  EXPECT_EQ(volumes.FSGetVolumeParms(77, &parameters, sizeof(parameters)), nsvErr);
  EXPECT_TRUE(parameters.vMServerAdr == 7);
  EXPECT_EQ(volumes.FSGetVolumeParms(served, nullptr, sizeof(parameters)), noErr);
  std::size_t size = 7;
  EXPECT_EQ(volumes.FSGetVolumeMountInfoSize(77, &size), nsvErr);
  EXPECT_EQ(volumes.FSGetVolumeMountInfoSize(local, &size), paramErr);
  EXPECT_EQ(size, 7U);
  EXPECT_EQ(volumes.FSGetVolumeMountInfoSize(served, nullptr), noErr);
  VolMountInfoHeader header{7, 7};
  EXPECT_EQ(volumes.FSGetVolumeMountInfo(77, &header, sizeof(header)), nsvErr);
  EXPECT_EQ(volumes.FSGetVolumeMountInfo(local, &header, sizeof(header)), paramErr);
  EXPECT_EQ(volumes.FSGetVolumeMountInfo(served, &header, sizeof(header) - 1), paramErr);
  EXPECT_EQ(header.length, 7);
  EXPECT_EQ(volumes.FSGetVolumeMountInfo(served, nullptr, 0), noErr);
  EXPECT_EQ(volumes.volumeRootedAt(nullptr), 0);
}

TEST_F(StandInVolumesTests, SizesThatCannotBeTold) {
  const std::string folder = table_.folder().path(), closed = folder + "/closed";
  test::writeFile(folder + "/file", "");
  std::filesystem::create_directories(closed + "/inside");
  table_.set({{}, {.point = folder + "/missing"}, {.point = folder + "/file/in-it"}, {.point = closed + "/inside"}});
  const auto errorFor = [&](const std::string& root) {
    FSVolumeInfo info{.flags = 7, .totalBytes = 8, .freeBytes = 9};
    const OSErr error =
        table_.volumes().FSGetVolumeInfo(table_->at(root), 0, nullptr, kFSVolInfoSizes, &info, nullptr, nullptr);
    EXPECT_EQ(info.totalBytes, 8U) << root;
    return error;
  };
  EXPECT_EQ(errorFor(folder + "/missing"), nsvErr);
  EXPECT_EQ(errorFor(folder + "/file/in-it"), ioErr);
  using std::filesystem::perms;
  table_.openToAll();
  std::filesystem::permissions(closed, perms::none);
  EXPECT_EQ(test::asOrdinaryUser([&] { return errorFor(closed + "/inside") == afpAccessDenied ? 0 : 1; }), 0);
  std::filesystem::permissions(closed, perms::owner_all);
}

TEST_F(StandInVolumesTests, AnItemThatIsNotThereIsOnTheVolumeWithTheLongestRootAboveIt) {
  table_.set({{}, {.parent = 3, .point = "/none/a/inside"}, {.point = "/none/a"}, {.point = "/none/ab"}});
  const std::pair<std::string, std::string> items[] = {{"/none/a", "/none/a"},
                                                       {"/none/a/x", "/none/a"},
                                                       {"/none/a/inside/x", "/none/a/inside"},
                                                       {"/none/a/insider", "/none/a"},
                                                       {"/none/ab/x", "/none/ab"},
                                                       {"/none/abc", "/"},
                                                       {"not absolute", ""}};
  for (const auto& [path, root] : items) EXPECT_EQ(holderOf(0, path), root) << path;
  EXPECT_EQ(holderOf(makedev(200, 200), "/"), "/") << "and what is there, when its device is not";
}

TEST_F(StandInVolumesTests, AnItemThatIsElsewhereNowIsOnTheVolumeOfItsDeviceThatIsNearest) {
  const std::string folder = table_.folder().path();
  for (const char* name : {"/far-far-away", "/a/b", "/a/x", "/elsewhere"}) {
    std::filesystem::create_directories(folder + name);
  }
  std::vector<Line> lines{{.device = "0:1"},
                          {.point = folder + "/far-far-away"},
                          {.id = 8, .point = folder + "/a"},
                          {.id = 9, .parent = 8, .point = folder + "/a/b"}};
  const dev_t device = makedev(0, 77);
  for (int order = 0; order < 2; ++order) {
    table_.set(lines);
    EXPECT_EQ(holderOf(device, folder + "/a/b"), folder + "/a/b");
    EXPECT_EQ(holderOf(device, folder + "/a/x"), folder + "/a");
    EXPECT_EQ(holderOf(device, folder + "/elsewhere"), folder + "/far-far-away") << "any of them";
    std::swap(lines[2], lines[3]);
  }
}

TEST_F(StandInVolumesTests, WhatAServersMountLiesOnTellsWhetherItIsASingleFile) {
  const std::string folder = table_.folder().path(), file = folder + "/file";
  test::writeFile(file, "");
  std::filesystem::create_directory(folder + "/folder");
  table_.set({{},
              {.root = "/x", .point = file, .type = "nfs"},
              {.root = "/x", .point = folder + "/folder", .type = "nfs"},
              {.root = "/x", .point = "/none/unknown", .type = "nfs"},
              {.point = file, .type = "fuse.single", .source = "the root of what a program serves may be a file"}});
  EXPECT_EQ(table_->roots(), (std::vector<std::string>{"/", folder + "/folder", "/none/unknown"}));
  table_.set({{.root = "/x", .point = file, .type = "nfs"}});
  EXPECT_TRUE(table_->has(file)) << "it lies on nothing";
}

}  // namespace
}  // namespace ZtFoundation::test
