#include <gtest/gtest.h>
#include <pthread.h>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Dictionary.h>

#include "support/ChildProcess.h"
#include "support/Sanitizers.h"
#include "support/Serialization.h"

namespace ZtFoundation {
namespace {

using namespace support;
using namespace std::literals;

constexpr NSUInteger kAllOptions[] = {0, 1, 2};
const std::string kPrefix = "This is neither a binary nor an XML property list, and as OpenStep text: ";

Ref<NSObject> entries(std::initializer_list<DictionaryEntry> list) { return NSDictionary::dictionaryWithEntries(list); }

TEST(OpenStepReader, ReadsEachKindOfValue) {
  const struct {
    std::string text;
    Ref<NSObject> expected;
  } cases[] = {
      // Strings
      {"hello", "hello"},
      {" hello\n", "hello"},
      {"a_b$c.d/e:f-9", "a_b$c.d/e:f-9"},
      {"http://example.org/*x", Ref<NSObject>()},
      {"http://example.org/x", "http://example.org/x"},
      {"/usr/bin", "/usr/bin"},
      {"\"\"", ""},
      {"''", ""},
      {"\"two words\"", "two words"},
      {"'two \"words\"'", "two \"words\""},
      {"\"it's\"", "it's"},
      {"\"a\nb\"", "a\nb"},
      {"\"Gr\xC3\xBC\xC3\x9F\x65\"", u"Gr\u00FC\u00DFe"},
      {"\"{ not = parsed; }\"", "{ not = parsed; }"},
      {"\"// no comment /* here */\"", "// no comment /* here */"},
      // Escapes
      {R"("\a\b\f\n\r\t\v")", "\a\b\f\n\r\t\v"},
      {R"("\\ \" \'")", "\\ \" '"},
      {R"('\\ \" \'')", "\\ \" '"},
      {R"("\x\$\é")", u"x$\u00E9"},
      {"\"a\\\nb\"", "a\nb"},
      {R"("\0")", u"\0"s},
      {R"("\101\1011\7z")", "AA1\az"},
      {R"("\200\341\256")", u"\u00A0\u00C6\uFB01"},
      {R"("\U20ac\u20AC\U0041z")", u"\u20AC\u20ACAz"},
      {R"("\Ud83d\Ude80")", u"\U0001F680"},
      {R"("\Ud83d")", std::u16string(1, u'\xD83D')},
      {R"("é\n€")", u"\u00E9\n\u20AC"},
      // Data
      {"<>", NSData::data()},
      {"< >", NSData::data()},
      {"<0fbd77 1c2735ae>", NSData::dataWithBytes("\x0f\xbd\x77\x1c\x27\x35\xae")},
      {"<DEad>", NSData::dataWithBytes("\xde\xad")},
      {"<da\n7a>", NSData::dataWithBytes("\xda\x7a")},
      {"<0 f>", NSData::dataWithBytes("\x0f")},
      // Arrays
      {"()", NSArray::array()},
      {"( )", NSArray::array()},
      {"(a)", NSArray::of("a")},
      {"(a,b)", NSArray::of("a", "b")},
      {"( a , \"b\" , )", NSArray::of("a", "b")},
      {"((), {}, <>)", NSArray::of(NSArray::array(), NSDictionary::dictionary(), NSData::data())},
      // Dictionaries
      {"{}", entries({})},
      {"{ }", entries({})},
      {"{a=b;}", entries({{"a", "b"}})},
      {"{a=b}", entries({{"a", "b"}})},
      {"{ a = b; c = d }", entries({{"a", "b"}, {"c", "d"}})},
      {"{ \"\" = ''; }", entries({{"", ""}})},
      {"{ 'a b' = (c); d = { e = <00>; }; }",
       entries({{"a b", NSArray::of("c")}, {"d", entries({{"e", NSData::dataWithBytes("\0"sv)}})}})},
      // Without braces
      {"a = b;", entries({{"a", "b"}})},
      {"a = b", entries({{"a", "b"}})},
      {"/* Title */\n\"OK\" = \"In Ordnung\";\n\"Cancel\" = (a);\n",
       entries({{"OK", "In Ordnung"}, {"Cancel", NSArray::of("a")}})},
      // Comments
      {"// first\n{ /* a */ a /**/ = // b\n b /***/ ; }// last", entries({{"a", "b"}})},
      {"/* a / * b */ (a /* , b */)", NSArray::of("a")},
      {"(a, // one\r b)", NSArray::of("a", "b")},
      {"// !$*UTF8*$!\n{ isa = PBXGroup; path = \"a b/c.m\"; }", entries({{"isa", "PBXGroup"}, {"path", "a b/c.m"}})},
      // Equal keys
      {"{a = 1; b = 2; a = 3; }", entries({{"a", "3"}, {"b", "2"}})},
      // Other forms of Unicode
      {"\xEF\xBB\xBF{a = \"\xC3\xA9\"; }", entries({{"a", u"\u00E9"}})},
      {"\xFE\xFF\0{\0a\0=\x20\xAC\0}"s, Ref<NSObject>()},
      {"\xFE\xFF\0{\0a\0=\0\"\x20\xAC\0\"\0}"s, entries({{"a", u"\u20AC"}})},
      {"\xFF\xFE{\0a\0=\0b\0}\0"s, entries({{"a", "b"}})},
      {"{\0a\0=\0b\0}\0"s, entries({{"a", "b"}})},
      {"\0(\0a\0)"s, NSArray::of("a")},
  };
  for (const auto& [text, expected] : cases) {
    for (const NSUInteger option : kAllOptions) {
      SCOPED_TRACE(::testing::PrintToString(text));
      const ReadResult result = read(text, option);
      if (!expected) {
        EXPECT_FALSE(result.value) << result.value;
        continue;
      }
      ASSERT_TRUE(result.value) << result.error;
      EXPECT_TRUE(isEqual(result.value, expected)) << result.value;
      EXPECT_EQ(result.format, NSUInteger{NSPropertyListOpenStepFormat});
      EXPECT_EQ(result.error, "");
    }
  }
}

TEST(OpenStepReader, KeepsTheOrderOfKeys) {
  const Ref<NSObject> value = read("{ z = 1; m = 2; a = 3; m = 4; }").value;
  std::string keys;
  for (const auto& [key, item] : *as<NSDictionary>(value)) keys += key->description()->utf8();
  EXPECT_EQ(keys, "zma");
}

TEST(OpenStepReader, TheOptionDecidesTheFlavours) {
  for (const NSUInteger option : kAllOptions) {
    for (const char* text : {"{ a = (b); }", "a = (b);"}) {
      const Ref<NSDictionary> value = as<NSDictionary>(read(text, option).value);
      ASSERT_TRUE(value);
      const NSArray* list = as<NSArray>(value->begin()->value.get());
      EXPECT_EQ(value->isMutable(), option != 0);
      EXPECT_EQ(list->isMutable(), option != 0);
      EXPECT_EQ(list->objectAtIndex(0)->isMutable(), option == 2);
      EXPECT_FALSE(value->begin()->key->isMutable());
    }
    EXPECT_EQ(read("text", option).value->isMutable(), option == 2);
    EXPECT_EQ(read("\"te\\u0041xt\"", option).value->isMutable(), option == 2);
  }
}

TEST(OpenStepReader, SaysWhatIsWrongAndWhere) {
  const struct {
    std::string text;
    const char* error;
  } cases[] = {
      {" \n\t ", "Expected a value, but found the end of the text at line 2, column 3."},
      {"// nothing", "Expected a value, but found the end of the text at line 1, column 11."},
      {"/* nothing */", "Expected a value, but found the end of the text at line 1, column 14."},
      {"/* no end", "Expected the end of the comment that begins at line 1, column 1."},
      {"{ a = b; /*", "Expected the end of the comment that begins at line 1, column 10."},
      {"[Main]\nName=Alice\n", "Expected a value, but found \"[\" at line 1, column 1."},
      {"}", "Expected a value, but found \"}\" at line 1, column 1."},
      {"\x01", "Expected a value, but found a control character at line 1, column 1."},
      {"\x7F", "Expected a value, but found a control character at line 1, column 1."},
      {"\xC3\xA9", "Expected a value, but found \"\xC3\xA9\" at line 1, column 1."},
      {"\xF0\x9F\x9A\x80", "Expected a value, but found \"\xF0\x9F\x9A\x80\" at line 1, column 1."},
      {"{", "Expected a key, but found the end of the text at line 1, column 2."},
      {"{ a", "Expected \"=\" after a key, but found the end of the text at line 1, column 4."},
      {"{ a; }", "Expected \"=\" after a key, but found \";\" at line 1, column 4."},
      {"{ a = ; }", "Expected a value, but found \";\" at line 1, column 7."},
      {"{ a = b c = d; }", "Expected \";\" after a value, but found \"c\" at line 1, column 9."},
      {"{ a = b", "Expected \";\" after a value, but found the end of the text at line 1, column 8."},
      {"{ a = b;", "Expected a key, but found the end of the text at line 1, column 9."},
      {"{ a = b;; }", "Expected a key, but found \";\" at line 1, column 9."},
      {"{ (a) = b; }", "Expected a key, but found \"(\" at line 1, column 3."},
      {"{ <00> = b; }", "Expected a key, but found \"<\" at line 1, column 3."},
      {"{ a = b; } x", "Expected nothing more after the property list, but found \"x\" at line 1, column 12."},
      {"{}{}", "Expected nothing more after the property list, but found \"{\" at line 1, column 3."},
      {"(a))", "Expected nothing more after the property list, but found \")\" at line 1, column 4."},
      {"\"a\" \"b\"", "Expected \"=\" after a key, but found \"\"\" at line 1, column 5."},
      {"a = b; }", "Expected a key, but found \"}\" at line 1, column 8."},
      {"a = b c", "Expected \";\" after a value, but found \"c\" at line 1, column 7."},
      {"(", "Expected a value, but found the end of the text at line 1, column 2."},
      {"(a", "Expected \",\" or \")\" after an element, but found the end of the text at line 1, column 3."},
      {"(a b)", "Expected \",\" or \")\" after an element, but found \"b\" at line 1, column 4."},
      {"(,)", "Expected a value, but found \",\" at line 1, column 2."},
      {"(a,,b)", "Expected a value, but found \",\" at line 1, column 4."},
      {"(a;)", "Expected \",\" or \")\" after an element, but found \";\" at line 1, column 3."},
      {"<0", "Expected a hexadecimal digit or \">\", but found the end of the text at line 1, column 3."},
      {"<0>", "Expected a second hexadecimal digit for the last byte, but found \">\" at line 1, column 3."},
      {"<0g>", "Expected a hexadecimal digit or \">\", but found \"g\" at line 1, column 3."},
      {"<0@>", "Expected a hexadecimal digit or \">\", but found \"@\" at line 1, column 3."},
      {"<0`>", "Expected a hexadecimal digit or \">\", but found \"`\" at line 1, column 3."},
      {"<0:>", "Expected a hexadecimal digit or \">\", but found \":\" at line 1, column 3."},
      {"<0/>", "Expected a hexadecimal digit or \">\", but found \"/\" at line 1, column 3."},
      {"(<abc>)", "Expected a second hexadecimal digit for the last byte, but found \">\" at line 1, column 6."},
      {"<*I5>", "Typed values such as <*I1> are not understood at line 1, column 1."},
      {"{ a = <*BY>; }", "Typed values such as <*I1> are not understood at line 1, column 7."},
      {"\"abc", "Expected the end of the string that begins at line 1, column 1."},
      {"\"abc\\", "Expected the end of the string that begins at line 1, column 1."},
      {"\"abc\\\"", "Expected the end of the string that begins at line 1, column 1."},
      {"\"abc'", "Expected the end of the string that begins at line 1, column 1."},
      {"{ a = \"\\n; }", "Expected the end of the string that begins at line 1, column 7."},
      {"\"\\400\"", "Expected an octal number up to 377 at line 1, column 3."},
      {"\"\\U12\"", "Expected four hexadecimal digits, but found \"\"\" at line 1, column 6."},
      {"\"\\u12", "Expected four hexadecimal digits, but found the end of the text at line 1, column 6."},
      {"\"\xFF\"", "Expected a string in UTF-8 at line 1, column 1."},
      {"\"\\n\xFF\"", "Expected a string in UTF-8 at line 1, column 1."},
      {"\"\xED\xA0\x80\"", "Expected a string in UTF-8 at line 1, column 1."},
      {"{\n\ta = 1;\r\n\tb = \xC3\xA9;\r\n}", "Expected a value, but found \"\xC3\xA9\" at line 3, column 6."},
      {"{\r a = \"\xC3\xA9\xC3\xA9\" + }", "Expected \";\" after a value, but found \"+\" at line 2, column 11."},
  };
  for (const auto& [text, error] : cases) {
    SCOPED_TRACE(::testing::PrintToString(text));
    const ReadResult result = read(text);
    EXPECT_FALSE(result.value) << result.value;
    EXPECT_EQ(result.error, kPrefix + error);
    EXPECT_EQ(result.format, 0U);
  }
}

TEST(OpenStepReader, BytesThatEndNoCharacterAreNotAllShown) {
  const std::string shown = read("\xC3" + std::string(100'000, '\xA9')).error;
  EXPECT_TRUE(shown.starts_with(kPrefix + "Expected a value, but found \"")) << shown;
  EXPECT_LT(shown.size(), 200U);
}

TEST(OpenStepReader, NestsUpToTheLimit) {
  const auto repeated = [](const char* text, int count) {
    std::string result;
    for (int at = 0; at < count; ++at) result += text;
    return result;
  };
  EXPECT_TRUE(read(repeated("(", 512) + repeated(")", 512)).value);
  EXPECT_TRUE(read(repeated("{a=", 511) + "{}" + repeated("}", 511)).value);
  EXPECT_EQ(read(repeated("(", 513) + repeated(")", 513)).error,
            kPrefix + "Containers lie more than 512 deep inside each other at line 1, column 513.");
  // Containers beside each other are not deep.
  EXPECT_TRUE(read("(" + repeated("(),", 513) + ")").value);
  EXPECT_TRUE(read("(" + repeated("{},", 513) + ")").value);
  // A dictionary without braces is one, too.
  EXPECT_TRUE(read("a=" + repeated("(", 511) + repeated(")", 511)).value);
  EXPECT_EQ(read("a=" + repeated("(", 512) + repeated(")", 512)).error,
            kPrefix + "Containers lie more than 512 deep inside each other at line 1, column 514.");
  EXPECT_FALSE(read(repeated("{a=", 200000)).value);
  EXPECT_FALSE(read(repeated("(", 2000000)).value);
}

// The whole process would end if the stack did not suffice.
bool isReadWithLittleStack(std::string text) {
  const auto isRead = [](void* argument) -> void* {
    return read(*static_cast<std::string*>(argument)).value ? argument : nullptr;
  };
  pthread_attr_t attributes;
  pthread_t thread;
  void* result = nullptr;
  return ::pthread_attr_init(&attributes) == 0 && ::pthread_attr_setstacksize(&attributes, 64 << 10) == 0 &&
         ::pthread_create(&thread, &attributes, isRead, &text) == 0 && ::pthread_join(thread, &result) == 0 &&
         result != nullptr;
}

TEST(OpenStepReader, NestingTakesNothingOfTheStack) {
  if (test::kIsSanitized) GTEST_SKIP() << "the frames of this build need a larger stack";
  const std::string open = "{a=(";
  const std::string close = ");}";
  std::string text;
  for (int level = 0; level < 512; level += 2) text = open + text + close;
  EXPECT_EQ(test::inChild([&] { return isReadWithLittleStack(text); }), 1);
}

constexpr std::string_view kSample =
    "{ // sample\n \"a \\\"b\\U20ac\\341\" = (c, 'd', <0fbd 77>,); e = { f = /* g */ h; }; i.j-k = \"\xE2\x82\xAC\"; }";

TEST(OpenStepReader, SurvivesTruncationAnywhere) {
  ASSERT_TRUE(read(kSample).value) << read(kSample).error;
  for (std::size_t length = 0; length < kSample.size(); ++length) {
    const ReadResult result = read(kSample.substr(0, length));
    EXPECT_FALSE(result.value) << length;
    EXPECT_FALSE(result.error.empty()) << length;
  }
}

TEST(OpenStepReader, SurvivesAnyChangeOfOneByte) {
  for (std::size_t place = 0; place < kSample.size(); ++place) {
    for (unsigned value = 0; value < 256; ++value) {
      std::string damaged(kSample);
      damaged[place] = static_cast<char>(value);
      const ReadResult result = read(damaged, kAllOptions[value % 3]);
      ASSERT_EQ(static_cast<bool>(result.value), result.error.empty()) << place << ' ' << value;
    }
  }
}

}  // namespace
}  // namespace ZtFoundation
