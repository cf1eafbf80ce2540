#include <ZtFoundation/platform/Exception.h>

#include <gtest/gtest.h>

#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {
namespace {

TEST(Exception, CarriesNameAndReason) {
  const NSException exception("IllegalHexDigit", "no digit: \xC3\xA9");
  EXPECT_EQ(exception.name()->utf8(), "IllegalHexDigit");
  EXPECT_EQ(exception.reason()->utf8(), "no digit: \xC3\xA9");
  EXPECT_STREQ(exception.what(), "IllegalHexDigit: no digit: \xC3\xA9");
}

TEST(Exception, MayLackNameAndReason) { EXPECT_STREQ(NSException(nullptr, nullptr).what(), ": "); }

TEST(Exception, IsCaughtAsAStandardException) {
  try {
    throw NSException("Name", "reason");
  } catch (const std::exception& caught) {
    EXPECT_STREQ(caught.what(), "Name: reason");
  }
}

TEST(Exception, CopiesShareTheirTexts) {
  const NSException first("Name", "reason");
  const NSException second = first;
  EXPECT_EQ(second.name(), first.name());
  EXPECT_EQ(second.reason(), first.reason());
}

TEST(Exception, UsingNoneAsAnObjectRaises) {
  const Ref<NSString> none;
  try {
    static_cast<void>(none->length());
    FAIL() << "nothing was raised";
  } catch (const NSException& caught) {
    EXPECT_EQ(caught.name(), NSInvalidArgumentException());
  }
}

TEST(Exception, IndexesOutsideRaise) {
  try {
    static_cast<void>(Ref<NSString>("abc")->characterAtIndex(3));
    FAIL() << "nothing was raised";
  } catch (const NSException& caught) {
    EXPECT_EQ(caught.name(), NSRangeException());
    EXPECT_EQ(caught.name()->utf8(), "NSRangeException");
  }
}

}  // namespace
}  // namespace ZtFoundation
