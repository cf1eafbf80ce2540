// Volumes that come from servers: a WebDAV server and a server of files by SSH, both of the test's own.

#include <ZtFoundation/Files.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "RealVolumes.h"
#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using Clock = std::chrono::steady_clock;

// Waits a few seconds at most.
bool comesTrue(const std::function<bool()>& condition) {
  const auto end = Clock::now() + std::chrono::seconds(10);
  while (!condition()) {
    if (Clock::now() > end) return false;
    ::usleep(5000);
  }
  return true;
}

bool runs(const std::string& command) { return std::system((command + " >/dev/null 2>&1").c_str()) == 0; }

class VolumeServersTests : public RealVolumes {
 protected:
  void SetUp() override {
    if (!mounts_.isPossible()) GTEST_SKIP() << mounts_.whyNot();
    if (::access("/dev/fuse", R_OK | W_OK) != 0) GTEST_SKIP() << "the kernel has no FUSE";
    // Helpers keep notes of their mounts there.
    mounts_.mountAt("/run", "tmpfs", "tmpfs", 0, "mode=755");
    std::filesystem::create_directory(served() + "/folder");
    test::writeFile(served() + "/folder/file", "hello");
  }
  // File systems that a program serves end with their mounts.
  void TearDown() override {
    for (const pid_t server : servers_) {
      ::kill(server, SIGKILL);
      ::waitpid(server, nullptr, 0);  // those that are children
    }
  }

  std::string served() const { return mounts_.folder("served"); }

  pid_t startServer(const std::vector<std::string>& command, const std::string& output) {
    servers_.push_back(test::startChild([&] {
      ::freopen(output.c_str(), "w", stdout);
      std::vector<char*> arguments;
      for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
      arguments.push_back(nullptr);
      ::execvp(arguments[0], arguments.data());
      return 127;
    }));
    return servers_.back();
  }

  // The same as a host asks.
  static bool areAskedAlike(const Ref<NSString>& root) {
    using namespace JxVolumeCatalogInformation;
    using namespace QvFoundationExtensions;
    const Ref<NSFileManager> files = NSFileManager::defaultManager();
    return volumePaths()->containsObject(root) && isVolume(root) && isNetworkVolume(root) &&
           isUnmountableVolume(root) && volumePath(root)->isEqualToString(root) && isNetworkVolumeAtPath(files, root) &&
           volumeTypeWithPath(files, root) != 0;
  }

  // Asks the volume everything that its server is not needed for. In a process of its own, which is given up when it
  // waits too long.
  ::testing::AssertionResult answersWithoutServer(const std::string& root) {
    const FSRef item({.device = volumes_.rootReference(volumes_.at(root)).identity().device, .number = 1},
                     stringOf(root + "/folder/file"));
    const pid_t child = test::startChild([&] {
      const VolumesHere volumes;
      if (!volumes.has(root)) return 1;
      if (!volumes.isServed(root) || volumes.media(root).empty()) return 2;
      if (volumes.flags(root) != 0) return 3;
      if (volumes.name(root) != root.substr(root.rfind('/') + 1)) return 4;
      if (volumes->volumeHolding(item) != volumes.at(root)) return 5;
      if (volumes.rootReference(volumes.at(root)).identity().number != 0) return 6;
      if (!volumes->mountedRemovableMedia().empty()) return 7;
      return areAskedAlike(stringOf(root)) ? 0 : 8;
    });
    int status = -1;
    const bool isOver = comesTrue([&] { return ::waitpid(child, &status, WNOHANG) == child; });
    if (!isOver) {
      ::kill(child, SIGKILL);
      test::waitForChild(child);
      return ::testing::AssertionFailure() << "waits for the server";
    }
    if (status != 0) return ::testing::AssertionFailure() << "exit status " << WEXITSTATUS(status);
    return ::testing::AssertionSuccess();
  }

  std::vector<pid_t> servers_;
};

// --- WebDAV

class WebDAVTests : public VolumeServersTests {
 protected:
  void SetUp() override {
    VolumeServersTests::SetUp();
    if (IsSkipped()) return;
    if (!test::PrivateMounts::hasProgram("mount.davfs")) GTEST_SKIP() << "davfs2 is not installed";
    if (!test::PrivateMounts::hasProgram("python3")) GTEST_SKIP() << "python3 is not installed";
    mount();
  }

  void mount() {
    const std::string port = mounts_.store() + "/port", cache = mounts_.folder("cache");
    server_ = startServer({"python3", ZT_TEST_DATA "/WebDAVServer.py", served()}, port);
    ASSERT_TRUE(comesTrue([&] { return test::contentsOf(port).value_or("").ends_with("\n"); })) << "no server";
    ASSERT_TRUE(runs("chgrp davfs2 " + cache + " && chmod 1775 " + cache));
    test::writeFile(mounts_.store() + "/davfs2.conf", "use_locks 0\nask_auth 0\ncache_dir " + cache + "\n");
    url_ = "http://127.0.0.1:" + test::contentsOf(port).value_or("");
    url_.back() = '/';
    root_ = mounts_.folder("dav");
    ASSERT_TRUE(runs("PATH=$PATH:/usr/sbin:/sbin; mount.davfs -o conf=" + mounts_.store() + "/davfs2.conf " + url_ +
                     " " + root_ + " </dev/null"));
    mounts_.unmountLater(root_);
  }

  pid_t server_ = 0;
  std::string url_;
  std::string root_;
};

TEST_F(WebDAVTests, IsAVolumeOfItsKindAndIsUnmountedWhenAllIsWritten) {
  EXPECT_TRUE(volumes_.has(root_));
  EXPECT_TRUE(volumes_.isServed(root_));
  EXPECT_EQ(volumes_.media(root_), "http");
  EXPECT_EQ(volumes_.name(root_), "dav");
  EXPECT_EQ(volumes_.flags(root_), 0);
  EXPECT_EQ(holderOf(root_ + "/folder/file"), root_);
  EXPECT_GT(volumes_.info(root_, kFSVolInfoSizes).totalBytes, 0U);

  test::writeFile(root_ + "/new", "written");
  EXPECT_EQ(volumes_->FSUnmountVolumeSync(volumes_.at(root_)), noErr);
  EXPECT_FALSE(volumes_.has(root_));
  EXPECT_EQ(test::contentsOf(served() + "/new"), "written");
}

TEST_F(WebDAVTests, AServerThatIsGoneIsNotMissed) {
  ::kill(server_, SIGSTOP);
  EXPECT_TRUE(answersWithoutServer(root_));
  ::kill(server_, SIGKILL);
  EXPECT_TRUE(answersWithoutServer(root_));
  EXPECT_TRUE(runs("PATH=$PATH:/usr/sbin:/sbin; umount -i " + root_));
}

// --- SSH

class SSHTests : public VolumeServersTests {
 protected:
  void SetUp() override {
    VolumeServersTests::SetUp();
    if (IsSkipped()) return;
    const std::string server = "/usr/lib/openssh/sftp-server";
    if (!test::PrivateMounts::hasProgram("sshfs")) GTEST_SKIP() << "sshfs is not installed";
    if (!std::filesystem::exists(server)) GTEST_SKIP() << "openssh-sftp-server is not installed";
    // In the place of ssh, the server itself.
    const std::string command = mounts_.store() + "/ssh";
    test::writeFile(command, "#!/bin/sh\necho $$ >'" + mounts_.store() + "/pid'\nexec " + server + "\n");
    std::filesystem::permissions(command, std::filesystem::perms::owner_all);
    root_ = mounts_.folder("ssh-mount");
    ASSERT_TRUE(runs("sshfs -o ssh_command=" + command + " host:" + served() + " " + root_));
    mounts_.unmountLater(root_);
    server_ = std::stoi(test::contentsOf(mounts_.store() + "/pid").value_or("0"));
    ASSERT_GT(server_, 0);  // other numbers mean more than one process
    servers_.push_back(server_);
  }

  std::string root_;
  pid_t server_ = 0;
};

TEST_F(SSHTests, IsAVolumeOfItsKindAndIsUnmounted) {
  EXPECT_TRUE(volumes_.has(root_));
  EXPECT_TRUE(volumes_.isServed(root_));
  EXPECT_EQ(volumes_.media(root_), "ssh ");
  EXPECT_EQ(volumes_.name(root_), "ssh-mount");
  EXPECT_EQ(holderOf(root_ + "/folder/file"), root_);
  EXPECT_EQ(holderOf(root_ + "/../pid"), mounts_.store());
  const int open = ::open((root_ + "/folder/file").c_str(), O_RDONLY | O_CLOEXEC);
  EXPECT_EQ(volumes_->FSUnmountVolumeSync(volumes_.at(root_)), fBsyErr);
  ::close(open);
  EXPECT_EQ(volumes_->FSUnmountVolumeSync(volumes_.at(root_)), noErr);
  EXPECT_FALSE(volumes_.has(root_));
}

TEST_F(SSHTests, AServerThatDoesNotAnswerIsNotMissed) {
  ::kill(server_, SIGSTOP);
  EXPECT_TRUE(answersWithoutServer(root_));
  EXPECT_EQ(volumes_->FSUnmountVolumeSync(volumes_.at(root_)), noErr);
  EXPECT_FALSE(volumes_.has(root_));
  ::kill(server_, SIGKILL);
}

TEST_F(SSHTests, MountsOnAServersVolumeMayWaitForItToo) {
  const std::string inner = mounts_.mountAt(root_ + "/folder", "tmpfs", "tmpfs", 0, "");
  EXPECT_TRUE(volumes_.has(inner));
  EXPECT_FALSE(volumes_.isServed(inner));
  ::kill(server_, SIGSTOP);
  EXPECT_EQ(volumes_.rootReference(volumes_.at(inner)).identity().number, 0U);
  ::kill(server_, SIGCONT);
}

// A file that a program serves, over another file, as containers have them over those of /proc.
TEST_F(SSHTests, ASingleFileOfAServerIsNoVolume) {
  const std::string target = mounts_.store() + "/target";
  test::writeFile(target, "");
  mounts_.bind(root_ + "/folder/file", target);
  ::kill(server_, SIGSTOP);
  EXPECT_FALSE(volumes_.has(target));
  const std::string folder = mounts_.folder("target-folder");
  ::kill(server_, SIGCONT);
  mounts_.bind(root_ + "/folder", folder);
  ::kill(server_, SIGSTOP);
  EXPECT_TRUE(volumes_.has(folder));
  ::kill(server_, SIGCONT);
}

// Nobody's mount but their own.
TEST_F(SSHTests, UsersUnmountWhatTheyMountedThemselves) {
  EXPECT_EQ(test::asOrdinaryUser([&] {
              return volumes_->FSUnmountVolumeSync(volumes_.at(root_)) == permErr && volumes_.has(root_) ? 0 : 1;
            }),
            0);
}

}  // namespace
}  // namespace ZtFoundation::test
