#include <ZtFoundation/platform/Format.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/Runtime.h>

namespace ZtFoundation {
namespace {

template <class... Arguments>
std::string formatted(const Ref<NSString>& format, const Arguments&... arguments) {
  return NSString::stringWithFormat(format, arguments...)->utf8();
}

// What the C library makes of it; the tests run in the "C" locale.
template <class... Arguments>
std::string printed(const std::string& format, Arguments... arguments) {
  std::vector<char> text(static_cast<std::size_t>(std::snprintf(nullptr, 0, format.c_str(), arguments...)) + 1);
  std::snprintf(text.data(), text.size(), format.c_str(), arguments...);
  return text.data();
}

const std::vector<std::string> kFlags = {"", "-", "+", " ", "#", "0", "-0", "+0", " 0", "+ ", "#0", "-#", "+#0", "'"};
const std::vector<std::string> kWidths = {"", "1", "5", "12", "40"};
const std::vector<std::string> kPrecisions = {"", ".", ".0", ".1", ".3", ".10", ".30"};

template <class Check>
void forEachShape(const std::string& letters, Check check) {
  for (const std::string& flags : kFlags) {
    for (const std::string& width : kWidths) {
      for (const std::string& precision : kPrecisions) {
        for (const char letter : letters) check("%" + flags + width + precision, std::string(1, letter));
      }
    }
  }
}

TEST(Format, IntegersAsTheCLibraryPrintsThem) {
  forEachShape("diuxXo", [](const std::string& shape, const std::string& letter) {
    for (const int value : {0, 1, -1, 42, -12345, INT_MAX, INT_MIN}) {
      EXPECT_EQ(formatted(shape + letter, value), printed(shape + letter, value)) << shape << letter << " " << value;
    }
    for (const long long value : {0LL, 7LL, LLONG_MAX, LLONG_MIN}) {
      const std::string format = shape + "ll" + letter;
      EXPECT_EQ(formatted(format, value), printed(format, value)) << format << " " << value;
    }
  });
}

TEST(Format, RealsAsTheCLibraryPrintsThem) {
  const double values[] = {0.0,
                           -0.0,
                           1.0,
                           0.5,
                           1.5,
                           2.5,
                           -1234.5678,
                           9.9999995,
                           1e-5,
                           1e-4,
                           123456.0,
                           1234567,
                           99999.95,
                           1e15,
                           1e16,
                           1e17,
                           1e100,
                           1e-100,
                           5e-324,
                           2.2250738585072014e-308,
                           0.1,
                           1e22,
                           1.7976931348623157e308,
                           INFINITY,
                           -INFINITY,
                           NAN,
                           1.0 / 3.0};
  forEachShape("eEfFgG", [&](const std::string& shape, const std::string& letter) {
    for (const double value : values) {
      EXPECT_EQ(formatted(shape + letter, value), printed(shape + letter, value)) << shape << letter << " " << value;
    }
  });
}

TEST(Format, HexadecimalRealsAsTheCLibraryPrintsThem) {
  forEachShape("aA", [](const std::string& shape, const std::string& letter) {
    for (const double value : {0.0, 1.0, -1.5, 0.1, 1e300, HUGE_VAL, 3.14159, 1.0 / 3.0}) {
      EXPECT_EQ(formatted(shape + letter, value), printed(shape + letter, value)) << shape << letter << " " << value;
    }
  });
}

TEST(Format, ManyDigitsAreExact) {
  for (const double value : {5e-324, 0.1, 1.7976931348623157e308, 2.2250738585072009e-308}) {
    for (const char* format : {"%.1200f", "%.1200e", "%.1200g", "%#.1200g", "%.1074f", "%.767e", "%1300.20f"}) {
      EXPECT_EQ(formatted(format, value), printed(format, value)) << format << " " << value;
    }
  }
}

TEST(Format, NaNHasNoSign) { EXPECT_EQ(formatted("%f|%F", -NAN, -NAN), "nan|NAN"); }

TEST(Format, ShortLengthsKeepTheLowBits) {
  EXPECT_EQ(formatted("%hhd %hhu %hhx", 300, 300, 0x1FF), "44 44 ff");
  EXPECT_EQ(formatted("%hd %hu %hx", 70000, 70000, 0x12345), "4464 4464 2345");
  EXPECT_EQ(formatted("%hhd %hd", 0xFF, 0xFFFF), "-1 -1");
}

TEST(Format, WhatIsNotSaidAgainCountsForOneConversion) {
  EXPECT_EQ(formatted("[%.3d][%5d][%-5d][%3d]", 1, 2, 3, 4), "[001][    2][3    ][  4]");
}

TEST(Format, LongLengthsAreUnderstood) {
  EXPECT_EQ(formatted("%ld %lld %qd %zd %td %jd %Lf", 1L, 2LL, 3LL, 4, 5, 6, 1.5L), "1 2 3 4 5 6 1.500000");
  EXPECT_EQ(formatted("%llu %qu %ju", ULLONG_MAX, ULLONG_MAX, UINTMAX_MAX),
            "18446744073709551615 18446744073709551615 18446744073709551615");
  EXPECT_EQ(formatted("%lld %qd %jd", LLONG_MIN, LLONG_MIN, INTMAX_MIN),
            "-9223372036854775808 -9223372036854775808 -9223372036854775808");
  EXPECT_EQ(formatted("%D %U %O", 10, 11, 8), "10 11 10");
  EXPECT_EQ(formatted("%#O|%#.0O|%#.0o", 8, 0, 0), "010|0|0");
}

TEST(Format, LengthsOfMachineWordsFollowTheBuild) {
  constexpr bool kIsWide = sizeof(void*) == 8;
  const std::string largest = kIsWide ? "18446744073709551615" : "4294967295";
  const std::string smallest = kIsWide ? "-9223372036854775808" : "-2147483648";
  EXPECT_EQ(formatted("%lu|%zu", ULONG_MAX, SIZE_MAX), largest + "|" + largest);
  EXPECT_EQ(formatted("%lu|%zu", ~NSUInteger{0}, ~NSUInteger{0}), largest + "|" + largest);
  EXPECT_EQ(formatted("%ld|%zd|%td", LONG_MIN, std::numeric_limits<NSInteger>::min(), PTRDIFF_MIN),
            smallest + "|" + smallest + "|" + smallest);
  EXPECT_EQ(formatted("%lx", NSNotFound), kIsWide ? "7fffffffffffffff" : "7fffffff");
}

TEST(Format, EveryArgumentKnowsItsSize) {
  EXPECT_EQ(formatted("%x %lx", -1, -1), "ffffffff ffffffff");
  EXPECT_EQ(formatted("%d", 1LL << 40), "1099511627776");
  EXPECT_EQ(formatted("%d", ULLONG_MAX), "18446744073709551615");
  EXPECT_EQ(formatted("%u", -1), "4294967295");
  EXPECT_EQ(formatted("%d %d", true, false), "1 0");
  EXPECT_EQ(formatted("%ld", NSOrderedAscending), "-1");
}

TEST(Format, Objects) {
  const Ref<NSString> none;
  EXPECT_EQ(formatted("%@ and %@", Ref<NSString>("text"), Ref<NSNumber>(NSNumber::numberWithInt(5))), "text and 5");
  EXPECT_EQ(formatted("%@", none), "(null)");
  EXPECT_EQ(formatted("%@", nullptr), "(null)");
  EXPECT_EQ(formatted("%@", NSArray::of(1, 2)), "(\n    1,\n    2\n)");
  EXPECT_EQ(formatted("[%8@|%-8@|%.2@|%6.3@]", Ref<NSString>("abc"), Ref<NSString>("abc"), Ref<NSString>("abc"),
                      Ref<NSString>("abcdef")),
            "[     abc|abc     |ab|   abc]");
  const Ref<NSString> owner = "raw";
  EXPECT_EQ(formatted("%@", owner.get()), "raw");
}

TEST(Format, ObjectConversionTakesAnything) {
  EXPECT_EQ(formatted("%@ %@ %@ %@ %@ %@", 42, -1L, 7U, 0.1, true, 'x'), "42 -1 7 0.1 1 x");
  EXPECT_EQ(formatted("%@ %@ %@", "text", std::string("string"), u"units"), "text string units");
  EXPECT_EQ(formatted("%@", U'\x1F600'), "\xF0\x9F\x98\x80");
}

TEST(Format, Text) {
  EXPECT_EQ(formatted("%s %s %s", "literal", std::string("string"), std::string_view("view")), "literal string view");
  EXPECT_EQ(formatted("%s", "\xC3\xBC"), "\xC3\xBC");
  EXPECT_EQ(formatted("%s",
                      "a\xFF\xFE"
                      "b"),
            "a\xEF\xBF\xBD\xEF\xBF\xBD"
            "b");
  EXPECT_EQ(formatted("%S %ls", u"wide", u"too"), "wide too");
  EXPECT_EQ(formatted("%s %S", Ref<NSString>("object"), Ref<NSString>("object")), "object object");
  EXPECT_EQ(formatted("%s|%S", static_cast<const char*>(nullptr), static_cast<const char16_t*>(nullptr)),
            "(null)|(null)");
  EXPECT_EQ(formatted("%5s|%S", Ref<NSString>(), Ref<NSString>()), "(null)|(null)");
  EXPECT_EQ(formatted("%s|%s", "", std::string_view()), "|");
  EXPECT_EQ(formatted("%s", std::u16string(u"units")), "units");
}

TEST(Format, ArraysNeedNoTerminator) {
  const char open[3] = {'a', 'b', 'c'};
  const char16_t openUnits[2] = {u'd', u'e'};
  const char buffer[16] = "short";
  EXPECT_EQ(formatted("%s%S %s", open, openUnits, buffer), "abcde short");
}

TEST(Format, WidthAndPrecisionOfTextCountUnits) {
  EXPECT_EQ(formatted("[%5s]", "\xC3\xBC\xC3\xBC"), "[   \xC3\xBC\xC3\xBC]");
  EXPECT_EQ(formatted("[%.1s]", "\xC3\xBC\xC3\xBC"), "[\xC3\xBC]");
  EXPECT_EQ(formatted("[%4@]", Ref<NSString>("\xF0\x9F\x98\x80")), "[  \xF0\x9F\x98\x80]");
  EXPECT_EQ(formatted("[%.2@]", Ref<NSString>("\xF0\x9F\x98\x80x")), "[\xF0\x9F\x98\x80]");
  EXPECT_EQ(formatted("[%.1@]", Ref<NSString>("\xF0\x9F\x98\x80x")), "[]");
  EXPECT_EQ(formatted("[%-4s][%.0s][%.s]", "ab", "ab", "ab"), "[ab  ][][]");
  for (const Ref<NSString>& halves : {Ref<NSString>(u"a\xDE00"), Ref<NSString>(u"\xD83Dx")}) {
    EXPECT_EQ(NSString::stringWithFormat("%.1@", halves)->length(), 1U) << "no pair, so nothing to keep together";
  }
}

TEST(Format, Characters) {
  EXPECT_EQ(formatted("%c%c%3c%-3c|", 'a', 98, 'c', 'd'), "ab  cd  |");
  EXPECT_EQ(formatted("%c", 0xE9), "\xC3\xA9");
  EXPECT_EQ(formatted("%c", 0x141), "A");
  EXPECT_EQ(formatted("%C %lc", 0x20AC, 0x20AC), "\xE2\x82\xAC \xE2\x82\xAC");
  EXPECT_EQ(formatted("%C%c", u'\x20AC', U'\x1F600'), "\xE2\x82\xAC\xF0\x9F\x98\x80");
  EXPECT_EQ(formatted("%c", '\xE9'), "\xC3\xA9");
  EXPECT_EQ(formatted("%d %d", 'a', '\xFF'), "97 -1");
  EXPECT_EQ(NSString::stringWithFormat("%c", 0)->units().size(), 1U);
  EXPECT_EQ(formatted("%c", static_cast<char32_t>(0x110000)), "\xEF\xBF\xBD");
  EXPECT_EQ(formatted("%.0c%.0c%.0c%.0C%.1c", 'a', 98, u'c', u'd', U'\x1F600'), "abcd\xF0\x9F\x98\x80");
}

TEST(Format, Pointers) {
  EXPECT_EQ(formatted("%p", reinterpret_cast<const void*>(0x1234ABCD)), "0x1234abcd");
  EXPECT_EQ(formatted("%p", nullptr), "0x0");
  EXPECT_EQ(formatted("[%8p][%-8p]", reinterpret_cast<const void*>(0x12), reinterpret_cast<const void*>(0x12)),
            "[    0x12][0x12    ]");
  const Ref<NSString> object = "x";
  EXPECT_EQ(formatted("%p", object), printed("%p", static_cast<const void*>(object.get())));
}

TEST(Format, PercentSign) {
  EXPECT_EQ(formatted("100%%"), "100%");
  EXPECT_EQ(formatted("%%%d%%", 5), "%5%");
}

TEST(Format, WidthsAndPrecisionsFromArguments) {
  EXPECT_EQ(formatted("[%*d][%-*d][%.*f][%*.*f]", 5, 42, 5, 42, 2, 3.14159, 7, 3, 2.71828),
            "[   42][42   ][3.14][  2.718]");
  EXPECT_EQ(formatted("[%*d]", -5, 42), "[42   ]");
  EXPECT_EQ(formatted("[%.*f]", -1, 1.5), "[1.500000]");
  EXPECT_EQ(formatted("[%.*s]", 2, "abcdef"), "[ab]");
}

TEST(Format, NumberedArguments) {
  EXPECT_EQ(formatted("%2$@ %1$@", Ref<NSString>("a"), Ref<NSString>("b")), "b a");
  EXPECT_EQ(formatted("%1$d %1$x %1$@", 255), "255 ff 255");
  EXPECT_EQ(formatted("[%2$*1$d]", 6, 42), "[    42]");
  EXPECT_EQ(formatted("[%3$*1$.*2$f]", 8, 2, 3.14159), "[    3.14]");
  EXPECT_EQ(formatted("[%2$-6s]", 0, "ab"), "[ab    ]");
}

TEST(Format, MissingArgumentsShow) {
  EXPECT_EQ(formatted("%d and %@"), "%d(missing) and %@(missing)");
  EXPECT_EQ(formatted("%d %5.2f!", 1), "1 %5.2f(missing)!");
  EXPECT_EQ(formatted("%3$d", 1, 2), "%3$d(missing)");
  EXPECT_EQ(formatted("%*d"), "%*d(missing)");
  EXPECT_EQ(formatted("%*d", 5), "%*d(missing)");
  EXPECT_EQ(formatted("%*d|%1$s", "wide"), "%*d(missing)|wide");
  EXPECT_EQ(formatted("%99999999999999999999$d", 1), "%99999999999999999999$d(missing)");
}

TEST(Format, ArgumentsThatDoNotFitShow) {
  const Ref<NSString> text = "text";
  EXPECT_EQ(formatted("%d", "abc"), "%d(abc)");
  EXPECT_EQ(formatted("%5d", text), "%5d(text)");
  EXPECT_EQ(formatted("%x", 1.5), "%x(1.5)");
  EXPECT_EQ(formatted("%s", 42), "%s(42)");
  EXPECT_EQ(formatted("%s", NSNumber::numberWithInt(42)), "%s(42)");
  EXPECT_EQ(formatted("%S", 1.0), "%S(1)");
  EXPECT_EQ(formatted("%f", text), "%f(text)");
  EXPECT_EQ(formatted("%p", 16), "%p(16)");
  EXPECT_EQ(formatted("%c", "abc"), "%c(abc)");
  EXPECT_EQ(formatted("%d", nullptr), "%d((null))");
  EXPECT_EQ(formatted("%s", reinterpret_cast<const void*>(0x10)), "%s(0x10)");
  EXPECT_EQ(formatted("%*d|%d", "wide", 1, 2), "%*d(wide)|2");
  EXPECT_EQ(formatted("%.*f|%d", 1.5, 1.0, 2), "%.*f(1.5)|2");
}

TEST(Format, IntegersFitFloatingConversions) {
  EXPECT_EQ(formatted("%.1f %.1f %.1f", 3, -3, ULLONG_MAX), "3.0 -3.0 18446744073709551616.0");
}

TEST(Format, WhatIsNoConversionStands) {
  for (const char* format : {"%",
                             "%y",
                             "%5",
                             "%n",
                             "%5%",
                             "%-",
                             "%l",
                             "%hh",
                             "%1$",
                             "%0$d",
                             "%*",
                             "%.",
                             "%\xC3\xBC",
                             "%-5$d",
                             "% ",
                             "%\n",
                             "a%",
                             "%ll",
                             "%q",
                             "%\xC5\xA4",
                             "%\xC5\xB1"
                             "d"}) {
    EXPECT_EQ(formatted(format, 1, 2), format);
  }
  EXPECT_EQ(formatted("%y%d", 7), "%y7");
  EXPECT_EQ(formatted("%n%d", 7), "%n7");
  EXPECT_EQ(formatted("%.af", 1.0), "0x1p+0f");
}

TEST(Format, WidthsAreCapped) {
  EXPECT_EQ(NSString::stringWithFormat("%99999999999999999999d", 1)->length(), kMaximumFormatWidth);
  EXPECT_EQ(NSString::stringWithFormat("%*d", INT_MIN, 1)->length(), kMaximumFormatWidth);
  EXPECT_EQ(NSString::stringWithFormat("%*d", LLONG_MIN, 1)->length(), kMaximumFormatWidth);
  EXPECT_EQ(NSString::stringWithFormat("%.99999999999d", 1)->length(), kMaximumFormatWidth);
  EXPECT_EQ(NSString::stringWithFormat("%.99999999999f", 0.5)->length(), kMaximumFormatWidth + 2);
  EXPECT_EQ(NSString::stringWithFormat("%.99999999999e", 0.5)->length(), kMaximumFormatWidth + 6);
  EXPECT_EQ(NSString::stringWithFormat("%.99999999999a", 1.0)->length(), kMaximumFormatWidth + 7);
  EXPECT_EQ(formatted("%.99999999999g", 0.5), "0.5");
  EXPECT_EQ(formatted("%.99999999999s", "abc"), "abc");
}

TEST(Format, FormatsBeyondASCII) {
  EXPECT_EQ(formatted("\xC3\xBC %d", 1), "\xC3\xBC 1");
  EXPECT_EQ(formatted("\xE2\x82\xAC %d \xF0\x9F\x98\x80 %@", 1, 2), "\xE2\x82\xAC 1 \xF0\x9F\x98\x80 2");
}

TEST(Format, UnitsWithoutPartnersSurvive) {
  const Ref<NSString> half = u"\xD800";
  EXPECT_TRUE(isEqual(NSString::stringWithFormat("%@", half), half));
}

TEST(Format, NoFormatMakesNoText) {
  EXPECT_EQ(NSString::stringWithFormat(nullptr, 1), nullptr);
  EXPECT_EQ(formatted("", 1), "");
}

TEST(Format, AppendsToMutableStrings) {
  Ref<NSMutableString> text = NSMutableString::stringWithString("a");
  text->appendFormat("%d%@", 1, text);
  EXPECT_EQ(text->utf8(), "a1a");
  text->appendFormat(nullptr);
  EXPECT_EQ(text->utf8(), "a1a");
}

TEST(Format, ResultIsImmutable) { EXPECT_FALSE(NSString::stringWithFormat("%d", 1)->isMutable()); }

class Shaky : public NSObject {
 public:
  explicit Shaky(bool raising) : raising_(raising) {}
  Ref<NSString> description() const override {
    if (raising_) throw NSException("Shaky", "shaken");
    return nullptr;
  }

 private:
  bool raising_;
};

TEST(Format, DescriptionsMayBeNoneOrRaise) {
  EXPECT_EQ(formatted("[%@]", make<Shaky>(false)), "[(null)]");
  Ref<NSMutableString> text = NSMutableString::stringWithString("a");
  EXPECT_THROW(text->appendFormat("b%@", make<Shaky>(true)), NSException);
  EXPECT_EQ(text->utf8(), "a");
}

class Meddler : public NSObject {
 public:
  explicit Meddler(Ref<NSMutableString> format) : format_(std::move(format)) {}
  Ref<NSString> description() const override {
    format_->setString(std::string(format_->length(), '?'));
    return "met";
  }

 private:
  Ref<NSMutableString> format_;
};

TEST(Format, AFormatThatChangesWhileItIsUsedIsHarmless) {
  Ref<NSMutableString> format = NSMutableString::stringWithString("%@ %@ and a long rest of the format");
  EXPECT_EQ(formatted(format, make<Meddler>(format), 5), "met 5 and a long rest of the format");
}

// Lets go of the format and makes another string in its place.
class Forgetter : public NSObject {
 public:
  explicit Forgetter(Ref<NSString>& format) : format_(format) {}
  Ref<NSString> description() const override {
    const std::string other(format_->length(), '?');
    format_.reset();
    format_ = other;
    return "met";
  }

 private:
  Ref<NSString>& format_;
};

TEST(Format, AFormatThatNobodyKeepsWhileItIsUsedIsHarmless) {
  Ref<NSString> format = "%@ %@ and a long rest of the format";
  EXPECT_EQ(formatted(format, make<Forgetter>(format), 5), "met 5 and a long rest of the format");
}

TEST(Format, ListsOfArgumentsAreCheckedToo) {
  const std::vector<FormatArgument> arguments = {"x", 2};
  EXPECT_EQ(formatText("%s %d", arguments)->utf8(), "x 2");
  EXPECT_EQ(formatText("%s", {})->utf8(), "%s(missing)");
}

}  // namespace
}  // namespace ZtFoundation
