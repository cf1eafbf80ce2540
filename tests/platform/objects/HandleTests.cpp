#include <ZtFoundation/platform/FileReference.h>
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>

#include "support/Sanitizers.h"

namespace ZtFoundation::test {
namespace {

TEST(HandleTests, ABlockHoldsACopy) {
  std::string source = "some bytes";
  Handle handle = nullptr;
  ASSERT_EQ(PtrToHand(source.data(), &handle, source.size()), noErr);
  source[0] = 'x';
  EXPECT_EQ(std::string(*handle, GetHandleSize(handle)), "some bytes");
  DisposeHandle(handle);
}

TEST(HandleTests, AnAliasHandleIsABlockToo) {
  const std::string source("abcd\x10\0rest", 10);
  AliasHandle handle = nullptr;
  ASSERT_EQ(PtrToHand(source.data(), &handle, source.size()), noErr);
  EXPECT_EQ((*handle)->aliasSize, 16);
  EXPECT_EQ(std::memcmp(*handle, source.data(), GetHandleSize(handle)), 0);
  DisposeHandle(handle);
}

TEST(HandleTests, AnEmptyBlockHasAnAddress) {
  Handle handle = nullptr;
  ASSERT_EQ(PtrToHand("", &handle, 0), noErr);
  EXPECT_NE(*handle, nullptr);
  EXPECT_EQ(GetHandleSize(handle), 0U);
  DisposeHandle(handle);
}

TEST(HandleTests, ABlockChangesItsSizeAndKeepsItsHandle) {
  Handle handle = nullptr;
  ASSERT_EQ(PtrToHand("abc", &handle, 3), noErr);
  ASSERT_EQ(SetHandleSize(handle, 100000), noErr);
  EXPECT_EQ(GetHandleSize(handle), 100000U);
  EXPECT_EQ(std::string(*handle, 3), "abc");
  std::memset(*handle, 'x', 100000);
  ASSERT_EQ(SetHandleSize(handle, 2), noErr);
  EXPECT_EQ(std::string(*handle, GetHandleSize(handle)), "xx");
  ASSERT_EQ(SetHandleSize(handle, 0), noErr);
  EXPECT_EQ(GetHandleSize(handle), 0U);
  DisposeHandle(handle);
}

TEST(HandleTests, FailuresLeaveEverythingAsItWas) {
  char byte = 0;
  Handle handle = nullptr;
  EXPECT_EQ(PtrToHand(nullptr, &handle, 1), paramErr);
  EXPECT_EQ(handle, nullptr);
  EXPECT_EQ(PtrToHand(&byte, static_cast<Handle*>(nullptr), 1), paramErr);
  EXPECT_EQ(GetHandleSize(nullptr), 0U);
  EXPECT_EQ(SetHandleSize(nullptr, 1), paramErr);
  DisposeHandle(nullptr);
}

TEST(HandleTests, MoreThanMemoryHasIsRefused) {
  if (kIsSanitized) GTEST_SKIP() << "such a request ends the process in this build";
  constexpr NSUInteger kTooMuch = std::numeric_limits<NSUInteger>::max() / 2 + 1;
  Handle handle = nullptr;
  EXPECT_EQ(PtrToHand("abc", &handle, kTooMuch), memFullErr);
  EXPECT_EQ(handle, nullptr);
  ASSERT_EQ(PtrToHand("abc", &handle, 3), noErr);
  EXPECT_EQ(SetHandleSize(handle, kTooMuch), memFullErr);
  EXPECT_EQ(std::string(*handle, GetHandleSize(handle)), "abc");
  DisposeHandle(handle);
}

}  // namespace
}  // namespace ZtFoundation::test
