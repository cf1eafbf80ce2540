#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ZtFoundation/Applications.h>

#include "support/RecordingLog.h"
#include "support/StandInLaunchServices.h"

namespace ZtFoundation {
namespace {

using test::StandInLaunchServices;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Question = StandInLaunchServices::Question;

// The pair of functions of one test, what they ask for, and the flags that decide.
struct ItemTest {
  const char* name;
  bool (*ofURL)(const Ref<NSURL>&);
  bool (*ofPath)(const Ref<NSString>&);
  LSRequestedInfo wanted;
  LSItemInfoFlags mask, expected;
};

constexpr ItemTest kTests[] = {
    {"native", &ZtLSIsNativeApplicationAtURL, &ZtLSIsNativeApplicationAtPath, 8, 0x80, 0x80},
    {"application", &ZtLSIsApplicationAtURL, &ZtLSIsApplicationAtPath, 4, 0x4, 0x4},
    {"plain file", &ZtLSIsPlainFileAtURL, &ZtLSIsPlainFileAtPath, 4, 0x1, 0x1},
    {"directory", &ZtLSIsDirectoryAtURL, &ZtLSIsDirectoryAtPath, 4, 0x1000 | 0x8 | 0x2, 0x8},
    {"volume", &ZtLSIsVolumeAtURL, &ZtLSIsVolumeAtPath, 4, 0x1000, 0x1000},
};

class ItemTestsTests : public ::testing::Test {
 protected:
  void TearDown() override { EXPECT_THAT(log_.lines(), IsEmpty()); }

  test::RecordingLog log_;
  StandInLaunchServices services_;
};

TEST_F(ItemTestsTests, EveryCombinationOfFlags) {
  const LSItemInfoFlags bits[] = {0x1, 0x2, 0x4, 0x8, 0x10, 0x40, 0x80, 0x1000};
  for (const ItemTest& test : kTests) {
    for (unsigned set = 0; set < 256; ++set) {
      services_.flags = 0xFFE00000;
      for (unsigned bit = 0; bit < 8; ++bit) services_.flags |= (set >> bit & 1U) != 0 ? bits[bit] : 0;
      const bool expected = (services_.flags & test.mask) == test.expected;
      EXPECT_EQ(test.ofURL(NSURL::fileURLWithPath("/x")), expected) << test.name << " " << services_.flags;
      EXPECT_EQ(test.ofPath("/x"), expected) << test.name << " " << services_.flags;
    }
  }
}

TEST_F(ItemTestsTests, EachAsksOnceForWhatItNeeds) {
  for (const ItemTest& test : kTests) {
    services_.questions.clear();
    test.ofURL(NSURL::URLWithString("file:///a%20b"));
    test.ofPath("/a b");
    const Question question{"file:///a%20b", test.wanted};
    EXPECT_THAT(services_.questions, ElementsAre(question, question)) << test.name;
  }
}

TEST_F(ItemTestsTests, AnyErrorIsFalse) {
  for (const OSStatus status : {OSStatus{fnfErr}, OSStatus{1}, kLSApplicationNotFoundErr}) {
    services_.status = status;
    for (const ItemTest& test : kTests) {
      services_.flags = test.expected;
      EXPECT_FALSE(test.ofURL(NSURL::fileURLWithPath("/x"))) << test.name;
      EXPECT_FALSE(test.ofPath("/x")) << test.name;
    }
  }
}

TEST_F(ItemTestsTests, NothingAsksNobody) {
  services_.flags = 0xFFFFFFFF;
  for (const ItemTest& test : kTests) {
    EXPECT_FALSE(test.ofURL(nullptr)) << test.name;
    EXPECT_FALSE(test.ofPath(nullptr)) << test.name;
    EXPECT_FALSE(test.ofPath("")) << test.name;  // of which no URL can be made
  }
  EXPECT_THAT(services_.questions, IsEmpty());
}

}  // namespace
}  // namespace ZtFoundation
