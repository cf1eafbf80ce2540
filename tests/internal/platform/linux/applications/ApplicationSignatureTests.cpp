#include "platform/linux/applications/ApplicationSignature.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include <ZtFoundation/Text.h>

namespace ZtFoundation::detail {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Whoever looks for an application asks with the code of a string; what applications declare must get the same.
TEST(ApplicationSignatureTests, CodesAreThoseOfStrings) {
  for (const char* const text : {"View", "Viewer", "ab", "a", "WP  ", "\u0001bc", "\uFF71\uFF72\uFF73\uFF74",
                                 "\u65E5\u672C", "a\uFF71", "ab\uFF71", "abc\uFF71", "\u20AC\u00FC"}) {
    EXPECT_EQ(signatureCode(text), JxOSExtensions::osType(text)) << text;
  }
}

TEST(ApplicationSignatureTests, WhatIsNone) {
  EXPECT_EQ(signatureCode(nullptr), 0U);
  EXPECT_EQ(signatureCode(""), 0U);
  EXPECT_EQ(signatureCode("????"), 0U);
  EXPECT_EQ(signatureCode(NSString::stringWithCharacters_length(u"\0abc", 4)), 0U);
}

TEST(ApplicationSignatureTests, LinesOfEntries) {
  EXPECT_THAT(signaturesInEntry("X-ZtFoundation-Signature=View\n"), ElementsAre(0x56696577U));
  EXPECT_THAT(signaturesInEntry("[A]\nX-ZtFoundation-Signature \t= \tView\r\nB=C"), ElementsAre(0x56696577U));
  EXPECT_THAT(signaturesInEntry("X-ZtFoundation-Signature=ab\r\nB=C"), ElementsAre(0x61620000U));
  EXPECT_THAT(signaturesInEntry("X-ZtFoundation-Signature=View"), ElementsAre(0x56696577U));
  EXPECT_THAT(signaturesInEntry("X-ZtFoundation-Signature=  ab \n"), ElementsAre(0x61622000U));
  EXPECT_THAT(signaturesInEntry("X-ZtFoundation-Signature=  "), ElementsAre(0U));
  EXPECT_THAT(signaturesInEntry("X-ZtFoundation-Signature=a\\sb"), ElementsAre(kAnySignature));
  EXPECT_THAT(signaturesInEntry("X-ZtFoundation-Signature=View\nX-ZtFoundation-Signature=Edit\n"),
              ElementsAre(0x56696577U, 0x45646974U));
}

TEST(ApplicationSignatureTests, OtherTextHasNone) {
  EXPECT_THAT(signaturesInEntry(""), IsEmpty());
  EXPECT_THAT(signaturesInEntry("X-ZtFoundation-Signature\n=View\n"), IsEmpty());
  EXPECT_THAT(signaturesInEntry("X-ZtFoundation-Signature"), IsEmpty());
  EXPECT_THAT(signaturesInEntry("Exec=View\nSignature=View"), IsEmpty());
}

// Read once for each key, it would take a minute.
TEST(ApplicationSignatureTests, ALineIsReadOnce) {
  std::string line;
  while (line.size() < 1 << 20) line.append("X-ZtFoundation-Signature=");
  EXPECT_THAT(signaturesInEntry(line + "\nX-ZtFoundation-Signature=View"), ElementsAre(0x582D5A74U, 0x56696577U));
}

}  // namespace
}  // namespace ZtFoundation::detail
