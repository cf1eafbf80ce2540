#include "platform/linux/volumes/MountTable.h"

#include <gtest/gtest.h>

namespace ZtFoundation::test {
namespace {

using detail::mountHolding;
using detail::parseMountTable;

constexpr std::string_view kTable =
    "22 1 254:0 / / rw,relatime shared:1 - ext4 /dev/vda rw\n"
    "30 22 0:25 / /media/My\\040Disk\\134 rw - vfat /dev/sd\\040b rw\n"
    "31 22 0:26 /sub /media/a ro master:2 propagate_from:1 - nfs server:/export ro\n"
    "32 22 0:27 / /media/a rw - tmpfs tmpfs rw\n"
    "33 22 0:28 / /broken rw\n"
    "34 22 0:29 / /broken rw - tmpfs\n"
    "\n"
    "35 22 0:30 / /x\\04y\\04/0123\\0 rw - - none rw\n";

TEST(MountTableTests, EachLineIsAMountAndBrokenOnesAreNone) {
  const auto mounts = parseMountTable(kTable);
  ASSERT_EQ(mounts.size(), 5U);
  EXPECT_EQ(mounts[0].mountPoint, "/");
  EXPECT_EQ(mounts[0].type, "ext4");
  EXPECT_EQ(mounts[0].source, "/dev/vda");
  EXPECT_EQ(mounts[1].mountPoint, "/media/My Disk\\");
  EXPECT_EQ(mounts[1].source, "/dev/sd b");
  EXPECT_EQ(mounts[2].type, "nfs");
  EXPECT_EQ(mounts[2].source, "server:/export");
  EXPECT_EQ(mounts[4].mountPoint, "/x\\04y\\04/0123\\0");
  EXPECT_EQ(mounts[4].type, "-");
  EXPECT_TRUE(parseMountTable("").empty());
}

TEST(MountTableTests, APathLiesOnTheInnermostMountAndTheLastOfThose) {
  const auto mounts = parseMountTable(kTable);
  EXPECT_EQ(mountHolding(mounts, "/home")->type, "ext4");
  EXPECT_EQ(mountHolding(mounts, "/media")->type, "ext4");
  EXPECT_EQ(mountHolding(mounts, "/media/ab")->type, "ext4");
  EXPECT_EQ(mountHolding(mounts, "/media/a")->type, "tmpfs");
  EXPECT_EQ(mountHolding(mounts, "/media/a/b")->type, "tmpfs");
  EXPECT_EQ(mountHolding({}, "/"), nullptr);
  EXPECT_EQ(mountHolding({{"/a/b", "xfs", ""}, {"/a", "ext4", ""}}, "/a/b/c")->type, "xfs");
}

TEST(MountTableTests, ThisProcessHasARoot) {
  const auto mounts = detail::mountTable();
  ASSERT_FALSE(mounts.empty());
  EXPECT_NE(mountHolding(mounts, "/"), nullptr);
}

}  // namespace
}  // namespace ZtFoundation::test
