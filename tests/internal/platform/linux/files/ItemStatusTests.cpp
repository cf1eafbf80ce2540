#include "platform/linux/files/ItemStatus.h"

#include <gtest/gtest.h>
#include <sys/sysmacros.h>

namespace ZtFoundation::test {
namespace {

TEST(ItemStatusTests, AnIdentityIsWhatTheStatusTells) {
  struct statx status {};
  status.stx_mask = STATX_BASIC_STATS | STATX_BTIME;
  status.stx_mode = S_IFDIR;
  status.stx_dev_major = 8;
  status.stx_dev_minor = 3;
  status.stx_ino = 0x1'0000'0002;
  status.stx_btime.tv_sec = -5;
  status.stx_btime.tv_nsec = 7;
  const FSRef::Identity folder = detail::identityOf(status);
  EXPECT_EQ(folder.device, makedev(8, 3));
  EXPECT_EQ(folder.number, 0x1'0000'0002U);
  EXPECT_TRUE(folder.hasBirth);
  EXPECT_EQ(folder.bornSeconds, -5);
  EXPECT_EQ(folder.bornNanoseconds, 7U);
  EXPECT_TRUE(folder.isFolder);
  status.stx_mode = S_IFREG;
  EXPECT_FALSE(detail::identityOf(status).isFolder);
}

TEST(ItemStatusTests, ADateOfBirthThatIsNotKeptDoesNotCount) {
  struct statx status {};
  status.stx_mask = STATX_BASIC_STATS;
  const FSRef::Identity before = detail::identityOf(status);
  status.stx_btime.tv_sec = 5;
  status.stx_btime.tv_nsec = 7;
  EXPECT_FALSE(before.hasBirth);
  EXPECT_TRUE(detail::identityOf(status) == before);
}

}  // namespace
}  // namespace ZtFoundation::test
