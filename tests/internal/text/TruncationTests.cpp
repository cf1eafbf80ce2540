#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <utility>

#include <ZtFoundation/Text.h>

#include "platform/services/Service.h"
#include "platform/services/TextMeasurer.h"

namespace ZtFoundation {
namespace {

using namespace JxTruncateExtensions;

constexpr std::int16_t kCodes[] = {kTruncateAtEnd, kTruncateAtStart, kTruncateInMiddle, 7};

double pointsOf(ControlSize size) { return size == ControlSize::Small ? 11 : size == ControlSize::Mini ? 9 : 13; }

// Ten points a unit at any size.
class FixedWidth : public TextMeasurer {
 public:
  int measurements = 0;
  bool addsUp = false;
  bool hasFont = true;
  std::optional<ControlSize> lastSize;
  std::set<double> measuredSizes;

  std::optional<double> systemFontSize(ControlSize size) override {
    lastSize = size;
    return hasFont ? std::optional(pointsOf(size)) : std::nullopt;
  }
  double width(std::u16string_view units, double fontSize) override {
    ++measurements;
    measuredSizes.insert(fontSize);
    double sum = 0;
    for (const char16_t unit : units) sum += widthOf(unit);
    return sum;
  }
  std::optional<std::vector<double>> widthsThatAddUp(std::u16string_view units, double fontSize) override {
    measuredSizes.insert(fontSize);
    if (!addsUp) return std::nullopt;
    std::vector<double> widths;
    for (const char16_t unit : units) widths.push_back(widthOf(unit));
    return widths;
  }

 protected:
  virtual double widthOf(char16_t) const { return 10; }
};

// Widths that no double holds exactly, some of them zero.
class Proportional : public FixedWidth {
 protected:
  double widthOf(char16_t unit) const override { return unit % 7 == 0 ? 0 : 0.1 * (unit % 13) + 1.0 / (unit % 5 + 1); }
};

// Each unit is drawn nearer to the one before it than it would be alone, some much nearer.
class Kerned : public Proportional {
 public:
  double width(std::u16string_view units, double fontSize) override {
    double sum = Proportional::width(units, fontSize);
    for (std::size_t at = 1; at < units.size(); ++at) sum -= 0.3 * ((units[at] ^ units[at - 1]) % 4);
    return sum;
  }
};

// The search by the letter: every attempt is built and measured.
class Reference {
 public:
  Reference(TextMeasurer& measurer, std::u16string text, float limit)
      : measurer_(measurer), text_(std::move(text)), limit_(double{limit}) {}

  std::optional<std::u16string> truncated(std::int16_t code) {
    std::u16string attempt = text_;
    double width = measure(attempt);
    if (!(width > limit_)) return attempt;
    const std::size_t n = text_.size();
    if (n == 0) return std::nullopt;
    std::size_t p = code == kTruncateAtEnd ? n - 1 : code == kTruncateInMiddle ? n / 2 : 0;
    std::size_t c = 1;
    while (width > limit_) {
      if (code != kTruncateAtStart && p < 2) return std::nullopt;
      attempt = text_;
      attempt.replace(p, c, 1, u'\u2026');
      width = measure(attempt);
      if (code == kTruncateAtStart && c + 1 > n) return std::nullopt;
      ++c;
      if (code == kTruncateAtEnd || (code == kTruncateInMiddle && c % 2 == 0)) --p;
      if (code != kTruncateAtStart && p + c > n) return std::nullopt;
    }
    return attempt;
  }

 private:
  double measure(const std::u16string& text) { return measurer_.width(text, 13); }

  TextMeasurer& measurer_;
  std::u16string text_;
  double limit_;
};

std::string text(const Ref<NSString>& string) { return string ? string->utf8() : "none"; }

std::optional<std::u16string> units(const Ref<NSString>& string) {
  return string ? std::optional(string->utf16()) : std::nullopt;
}

Ref<NSString> truncated(const Ref<NSString>& string, float width, std::int16_t code) {
  return truncateStringWithDrawingWidth_themeFontID_truncCode(string, width, 0, code);
}

class TruncationTests : public testing::TestWithParam<bool> {
 protected:
  TruncationTests() { fixed_.addsUp = GetParam(); }
  // What was measured since the last question was in the font of `size`.
  void expectMeasuredIn(ControlSize size) {
    EXPECT_EQ(fixed_.lastSize, size);
    EXPECT_EQ(std::exchange(fixed_.measuredSizes, {}), std::set{pointsOf(size)});
  }

  FixedWidth fixed_;
  ScopedService<TextMeasurer> scope_{fixed_};
};

INSTANTIATE_TEST_SUITE_P(Measurers, TruncationTests, testing::Bool(), [](const testing::TestParamInfo<bool>& measurer) {
  return measurer.param ? "WidthsAddUp" : "WidthsDoNotAddUp";
});

TEST_P(TruncationTests, EdgeCases) {
  const struct {
    const char* string;
    float width;
    std::int16_t code;
    const char* expected;
  } cases[] = {
      {"abcdef", 60, kTruncateAtEnd, "abcdef"},
      {"abcdef", 60, 7, "abcdef"},
      {"abcdef", 59, 7, "none"},
      {"abcdef", 59, kTruncateAtEnd, "abcd\u2026"},
      {"abcdef", 50, kTruncateAtEnd, "abcd\u2026"},
      {"abcdef", 40, kTruncateAtEnd, "abc\u2026"},
      {"abcdef", 30, kTruncateAtEnd, "ab\u2026"},
      {"abcdef", 29, kTruncateAtEnd, "none"},
      {"abc", 29, kTruncateAtEnd, "none"},
      {"ab", 19, kTruncateAtEnd, "none"},
      {"a", 9, kTruncateAtEnd, "none"},
      {"abcdefgh", 79, kTruncateInMiddle, "abc\u2026fgh"},
      {"abcdefgh", 70, kTruncateInMiddle, "abc\u2026fgh"},
      {"abcdefgh", 60, kTruncateInMiddle, "abc\u2026gh"},
      {"abcdefgh", 50, kTruncateInMiddle, "ab\u2026gh"},
      {"abcdefgh", 40, kTruncateInMiddle, "ab\u2026h"},
      {"abcdefgh", 39, kTruncateInMiddle, "none"},
      {"abcde", 49, kTruncateInMiddle, "none"},
      {"abc", 29, kTruncateInMiddle, "none"},
      {"a", 9, kTruncateInMiddle, "none"},
      {"abcdef", 59, kTruncateAtStart, "\u2026cdef"},
      {"abcdef", 30, kTruncateAtStart, "\u2026ef"},
      {"abcdef", 20, kTruncateAtStart, "\u2026f"},
      {"abcdef", 19, kTruncateAtStart, "none"},
      {"ab", 19, kTruncateAtStart, "none"},
      {"a", 9, kTruncateAtStart, "none"},
      {"abcdef", 0, kTruncateAtEnd, "none"},
      {"abcdef", -1, kTruncateAtStart, "none"},
      {"", 0, kTruncateAtEnd, ""},
      {"", 0, 7, ""},
      {"", -1, kTruncateAtEnd, "none"},
      {"", -1, kTruncateAtStart, "none"},
      {"", -1, kTruncateInMiddle, "none"},
      {"abcdef", std::numeric_limits<float>::quiet_NaN(), kTruncateAtEnd, "abcdef"},
      {"abcdef", std::numeric_limits<float>::infinity(), kTruncateAtEnd, "abcdef"},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(text(truncated(each.string, each.width, each.code)), each.expected)
        << each.string << " in " << each.width << " by " << each.code;
  }
  EXPECT_FALSE(truncated(nullptr, 100, kTruncateAtEnd));
}

TEST_P(TruncationTests, TheFirstAttemptOfTheMiddleRemovesOneUnit) {
  class WideMiddle final : public FixedWidth {
    double widthOf(char16_t unit) const override { return unit == 'e' ? 30 : 10; }
  } measurer;
  measurer.addsUp = GetParam();
  const ScopedService<TextMeasurer> scope(measurer);
  EXPECT_EQ(text(truncated("abcdefgh", 80, kTruncateInMiddle)), "abcd\u2026fgh");
}

TEST_P(TruncationTests, MayCutPairs) {
  EXPECT_EQ(units(truncated(u"ab\xD83D\xDE00yz", 50, kTruncateAtEnd)), u"ab\xD83D\xDE00\u2026");
  EXPECT_EQ(units(truncated(u"ab\xD83D\xDE00yz", 40, kTruncateAtEnd)), u"ab\xD83D\u2026");
  EXPECT_EQ(units(truncated(u"a\xD83D\xDE00z", 30, kTruncateAtStart)), u"\u2026\xDE00z");
}

TEST_P(TruncationTests, ResultsAreImmutable) {
  const Ref<NSMutableString> string = NSMutableString::stringWithString("abcdef");
  const Ref<NSString> whole = truncated(string, 60, kTruncateAtEnd);
  EXPECT_FALSE(as<NSMutableString>(whole));
  EXPECT_FALSE(as<NSMutableString>(truncated(string, 40, kTruncateAtEnd)));
  string->appendString("g");
  EXPECT_EQ(whole->utf8(), "abcdef");
}

TEST_P(TruncationTests, FontIdentifiers) {
  for (unsigned identifier = 0; identifier <= 0xFFFF; ++identifier) {
    fixed_.lastSize.reset();
    const Ref<NSString> result = truncateStringWithDrawingWidth_themeFontID_truncCode(
        "abc", 100, static_cast<std::uint16_t>(identifier), kTruncateAtEnd);
    std::optional<ControlSize> expected;
    if (identifier == 0 || identifier == 4) expected = ControlSize::Regular;
    if (identifier == 1 || identifier == 2) expected = ControlSize::Small;
    if (identifier == 109) expected = ControlSize::Mini;
    ASSERT_EQ(fixed_.lastSize, expected) << identifier;
    ASSERT_EQ(static_cast<bool>(result), expected.has_value()) << identifier;
  }
}

TEST_P(TruncationTests, ControlSizes) {
  const struct {
    NSUInteger controlSize;
    ControlSize expected;
  } cases[] = {{0, ControlSize::Regular},
               {1, ControlSize::Small},
               {2, ControlSize::Mini},
               {3, ControlSize::Regular},
               {std::numeric_limits<NSUInteger>::max(), ControlSize::Regular}};
  for (const auto& each : cases) {
    for (const bool bold : {false, true}) {
      EXPECT_EQ(text(truncateControlStringWithDrawingWidth_truncCode_controlSize_bold("abcdef", 40, kTruncateAtEnd,
                                                                                      each.controlSize, bold)),
                "abc\u2026");
      expectMeasuredIn(each.expected);
    }
    EXPECT_EQ(text(truncateControlStringWithDrawingWidth_truncCode_controlSize("abcdef", 40, kTruncateAtStart,
                                                                               each.controlSize)),
              "\u2026def");
    expectMeasuredIn(each.expected);
  }
}

TEST_P(TruncationTests, ControlsOfOneSize) {
  EXPECT_EQ(text(truncateControlStringWithDrawingWidth_truncCode("abcdef", 40, kTruncateAtEnd)), "abc\u2026");
  expectMeasuredIn(ControlSize::Regular);
  EXPECT_EQ(text(truncateSmallControlStringWithDrawingWidth_truncCode("abcdef", 40, kTruncateAtStart)), "\u2026def");
  expectMeasuredIn(ControlSize::Small);
  EXPECT_EQ(text(truncateMiniControlStringWithDrawingWidth_truncCode("abcdef", 40, kTruncateInMiddle)), "ab\u2026f");
  expectMeasuredIn(ControlSize::Mini);
}

TEST_P(TruncationTests, WithoutAFontThereIsNone) {
  fixed_.hasFont = false;
  EXPECT_FALSE(truncated("abc", 100, kTruncateAtEnd));
}

template <class Measurer>
void expectSameAsReference(bool addsUp) {
  Measurer measurer;
  measurer.addsUp = addsUp;
  const ScopedService<TextMeasurer> scope(measurer);
  std::mt19937 random(11);
  for (int round = 0; round < 4000; ++round) {
    std::u16string string(random() % 24, u' ');
    for (char16_t& unit : string)
      unit = static_cast<char16_t>(random() % 3 == 0 ? 0xD800 + random() % 0x800 : random());
    const std::int16_t code = kCodes[random() % std::size(kCodes)];
    const auto whole = static_cast<float>(measurer.width(string, 13));
    const float limit =
        round % 2 == 0 ? whole * static_cast<float>(random() % 12) / 10 : whole - 0.1F * float(random() % 9);
    EXPECT_EQ(units(truncated(string, limit, code)), Reference(measurer, string, limit).truncated(code))
        << testing::PrintToString(string) << " in " << limit << " by " << code;
  }
}

TEST(TruncationSearchTests, FindsWhatTheSearchByTheLetterFinds) {
  for (const bool addsUp : {false, true}) {
    expectSameAsReference<FixedWidth>(addsUp);
    expectSameAsReference<Proportional>(addsUp);
  }
  expectSameAsReference<Kerned>(false);
}

TEST(TruncationSearchTests, LongNamesAreSeldomMeasuredWhereWidthsAddUp) {
  for (const std::int16_t code : {kTruncateAtEnd, kTruncateAtStart, kTruncateInMiddle}) {
    Proportional measurer;
    measurer.addsUp = true;
    const ScopedService<TextMeasurer> scope(measurer);
    EXPECT_TRUE(truncated(std::u16string(10000, u'x'), 100, code));
    EXPECT_LE(measurer.measurements, 4) << code;
  }
}

}  // namespace
}  // namespace ZtFoundation
