#include "platform/linux/operations/CopiedItems.h"

#include <gtest/gtest.h>

namespace ZtFoundation::test {
namespace {

using detail::CopiedItems;
using detail::ItemKey;

struct stat fileOf(nlink_t names) {
  struct stat status {};
  status.st_nlink = names;
  status.st_size = 4;
  status.st_mtim = {10, 1};
  status.st_ctim = {20, 2};
  return status;
}

TEST(CopiedItemsTests, EachChangeOfAFileShows) {
  const ItemKey key = ItemKey().with("file");
  const struct stat file = fileOf(1);
  CopiedItems items;
  items.note(key, file);
  items.sort();
  EXPECT_TRUE(items.contain(key, file));
  EXPECT_FALSE(items.contain(ItemKey().with("other"), file));
  struct stat other = file;
  other.st_size = 5;
  EXPECT_FALSE(items.contain(key, other));
  for (timespec stat::*time : {&stat::st_mtim, &stat::st_ctim}) {
    other = file;
    ++(other.*time).tv_sec;
    EXPECT_FALSE(items.contain(key, other));
    other = file;
    ++(other.*time).tv_nsec;
    EXPECT_FALSE(items.contain(key, other));
  }
}

TEST(CopiedItemsTests, ThatOtherNamesGoIsNoChange) {
  const ItemKey key = ItemKey().with("file");
  CopiedItems items;
  items.note(key, fileOf(2));
  items.sort();
  struct stat file = fileOf(1);
  file.st_ctim = {30, 3};
  EXPECT_TRUE(items.contain(key, file));
  file.st_size = 5;
  EXPECT_FALSE(items.contain(key, file));
  file = fileOf(1);
  file.st_mtim = {30, 3};
  EXPECT_FALSE(items.contain(key, file));
}

TEST(CopiedItemsTests, FoldersCountByTheirPaths) {
  CopiedItems items;
  items.noteFolder(ItemKey().with("folder/"));
  items.sort();
  EXPECT_TRUE(items.containFolder(ItemKey().with("folder/")));
  EXPECT_FALSE(items.containFolder(ItemKey().with("other/")));
}

}  // namespace
}  // namespace ZtFoundation::test
