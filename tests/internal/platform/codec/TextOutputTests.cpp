#include "platform/codec/TextOutput.h"

#include <gtest/gtest.h>

#include <string>

namespace ZtFoundation::codec {
namespace {

TEST(TextOutput, WhatWasAppendedBecomesData) {
  TextOutput output;
  std::string expected;
  for (int round = 0; round < 20'000; ++round) {
    const std::string part(static_cast<std::size_t>(round % 50), static_cast<char>('a' + round % 26));
    output.append(part);
    expected += part;
  }
  EXPECT_EQ(output.view(), expected);
  EXPECT_EQ(output.takeData()->view(), expected);
  EXPECT_TRUE(output.view().empty());
}

TEST(TextOutput, RoomNeedNotBeUsedUp) {
  TextOutput output;
  char* const at = output.room(1000);
  *at = 'x';
  output.advance(at + 1);
  output.append("");
  EXPECT_EQ(output.takeData()->view(), "x");
  EXPECT_EQ(output.takeData()->length(), 0U);
}

TEST(TextOutput, RoomThatNothingCanHoldIsRefused) {
  TextOutput output;
  output.append("x");
  EXPECT_THROW(output.room(~std::size_t{0}), std::bad_alloc);
  EXPECT_EQ(output.view(), "x");
}

}  // namespace
}  // namespace ZtFoundation::codec
