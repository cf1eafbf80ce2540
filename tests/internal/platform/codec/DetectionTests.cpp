#include "platform/codec/Detection.h"

#include <gtest/gtest.h>

#include <string>

#include "support/ChildProcess.h"
#include "support/LittleMemory.h"
#include "support/Sanitizers.h"

namespace ZtFoundation::codec {
namespace {

using namespace std::literals;

TEST(DetectFormat, UnitsThatAreNoCharactersAreNoDigits) {
  EXPECT_EQ(detectFormat("\0<\0a\xD8\0\0>"sv), Format::XML);
  EXPECT_EQ(detectFormat("\0<\0a\xDC\0"sv), Format::XML);
  EXPECT_EQ(detectFormat("\0<\0a\0"sv), Format::XML) << "half a unit at the end";
  EXPECT_EQ(detectFormat("\0<\0a\0>\0"sv), Format::OpenStep);
  EXPECT_EQ(detectFormat("\0<\x01>"sv), Format::XML) << "a character whose low half is no bracket";
  EXPECT_EQ(detectFormat("\0\0\0<\0\0\0a\0\x11\0\0"sv), Format::XML);
  EXPECT_EQ(detectFormat("\xFF\xFE<"sv), Format::OpenStep);
}

TEST(DetectFormat, TakesNoMemory) {
  if (test::kIsSanitized) GTEST_SKIP() << "this build needs more address space than the test leaves";
  std::string blanks;
  blanks.reserve(2 << 20);
  for (int at = 0; at < 1 << 20; ++at) blanks += "\0 "sv;
  const std::string xml = "\xFE\xFF" + blanks + "\0<\0p"s;
  const std::string data = "\0<\0a"s + blanks + "\0>"s;
  EXPECT_EQ(test::inChild([&]() -> int {
              if (!test::leaveLittleMemory()) return 2;
              EXPECT_EQ(detectFormat(xml), Format::XML);
              EXPECT_EQ(detectFormat(data), Format::OpenStep);
              return ::testing::Test::HasFailure();
            }),
            0);
}

}  // namespace
}  // namespace ZtFoundation::codec
