#include "platform/linux/operations/MadeItems.h"

#include <gtest/gtest.h>

#include <string>

namespace ZtFoundation::test {
namespace {

TEST(MadeItemsTests, WhatIsNotedIsContainedAndNothingElse) {
  detail::MadeItems items;
  EXPECT_TRUE(items.isEmpty());
  for (int i = 0; i < 1000; ++i) {
    items.expectOne();
    items.note("folder/", std::to_string(i));
  }
  items.expectOne();
  items.note("", "");
  items.sort();
  EXPECT_FALSE(items.isEmpty());
  EXPECT_TRUE(items.contain("", ""));
  for (int i = 0; i < 1000; ++i) {
    EXPECT_TRUE(items.contain("folder/", std::to_string(i)));
    EXPECT_TRUE(items.contain("", std::string("folder/").append(std::to_string(i)))) << "however the path is parted";
    EXPECT_FALSE(items.contain("", std::to_string(i)));
    EXPECT_FALSE(items.contain("folder/", std::to_string(1000 + i)));
  }
}

}  // namespace
}  // namespace ZtFoundation::test
