#include "platform/linux/files/FileStamp.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <limits>
#include <string>

#include "support/ScratchFolder.h"

namespace ZtFoundation::detail {
namespace {

// Of files that nobody changes at the moment there are some everywhere.
constexpr char kOldFile[] = "/proc/self/exe", kOldFolder[] = "/usr";

TEST(FileStampTests, HoldsForWhatIsOldAndUnchanged) {
  const test::ScratchFolder scratch;
  const FileStamp folder(kOldFolder);
  EXPECT_TRUE(folder.stillHolds(FileStamp(kOldFolder)));
  ASSERT_EQ(::symlink(kOldFolder, (scratch / "link").c_str()), 0);
  EXPECT_TRUE(folder.stillHolds(FileStamp(scratch / "link")));
  EXPECT_EQ(folder.identity(), FileStamp(scratch / "link").identity());
}

TEST(FileStampTests, AnotherItemHasAnother) {
  const FileStamp folder(kOldFolder);
  EXPECT_FALSE(folder.stillHolds(FileStamp(kOldFile)));
  EXPECT_FALSE(folder.stillHolds(FileStamp("/no/such/item")));
  EXPECT_FALSE(FileStamp("/no/such/item").stillHolds(folder));
  EXPECT_NE(folder.identity(), FileStamp(kOldFile).identity());
}

TEST(FileStampTests, EachChangeShows) {
  struct stat status {};
  status.st_dev = 1;
  status.st_ino = 2;
  status.st_size = 3;
  status.st_ctim = {4, 5};
  const FileStamp before(status);
  EXPECT_TRUE(before.stillHolds(FileStamp(status)));
  struct stat changed[] = {status, status, status, status, status};
  changed[0].st_dev = 0;
  changed[1].st_ino = 0;
  changed[2].st_size = 0;
  changed[3].st_ctim.tv_sec = 0;
  changed[4].st_ctim.tv_nsec = 0;
  for (const struct stat& now : changed) EXPECT_FALSE(before.stillHolds(FileStamp(now))) << &now - changed;
}

// File systems tell whatever they like.
TEST(FileStampTests, TimesMayBeAsFarAsNumbersGo) {
  for (const time_t second : {std::numeric_limits<time_t>::max(), std::numeric_limits<time_t>::min()}) {
    struct stat status {};
    status.st_ctim = {second, 999999999};
    EXPECT_EQ(FileStamp(status).stillHolds(FileStamp(status)), second < 0);
  }
}

TEST(FileStampTests, WhatIsMissingStaysMissing) {
  EXPECT_TRUE(FileStamp("/no/such/item").stillHolds(FileStamp("/no/such/item")));
  EXPECT_TRUE(FileStamp().stillHolds(FileStamp("")));
}

// Another change in the same tick of the file system's clock would not show.
TEST(FileStampTests, NeverHoldsForWhatIsNew) {
  const test::ScratchFolder scratch;
  test::writeFile(scratch / "file", "a");
  EXPECT_FALSE(FileStamp(scratch / "file").stillHolds(FileStamp(scratch / "file")));
  EXPECT_FALSE(FileStamp(scratch.path()).stillHolds(FileStamp(scratch.path())));
}

}  // namespace
}  // namespace ZtFoundation::detail
