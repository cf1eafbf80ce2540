// Reading the kernel's table.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <filesystem>
#include <string>
#include <vector>

#include "StandInTable.h"

namespace ZtFoundation::test {
namespace {

using Roots = std::vector<std::string>;

class MountTableTests : public ::testing::Test {
 protected:
  StandInTable table_;
};

TEST_F(MountTableTests, TheStartUpVolumeIsFirstAndTheOthersInTheirOrder) {
  table_.setText(
      "22 27 0:21 / /proc rw,relatime - proc proc rw\n"
      "25 27 0:23 / /dev/shm rw,relatime - tmpfs tmpfs rw,size=24684096k\n"
      "27 1 254:0 / / rw,relatime - ext4 /dev/vda rw\n"
      "41 27 8:17 / /media/me/Card rw,nosuid,nodev,relatime shared:256 - vfat /dev/sdb1 rw,uid=1000\n"
      "40 27 0:44 / /net/a rw - nfs4 server:/a rw,vers=4.2\n");
  EXPECT_EQ(table_->roots(), (Roots{"/", "/dev/shm", "/media/me/Card", "/net/a"}));
}

TEST_F(MountTableTests, OctalEscapes) {
  table_.set({{},
              {.point = "/a\\040b\\011c\\012d\\134e\\043f", .type = "tmpfs"},
              {.point = "/\\134040", .type = "tmpfs"},
              {.point = "/\xE3\x81\x82", .type = "tmpfs"},
              {.point = "/\xFF", .type = "tmpfs"},
              {.point = "/url", .type = "fuse", .source = "http://server/with\\040blank"}});
  EXPECT_EQ(table_->roots(), (Roots{"/", "/a b\tc\nd\\e#f", "/\\040", "/\xE3\x81\x82", "/\xFF", "/url"}));
  EXPECT_EQ(table_->media("/url"), "http");
}

TEST_F(MountTableTests, OptionalFieldsAreSkipped) {
  table_.setText(
      "1 0 8:1 / / rw shared:1 master:2 propagate_from:3 unbindable - ext4 /dev/sda1 rw\n"
      "2 1 8:2 / /a ro - ext4 /dev/sda2 rw\n"
      "3 1 8:3 / /b rw,noexec shared:9 - ext4 /dev/sda3 ro,errors=continue\n"
      "4 1 8:4 / /c rw,norelatime - ext4 /dev/sda4 rw,errors=remount-ro,rox\n");
  EXPECT_EQ(table_->roots(), (Roots{"/", "/a", "/b", "/c"}));
  EXPECT_EQ(table_->flags("/"), 0);
  EXPECT_EQ(table_->flags("/a"), kFSVolFlagSoftwareLockedMask);
  EXPECT_EQ(table_->flags("/b"), kFSVolFlagSoftwareLockedMask);
  EXPECT_EQ(table_->flags("/c"), 0);
}

TEST_F(MountTableTests, AVolumeNeedNotHaveASource) {
  table_.set({{}, {.point = "/none/a", .source = ""}, {.point = "/none/b"}});
  EXPECT_EQ(table_->roots(), (Roots{"/", "/none/a", "/none/b"}));
}

TEST_F(MountTableTests, LinesThatAreNoneAreSkipped) {
  table_.setText(
      "1 0 8:1 / / rw - ext4 /dev/sda1 rw\n"
      "rubbish\n"
      "\n"
      "7 1 8:2 / /cut rw\n"
      "2 1 8:2 / /good rw - ext4 /dev/sda2 rw\n"
      "3 1 8:3 / /last rw - ext4 /dev/sda3 rw");
  EXPECT_EQ(table_->roots(), (Roots{"/", "/good", "/last"}));
}

TEST_F(MountTableTests, WithoutATableThereIsTheStartUpVolume) {
  table_.setText("");
  EXPECT_EQ(table_->roots(), Roots{"/"});
  EXPECT_GT(table_->info("/", kFSVolInfoSizes).totalBytes, 0U);
  EXPECT_EQ(VolumesHere({table_.folder() / "missing", "", ""}).roots(), Roots{"/"});
  EXPECT_EQ(VolumesHere({table_.folder().path(), "", ""}).roots(), Roots{"/"}) << "a folder";
  table_.set({{}, {.point = "/a"}});
  EXPECT_EQ(table_->roots(), (Roots{"/", "/a"}));
  std::filesystem::remove(table_.folder() / "mountinfo");
  EXPECT_EQ(table_->roots(), Roots{"/"});
}

TEST_F(MountTableTests, AStartUpVolumeThatTheTableDoesNotHaveIsAskedForItsFacts) {
  table_.set({{.point = "/proc"}});
  struct stat root;
  struct statvfs system;
  ASSERT_EQ(::stat("/", &root), 0);
  ASSERT_EQ(::statvfs("/", &system), 0);
  EXPECT_EQ(table_->flags("/"), (system.f_flag & ST_RDONLY) != 0 ? kFSVolFlagSoftwareLockedMask : 0);
  const FSRef moved({.device = root.st_dev, .number = 1}, "/proc");
  EXPECT_EQ(table_.volumes().volumeHolding(moved), table_->at("/")) << "by its device";
}

}  // namespace
}  // namespace ZtFoundation::test
