// Changes of the mount table are seen, whatever the process does meanwhile.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <iterator>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "RealVolumes.h"
#include "StandInTable.h"
#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

class MountWatchTests : public RealVolumes {};

TEST_F(MountWatchTests, AChildSeesItsOwnMounts) {
  const std::string place = this->place();
  SKIP_WITHOUT(place);
  ASSERT_EQ(volumes_.at(place), 0);
  EXPECT_EQ(test::inChild([&] {
              if (::unshare(CLONE_NEWNS) != 0) return 1;
              if (::mount("tmpfs", place.c_str(), "tmpfs", 0, nullptr) != 0) return 2;
              return volumes_.has(place) ? 0 : 3;
            }),
            0);
  EXPECT_EQ(volumes_.at(place), 0);
  mounts_.memory("place");
  EXPECT_NE(volumes_.at(place), 0) << "the child did not take the notice of the change";
}

TEST_F(MountWatchTests, TheHostMayCloseAllFiles) {
  const std::string place = this->place();
  SKIP_WITHOUT(place);
  EXPECT_EQ(test::inChild([&] {
              if (volumes_.has(place)) return 1;
              for (int file = 3; file < 1000; ++file) ::close(file);
              while (::open("/dev/null", O_RDONLY) < 100) {
              }
              mounts_.memory("place");
              if (!volumes_.has(place)) return 2;
              struct stat status;
              for (int file = 3; file <= 100; ++file) {
                if (::fstat(file, &status) != 0 || !S_ISCHR(status.st_mode)) return 3;
              }
              return 0;
            }),
            0);
  mounts_.unmount(place);
}

TEST_F(MountWatchTests, OneFileIsOpenHoweverOftenTheTableChanges) {
  const auto openFiles = [] {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return std::distance(begin(all), end(all));
  };
  StandInTable table;
  table.set({{}, {.point = "/none/a"}});
  EXPECT_TRUE(table->has("/none/a"));
  const auto before = openFiles();
  table.set({{}, {.point = "/none/b"}});
  EXPECT_TRUE(table->has("/none/b"));
  EXPECT_EQ(openFiles(), before);
}

// The child has to read the table anew, and cannot.
TEST_F(MountWatchTests, WithTooManyFilesOpenTheLastTableCounts) {
  StandInTable table;
  table.set({{}, {.point = "/here"}});
  const FSVolumeRefNum number = table->at("/here");
  EXPECT_EQ(test::inChild([&] {
              rlimit limit;
              if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return 1;
              const rlim_t before = std::exchange(limit.rlim_cur, 0);
              if (::setrlimit(RLIMIT_NOFILE, &limit) != 0) return 2;
              if (table->at("/here") != number) return 3;
              limit.rlim_cur = before;
              if (::setrlimit(RLIMIT_NOFILE, &limit) != 0) return 4;
              if (table->at("/here") != number) return 5;
              table.set({{}, {.point = "/there"}});
              return table->at("/here") == 0 && table->at("/there") != 0 ? 0 : 6;
            }),
            0);
}

TEST_F(MountWatchTests, AProcessWhoseRootIsAMereFolderHasAStartUpVolume) {
  const std::string memory = mounts_.memory("memory");
  SKIP_WITHOUT(memory);
  const std::string inside = mounts_.folder("memory/root/inside"), proc = mounts_.folder("memory/root/proc");
  mounts_.memory("memory/root/inside");
  EXPECT_EQ(test::inChild([&] {
              if (::mount("proc", proc.c_str(), "proc", 0, nullptr) != 0) return 1;
              if (::chroot((memory + "/root").c_str()) != 0 || ::chdir("/") != 0) return 2;
              if (volumes_.roots() != std::vector<std::string>{"/", "/inside"}) return 3;
              if (holderOf("/proc") != "/" || holderOf("/inside") != "/inside") return 4;
              return volumes_.info("/", kFSVolInfoSizes).totalBytes > 0 ? 0 : 5;
            }),
            0);
  // One folder after the other on the same mount, which nothing but the root's identity tells.
  std::filesystem::create_symlink("root/proc", memory + "/proc");
  EXPECT_EQ(test::inChild([&] {
              if (::chroot(memory.c_str()) != 0 || ::chdir("/") != 0) return 1;
              if (!volumes_.has("/root/inside")) return 2;
              if (::chroot("/root") != 0 || ::chdir("/") != 0) return 3;
              return volumes_.has("/inside") ? 0 : 4;
            }),
            0);
  mounts_.remountReadOnly(memory);
  EXPECT_EQ(test::inChild([&] {
              if (::chroot((memory + "/root").c_str()) != 0 || ::chdir("/") != 0) return 1;
              return volumes_.flags("/") == kFSVolFlagSoftwareLockedMask ? 0 : 2;
            }),
            0);
  ::umount2(proc.c_str(), MNT_DETACH);
}

TEST_F(MountWatchTests, ThreadsMayAskWhileVolumesComeAndGo) {
  const std::string place = this->place();
  SKIP_WITHOUT(place);
  std::atomic<int> wrong = 0;
  std::vector<std::jthread> threads;
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([&](std::stop_token stop) {
      while (!stop.stop_requested()) {
        wrong += volumes_.roots().front() != "/";
        wrong += holderOf("/proc") != "/";
      }
    });
  }
  for (int i = 0; i < 20; ++i) {
    mounts_.memory("place");
    EXPECT_TRUE(volumes_.has(place));
    mounts_.unmount(place, MNT_DETACH);
    EXPECT_FALSE(volumes_.has(place));
  }
  threads.clear();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace ZtFoundation::test
