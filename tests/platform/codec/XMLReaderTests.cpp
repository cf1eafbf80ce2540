#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Number.h>

#include "support/GermanLocale.h"
#include "support/Serialization.h"

namespace ZtFoundation {
namespace {

using namespace support;
using namespace std::literals;
using ::testing::HasSubstr;

constexpr NSUInteger kAllOptions[] = {NSPropertyListImmutable, NSPropertyListMutableContainers,
                                      NSPropertyListMutableContainersAndLeaves};

std::string wrapped(std::string_view body) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
         "<plist version=\"1.0\">\n" +
         std::string(body) + "\n</plist>\n";
}

std::string repeated(std::string_view text, std::size_t count) {
  std::string result;
  for (std::size_t at = 0; at < count; ++at) result += text;
  return result;
}

Ref<NSObject> entries(std::initializer_list<DictionaryEntry> list) { return NSDictionary::dictionaryWithEntries(list); }
Ref<NSObject> dateAt(double seconds) { return NSDate::dateWithTimeIntervalSinceReferenceDate(seconds); }
Ref<NSObject> dataOf(std::string_view bytes) { return NSData::dataWithBytes(bytes); }

struct ValueCase {
  std::string xml;
  Ref<NSObject> expected;
};

// Each alone, in a wrapper and as an element of an array, with every mutability.
void expectValues(const std::vector<ValueCase>& cases) {
  for (const auto& [xml, expected] : cases) {
    SCOPED_TRACE(xml);
    for (const NSUInteger option : kAllOptions) {
      const ReadResult alone = read(xml, option);
      EXPECT_TRUE(isEqual(alone.value, expected)) << alone.value << " " << alone.error;
      EXPECT_EQ(alone.error, "");
      EXPECT_EQ(alone.format, NSPropertyListXMLFormat_v1_0);
      const ReadResult inPlist = read(wrapped(xml), option);
      EXPECT_TRUE(isEqual(inPlist.value, expected)) << inPlist.value << " " << inPlist.error;
      const ReadResult inArray = read("<array>" + xml + "</array>", option);
      EXPECT_TRUE(isEqual(inArray.value, NSArray::arrayWithObject(expected))) << inArray.value << inArray.error;
    }
  }
}

struct ErrorCase {
  std::string xml;
  std::string error;
};

void expectErrors(const std::vector<ErrorCase>& cases) {
  for (const auto& [xml, error] : cases) {
    SCOPED_TRACE(xml);
    for (const NSUInteger option : kAllOptions) {
      const ReadResult result = read(xml, option);
      EXPECT_FALSE(result.value) << result.value;
      EXPECT_EQ(result.error, error);
      EXPECT_EQ(result.format, 0U);
    }
  }
}

// --- Values

TEST(XMLReader, ReadsEachKindOfValue) {
  expectValues({
      {"<string>hello</string>", "hello"},
      {"<integer>42</integer>", 42},
      {"<real>1.5</real>", 1.5},
      {"<true/>", true},
      {"<false/>", false},
      {"<date>2001-01-01T00:00:01Z</date>", dateAt(1)},
      {"<data>AQID</data>", dataOf("\1\2\3")},
      {"<array><integer>1</integer><string>two</string></array>", NSArray::of(1, "two")},
      {"<dict><key>a</key><integer>1</integer></dict>", entries({{"a", 1}})},
  });
}

TEST(XMLReader, EmptyElementsAreValues) {
  expectValues({
      {"<string/>", ""},
      {"<string></string>", ""},
      {"<string />", ""},
      {"<data/>", dataOf("")},
      {"<data></data>", dataOf("")},
      {"<data>\n\t</data>", dataOf("")},
      {"<array/>", NSArray::array()},
      {"<array></array>", NSArray::array()},
      {"<dict/>", NSDictionary::dictionary()},
      {"<dict>\n</dict>", NSDictionary::dictionary()},
      {"<true></true>", true},
      {"<false>\n<!-- nothing --></false >", false},
      {"<dict><key/><string/><key>b</key><array/></dict>", entries({{"", ""}, {"b", NSArray::array()}})},
      {"<dict><key></key><dict/></dict>", entries({{"", NSDictionary::dictionary()}})},
  });
}

TEST(XMLReader, ReadsIntegersOfTheFullSignedAndUnsignedRange) {
  expectValues({
      {"<integer>0</integer>", 0},
      {"<integer>-0</integer>", 0},
      {"<integer>+7</integer>", 7},
      {"<integer>007</integer>", 7},
      {"<integer> \n12\t</integer>", 12},
      {"<integer>999999999999999999</integer>", 999999999999999999},
      {"<integer>9223372036854775807</integer>", std::numeric_limits<std::int64_t>::max()},
      {"<integer>9223372036854775808</integer>", std::uint64_t{1} << 63},
      {"<integer>18446744073709551615</integer>", ~std::uint64_t{0}},
      {"<integer>-9223372036854775808</integer>", std::numeric_limits<std::int64_t>::min()},
      {"<integer>00000000000000000000000000000000000001</integer>", 1},
      {"<integer>0x1F</integer>", 31},
      {"<integer>0Xff</integer>", 255},
      {"<integer>-0x10</integer>", -16},
      {"<integer>0xFFFFFFFFFFFFFFFF</integer>", ~std::uint64_t{0}},
      {"<integer>-0x8000000000000000</integer>", std::numeric_limits<std::int64_t>::min()},
      {"<integer>1<!-- and -->2</integer>", 12},
      {"<integer>&#49;2</integer>", 12},
  });
  const Ref<NSNumber> large = as<NSNumber>(read("<integer>18446744073709551615</integer>").value);
  EXPECT_EQ(large->unsignedLongLongValue(), ~std::uint64_t{0});
}

TEST(XMLReader, RefusesWhatIsNoInteger) {
  expectErrors({
      {"<integer/>", "\"\" is no integer at line 1, column 1."},
      {"<integer></integer>", "\"\" is no integer at line 1, column 1."},
      {"<integer>+</integer>", "\"+\" is no integer at line 1, column 1."},
      {"<integer>0x</integer>", "\"0x\" is no integer at line 1, column 1."},
      {"<integer>--1</integer>", "\"--1\" is no integer at line 1, column 1."},
      {"<integer>0x-1</integer>", "\"0x-1\" is no integer at line 1, column 1."},
      {"<integer>1.0</integer>", "\"1.0\" is no integer at line 1, column 1."},
      {"<integer>1 2</integer>", "\"1 2\" is no integer at line 1, column 1."},
      {"<integer>1e3</integer>", "\"1e3\" is no integer at line 1, column 1."},
      {"<integer>12g</integer>", "\"12g\" is no integer at line 1, column 1."},
      {"<integer>\xD9\xA1</integer>", "\"\xD9\xA1\" is no integer at line 1, column 1."},
      {"<integer>18446744073709551616</integer>",
       "\"18446744073709551616\" is an integer outside of -2^63 to 2^64-1 at line 1, column 1."},
      {"<integer>-9223372036854775809</integer>",
       "\"-9223372036854775809\" is an integer outside of -2^63 to 2^64-1 at line 1, column 1."},
      {"<integer>0x10000000000000000</integer>",
       "\"0x10000000000000000\" is an integer outside of -2^63 to 2^64-1 at line 1, column 1."},
  });
}

TEST(XMLReader, ReadsRealsToTheLastBit) {
  const double infinity = std::numeric_limits<double>::infinity();
  expectValues({
      {"<real>0</real>", 0.0},
      {"<real>8263.0072447640268</real>", 8263.0072447640268},
      {"<real>1.39531e+09</real>", 1.39531e+09},
      {"<real>0.1</real>", 0.1},
      {"<real>.5</real>", 0.5},
      {"<real>5.</real>", 5.0},
      {"<real>+2.5E-3</real>", 2.5e-3},
      {"<real>5e-324</real>", 5e-324},
      {"<real>2.2250738585072011e-308</real>", 2.2250738585072011e-308},
      {"<real>1.7976931348623157e308</real>", std::numeric_limits<double>::max()},
      {"<real>9007199254740993</real>", 9007199254740992.0},
      {"<real>1e-400</real>", 0.0},
      {"<real>1e-99999999999999999999</real>", 0.0},
      {"<real>0e99999999999999999999</real>", 0.0},
      {"<real>nan</real>", std::numeric_limits<double>::quiet_NaN()},
      {"<real>-NaN</real>", std::numeric_limits<double>::quiet_NaN()},
      {"<real>inf</real>", infinity},
      {"<real>+infinity</real>", infinity},
      {"<real>-Infinity</real>", -infinity},
      {"<real>-INF</real>", -infinity},
      {"<real>\n 1.25 </real>", 1.25},
  });
  const Ref<NSNumber> minusZero = as<NSNumber>(read("<real>-0</real>").value);
  EXPECT_TRUE(std::signbit(minusZero->doubleValue()));
  EXPECT_TRUE(minusZero->isReal());
}

TEST(XMLReader, RefusesWhatIsNoReal) {
  expectErrors({
      {"<real/>", "\"\" is no number at line 1, column 1."},
      {"<real>.</real>", "\".\" is no number at line 1, column 1."},
      {"<real>1,5</real>", "\"1,5\" is no number at line 1, column 1."},
      {"<real>1e</real>", "\"1e\" is no number at line 1, column 1."},
      {"<real>1.5.5</real>", "\"1.5.5\" is no number at line 1, column 1."},
      {"<real>0x1p3</real>", "\"0x1p3\" is no number at line 1, column 1."},
      {"<real>infin</real>", "\"infin\" is no number at line 1, column 1."},
      {"<real>nan(1)</real>", "\"nan(1)\" is no number at line 1, column 1."},
      {"<real>+-1</real>", "\"+-1\" is no number at line 1, column 1."},
      {"<real>1e400</real>", "\"1e400\" is a number too large for a double at line 1, column 1."},
      {"<real>-1e99999999999999999999</real>",
       "\"-1e99999999999999999999\" is a number too large for a double at line 1, column 1."},
  });
}

TEST(XMLReader, NumbersDoNotDependOnTheLocale) {
  const test::GermanLocale locale;
  ASSERT_TRUE(locale.isSet()) << "localedef cannot make a German locale";
  expectValues({{"<real>1.5</real>", 1.5}, {"<date>2001-01-01T00:00:01Z</date>", dateAt(1)}});
  expectErrors({{"<real>1,5</real>", "\"1,5\" is no number at line 1, column 1."}});
  EXPECT_THAT(write(1234567.5, NSPropertyListXMLFormat_v1_0).bytes(), HasSubstr("<real>1234567.5</real>"));
}

TEST(XMLReader, RoundsRealsOnce) {
  expectValues({{"<real>1998331410169475e13</real>", 0x1.02473d7080e79p+94},
                {"<real>-3.266824312703733e35</real>", -0x1.f7557fcd44517p+117}});
}

TEST(XMLReader, ReadsDatesOfAnyYear) {
  expectValues({
      {"<date>2001-01-01T00:00:00Z</date>", dateAt(0)},
      {"<date>1970-01-01T00:00:00Z</date>", dateAt(-978307200)},
      {"<date>1601-01-01T00:00:00Z</date>", dateAt(-12622780800)},
      {"<date>1931-12-31T23:59:59Z</date>", dateAt(-2177539201)},
      {"<date>2038-01-19T03:14:08Z</date>", dateAt(1169176448)},
      {"<date>2106-02-07T06:28:16Z</date>", dateAt(3316660096)},
      {"<date>2000-02-29T12:00:00Z</date>", dateAt(-26481600)},
      {"<date>0001-01-01T00:00:00Z</date>", dateAt(-63113904000)},
      {"<date>0000-12-31T00:00:00Z</date>", dateAt(-63113990400)},
      {"<date>-0001-01-01T00:00:00Z</date>", dateAt(-63177062400)},
      {"<date>9999-12-31T23:59:59Z</date>", dateAt(252423993599)},
      {"<date>+10000-01-01T00:00:00Z</date>", dateAt(252423993600)},
      {"<date>10000-01-01T00:00:00Z</date>", dateAt(252423993600)},
      {"<date>+2001-01-01T00:00:00Z</date>", dateAt(0)},
      {"<date> 2001-01-01T00:00:00Z\n</date>", dateAt(0)},
  });
}

TEST(XMLReader, ChecksEveryFieldOfADate) {
  for (const char* text : {"",
                           "now",
                           "2001",
                           "2001-01-01",
                           "2001-00-01T00:00:00Z",
                           "2001-13-01T00:00:00Z",
                           "2001-01-00T00:00:00Z",
                           "2001-01-32T00:00:00Z",
                           "2001-02-29T00:00:00Z",
                           "1900-02-29T00:00:00Z",
                           "2001-04-31T00:00:00Z",
                           "2001-01-01T24:00:00Z",
                           "2001-01-01T00:60:00Z",
                           "2001-01-01T00:00:60Z",
                           "2001-01-01T00:00:00",
                           "2001-01-01T00:00:00z",
                           "2001-01-01t00:00:00Z",
                           "2001-01-01 00:00:00Z",
                           "2001-1-01T00:00:00Z",
                           "200101-01T00:00:00Z",
                           "2001-0101T00:00:00Z",
                           "2001-01-0100:00:00Z",
                           "2001-01-01T0000:00Z",
                           "2001-01-01T00:0000Z",
                           "2001-01-01T00:0::00Z",
                           "2001-01-01T00:0/:00Z",
                           "2001-01-01T00:0",
                           "2001-01-01T:0:00:00Z",
                           "20:1-01-01T00:00:00Z",
                           "20/1-01-01T00:00:00Z",
                           "201-01-01T00:00:00Z",
                           "2001-01-01T00:00:00.5Z",
                           "2001-01-01T00:00:00+01:00",
                           "2001-01-01T00:00:00ZZ",
                           "+-2001-01-01T00:00:00Z",
                           "99999999999999999999-01-01T00:00:00Z",
                           "nan",
                           "inf"}) {
    const ReadResult result = read("<date>"s + text + "</date>");
    EXPECT_FALSE(result.value) << text;
    EXPECT_THAT(result.error, HasSubstr("is no date of the form YYYY-MM-DDTHH:MM:SSZ at line 1, column 1."));
  }
}

TEST(XMLReader, ReadsBase64WithSpaceBetweenDigits) {
  expectValues({
      {"<data>TQ==</data>", dataOf("M")},
      {"<data>TWE=</data>", dataOf("Ma")},
      {"<data>TWFu</data>", dataOf("Man")},
      {"<data>\n\tTW\r\n\tFu\n\tTQ = =\n</data>", dataOf("ManM")},
      {"<data>TW<!-- between -->Fu</data>", dataOf("Man")},
      {"<data><![CDATA[TWFu]]></data>", dataOf("Man")},
      {"<data>+/+/</data>", dataOf("\xFB\xFF\xBF")},
      // What looks like a value of another kind is bytes all the same.
      {"<data>YnBsaXN0MDA=</data>", dataOf("bplist00")},
  });
}

TEST(XMLReader, RefusesWhatIsNoBase64) {
  for (const char* text : {"T", "TQ", "TWE", "TQ=", "TQ==TQ==", "TWFu=", "=", "====", "TW-u", "TW_u", "TW,u",
                           "T=Q=", "TWFu!", "TQ===", "TWFuT", "\xC3\xA9"}) {
    const ReadResult result = read("<data>"s + text + "</data>");
    EXPECT_FALSE(result.value) << text;
    EXPECT_THAT(result.error, HasSubstr("is no Base64 text at line 1, column 1.")) << text;
  }
}

// --- Text

TEST(XMLReader, JoinsTextReferencesAndCharacterData) {
  expectValues({
      {"<string>&lt;&gt;&amp;&quot;&apos;</string>", "<>&\"'"},
      {"<string>a&amp;b</string>", "a&b"},
      {"<string>&#65;&#x42;&#x0063;&#00000000000000000068;</string>", "ABcD"},
      {"<string>&#128664;&#x10FFFF;</string>", u"\U0001F698\U0010FFFF"},
      {"<string>&#9;&#10;&#13;</string>", "\t\n\r"},
      {"<string><![CDATA[<a> & b]]></string>", "<a> & b"},
      {"<string><![CDATA[]]></string>", ""},
      {"<string>a<![CDATA[b]]>c<![CDATA[d]]><![CDATA[e]]>f&amp;g</string>", "abcdef&g"},
      {"<string><![CDATA[]]]]><![CDATA[>]]></string>", "]]>"},
      {"<string>]]></string>", "]]>"},
      {"<string>a<!-- b -->c<?d e?>f</string>", "acf"},
      {"<string><!----></string>", ""},
      {"<string>a>b</string>", "a>b"},
      {"<string> a\tb\n c </string>", " a\tb\n c "},
      {"<string>a\r\nb\rc\n</string>", "a\nb\nc\n"},
      {"<string><![CDATA[a\r\nb\rc\r]]></string>", "a\nb\nc\n"},
      {"<string>a\r<!-- -->\nb</string>", "a\n\nb"},
      {"<string>a\r&#10;b</string>", "a\n\nb"},
      {"<string>\xC3\xA9\xE6\x97\xA5\xF0\x9F\x98\x80\x7F</string>", u"\u00E9\u65E5\U0001F600\u007F"},
      {"<string>\xEF\xBB\xBF\xEF\xBF\xBD</string>", u"\uFEFF\uFFFD"},
      {"<string>long enough to take more than a block \xC3\xA9 &amp; more</string>",
       u"long enough to take more than a block \u00E9 & more"},
      {"<string a=\"1\" b='>'>x</string >", "x"},
      {"<string\n>x</string\n>", "x"},
  });
}

TEST(XMLReader, RefusesReferencesThatNameNothing) {
  const std::string noCharacter = " that names no character of XML at line 1, column 10.";
  for (const char* reference :
       {"&#0;", "&#;", "&#x;", "&#xD800;", "&#57343;", "&#x110000;", "&#xFFFE;", "&#1;", "&#xB;", "&#-1;", "&#+1;",
        "&#x-1;", "&# 65;", "&#99999999999999;", "&#X41;", "&#6x;", "&#65x;", "&#x41g;"}) {
    const ReadResult result = read("<string>a"s + reference + "</string>");
    EXPECT_FALSE(result.value) << reference;
    EXPECT_EQ(result.error, "A reference \""s + reference + "\"" + noCharacter);
  }
  expectErrors({
      {"<string>&nbsp;</string>", "An entity that is not known, \"&nbsp;\", at line 1, column 9."},
      {"<string>&AMP;</string>", "An entity that is not known, \"&AMP;\", at line 1, column 9."},
      {"<string>&;</string>", "An entity that is not known, \"&;\", at line 1, column 9."},
      {"<string>a & b</string>", "A reference that never ends begins at line 1, column 11."},
      {"<string>&amp", "A reference that never ends begins at line 1, column 9."},
  });
}

TEST(XMLReader, RefusesCharactersThatXMLCannotHold) {
  expectErrors({
      {"<string>a\x01</string>", "The control character number 1, which XML cannot hold, at line 1, column 10."},
      {"<string>"s + '\0' + "</string>", "The control character number 0, which XML cannot hold, at line 1, column 9."},
      {"<string>\n\x1F</string>", "The control character number 31, which XML cannot hold, at line 2, column 1."},
      {"<string><![CDATA[\x0B]]></string>",
       "The control character number 11, which XML cannot hold, at line 1, column 18."},
      {"<!-- \x02 --><true/>", "The control character number 2, which XML cannot hold, at line 1, column 6."},
      {"<?x \x02 ?><true/>", "The control character number 2, which XML cannot hold, at line 1, column 5."},
      {"<array a='\x02'/>", "The control character number 2, which XML cannot hold, at line 1, column 11."},
      {"<!DOCTYPE plist SYSTEM '\x02'><true/>",
       "The control character number 2, which XML cannot hold, at line 1, column 25."},
      {"<!DOCTYPE plist [\n<!-- \x02 -->]><true/>",
       "The control character number 2, which XML cannot hold, at line 2, column 6."},
  });
}

TEST(XMLReader, RefusesInvalidUTF8) {
  const std::string text = "Bytes that are no valid UTF-8 form of a character of XML";
  for (const char* bytes : {"\x80", "\xC3", "\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xED\xBF\xBF",
                            "\xEF\xBF\xBE", "\xEF\xBF\xBF", "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80",
                            "\xF8\x90\x80\x80", "\xFF", "\x82\x80", "\xE2\x82", "\xE2\x28\xA1", "\xF0\x9F\x98"}) {
    SCOPED_TRACE(::testing::PrintToString(std::string(bytes)));
    const std::string b = bytes;
    EXPECT_EQ(read("<string>\xC3\xA9" + b + "</string>").error, text + " at line 1, column 10.");
    EXPECT_EQ(read("<string>&amp;" + b + "</string>").error, text + " at line 1, column 14.");
    EXPECT_EQ(read("<dict><key>" + b + "</key><true/></dict>").error, text + " at line 1, column 12.");
    EXPECT_EQ(read("<!--" + b + "--><true/>").error, text + " at line 1, column 5.");
    EXPECT_EQ(read("<string><![CDATA[" + b + "]]></string>").error, text + " at line 1, column 18.");
    EXPECT_EQ(read("<true a='" + b + "'/>").error, text + " at line 1, column 10.");
  }
}

// --- Markup

TEST(XMLReader, SkipsCommentsAndInstructionsAnywhere) {
  const Ref<NSObject> expected = entries({{"a", 1}, {"b", NSArray::of(true)}});
  for (const std::string remark : {"<!-- c -->", "<!---->", "<!----->", "<!-- a -- b -->", "<!-- <key>x</key> -->",
                                   "<?pi?>", "<?pi a?b>c ?>", " \t\r\n", "<!-- \xE6\x97\xA5 --><!-- -->"}) {
    SCOPED_TRACE(remark);
    std::string text;
    for (const char* part :
         {"<?xml version=\"1.0\"?>", "<!DOCTYPE plist>", "<plist version='1.0'>", "<dict>", "<key>a</key>",
          "<integer>1</integer>", "<key>b</key>", "<array>", "<true/>", "</array>", "</dict>", "</plist>"}) {
      text += part + remark;
    }
    const ReadResult result = read(text);
    EXPECT_TRUE(isEqual(result.value, expected)) << result.error;
    EXPECT_TRUE(isEqual(read(remark + text).value, expected));
  }
}

TEST(XMLReader, SkipsTheDocumentType) {
  for (const char* type : {"<!DOCTYPE plist>", "<!DOCTYPE plist SYSTEM \"file:///etc/passwd\">",
                           "<!DOCTYPE plist SYSTEM '>'>", "<!DOCTYPE plist PUBLIC \"]>\" '<!ENTITY'>",
                           "<!DOCTYPE plist []>", "<!DOCTYPE plist [ <!ELEMENT plist ANY> ] >",
                           "<!DOCTYPE plist [\n<!ATTLIST plist version CDATA \"1.0>\">\n<!-- ]> --><?pi ]> ?>\n]>",
                           "<!DOCTYPE plist [<!NOTATION n SYSTEM '>'>]>"}) {
    const ReadResult result = read(type + "<plist><true/></plist>"s);
    EXPECT_TRUE(isEqual(result.value, Ref<NSObject>(true))) << type << result.error;
  }
}

TEST(XMLReader, RefusesEntityDeclarations) {
  expectErrors({
      // An entity that would read a file of the machine.
      {"<!DOCTYPE plist [<!ENTITY x SYSTEM \"file:///etc/passwd\">]>\n<plist><string>&x;</string></plist>",
       "An entity declaration, which property lists cannot have, at line 1, column 18."},
      // Entities that expand to each other, a thousandfold at each level.
      {"<!DOCTYPE plist [\n<!ENTITY a \"ha\">\n<!ENTITY b \"&a;&a;&a;&a;&a;\">\n]>\n<string>&b;</string>",
       "An entity declaration, which property lists cannot have, at line 2, column 1."},
      {"<!DOCTYPE plist [<!ENTITY % p SYSTEM 'x'> %p;]><true/>",
       "An entity declaration, which property lists cannot have, at line 1, column 18."},
      {"<!DOCTYPE plist [%p;]><true/>", "A declaration was expected in the document type at line 1, column 18."},
      {"<!DOCTYPE plist [<![INCLUDE[]]>]><true/>", "An unknown declaration at line 1, column 18."},
      {"<!DOCTYPE plist [<true/>]><true/>", "An unknown declaration at line 1, column 18."},
      {"<!DOCTYPE plist [<!DOCTYPE x []>]><true/>", "An unknown declaration at line 1, column 18."},
  });
}

TEST(XMLReader, RefusesMisplacedAndUnfinishedMarkup) {
  expectErrors({
      {"<!DOCTYPE a><!DOCTYPE b><true/>",
       "A document type that does not stand alone before the property list at line 1, column 13."},
      {"<plist><!DOCTYPE b><true/></plist>",
       "A document type that does not stand alone before the property list at line 1, column 8."},
      {"<dict><!DOCTYPE b></dict>",
       "A document type that does not stand alone before the property list at line 1, column 7."},
      {"<!DOCTYPE plist", "A document type that is malformed or never ends begins at line 1, column 1."},
      {"<!DOCTYPE plist <true/>", "A document type that is malformed or never ends begins at line 1, column 1."},
      {"<!DOCTYPE plist [<!ELEMENT a", "A declaration that never ends begins at line 1, column 18."},
      {"<!DOCTYPE plist '", "A quoted text that never ends begins at line 1, column 17."},
      {"\n <!-- a", "A comment that never ends begins at line 2, column 2."},
      {"<!-->", "A comment that never ends begins at line 1, column 1."},
      {"<?xml", "A processing instruction that never ends begins at line 1, column 1."},
      {"<string><![CDATA[a]></string>", "A CDATA section that never ends begins at line 1, column 9."},
      {"<array><![CDATA[]]></array>",
       "An element of a property list was expected, but \"<![CDATA[]]></array>\" found at line 1, column 8."},
      {"<true", "The tag <true> has no \">\" at line 1, column 6."},
      {"<true /", "The tag <true> has no \">\" at line 1, column 8."},
      {"<true a>", "A malformed attribute at line 1, column 7."},
      {"<true a=1/>", "An attribute whose value is not in quotes at line 1, column 9."},
      {"<true a='1'b='2'/>", "A malformed attribute at line 1, column 12."},
      {"<true ='1'/>", "A malformed attribute at line 1, column 7."},
      {"<true a@='1'/>", "A malformed attribute at line 1, column 7."},
      {"<true a[='1'/>", "A malformed attribute at line 1, column 7."},
      {"<true a`='1'/>", "A malformed attribute at line 1, column 7."},
      {"<true a{='1'/>", "A malformed attribute at line 1, column 7."},
      {"<true a,='1'/>", "A malformed attribute at line 1, column 7."},
      {"<true a;='1'/>", "A malformed attribute at line 1, column 7."},
      {"<true a=\"1/>", "A quoted text that never ends begins at line 1, column 9."},
      {"<array></array b='1'>", "The tag <array> has no \">\" at line 1, column 16."},
      {"<true></true/>", "The tag <true> has no \">\" at line 1, column 13."},
  });
}

TEST(XMLReader, AttributesAreSkipped) {
  expectValues({
      {"<integer a=\">\" b='/>' c = \"<true/>\" xml:lang='\xC3\xA9'>1</integer>", 1},
      {"<integer AZ='' a-z='' a.z='' _09='' \xC3\xA9=''>1</integer>", 1},
      {"<true a='/'/>", true},
      {"<dict a='1'><key b='2'>k</key ><string c='3'/></dict >", entries({{"k", ""}})},
  });
}

// --- Structure

TEST(XMLReader, WantsExactlyOneRoot) {
  expectErrors({
      {"<!-- nothing -->", "A property list was expected, but the text ends at line 1, column 17."},
      {"<?xml version='1.0'?>\n", "A property list was expected, but the text ends at line 2, column 1."},
      {"<plist/>", "A value was expected, but <plist> found at line 1, column 1."},
      {"<plist></plist>", "A value was expected at line 1, column 8."},
      {"<plist><plist><true/></plist></plist>", "A value was expected, but <plist> found at line 1, column 8."},
      {"<plist><true/>", "</plist> was expected after the one value at line 1, column 15."},
      {"<plist><true/><true/></plist>", "</plist> was expected after the one value at line 1, column 15."},
      {"<plist><true/></dict>", "</plist> was expected after the one value at line 1, column 15."},
      {"<true/><true/>", "The end of the text was expected, but another tag found at line 1, column 8."},
      {"<plist><true/></plist>\n<plist/>",
       "The end of the text was expected, but another tag found at line 2, column 1."},
      {"<plist>\n<true/>\n</plist>\n  garbage", "A tag was expected, but \"garbage\" found at line 4, column 3."},
      {"<plist>text<true/></plist>", "A tag was expected, but \"text<true/></plist>\" found at line 1, column 8."},
      {"<plist><true/></plist>"s + '\0', "A tag was expected, but \"?\" found at line 1, column 23."},
      {"<html><body/></html>",
       "An element of a property list was expected, but \"<html><body/></html>\" found at line 1, column 1."},
      {"<?xml version='1.0'?><Dict/>",
       "An element of a property list was expected, but \"<Dict/>\" found at line 1, column 22."},
      {"<!-- --></plist>", "A value was expected at line 1, column 9."},
      {"<key>a</key>", "A value was expected, but <key> found at line 1, column 1."},
  });
}

TEST(XMLReader, WantsKeysWithValuesInDictionaries) {
  expectErrors({
      {"<dict><integer>1</integer></dict>", "<key> or </dict> was expected at line 1, column 7."},
      {"<dict><key>a</key></dict>", "A value was expected at line 1, column 19."},
      {"<dict><key>a</key><key>b</key></dict>", "A value was expected, but <key> found at line 1, column 19."},
      {"<dict>\n<key>a</key><true/>\n\t<true/></dict>", "<key> or </dict> was expected at line 3, column 2."},
      {"<dict><key><string>a</string></key><true/></dict>",
       "Only text may stand in <key>, but \"<string>a</string></key>\" found at line 1, column 12."},
      {"<dict>", "<key> or </dict> was expected at line 1, column 7."},
      {"<dict><key>a", "An element <key> that never ends begins at line 1, column 7."},
      {"<dict></array>", "<key> or </dict> was expected at line 1, column 7."},
      {"<dict></key><true/></dict>", "<key> or </dict> was expected at line 1, column 7."},
      {"<array><key>a</key></array>", "A value was expected, but <key> found at line 1, column 8."},
      {"<array></dict>", "A value was expected at line 1, column 8."},
      {"<array><true/>", "A value was expected at line 1, column 15."},
      {"<array>text</array>", "A tag was expected, but \"text</array>\" found at line 1, column 8."},
      {"<array>&#32;</array>", "A tag was expected, but \"&#32;</array>\" found at line 1, column 8."},
      {"<string>a<b/></string>", "Only text may stand in <string>, but \"<b/></string>\" found at line 1, column 10."},
      {"<string>a</str>", "</string> was expected, but \"</str>\" found at line 1, column 10."},
      {"<string>a</stringx>", "</string> was expected, but \"</stringx>\" found at line 1, column 10."},
      {"<string>a", "An element <string> that never ends begins at line 1, column 1."},
      {"<true>x</true>", "A tag was expected, but \"x</true>\" found at line 1, column 7."},
      {"<true></false>", "</true> was expected at line 1, column 7."},
  });
}

TEST(XMLReader, ColumnsCountCharactersAndLinesEndInEachWay) {
  expectErrors({
      {"<array>\xC3\xA9</array>", "A tag was expected, but \"\xC3\xA9</array>\" found at line 1, column 8."},
      {"<!-- \xE6\x97\xA5\xF0\x9F\x98\x80 -->x", "A tag was expected, but \"x\" found at line 1, column 12."},
      {"<array>\r\n\r<true/>\n x</array>", "A tag was expected, but \"x</array>\" found at line 4, column 2."},
      {"\xEF\xBB\xBF<array>x", "A tag was expected, but \"x\" found at line 1, column 8."},
  });
}

TEST(XMLReader, TheLastOfEqualKeysWinsInThePlaceOfTheFirst) {
  for (const NSUInteger option : kAllOptions) {
    const Ref<NSObject> value =
        read("<dict><key>a</key><integer>1</integer><key>b</key><true/><key>&#97;</key><string>x</string></dict>",
             option)
            .value;
    ASSERT_TRUE(value);
    EXPECT_TRUE(isEqual(value, entries({{"a", "x"}, {"b", true}})));
    EXPECT_TRUE(isEqual(as<NSDictionary>(value)->allKeys(), NSArray::of("a", "b")));
  }
}

TEST(XMLReader, KeepsTheOrderOfKeys) {
  std::string text = "<dict>";
  std::vector<std::string> names;
  for (int at = 0; at < 500; ++at) {
    names.push_back("key" + std::to_string(at * 7919 % 500));
    text += "<key>" + names.back() + "</key><integer>" + std::to_string(at) + "</integer>";
  }
  const ReadResult result = read(text + "</dict>");
  const Ref<NSDictionary> dictionary = as<NSDictionary>(result.value);
  ASSERT_TRUE(dictionary) << result.error;
  ASSERT_EQ(dictionary->count(), 500U);
  std::size_t at = 0;
  for (const auto& [key, value] : *dictionary) {
    EXPECT_EQ(as<NSString>(key)->utf8(), names[at]);
    EXPECT_EQ(as<NSNumber>(value)->intValue(), static_cast<int>(at++));
  }
}

TEST(XMLReader, EqualKeysOfADocumentAreOneString) {
  const ReadResult result = read(
      "<array><dict><key>Name</key><true/><key>\xC3\xA9</key><true/></dict>"
      "<dict><key>Name</key><true/><key>&#xE9;</key><true/><key><![CDATA[Name]]>x</key><true/></dict></array>");
  ASSERT_TRUE(result.value) << result.error;
  const NSArray& array = *as<NSArray>(result.value);
  const Ref<NSArray> first = as<NSDictionary>(array[0])->allKeys();
  const Ref<NSArray> second = as<NSDictionary>(array[1])->allKeys();
  EXPECT_EQ(first->objectAtIndex(0), second->objectAtIndex(0));
  EXPECT_EQ(first->objectAtIndex(1), second->objectAtIndex(1));
  EXPECT_TRUE(isEqual(second, NSArray::of("Name", u"\u00E9", "Namex")));
}

// A guess at the next key must not accept what the document does not say.
TEST(XMLReader, KeysAreNotGuessedWrong) {
  const ReadResult result = read(
      "<array><dict><key>a</key><true/><key>b</key><true/></dict>"
      "<dict><key>a</key><true/><key>bc</key><true/></dict>"
      "<dict><key>a</key><true/><key>b&amp;c</key><true/></dict>"
      "<dict><key>a</key><true/><key>b&amp;c</key><true/></dict>"
      "<dict><key>a</key><true/><key>b</key ><true/></dict>"
      "<dict><key>a</key><true/><key/><true/></dict>"
      "<dict><key>a</key><true/><key></key><true/></dict></array>");
  ASSERT_TRUE(result.value) << result.error;
  std::string keys;
  for (const Ref<NSObject>& item : *as<NSArray>(result.value)) {
    keys += as<NSString>(as<NSDictionary>(item)->allKeys()->lastObject())->utf8() + "|";
  }
  EXPECT_EQ(keys, "b|bc|b&c|b&c|b|||");
  EXPECT_EQ(read("<array><dict><key>a</key><true/><key>b&amp;c</key><true/></dict>"
                 "<dict><key>a</key><true/><key>b&c</key><true/></dict></array>")
                .error,
            "A reference that never ends begins at line 1, column 96.");
  EXPECT_EQ(read("<array><dict><key>a</key><true/><key>b</key><true/></dict>"
                 "<dict><key>a</key><true/><key/>b</key><true/></dict></array>")
                .error,
            "A tag was expected, but \"b</key><true/></dict></a\" found at line 1, column 90.");
}

TEST(XMLReader, AUIDStaysADictionary) {
  expectValues({{"<dict><key>CF$UID</key><integer>3</integer></dict>", entries({{"CF$UID", 3}})}});
}

TEST(XMLReader, EachMutabilityMakesItsFlavours) {
  const char* const text =
      "<dict><key>s</key><string>x</string><key>e</key><string/><key>u</key><string>\xE6\x97\xA5</string>"
      "<key>a</key><array><dict/></array><key>d</key><data>AQID</data></dict>";
  for (const NSUInteger option : kAllOptions) {
    const Ref<NSObject> value = read(text, option).value;
    ASSERT_TRUE(value);
    const NSDictionary& root = *as<NSDictionary>(value);
    const bool containers = option != NSPropertyListImmutable;
    const bool leaves = option == NSPropertyListMutableContainersAndLeaves;
    EXPECT_EQ(root.isMutable(), containers);
    EXPECT_EQ(root.objectForKey("a")->isMutable(), containers);
    EXPECT_EQ(as<NSArray>(root.objectForKey("a"))->firstObject()->isMutable(), containers);
    for (const char* key : {"s", "e", "u"}) EXPECT_EQ(root.objectForKey(key)->isMutable(), leaves) << key;
    EXPECT_FALSE(root.objectForKey("d")->isMutable());
    for (const auto& [key, item] : root) EXPECT_FALSE(key->isMutable());
    if (leaves) {
      as<NSMutableString>(root.objectForKey("u"))->appendString("!");
      EXPECT_TRUE(isEqual(root.objectForKey("u"), Ref<NSObject>(u"\u65E5!")));
    }
  }
}

// --- Depth, size and damage

TEST(XMLReader, RefusesContainersDeeperThan512) {
  const auto nested = [](std::size_t depth) {
    return repeated("<array>", depth) + "<true/>" + repeated("</array>", depth);
  };
  EXPECT_TRUE(read(nested(512)).value);
  const std::string error = "Containers nested deeper than 512 levels at line 1, column 3585.";
  EXPECT_EQ(read(nested(513)).error, error);
  EXPECT_EQ(read(repeated("<array>", 1'000'000)).error, error);
  EXPECT_TRUE(read(repeated("<dict><key>k</key>", 512) + "<true/>" + repeated("</dict>", 512)).value);
  EXPECT_THAT(read(repeated("<dict><key>k</key>", 500'000)).error, HasSubstr("nested deeper than 512"));
  EXPECT_TRUE(read(repeated("<array>", 511) + "<dict/>" + repeated("</array>", 511)).value);
  EXPECT_FALSE(read(repeated("<array>", 512) + "<dict/>" + repeated("</array>", 512)).value);
}

TEST(XMLReader, ATextCutAnywhereIsAnErrorAndNothingElse) {
  const std::string body = wrapped(
      "<!-- c --><dict "
      "a='1'><key>k\xC3\xA9&amp;</key><array><string>a<![CDATA[b]]>&#233;</string><integer>-12</integer>"
      "<real>1e5</real><true/><false></false><date>2001-01-01T00:00:00Z</date><data>AQID</data></array>"
      "<key/><dict/></dict><?pi?>");
  const std::size_t end = body.rfind("</plist>") + 8;
  ASSERT_TRUE(read(body).value) << read(body).error;
  for (std::size_t length = 1; length < end; ++length) {
    for (const NSUInteger option : kAllOptions) {
      const ReadResult result = read(body.substr(0, length), option);
      EXPECT_FALSE(result.value) << length;
      EXPECT_THAT(result.error, HasSubstr(" at line ")) << length;
    }
  }
  EXPECT_TRUE(read(body.substr(0, end)).value);
}

TEST(XMLReader, AnyByteMayBeDamaged) {
  const std::string body =
      wrapped("<dict><key>k</key><array><string>a&amp;b</string><integer>1</integer></array></dict>");
  for (std::size_t at = 0; at < body.size(); ++at) {
    for (const unsigned byte : {0U, 9U, 38U, 60U, 62U, 34U, 47U, 65U, 128U, 195U, 255U}) {
      std::string damaged = body;
      damaged[at] = static_cast<char>(byte);
      const ReadResult result = read(damaged);
      EXPECT_NE(static_cast<bool>(result.value), !result.error.empty());
    }
  }
}

// Each of these would take minutes if the work were not in proportion to the length.
TEST(XMLReader, HostileTextTakesLinearTime) {
  constexpr std::size_t kCount = 300'000;
  const auto start = std::chrono::steady_clock::now();
  const std::string texts[] = {
      repeated("<!--", kCount),
      repeated("<", kCount),
      "<string>" + repeated("&", kCount) + "</string>",
      "<string>" + repeated("&amp", kCount) + ";</string>",
      "<string>" + repeated("&amp;", kCount) + "</string>",
      "<string>" + repeated("\r", kCount) + "</string>",
      "<string>" + repeated("\xC3\xA9", kCount) + "</string>",
      "<string>" + repeated("<!---->", kCount) + "</string>",
      "<string>" + repeated("<![CDATA[]]>", kCount) + "</string>",
      "<string>" + repeated("]]", kCount),
      "<integer>" + repeated("0", kCount) + "1</integer>",
      "<real>0." + repeated("0", kCount) + "1</real>",
      "<real>" + repeated("1", kCount) + "</real>",
      "<real>1e" + repeated("0", kCount) + "1</real>",
      "<date>" + repeated("2", kCount) + "</date>",
      "<data>" + repeated(" ", kCount) + "</data>",
      "<true " + repeated("a='' ", kCount) + "/>",
      "<!DOCTYPE p [" + repeated("<!ELEMENT a>", kCount) + "]><true/>",
      "<array>" + repeated("<array/>", kCount) + "</array>",
      "<dict>" + repeated("<key>k</key><true/>", kCount) + "</dict>",
      repeated("\n", kCount) + "x",
  };
  for (const std::string& text : texts) {
    const ReadResult result = read(text);
    EXPECT_NE(static_cast<bool>(result.value), !result.error.empty()) << text.substr(0, 40);
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
}

TEST(XMLReader, ManyDifferentKeysTakeLinearTime) {
  std::string text = "<dict>";
  for (int at = 0; at < 100'000; ++at) text += "<key>" + std::to_string(at) + "</key><true/>";
  const ReadResult result = read(text + "</dict>");
  ASSERT_TRUE(result.value) << result.error;
  EXPECT_EQ(as<NSDictionary>(result.value)->count(), 100'000U);
  EXPECT_TRUE(as<NSDictionary>(result.value)->containsKey("99999"));
}

// --- Encodings

std::string asUTF16(std::u16string_view text, bool isBig) {
  std::string bytes;
  for (const char16_t unit : text) {
    const char high = static_cast<char>(unit >> 8), low = static_cast<char>(unit & 0xFF);
    bytes += isBig ? high : low;
    bytes += isBig ? low : high;
  }
  return bytes;
}

std::string asUTF32(std::u32string_view text, bool isBig) {
  std::string bytes;
  for (const char32_t unit : text) {
    for (unsigned at = 0; at < 4; ++at) bytes += static_cast<char>(unit >> 8 * (isBig ? 3 - at : at) & 0xFF);
  }
  return bytes;
}

TEST(XMLReader, ReadsEveryFormOfUnicodeWithAndWithoutAMark) {
  const Ref<NSObject> expected = u"\u00E9\u65E5\U0001F600";
  const std::u16string text =
      u"<?xml version='1.0' encoding='UTF-16'?>\n<plist><string>\u00E9\u65E5\U0001F600</string></plist>";
  const std::u32string wide =
      U"<?xml version='1.0' encoding='UTF-32'?>\n<plist><string>\u00E9\u65E5\U0001F600</string></plist>";
  const std::string narrow = wrapped("<string>\xC3\xA9\xE6\x97\xA5\xF0\x9F\x98\x80</string>");
  const std::string cases[] = {
      narrow,
      "\xEF\xBB\xBF" + narrow,
      asUTF16(text, true),
      asUTF16(text, false),
      "\xFE\xFF" + asUTF16(text, true),
      "\xFF\xFE" + asUTF16(text, false),
      asUTF16(u"\n " + text.substr(39), true),
      asUTF16(u"\n " + text.substr(39), false),
      asUTF32(wide, true),
      asUTF32(wide, false),
      "\0\0\xFE\xFF"s + asUTF32(wide, true),
      "\xFF\xFE\0\0"s + asUTF32(wide, false),
      // A program that recoded the text to UTF-8 and left the declaration alone.
      "<?xml version='1.0' encoding='UTF-16'?><string>\xC3\xA9\xE6\x97\xA5\xF0\x9F\x98\x80</string>",
      "<?xml version='1.0' encoding=\"utf8\"?><string>\xC3\xA9\xE6\x97\xA5\xF0\x9F\x98\x80</string>",
  };
  for (const std::string& bytes : cases) {
    for (const NSUInteger option : kAllOptions) {
      const ReadResult result = read(bytes, option);
      EXPECT_TRUE(isEqual(result.value, expected))
          << result.error << " in " << ::testing::PrintToString(bytes.substr(0, 16));
    }
  }
}

TEST(XMLReader, RefusesDamagedUTF16AndUTF32) {
  expectErrors({
      {asUTF16(u"<string>\xD83D</string>", true), "The text is not valid UTF-16 at byte offset 16."},
      {"\xFF\xFE" + asUTF16(u"<string>\xDE00</string>", false), "The text is not valid UTF-16 at byte offset 18."},
      {asUTF16(u"<true/>", true) + "\n", "The text is not valid UTF-16 at byte offset 14."},
      {asUTF32(U"<string>", true) + "\0\x11\0\0"s, "The text is not valid UTF-32 at byte offset 32."},
      {asUTF32(U"<string>", false) + "\0\xD8\0\0"s, "The text is not valid UTF-32 at byte offset 32."},
      {asUTF32(U"<string>", true) + "\0\0\xD8\x3D\0\0\xDE\x00"s, "The text is not valid UTF-32 at byte offset 32."},
      {asUTF32(U"<true/>", false) + "\n", "The text is not valid UTF-32 at byte offset 28."},
  });
}

TEST(XMLReader, ReadsTheEncodingThatTheDeclarationNames) {
  const auto declared = [](const char* encoding, const char* text) {
    return "<?xml version=\"1.0\" encoding=\""s + encoding + "\"?><string>" + text + "</string>";
  };
  const struct {
    std::string xml;
    Ref<NSObject> expected;
  } cases[] = {
      {declared("ISO-8859-1", "caf\xE9"), u"caf\u00E9"},
      {declared("us-ascii", "abc"), "abc"},
      {declared("windows-1252", "\x80"), u"\u20AC"},
      {declared("Shift_JIS", "\x93\xFA"), u"\u65E5"},
      {declared("macintosh", "caf\x8E"), u"caf\u00E9"},
      {"\n <?xml version='1.0' encoding = 'latin1' standalone='yes'?><string>\xE9</string>", u"\u00E9"},
      {"\r\t<?xml\tversion='1.0'\rencoding\r=\t'latin1'\n?><string>\xE9</string>", u"\u00E9"},
      {"<?xml\rencoding='latin1'?><string>\xE9</string>", u"\u00E9"},
      {"<?xml version='1.0'?><string>\xC3\xA9</string>", u"\u00E9"},
  };
  for (const auto& [xml, expected] : cases) {
    const ReadResult result = read(xml);
    EXPECT_TRUE(isEqual(result.value, expected)) << xml << ": " << result.error << result.value;
  }
  EXPECT_EQ(read(declared("klingon", "x")).error,
            "The encoding \"klingon\" that the XML declaration names at byte offset 30 is not known.");
  EXPECT_EQ(read(declared("EUC-JP", "\xFF")).error,
            "The text is not valid in the encoding \"EUC-JP\", which the XML declaration names, at byte offset 47.");
  EXPECT_THAT(read(declared("ISO-8859-1", "\x01")).error, HasSubstr("control character number 1"));
}

}  // namespace
}  // namespace ZtFoundation
