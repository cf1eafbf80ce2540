// Unmounting what is really mounted, as root and as somebody else.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "RealVolumes.h"
#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::testing {
namespace {

class UnmountingTests : public RealVolumes {
 protected:
  OSErr unmount(const std::string& root) { return volumes_->FSUnmountVolumeSync(volumes_.at(root)); }
  bool unmountAndEject(const std::string& root) { return volumes_->unmountAndEjectDeviceAtPath(stringOf(root)); }
};

TEST_F(UnmountingTests, RootUnmounts) {
  const std::string disk = mounts_.disk({.type = "ext4"});
  SKIP_WITHOUT(disk);
  EXPECT_EQ(unmount(disk), noErr);
  EXPECT_FALSE(volumes_.has(disk));
  EXPECT_EQ(holderOf(disk), mounts_.store());
  EXPECT_EQ(unmount(disk), nsvErr);
}

TEST_F(UnmountingTests, ByPath) {
  const std::string disk = mounts_.disk({.type = "ext4"});
  SKIP_WITHOUT(disk);
  EXPECT_FALSE(unmountAndEject(disk + "/"));
  EXPECT_FALSE(unmountAndEject(disk + "/lost+found"));
  EXPECT_TRUE(volumes_.has(disk));
  EXPECT_TRUE(unmountAndEject(disk));
  EXPECT_FALSE(volumes_.has(disk));
  EXPECT_FALSE(unmountAndEject(disk));
  EXPECT_FALSE(volumes_->unmountAndEjectDeviceAtPath(nullptr));
}

TEST_F(UnmountingTests, WhatIsInUseStays) {
  const std::string disk = mounts_.memory("disk");
  SKIP_WITHOUT(disk);
  const int open = ::open(disk.c_str(), O_RDONLY | O_CLOEXEC);
  const FSVolumeRefNum number = volumes_.at(disk);
  EXPECT_EQ(unmount(disk), fBsyErr);
  EXPECT_FALSE(unmountAndEject(disk));
  EXPECT_EQ(volumes_.at(disk), number);
  ::close(open);
  EXPECT_EQ(unmount(disk), noErr);
}

TEST_F(UnmountingTests, WhatOthersAreMountedOnIsInUse) {
  const std::string outer = mounts_.memory("outer");
  SKIP_WITHOUT(outer);
  const std::string inner = mounts_.memory("outer/inner");
  EXPECT_EQ(unmount(outer), fBsyErr);
  EXPECT_EQ(unmount(inner), noErr);
  EXPECT_EQ(unmount(outer), noErr);
}

TEST_F(UnmountingTests, OnlyTheUppermostOfAStackGoes) {
  const std::string root = mounts_.memory("place");
  SKIP_WITHOUT(root);
  const FSVolumeRefNum below = volumes_.at(root);
  mounts_.memory("place");
  EXPECT_EQ(unmount(root), noErr);
  EXPECT_EQ(volumes_.at(root), below);
}

TEST_F(UnmountingTests, MountPointsMayHaveAnyName) {
  if (!mounts_.isPossible()) GTEST_SKIP() << mounts_.whyNot();
  for (const std::string name : {"a b", "line\nend", "-l", "\\040", "\xFF"}) {
    const std::string root = mounts_.memory(name);
    EXPECT_EQ(unmount(root), noErr) << name;
    EXPECT_FALSE(volumes_.has(root)) << name;
  }
}

TEST_F(UnmountingTests, OtherUsersMayNot) {
  const std::string disk = mounts_.disk({.type = "ext4"});
  SKIP_WITHOUT(disk);
  EXPECT_EQ(test::asOrdinaryUser([&] { return unmount(disk) == permErr && !unmountAndEject(disk) ? 0 : 1; }), 0);
  EXPECT_TRUE(volumes_.has(disk));
}

// It would be made read-only instead, for every process of the machine.
TEST_F(UnmountingTests, TheStartUpVolumeIsNeverTouched) {
  const std::string memory = mounts_.memory("memory");
  SKIP_WITHOUT(memory);
  std::filesystem::create_directory(memory + "/proc");
  EXPECT_EQ(test::inChild([&] {
              if (::mount("proc", (memory + "/proc").c_str(), "proc", 0, nullptr) != 0) return 1;
              if (::chroot(memory.c_str()) != 0 || ::chdir("/") != 0) return 2;
              if (unmount("/") != fBsyErr || unmountAndEject("/")) return 3;
              struct statvfs system;
              return ::statvfs("/", &system) == 0 && (system.f_flag & ST_RDONLY) == 0 ? 0 : 4;
            }),
            0);
  ::umount2((memory + "/proc").c_str(), MNT_DETACH);
}

// A file in the place of the drive tells whether it was opened.
TEST_F(UnmountingTests, AMediumIsEjectedUnlessItsDiskIsStillInUse) {
  const std::string disk = mounts_.disk({.type = "ext4"});
  SKIP_WITHOUT(disk);
  const std::string bound = mounts_.bind(disk, mounts_.folder("bound")), drive = mounts_.store() + "/drive";
  struct stat status;
  ASSERT_EQ(::stat(disk.c_str(), &status), 0);
  const std::string devices = mounts_.folder("devices"), device = mounts_.folder("device");
  std::filesystem::create_symlink(
      device, devices + "/" + std::to_string(major(status.st_dev)) + ":" + std::to_string(minor(status.st_dev)));
  test::writeFile(device + "/removable", "1\n");
  test::writeFile(device + "/uevent", "MAJOR=7\nDEVNAME=.." + drive + "\n");
  test::writeFile(drive, "");
  const int notices = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  ASSERT_GE(::inotify_add_watch(notices, drive.c_str(), IN_OPEN), 0);
  char notice[4096];

  const VolumesHere volumes({.devices = devices});
  EXPECT_TRUE(volumes->unmountAndEjectDeviceAtPath(stringOf(bound)));
  EXPECT_LT(::read(notices, notice, sizeof(notice)), 0) << "the disk is still mounted elsewhere";
  EXPECT_TRUE(volumes->unmountAndEjectDeviceAtPath(stringOf(disk)));
  EXPECT_GT(::read(notices, notice, sizeof(notice)), 0);
  ::close(notices);
}

TEST_F(UnmountingTests, HelpersDoNotTalkToTheHost) {
  const std::string memory = mounts_.memory("memory");
  SKIP_WITHOUT(memory);
  const std::string programs = mounts_.overlay("/usr/sbin");
  SKIP_WITHOUT(programs);
  test::writeFile(programs + "/umount.tmpfs", "#!/bin/sh\necho talks\necho talks >&2\n: > '" + mounts_.store() +
                                                  "/helped'\nexec umount -i \"$1\"\n");
  std::filesystem::permissions(programs + "/umount.tmpfs", std::filesystem::perms::owner_all);
  mounts_.bind(programs, "/usr/sbin");
  if (!std::filesystem::exists("/sbin/umount.tmpfs")) GTEST_SKIP() << "/sbin is not /usr/sbin";
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  const OSErr error = unmount(memory);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(error, noErr);
  EXPECT_FALSE(volumes_.has(memory));
  EXPECT_TRUE(std::filesystem::exists(mounts_.store() + "/helped"));
}

// The pipe then has their numbers.
TEST_F(UnmountingTests, TheHostMayHaveNoStandardStreams) {
  const std::string memory = mounts_.memory("memory");
  SKIP_WITHOUT(memory);
  const std::string programs = mounts_.folder("programs");
  test::writeFile(programs + "/umount", "#!/bin/sh\necho target is busy >&2\n");
  std::filesystem::permissions(programs + "/umount", std::filesystem::perms::all);
  EXPECT_EQ(test::asOrdinaryUser([&] {
              ::setenv("PATH", (programs + ":" + std::getenv("PATH")).c_str(), 1);
              volumes_.roots();
              for (int stream = 0; stream < 3; ++stream) ::close(stream);
              return unmount(memory) == fBsyErr ? 0 : 1;
            }),
            0);
}

// Who may not unmount a disk has the desktop's service do it, if it will.
TEST_F(UnmountingTests, UsersAskUDisks) {
  const std::string disk = mounts_.disk({.type = "ext4"});
  SKIP_WITHOUT(disk);
  const std::string program = mounts_.folder("programs") + "/udisksctl", said = mounts_.folder("said");
  std::filesystem::permissions(said, std::filesystem::perms::all);
  test::writeFile(program, "#!/bin/sh\nls /proc/self/fd | wc -l > '" + said + "/files'\necho \"$@\" > '" + said +
                               "/arguments'\necho device is busy >&2\n");
  std::filesystem::permissions(program, std::filesystem::perms::all);
  EXPECT_EQ(test::asOrdinaryUser([&] {
              ::setenv("PATH", (mounts_.folder("programs") + ":" + std::getenv("PATH")).c_str(), 1);
              [[maybe_unused]] const int ofTheHost = ::fcntl(0, F_DUPFD, 20);
              return unmount(disk) == fBsyErr ? 0 : 1;
            }),
            0);
  EXPECT_EQ(test::contentsOf(said + "/files"), "4\n") << "three and the folder that is listed";
  const std::string arguments = test::contentsOf(said + "/arguments").value_or("");
  EXPECT_TRUE(arguments.starts_with("unmount --no-user-interaction -b /dev/loop")) << arguments;
  std::filesystem::remove(said + "/arguments");

  // A device that is mounted twice does not tell which mount is meant.
  mounts_.bind(disk, mounts_.folder("bound"));
  EXPECT_EQ(test::asOrdinaryUser([&] {
              ::setenv("PATH", (mounts_.folder("programs") + ":" + std::getenv("PATH")).c_str(), 1);
              return unmount(disk) == permErr ? 0 : 1;
            }),
            0);
  EXPECT_FALSE(std::filesystem::exists(said + "/arguments"));
}

// It sees the mounts of its own namespace only.
TEST_F(UnmountingTests, AServiceThatDoesNotKnowTheMountChangesNothing) {
  if (!test::PrivateMounts::hasProgram("udisksctl")) GTEST_SKIP() << "udisks2 is not installed";
  if (std::system("udisksctl status >/dev/null 2>&1") != 0) GTEST_SKIP() << "udisksd does not run";
  const std::string disk = mounts_.disk({.type = "ext4"});
  SKIP_WITHOUT(disk);
  EXPECT_EQ(test::asOrdinaryUser([&] { return unmount(disk) == permErr ? 0 : 1; }), 0);
  EXPECT_TRUE(volumes_.has(disk));
}

}  // namespace
}  // namespace ZtFoundation::testing
