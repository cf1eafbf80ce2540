#include "platform/linux/operations/ItemKeys.h"

#include <gtest/gtest.h>

#include <string>

namespace ZtFoundation::test {
namespace {

using detail::ItemKey;

TEST(ItemKeysTests, WhatIsNotedIsContainedAndNothingElse) {
  detail::ItemKeys items;
  EXPECT_TRUE(items.isEmpty());
  const ItemKey folder = ItemKey().with("folder/");
  for (int i = 0; i < 1000; ++i) {
    items.expectOne();
    items.note(folder.with(std::to_string(i)));
  }
  items.note(ItemKey());
  items.sort();
  EXPECT_FALSE(items.isEmpty());
  EXPECT_TRUE(items.contain(ItemKey()));
  for (int i = 0; i < 1000; ++i) {
    EXPECT_TRUE(items.contain(folder.with(std::to_string(i))));
    EXPECT_TRUE(items.contain(ItemKey().with(std::string("folder/").append(std::to_string(i)))))
        << "however the path is parted";
    EXPECT_FALSE(items.contain(ItemKey().with(std::to_string(i))));
    EXPECT_FALSE(items.contain(folder.with(std::to_string(1000 + i))));
    EXPECT_FALSE(items.contain(folder.with(std::to_string(i)).with("/")));
  }
}

}  // namespace
}  // namespace ZtFoundation::test
