// What is known about the device under a volume.

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "RealVolumes.h"
#include "StandInTable.h"
#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

constexpr std::uint16_t kLockedByHardware = kFSVolFlagHardwareLockedMask;
constexpr std::uint16_t kLockedBySoftware = kFSVolFlagSoftwareLockedMask;

class BlockDeviceTests : public RealVolumes {
 protected:
  static std::string numbersOf(const std::string& path) {
    struct stat status;
    if (::stat(path.c_str(), &status) != 0) return {};
    return std::to_string(major(status.st_dev)) + ":" + std::to_string(minor(status.st_dev));
  }
};

TEST_F(BlockDeviceTests, TheDeviceOrTheMountMayBeReadOnly) {
  const std::string disk = mounts_.disk({.type = "ext4"});
  SKIP_WITHOUT(disk);
  const std::string card = mounts_.disk({.type = "ext4", .name = "card", .readOnly = true});
  EXPECT_EQ(volumes_.flags(disk), 0);
  mounts_.remountReadOnly(disk);
  EXPECT_EQ(volumes_.flags(disk), kLockedBySoftware);
  EXPECT_EQ(volumes_.flags(card), kLockedByHardware | kLockedBySoftware);
  EXPECT_EQ(test::asOrdinaryUser([&] { return volumes_.flags(card); }), kLockedByHardware);  // the low byte of both
}

TEST_F(BlockDeviceTests, LocksOfEveryKindOfFileSystem) {
  const std::string memory = mounts_.memory("memory");
  SKIP_WITHOUT(memory);
  EXPECT_EQ(volumes_.flags(memory), 0);
  const std::string bound = mounts_.bind(memory, mounts_.folder("bound"));
  ASSERT_EQ(::mount(nullptr, bound.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr), 0);
  EXPECT_EQ(volumes_.flags(bound), kLockedBySoftware) << "the mount, not the file system";
  EXPECT_EQ(volumes_.flags(memory), 0);
  const std::string packed = mounts_.squashfs(memory);
  if (!packed.empty()) {
    EXPECT_NE(volumes_.flags(packed) & kLockedBySoftware, 0);
  }
  for (const std::string type : {"xfs", "btrfs"}) {
    const std::string card = mounts_.disk({.type = type, .readOnly = true});
    if (!card.empty()) {
      EXPECT_EQ(volumes_.flags(card), kLockedByHardware | kLockedBySoftware) << type;
    }
  }
  const std::string layered = mounts_.overlay(memory);
  if (!layered.empty()) {
    EXPECT_EQ(volumes_.flags(layered), 0);
  }
}

TEST_F(BlockDeviceTests, AFileSystemThatBecomesReadOnlyElsewhereIsSeen) {
  const std::string memory = mounts_.memory("memory");
  SKIP_WITHOUT(memory);
  ASSERT_EQ(volumes_.flags(memory), 0);
  ASSERT_EQ(test::inChild([&] {
              if (::unshare(CLONE_NEWNS) != 0) return 1;
              return ::mount(nullptr, memory.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) != 0 ? 2 : 0;
            }),
            0);
  EXPECT_EQ(volumes_.flags(memory), kLockedBySoftware);
}

// --- What the kernel tells about devices, written by the test

class StandInDeviceTests : public ::testing::Test {
 protected:
  // A folder as the kernel has it for each device, and the link that leads to it.
  void addDevice(const std::string& numbers, const std::string& path, const std::vector<std::string>& files) {
    const std::string folder = table_.folder() / path;
    std::filesystem::create_directories(folder);
    for (const std::string& file : files) {
      const std::size_t end = file.find('=');
      std::filesystem::create_directories(std::filesystem::path(folder + "/" + file.substr(0, end)).parent_path());
      test::writeFile(folder + "/" + file.substr(0, end), file.substr(end + 1) + "\n");
    }
    std::filesystem::create_directories(table_.folder() / "devices");
    std::filesystem::create_symlink(folder, table_.folder() / ("devices/" + numbers));
  }

  bool isRemovable(const std::string& device) { return isRemovable(Line{.device = device, .point = "/v"}); }
  bool isRemovable(const Line& line) {
    table_.set({{.device = "259:9"}, line});
    const std::vector<Ref<NSString>> roots = table_.volumes().mountedRemovableMedia();
    return roots.size() == 1 && roots[0]->isEqualToString("/v");
  }

  StandInTable table_;
};

TEST_F(StandInDeviceTests, MediaThatCanBeTakenOut) {
  addDevice("8:0", "sda", {"removable=0", "ro=0"});
  addDevice("8:1", "sda/sda1", {"partition=1", "ro=0"});
  addDevice("8:16", "sdb", {"removable=1", "ro=0"});
  addDevice("8:17", "sdb/sdb1", {"partition=1", "ro=0"});
  addDevice("11:0", "sr0", {"removable=1", "ro=1"});
  addDevice("179:0", "mmcblk0", {"removable=0", "device/type=SD", "ro=0"});
  addDevice("179:1", "mmcblk0/mmcblk0p1", {"partition=1", "ro=0"});
  addDevice("179:8", "mmcblk1", {"removable=0", "device/type=MMC", "ro=0"});
  addDevice("8:32", "sdc", {});
  test::writeFile(table_.folder() / "sdc/removable", "1");  // the line need not end
  EXPECT_TRUE(isRemovable("8:32"));
  EXPECT_FALSE(isRemovable("8:0"));
  EXPECT_FALSE(isRemovable("8:1"));
  EXPECT_TRUE(isRemovable("8:16"));
  EXPECT_TRUE(isRemovable("8:17")) << "a partition is on the medium of its disk";
  EXPECT_TRUE(isRemovable("11:0"));
  EXPECT_TRUE(isRemovable("179:1")) << "a memory card does not say so itself";
  EXPECT_FALSE(isRemovable("179:8")) << "soldered";
  EXPECT_FALSE(isRemovable("7:7")) << "unknown";
  EXPECT_FALSE(isRemovable("0:40"));
}

TEST_F(StandInDeviceTests, BehindVolumeManagers) {
  addDevice("8:16", "sdb", {"removable=1"});
  addDevice("8:17", "sdb/sdb1", {"partition=1"});
  addDevice("253:0", "dm-0", {"removable=0", "ro=0"});
  addDevice("253:1", "dm-1", {"removable=0", "ro=0"});
  const auto lieOn = [&](const std::string& upper, const std::string& lower) {
    std::filesystem::create_directories(table_.folder() / (upper + "/slaves"));
    std::filesystem::create_symlink(table_.folder() / lower, table_.folder() / (upper + "/slaves/part"));
  };
  lieOn("dm-0", "sdb/sdb1");
  lieOn("dm-1", "dm-0");
  EXPECT_TRUE(isRemovable("253:0"));
  EXPECT_TRUE(isRemovable("253:1"));
  addDevice("253:2", "dm-2", {"removable=0"});
  lieOn("dm-2", "dm-2");
  EXPECT_FALSE(isRemovable("253:2")) << "a circle ends";
  addDevice("8:0", "sda", {"removable=0"});
  addDevice("253:3", "dm-3", {"removable=1"});
  lieOn("dm-3", "sda");
  EXPECT_FALSE(isRemovable("253:3")) << "only the disks count";
}

// As of a file system on several devices, which has numbers of its own.
TEST_F(StandInDeviceTests, AFileSystemWithoutADeviceGoesByItsSource) {
  addDevice("8:200", "sdm", {"removable=1"});
  addDevice("1:3", "null", {"removable=1"});
  const std::string node = table_.folder() / "node", source = "/dev/.." + node;
  EXPECT_FALSE(isRemovable({.device = "0:50", .point = "/v", .type = "btrfs", .source = "/dev/null"})) << "no disk";
  EXPECT_FALSE(isRemovable({.device = "0:50", .point = "/v", .type = "btrfs", .source = source})) << "not there";
  if (::mknod(node.c_str(), S_IFBLK | 0600, makedev(8, 200)) != 0) GTEST_SKIP() << "no right to make a device";
  EXPECT_TRUE(isRemovable({.device = "0:50", .point = "/v", .type = "btrfs", .source = source}));
  EXPECT_FALSE(isRemovable({.device = "0:50", .point = "/v", .type = "btrfs", .source = node})) << "outside of /dev";
  EXPECT_FALSE(isRemovable({.device = "0:50", .point = "/v", .type = "fuse.sshfs", .source = source})) << "served";
  EXPECT_FALSE(isRemovable({.device = "0:50", .point = "/v", .type = "fuse.x", .source = source})) << "anybody says so";
  EXPECT_FALSE(isRemovable({.device = "8:201", .point = "/v", .type = "ext4", .source = source})) << "has a device";
}

TEST_F(StandInDeviceTests, DevicesThatTakeNoWriting) {
  addDevice("8:16", "sdb", {"removable=1", "ro=0"});
  addDevice("8:17", "sdb/sdb1", {"partition=1", "ro=1"});
  table_.set(
      {{}, {.device = "8:16", .point = "/a"}, {.device = "8:17", .point = "/b"}, {.device = "9:9", .point = "/c"}});
  EXPECT_EQ(table_->flags("/a"), 0);
  EXPECT_EQ(table_->flags("/b"), kLockedByHardware);
  EXPECT_EQ(table_->flags("/c"), 0);
}

// The kernel's own facts, one of them covered by a stand-in.
TEST_F(BlockDeviceTests, AMediumThatCanBeTakenOutIsListed) {
  const std::string disk = mounts_.disk({.type = "ext4"});
  SKIP_WITHOUT(disk);
  const auto isListed = [&] {
    const std::vector<Ref<NSString>> roots = volumes_->mountedRemovableMedia();
    return std::any_of(roots.begin(), roots.end(), [&](const auto& root) { return root->isEqual(stringOf(disk)); });
  };
  EXPECT_FALSE(isListed());
  test::writeFile(mounts_.store() + "/one", "1\n");
  const std::string device = std::filesystem::canonical("/sys/dev/block/" + numbersOf(disk)).string();
  mounts_.bind(mounts_.store() + "/one", device + "/removable");
  EXPECT_TRUE(isListed());
  EXPECT_TRUE(volumes_->unmountAndEjectDeviceAtPath(stringOf(disk))) << "a loop device has nothing to eject";
}

}  // namespace
}  // namespace ZtFoundation::test
