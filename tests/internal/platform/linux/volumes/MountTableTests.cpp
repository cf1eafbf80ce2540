#include "platform/linux/volumes/MountTable.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/PrivateMounts.h"

namespace ZtFoundation::test {
namespace {

using detail::mountHolding;
using detail::parseMountTable;

constexpr std::string_view kTable =
    "22 1 254:0 / / rw,relatime shared:1 - ext4 /dev/vda rw\n"
    "30 22 0:25 / /media/My\\040Disk\\134 rw - vfat /dev/sd\\040b rw\n"
    "31 22 0:26 /sub /media/a ro master:2 propagate_from:1 - nfs server:/export ro\n"
    "32 31 0:27 / /media/a rw - tmpfs tmpfs rw\n"
    "33 22 0:28 / /broken rw\n"
    "34 22 0:29 / /broken rw - tmpfs\n"
    "\n"
    "35 22 0:30 / /x\\04y\\04/0123\\0 rw - - none rw\n";

TEST(MountTableTests, EachLineIsAMountAndBrokenOnesAreNone) {
  const auto mounts = parseMountTable(kTable);
  ASSERT_EQ(mounts.size(), 4U);
  EXPECT_EQ(mounts[0].mountPoint, "/");
  EXPECT_EQ(mounts[0].type, "ext4");
  EXPECT_EQ(mounts[0].source, "/dev/vda");
  EXPECT_EQ(mounts[1].mountPoint, "/media/My Disk\\");
  EXPECT_EQ(mounts[1].source, "/dev/sd b");
  EXPECT_EQ(mounts[2].number, 32);
  EXPECT_EQ(mounts[3].mountPoint, "/x\\04y\\04/0123\\0");
  EXPECT_EQ(mounts[3].type, "-");
  EXPECT_EQ(
      parseMountTable("31 22 0:26 /sub /media/a ro master:2 propagate_from:1 - nfs server:/export ro\n")[0].source,
      "server:/export");
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

// The numbers of the mounts that show.
std::vector<int> shown(std::string_view table) {
  std::vector<int> numbers;
  for (const auto& mount : parseMountTable(table)) numbers.push_back(mount.number);
  return numbers;
}

TEST(MountTableTests, OnlyMountsThatShowAreTold) {
  const struct {
    const char* what;
    std::string_view table;
    std::vector<int> numbers;
  } cases[] = {
      {"a later mount above hides what is below it",
       "1 0 0:1 / / - a a\n2 1 0:2 / /m/n - b b\n3 1 0:3 / /m - c c\n4 2 0:4 / /m/n/o - d d\n",
       {1, 3}},
      {"what is mounted into the later one shows",
       "1 0 0:1 / / - a a\n2 1 0:2 / /m/n - b b\n3 1 0:3 / /m - c c\n4 3 0:4 / /m/n - d d\n",
       {1, 3, 4}},
      {"only the topmost at one place", "1 0 0:1 / / - a a\n2 1 0:2 / /m - b b\n3 2 0:3 / /m - c c\n", {1, 3}},
      {"and what was mounted into a lower one is hidden",
       "1 0 0:1 / / - a a\n2 1 0:2 / /m - b b\n3 2 0:3 / /m/n - c c\n4 2 0:4 / /m - d d\n",
       {1, 4}},
      {"the order does not matter",
       "4 3 0:4 / /m/n - d d\n3 1 0:3 / /m - c c\n2 1 0:2 / /m/n - b b\n1 0 0:1 / / - a a\n",
       {4, 3, 1}},
      {"nothing is mounted over the root", "1 1 0:1 / / - a a\n2 1 0:2 / / - b b\n3 2 0:3 / /m - c c\n", {1}},
      {"a root that is no mount", "2 1 0:2 / /m - b b\n3 1 0:3 / /n - c c\n4 2 0:4 / /m/n - d d\n", {2, 3, 4}},
      {"names that begin alike", "1 0 0:1 / / - a a\n2 1 0:2 / /mn - b b\n3 1 0:3 / /m - c c\n", {1, 2, 3}},
      {"a table that is none", "1 2 0:1 / /m - a a\n2 1 0:2 / /m - b b\nx y 0:2 / /m - b b\n", {-1}},
  };
  for (const auto& [what, table, numbers] : cases) {
    std::string lines(table);
    for (std::size_t at = 0; (at = lines.find(" - ", at)) != std::string::npos; at += 6) lines.insert(at, " rw");
    EXPECT_EQ(shown(lines), numbers) << what;
  }
}

TEST(MountTableTests, TheSystemFindsTheSameMounts) {
  PrivateMounts mounts;
  if (!mounts.isPossible()) GTEST_SKIP() << mounts.whyNot();
  const std::string outer = mounts.folder("outer"), inner = mounts.folder("outer/inner");
  mounts.memory("outer/inner");
  EXPECT_EQ(mountHolding(detail::mountTable(), inner + "/item")->mountPoint, inner);
  mounts.mountAt(outer, "hiding", "tmpfs", 0, "");
  const auto table = detail::mountTable();
  EXPECT_EQ(mountHolding(table, inner + "/item")->source, "hiding");
  EXPECT_EQ(std::ranges::count(table, inner, &detail::MountedFileSystem::mountPoint), 0);
}

TEST(MountTableTests, ThisProcessHasARoot) {
  const auto mounts = detail::mountTable();
  ASSERT_FALSE(mounts.empty());
  EXPECT_NE(mountHolding(mounts, "/"), nullptr);
}

}  // namespace
}  // namespace ZtFoundation::test
