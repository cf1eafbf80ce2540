#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <random>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/Set.h>
#include <ZtFoundation/platform/URL.h>

#include "support/Serialization.h"

namespace ZtFoundation {
namespace {

using namespace support;
using namespace std::literals;
using ::testing::HasSubstr;

const std::string kPrologue =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";
const std::string kEpilogue = "</plist>\n";

WriteResult writeXML(const Ref<NSObject>& value) { return write(value, NSPropertyListXMLFormat_v1_0); }

// What stands between prologue and epilogue.
std::string bodyOf(const Ref<NSObject>& value) {
  const WriteResult result = writeXML(value);
  const std::string text = result.bytes();
  if (!text.starts_with(kPrologue) || !text.ends_with(kEpilogue)) return result.error + text;
  return text.substr(kPrologue.size(), text.size() - kPrologue.size() - kEpilogue.size());
}

Ref<NSObject> entries(std::initializer_list<DictionaryEntry> list) { return NSDictionary::dictionaryWithEntries(list); }
Ref<NSObject> dateAt(double seconds) { return NSDate::dateWithTimeIntervalSinceReferenceDate(seconds); }
Ref<NSObject> dataOf(std::string_view bytes) { return NSData::dataWithBytes(bytes); }

struct Case {
  Ref<NSObject> value;
  std::string body;
};

void expectBodies(const std::vector<Case>& cases) {
  for (const auto& [value, body] : cases) {
    EXPECT_EQ(bodyOf(value), body);
    const ReadResult back = read(writeXML(value).bytes());
    EXPECT_TRUE(isEqual(back.value, value)) << body << back.error;
  }
}

TEST(XMLWriter, WritesEachKindOfValue) {
  expectBodies({
      {"hello", "<string>hello</string>\n"},
      {"", "<string></string>\n"},
      {42, "<integer>42</integer>\n"},
      {-1, "<integer>-1</integer>\n"},
      {std::numeric_limits<std::int64_t>::min(), "<integer>-9223372036854775808</integer>\n"},
      {~std::uint64_t{0}, "<integer>18446744073709551615</integer>\n"},
      {true, "<true/>\n"},
      {false, "<false/>\n"},
      {NSArray::array(), "<array/>\n"},
      {NSDictionary::dictionary(), "<dict/>\n"},
      {NSMutableArray::array(), "<array/>\n"},
      {dataOf(""), "<data>\n</data>\n"},
      {dataOf("\1\2\3"), "<data>\nAQID\n</data>\n"},
      {dataOf("\xFF"), "<data>\n/w==\n</data>\n"},
      {dataOf("\xFF\xFE"), "<data>\n//4=\n</data>\n"},
  });
}

TEST(XMLWriter, IndentsAndKeepsTheOrderOfKeys) {
  const Ref<NSObject> value =
      entries({{"z", 1},
               {"a", NSArray::of("x", NSArray::array(), entries({{"", dataOf(std::string(52, '\0'))}}))},
               {"m", NSDictionary::dictionary()}});
  const std::string zeros = std::string(68, 'A');
  EXPECT_EQ(bodyOf(value),
            "<dict>\n"
            "\t<key>z</key>\n"
            "\t<integer>1</integer>\n"
            "\t<key>a</key>\n"
            "\t<array>\n"
            "\t\t<string>x</string>\n"
            "\t\t<array/>\n"
            "\t\t<dict>\n"
            "\t\t\t<key></key>\n"
            "\t\t\t<data>\n"
            "\t\t\t" +
                zeros +
                "\n"
                "\t\t\tAA==\n"
                "\t\t\t</data>\n"
                "\t\t</dict>\n"
                "\t</array>\n"
                "\t<key>m</key>\n"
                "\t<dict/>\n"
                "</dict>\n");
}

TEST(XMLWriter, WritesRealsWithTheFewestDigitsThatReadBack) {
  const double infinity = std::numeric_limits<double>::infinity();
  expectBodies({
      {0.5, "<real>0.5</real>\n"},
      {-0.0, "<real>-0</real>\n"},
      {1.0, "<real>1</real>\n"},
      {0.1, "<real>0.1</real>\n"},
      {8263.0072447640268, "<real>8263.007244764027</real>\n"},
      {1.39531e+09, "<real>1395310000</real>\n"},
      {1e22, "<real>1e+22</real>\n"},
      {5e-324, "<real>5e-324</real>\n"},
      {std::numeric_limits<double>::max(), "<real>1.7976931348623157e+308</real>\n"},
      {std::numeric_limits<double>::quiet_NaN(), "<real>nan</real>\n"},
      {-std::numeric_limits<double>::quiet_NaN(), "<real>nan</real>\n"},
      {infinity, "<real>+infinity</real>\n"},
      {-infinity, "<real>-infinity</real>\n"},
      {NSNumber::numberWithFloat(0.1F), "<real>0.10000000149011612</real>\n"},
  });
}

TEST(XMLWriter, RealsSurviveBitForBit) {
  std::mt19937_64 random(7);
  for (int round = 0; round < 20'000; ++round) {
    const double value = std::bit_cast<double>(random());
    if (std::isnan(value)) continue;
    const Ref<NSNumber> back = as<NSNumber>(read(writeXML(value).bytes()).value);
    ASSERT_TRUE(back) << value;
    EXPECT_TRUE(back->isReal());
    EXPECT_EQ(std::bit_cast<std::uint64_t>(back->doubleValue()), std::bit_cast<std::uint64_t>(value));
  }
}

TEST(XMLWriter, WritesDatesToTheSecond) {
  expectBodies({
      {dateAt(0), "<date>2001-01-01T00:00:00Z</date>\n"},
      {dateAt(-1), "<date>2000-12-31T23:59:59Z</date>\n"},
      {dateAt(-63113904000), "<date>0001-01-01T00:00:00Z</date>\n"},
      {dateAt(-63113990400), "<date>0000-12-31T00:00:00Z</date>\n"},
      {dateAt(-63177062400), "<date>-0001-01-01T00:00:00Z</date>\n"},
      {dateAt(252423993599), "<date>9999-12-31T23:59:59Z</date>\n"},
      {dateAt(252423993600), "<date>+10000-01-01T00:00:00Z</date>\n"},
  });
  EXPECT_EQ(bodyOf(dateAt(0.999999)), "<date>2001-01-01T00:00:00Z</date>\n");
  EXPECT_EQ(bodyOf(dateAt(-0.25)), "<date>2000-12-31T23:59:59Z</date>\n");
}

TEST(XMLWriter, AnyWholeSecondSurvives) {
  std::mt19937_64 random(11);
  for (int round = 0; round < 20'000; ++round) {
    const auto magnitude = static_cast<double>(random() >> (1 + random() % 62));
    const double seconds = random() % 2 == 0 ? magnitude : -magnitude;
    const ReadResult back = read(writeXML(dateAt(seconds)).bytes());
    ASSERT_TRUE(isEqual(back.value, dateAt(seconds))) << seconds << back.error;
  }
}

TEST(XMLWriter, RefusesDatesWithoutACalendar) {
  for (const double seconds : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
                               -std::numeric_limits<double>::infinity(), 1e19, -1e300}) {
    const WriteResult result = writeXML(entries({{"when", dateAt(seconds)}}));
    EXPECT_FALSE(result.data);
    EXPECT_EQ(result.error, "A date that is no finite number of seconds or has no calendar at /when.");
  }
}

TEST(XMLWriter, EscapesWhatWouldBeMarkup) {
  expectBodies({
      {"<a> & 'b' \"c\"", "<string>&lt;a&gt; &amp; 'b' \"c\"</string>\n"},
      {"]]>", "<string>]]&gt;</string>\n"},
      {"a\rb\r\nc\td", "<string>a&#13;b&#13;\nc\td</string>\n"},
      {"&amp;", "<string>&amp;amp;</string>\n"},
      {u"\u00E9<\u00FF>", "<string>\xC3\xA9&lt;\xC3\xBF&gt;</string>\n"},
      {u"\u65E5&\r\U0001F600", "<string>\xE6\x97\xA5&amp;&#13;\xF0\x9F\x98\x80</string>\n"},
      {u"\u007F\u0080\u0085\u2028\uFEFF\uFFFD",
       "<string>\x7F\xC2\x80\xC2\x85\xE2\x80\xA8\xEF\xBB\xBF\xEF\xBF\xBD</string>\n"},
      {" leading and trailing ", "<string> leading and trailing </string>\n"},
      {entries({{"<&>\r", 1}}), "<dict>\n\t<key>&lt;&amp;&gt;&#13;</key>\n\t<integer>1</integer>\n</dict>\n"},
  });
}

TEST(XMLWriter, EveryCharacterSurvivesOrIsRefused) {
  for (char32_t character = 0; character < 0x10100; ++character) {
    if (character >= 0xD800 && character < 0xE000) continue;
    std::u16string text = u"x";
    text += character > 0xFFFF ? static_cast<char16_t>(0xD7C0 + (character >> 10)) : static_cast<char16_t>(character);
    if (character > 0xFFFF) text += static_cast<char16_t>(0xDC00 + (character & 0x3FF));
    const Ref<NSObject> value = text;
    const WriteResult written = writeXML(value);
    const bool isLegal = character == 9 || character == 10 || character == 13 ||
                         (character >= 0x20 && character != 0xFFFE && character != 0xFFFF);
    ASSERT_EQ(static_cast<bool>(written.data), isLegal) << static_cast<unsigned>(character);
    if (isLegal) {
      ASSERT_TRUE(isEqual(read(written.bytes()).value, value)) << static_cast<unsigned>(character);
    }
  }
}

TEST(XMLWriter, RefusesTextThatXMLCannotCarryAndSaysWhere) {
  const auto expectError = [](const Ref<NSObject>& value, const std::string& error) {
    const WriteResult result = writeXML(value);
    EXPECT_FALSE(result.data);
    EXPECT_EQ(result.error, error);
  };
  expectError("\x07", "XML cannot hold the character U+0007 of the text.");
  expectError(u"a\uFFFF", "XML cannot hold the character U+FFFF of the text.");
  expectError(std::u16string(1, u'\0'), "XML cannot hold the character U+0000 of the text.");
  expectError(entries({{"Tracks", NSArray::of("fine", entries({{"Name", u"\u65E5\u0001"}}))}}),
              "XML cannot hold the character U+0001 of the text at /Tracks/1/Name.");
  expectError(NSArray::of(std::u16string(1, u'\xD800')),
              "XML cannot hold the unpaired surrogate U+D800 of the text at /0.");
  expectError(NSArray::of(std::u16string{u'\xDC00', u'\xD800'}),
              "XML cannot hold the unpaired surrogate U+DC00 of the text at /0.");
  expectError(NSArray::of(std::u16string{u'a', u'\xDBFF', u'b'}),
              "XML cannot hold the unpaired surrogate U+DBFF of the text at /0.");
  expectError(entries({{"a\x1F", 1}}), "XML cannot hold the character U+001F of the text at /a\x1F.");
}

TEST(XMLWriter, RefusesWhatIsNoPropertyList) {
  const auto expectError = [](const Ref<NSObject>& value, const std::string& error) {
    const WriteResult result = writeXML(value);
    EXPECT_FALSE(result.data);
    EXPECT_EQ(result.error, error);
  };
  expectError(nullptr, "There is no value to write.");
  expectError(make<NSObject>(), "An object of this class is no property-list value.");
  expectError(NSArray::of(1, NSArray::of(2, make<NSObject>())),
              "An object of this class is no property-list value at /1/1.");
  expectError(entries({{"s", NSSet::set()}}), "A set is no property-list value at /s.");
  expectError(entries({{"u", NSURL::fileURLWithPath("/")}}), "A URL is no property-list value at /u.");
  expectError(entries({{"d", entries({{1, 2}})}}), "A dictionary key that is no string at /d/1.");
}

TEST(XMLWriter, RefusesContainersDeeperThan512) {
  Ref<NSObject> value = 1;
  for (int depth = 0; depth < 512; ++depth) value = NSArray::arrayWithObject(value);
  EXPECT_TRUE(isEqual(read(writeXML(value).bytes()).value, value));
  const WriteResult result = writeXML(NSArray::arrayWithObject(value));
  EXPECT_FALSE(result.data);
  EXPECT_EQ(result.error,
            "Containers lie more than 512 deep inside each other at /0/0/0/0/0/0/0/0/0/0/0/0/0/0/0/0/....");

  const Ref<NSMutableArray> loop = NSMutableArray::array();
  loop->addObject(1);
  loop->addObject(loop);
  EXPECT_THAT(writeXML(loop).error, HasSubstr("more than 512 deep"));
  loop->removeAllObjects();
}

TEST(XMLWriter, DestroyingWhatIsTooDeepToWriteNeedsNoStack) {
  Ref<NSObject> value = 1;
  for (int depth = 0; depth < 1'000'000; ++depth) value = NSArray::arrayWithObject(value);
  EXPECT_FALSE(writeXML(value).data);
}

TEST(XMLWriter, AnObjectInManyPlacesIsWrittenInEach) {
  const Ref<NSObject> shared = NSArray::of("x");
  EXPECT_EQ(bodyOf(NSArray::of(shared, shared)),
            "<array>\n\t<array>\n\t\t<string>x</string>\n\t</array>\n\t<array>\n\t\t<string>x</string>\n\t</array>\n</"
            "array>\n");
}

TEST(XMLWriter, LargeTextsAndDataSurvive) {
  std::string bytes;
  std::mt19937 random(3);
  for (int at = 0; at < 100'001; ++at) bytes += static_cast<char>(random());
  std::string text;
  std::u16string wide;
  for (int at = 0; at < 100'000; ++at) {
    text += "a<&>\r\n\t "[random() % 8];
    wide += u"a<&>\r\u00E9\u65E5\uFFFD"[random() % 8];
  }
  const Ref<NSObject> value = NSArray::of(dataOf(bytes), text, wide);
  EXPECT_TRUE(isEqual(read(writeXML(value).bytes()).value, value));
}

TEST(XMLWriter, WritingTwiceGivesTheSameBytes) {
  const std::string once = writeXML(entries({{"b", 1.5}, {"a", NSArray::of("x", true, dateAt(5))}})).bytes();
  EXPECT_EQ(writeXML(read(once).value).bytes(), once);
}

}  // namespace
}  // namespace ZtFoundation
