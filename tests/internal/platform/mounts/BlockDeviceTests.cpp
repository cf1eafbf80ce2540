// What is known about the device under a volume.

#include <gtest/gtest.h>
#include <sched.h>

#include <string>

#include "RealVolumes.h"
#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::testing {
namespace {

constexpr std::uint16_t kLockedByHardware = kFSVolFlagHardwareLockedMask;
constexpr std::uint16_t kLockedBySoftware = kFSVolFlagSoftwareLockedMask;

class BlockDeviceTests : public RealVolumes {};

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

}  // namespace
}  // namespace ZtFoundation::testing
