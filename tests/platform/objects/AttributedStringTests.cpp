#include <ZtFoundation/platform/AttributedString.h>

#include <gtest/gtest.h>

#include <ZtFoundation/platform/Exception.h>

namespace ZtFoundation {
namespace {

Ref<NSDictionary> attributes(const char* name) { return NSDictionary::dictionaryWithObject_forKey(name, "font"); }

TEST(AttributedString, PlainTextHasEmptyAttributes) {
  const Ref<NSAttributedString> string = make<NSAttributedString>("abc");
  NSRange range;
  EXPECT_EQ(string->string()->utf8(), "abc");
  EXPECT_EQ(string->length(), 3U);
  EXPECT_EQ(string->attributesAtIndex_effectiveRange(2, &range)->count(), 0U);
  EXPECT_EQ(range, (NSRange{0, 3}));
}

TEST(AttributedString, AttributesReachOverTheWholeText) {
  const Ref<NSDictionary> bold = attributes("bold");
  const Ref<NSAttributedString> string = make<NSAttributedString>("abc", bold);
  NSRange range;
  EXPECT_EQ(string->attributesAtIndex_effectiveRange(1, &range), bold);
  EXPECT_EQ(range, (NSRange{0, 3}));
  EXPECT_EQ(string->attributesAtIndex_effectiveRange(1, nullptr), bold);
}

TEST(AttributedString, RunsFollowEachOther) {
  const Ref<NSAttributedString> string = NSAttributedString::attributedStringWithRuns({{"ab", attributes("bold")},
                                                                                       {"", attributes("gone")},
                                                                                       {"c", nullptr},
                                                                                       {nullptr, nullptr},
                                                                                       {"de", attributes("bold")}});
  NSRange range;
  EXPECT_EQ(string->string()->utf8(), "abcde");
  EXPECT_TRUE(isEqual(string->attributesAtIndex_effectiveRange(0, &range), attributes("bold")));
  EXPECT_EQ(range, (NSRange{0, 2}));
  EXPECT_EQ(string->attributesAtIndex_effectiveRange(2, &range)->count(), 0U);
  EXPECT_EQ(range, (NSRange{2, 1}));
  EXPECT_TRUE(isEqual(string->attributesAtIndex_effectiveRange(4, &range), attributes("bold")));
  EXPECT_EQ(range, (NSRange{3, 2}));
}

TEST(AttributedString, NeighboursWithEqualAttributesAreOne) {
  const Ref<NSAttributedString> string =
      NSAttributedString::attributedStringWithRuns({{"ab", attributes("bold")}, {"c", attributes("bold")}});
  NSRange range;
  string->attributesAtIndex_effectiveRange(0, &range);
  EXPECT_EQ(range, (NSRange{0, 3}));
  EXPECT_TRUE(isEqual(string, make<NSAttributedString>("abc", attributes("bold"))));
}

TEST(AttributedString, IndexesPastTheEndRaise) {
  EXPECT_THROW(make<NSAttributedString>("abc")->attributesAtIndex_effectiveRange(3, nullptr), NSException);
  EXPECT_THROW(make<NSAttributedString>()->attributesAtIndex_effectiveRange(0, nullptr), NSException);
}

TEST(AttributedString, WhatChangesLaterIsCopied) {
  Ref<NSMutableString> text = NSMutableString::stringWithString("a");
  Ref<NSMutableDictionary> font = attributes("bold")->mutableCopy();
  const Ref<NSAttributedString> string = make<NSAttributedString>(text, font);
  text->appendString("b");
  font->removeAllObjects();
  EXPECT_EQ(string->string()->utf8(), "a");
  EXPECT_EQ(string->attributesAtIndex_effectiveRange(0, nullptr)->count(), 1U);
}

TEST(AttributedString, EqualsByTextAndAttributes) {
  const Ref<NSAttributedString> string = make<NSAttributedString>("abc", attributes("bold"));
  EXPECT_TRUE(isEqual(string, make<NSAttributedString>(string)));
  EXPECT_EQ(string->hash(), make<NSAttributedString>(string)->hash());
  EXPECT_FALSE(isEqual(string, make<NSAttributedString>("abc")));
  EXPECT_FALSE(isEqual(string, make<NSAttributedString>("abd", attributes("bold"))));
  const auto runs = [](const char* first, const char* second) {
    return NSAttributedString::attributedStringWithRuns({{first, attributes("bold")}, {second, nullptr}});
  };
  EXPECT_TRUE(isEqual(runs("a", "bc"), runs("a", "bc")));
  EXPECT_FALSE(isEqual(runs("a", "bc"), runs("ab", "c")));
  EXPECT_TRUE(isEqual(runs("", "abc"), make<NSAttributedString>("abc")));
  EXPECT_FALSE(string->isEqual(Ref<NSObject>("abc")));
  EXPECT_FALSE(string->isEqual(nullptr));
}

TEST(AttributedString, OfNoneIsEmpty) {
  EXPECT_EQ(make<NSAttributedString>(Ref<NSString>())->length(), 0U);
  EXPECT_EQ(make<NSAttributedString>(Ref<NSAttributedString>())->length(), 0U);
}

TEST(AttributedString, DescribesItsStretches) {
  EXPECT_EQ(
      NSAttributedString::attributedStringWithRuns({{"ab", attributes("bold")}, {"c", nullptr}})->description()->utf8(),
      "ab{\n    font = bold;\n}c{\n}");
}

}  // namespace
}  // namespace ZtFoundation
