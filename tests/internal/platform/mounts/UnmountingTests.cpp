// Unmounting what is really mounted, as root and as somebody else.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/cdrom.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <signal.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "RealVolumes.h"
#include "StandInTable.h"
#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"
#include "support/SystemCallFilter.h"

namespace ZtFoundation::test {
namespace {

class UnmountingTests : public RealVolumes {
 protected:
  OSErr unmount(const std::string& root) { return volumes_->FSUnmountVolumeSync(volumes_.at(root)); }
  bool unmountAndEject(const std::string& root) { return volumes_->unmountAndEjectDeviceAtPath(stringOf(root)); }

  // The devices as the kernel lists them, with what a test says of the one with those numbers. It has no name without a
  // drive.
  std::string devicesWith(dev_t numbers, const std::string& removable, const std::string& drive) const {
    const std::string devices = mounts_.folder("devices"), device = mounts_.folder("device");
    const std::string link = devices + "/" + std::to_string(major(numbers)) + ":" + std::to_string(minor(numbers));
    if (!std::filesystem::exists(link)) std::filesystem::create_symlink(device, link);
    test::writeFile(device + "/removable", removable + "\n");
    test::writeFile(device + "/uevent", "MAJOR=7\n" + (drive.empty() ? "" : "DEVNAME=.." + drive + "\n"));
    return devices;
  }
};

TEST_F(UnmountingTests, RootUnmounts) {
  const std::string disk = mounts_.disk({.type = "ext4"});
  SKIP_WITHOUT(disk);
  EXPECT_EQ(unmount(disk), noErr);
  EXPECT_FALSE(volumes_.has(disk));
  EXPECT_EQ(holderOf(disk), mounts_.store());
  EXPECT_EQ(unmount(disk), nsvErr);
}

// A folder on the way may be renamed although something is mounted in it.
TEST_F(UnmountingTests, LinksThatWereLaidOnTheWayLeadNowhere) {
  const std::string mine = mounts_.memory("mine/volume"), others = mounts_.memory("others/volume");
  SKIP_WITHOUT(others);
  const FSVolumeRefNum number = volumes_.at(mine);
  for (const bool isRoot : {true, false}) {
    const VolumesHere volumes;
    const std::string folder = mounts_.store() + "/mine";
    volumes.roots();
    std::filesystem::rename(folder, mounts_.store() + "/old");
    std::filesystem::create_symlink("others", folder);
    const auto unmounted = [&] { return volumes->FSUnmountVolumeSync(volumes.at(mine)) == noErr ? 1 : 0; };
    EXPECT_EQ(isRoot ? test::inChild(unmounted) : test::asOrdinaryUser(unmounted), 0);
    EXPECT_TRUE(volumes_.has(others));
    std::filesystem::remove(folder);
    std::filesystem::rename(mounts_.store() + "/old", folder);
  }
  EXPECT_EQ(volumes_->FSUnmountVolumeSync(number), noErr);
}

TEST_F(UnmountingTests, RootNeedsNoPrograms) {
  const std::string memory = mounts_.memory("memory");
  SKIP_WITHOUT(memory);
  EXPECT_EQ(test::inChild([&] {
              ::setenv("PATH", mounts_.folder("no-programs").c_str(), 1);
              return unmount(memory) == noErr ? 0 : 1;
            }),
            0);
}

TEST_F(UnmountingTests, WhatIsStillThereAfterwardsIsInUse) {
  const std::string memory = mounts_.memory("memory");
  SKIP_WITHOUT(memory);
  StandInTable table;
  table.set({{}, {.point = memory}});
  EXPECT_EQ(table.volumes().FSUnmountVolumeSync(table->at(memory)), fBsyErr);
  EXPECT_FALSE(volumes_.has(memory));
  EXPECT_EQ(table.volumes().FSUnmountVolumeSync(table->at(memory)), nsvErr) << "nothing is mounted there";
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
  const std::string devices = devicesWith(status.st_dev, "1", drive);
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

// From here on the process ends with this status when a drive is asked to give its medium out.
constexpr int kEjects = 42;
bool endWhereADriveEjects() {
  sock_filter steps[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_ioctl, 0, 3),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[1])),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, CDROMEJECT, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  ::signal(SIGSYS, [](int) { ::_exit(kEjects); });
  return test::installFilter(steps) == 0;
}

TEST_F(UnmountingTests, TheDriveOfAMediumThatCanBeTakenOutIsAskedToEject) {
  const std::string place = this->place(), node = place + "-node", drive = place + "-drive";
  SKIP_WITHOUT(place);
  const dev_t numbers = makedev(8, 200);
  if (::mknod(node.c_str(), S_IFBLK | 0600, numbers) != 0) GTEST_SKIP() << "no right to make a device";
  if (test::inChild([] { return endWhereADriveEjects() ? 0 : 1; }) != 0) GTEST_SKIP() << "no filters of system calls";
  test::writeFile(drive, "");
  const struct {
    const char* removable;
    std::string drive;
    int status;
  } cases[] = {{"1", drive, kEjects}, {"0", drive, 0}, {"1", "", 0}};
  for (const auto& one : cases) {
    mounts_.mountAt(place, "/dev/.." + node, "tmpfs", 0, "");
    const VolumesHere volumes({.devices = devicesWith(numbers, one.removable, one.drive)});
    EXPECT_EQ(test::inChild([&] {
                if (!endWhereADriveEjects()) return 1;
                return volumes->unmountAndEjectDeviceAtPath(stringOf(place)) ? 0 : 2;
              }),
              one.status)
        << one.removable << " " << one.drive;
    EXPECT_FALSE(volumes_.has(place));
  }
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

// --- Which programs are asked, and how: stand-ins that write it down

class UnmountingProgramTests : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* name : {"umount", "fusermount3", "fusermount", "udisksctl"}) {
      setProgram(name, "echo \"${0##*/} $*\" >>'" + said() + "'");
    }
  }

  void setProgram(const std::string& name, const std::string& script) const {
    const std::string folder = table_.folder() / "programs", path = folder + "/" + name;
    std::filesystem::create_directories(folder);
    std::filesystem::permissions(folder, std::filesystem::perms::all);
    test::writeFile(path, "#!/bin/sh\n" + script + "\n");
    std::filesystem::permissions(path, std::filesystem::perms::all);
  }
  std::string said() const { return table_.folder() / "said"; }

  // In a process that finds no programs but the stand-ins.
  OSErr unmountThere(const std::string& root) const {
    ::setenv("PATH", (table_.folder() / "programs").c_str(), 1);
    return table_.volumes().FSUnmountVolumeSync(table_->at(root));
  }
  void setLine(const Line& line) {
    table_.set({{}, line});
    table_.openToAll();
  }

  StandInTable table_;
};

TEST_F(UnmountingProgramTests, EachThatMayHelpIsAskedInTurn) {
  const struct {
    const char* type;
    const char* source;
    const char* programs;
  } cases[] = {
      {"tmpfs", "tmpfs", "umount /none/v\n"},
      {"ext4", "/dev/none1", "umount /none/v\nudisksctl unmount --no-user-interaction -b /dev/none1\n"},
      {"fuse.sshfs", "me@server:", "umount /none/v\nfusermount3 -u /none/v\nfusermount -u /none/v\n"},
      {"fuse.x", "/dev/none1", "umount /none/v\nfusermount3 -u /none/v\nfusermount -u /none/v\n"},
  };
  for (const auto& one : cases) {
    setLine({.device = "8:200", .point = "/none/v", .type = one.type, .source = one.source});
    EXPECT_EQ(test::asOrdinaryUser([&] { return unmountThere("/none/v") == permErr ? 0 : 1; }), 0) << one.type;
    EXPECT_EQ(test::contentsOf(said()), one.programs);
    std::filesystem::remove(said());
  }
}

// It would unmount one of them, perhaps the other.
TEST_F(UnmountingProgramTests, TheServiceForDisksIsNotAskedAboutADeviceWithTwoMounts) {
  table_.set({{},
              {.device = "254:1", .point = "/none/v", .type = "ext4", .source = "/dev/mapper/none"},
              {.device = "254:1", .point = "/none/w", .type = "ext4", .source = "/dev/dm-1"}});
  table_.openToAll();
  EXPECT_EQ(test::asOrdinaryUser([&] { return unmountThere("/none/v") == permErr ? 0 : 1; }), 0);
  EXPECT_EQ(test::contentsOf(said()), "umount /none/v\n");
}

TEST_F(UnmountingProgramTests, WithoutAnyEnvironmentTheyAreAskedToo) {
  setLine({.point = "/none/v", .type = "fuse.sshfs"});
  EXPECT_EQ(test::inChild([&] {
              const FSVolumeRefNum number = table_->at("/none/v");
              ::clearenv();
              table_.volumes().FSUnmountVolumeSync(number);
              return 0;
            }),
            0);
}

TEST_F(UnmountingProgramTests, RootAsksThemForWhatAProgramServesUnlessItIsADisk) {
  if (::geteuid() != 0) GTEST_SKIP() << "only for root";
  setLine({.point = "/none/v", .type = "fuseblk"});
  EXPECT_EQ(test::inChild([&] { return unmountThere("/none/v") == nsvErr ? 0 : 1; }), 0);
  EXPECT_FALSE(std::filesystem::exists(said()));
  setLine({.point = "/none/v", .type = "fuse.sshfs"});
  EXPECT_EQ(test::inChild([&] { return unmountThere("/none/v") == ioErr ? 0 : 1; }), 0);
  EXPECT_EQ(test::contentsOf(said()),
            "umount --no-canonicalize /none/v\nfusermount3 -u /none/v\nfusermount -u /none/v\n");
}

// The two signals that the C library keeps to itself, 32 and 33, are left out.
TEST_F(UnmountingProgramTests, TheyGetNothingOfTheHostButItsEnvironmentInEnglish) {
  setProgram("umount",
             "PATH=/usr/bin:/bin\n{ readlink /proc/self/fd/0\n tr '\\0' '\\n' </proc/$$/environ | grep -E "
             "'^(LC_ALL|ZT_HOST)='\n} >'" +
                 said() + "'\nexec sed -nE 's/^(Sig(Blk|Ign)):.*[08]0000000$/\\1 none/p' /proc/self/status >>'" +
                 said() + "'");
  setLine({.point = "/none/v"});
  EXPECT_EQ(test::asOrdinaryUser([&] {
              ::setenv("LC_ALL", "ja_JP.UTF-8", 1);
              ::setenv("ZT_HOST", "here", 1);
              ::dup2(::open("/dev/zero", O_RDONLY), 0);
              ::signal(SIGINT, SIG_IGN);
              sigset_t blocked;
              ::sigemptyset(&blocked);
              ::sigaddset(&blocked, SIGTERM);
              ::sigprocmask(SIG_BLOCK, &blocked, nullptr);
              return unmountThere("/none/v") == permErr ? 0 : 1;
            }),
            0);
  EXPECT_EQ(test::contentsOf(said()), "/dev/null\nLC_ALL=C\nZT_HOST=here\nSigBlk none\nSigIgn none\n");
}

TEST_F(UnmountingProgramTests, NoneOfThemIsLeftAndTheChildrenOfTheHostAreItsOwn) {
  setLine({.point = "/none/v"});
  EXPECT_EQ(test::asOrdinaryUser([&] {
              if (unmountThere("/none/v") != permErr) return 1;
              if (::waitpid(-1, nullptr, WNOHANG) >= 0 || errno != ECHILD) return 2;
              std::filesystem::remove(table_.folder() / "programs/umount");
              const pid_t child = test::startChild([] { return 7; });
              if (unmountThere("/none/v") != permErr) return 3;
              int status = 0;
              return ::waitpid(child, &status, 0) == child && WEXITSTATUS(status) == 7 ? 0 : 4;
            }),
            0);
}

}  // namespace
}  // namespace ZtFoundation::test
