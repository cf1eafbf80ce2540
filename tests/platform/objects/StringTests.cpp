#include <gtest/gtest.h>

#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/String.h>

#include <string>

namespace ZtFoundation {
namespace {

const char* const kSamples[] = {"",
                                "a",
                                "plain ASCII text",
                                "Gr\xC3\xBC\xC3\x9F!",
                                "\xE6\x97\xA5\xE6\x9C\xAC",
                                "\xF0\x9F\x98\x80",
                                "a\xC3\xA9\xE6\x97\xA5\xF0\x9F\x98\x80z"};

Ref<NSString> wide(const char* text) {
  const Ref<NSMutableString> string = NSMutableString::stringWithString("\xE6\x97\xA5");
  string->appendString(text);
  string->deleteCharactersInRange({0, 1});
  return string;
}

TEST(StringTests, UTF8SurvivesTheRoundTrip) {
  for (const char* sample : kSamples) {
    const Ref<NSString> string = sample;
    EXPECT_EQ(string->utf8(), sample);
    EXPECT_EQ(string->strictUTF8(), sample);
    EXPECT_EQ(string->fileSystemRepresentation(), sample);
    EXPECT_EQ(NSString::stringWithValidUTF8(sample)->utf8(), sample);
    EXPECT_EQ(Ref<NSString>(string->utf16())->utf8(), sample);
  }
}

TEST(StringTests, LengthsCountUTF16Units) {
  EXPECT_EQ(Ref<NSString>("Gr\xC3\xBC\xC3\x9F"
                          "e")
                ->length(),
            5U);
  EXPECT_EQ(Ref<NSString>("\xE6\x97\xA5")->length(), 1U);
  EXPECT_EQ(Ref<NSString>("\xF0\x9F\x98\x80")->length(), 2U);
  EXPECT_EQ(Ref<NSString>("\xF0\x9F\x98\x80")->characterAtIndex(1), 0xDE00);
  EXPECT_EQ(Ref<NSString>(std::string("a\0b", 3))->length(), 3U);
}

TEST(StringTests, StorageIsAsNarrowAsTheUnitsAllow) {
  EXPECT_TRUE(Ref<NSString>("abc")->isASCII());
  EXPECT_TRUE(Ref<NSString>(u"abc")->isASCII());
  EXPECT_FALSE(Ref<NSString>("\xC3\xBF")->isASCII());
  EXPECT_FALSE(NSString::stringWithUnits(UnitView("a\xFF", 2))->isASCII());
  EXPECT_FALSE(Ref<NSString>("\xC3\xBF")->units().isWide());
  EXPECT_TRUE(Ref<NSString>("\xC4\x80")->units().isWide());
  EXPECT_FALSE(NSString::stringWithUnits(UnitView(u"abc", 3))->units().isWide());
  EXPECT_FALSE(wide("abc")->copy()->units().isWide());
}

TEST(StringTests, BytesThatAreNotUTF8BecomeReplacementCharactersOneEach) {
  const struct {
    std::string bytes;
    std::u16string units;
  } cases[] = {
      {"a\xFF"
       "b",
       u"a\uFFFDb"},
      {"\x80", u"\uFFFD"},
      {"\xC0\x80", u"\uFFFD\uFFFD"},            // overlong
      {"\xE0\x80\x80", u"\uFFFD\uFFFD\uFFFD"},  // overlong
      {"\xF0\x80\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},            // a surrogate
      {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},  // past U+10FFFF
      {"\xE6\x97", u"\uFFFD\uFFFD"},                      // cut short
      {"\xE6\x97"
       "a",
       u"\uFFFD\uFFFDa"},
      {"\xF5\x80", u"\uFFFD\uFFFD"},
      {"\xF9\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},  // no first byte of any length
  };
  for (const auto& each : cases) {
    EXPECT_EQ(Ref<NSString>(each.bytes)->utf16(), each.units);
    EXPECT_FALSE(NSString::stringWithValidUTF8(each.bytes));
  }
}

TEST(StringTests, InvalidBytesAreFoundAnywhereInLongText) {
  for (std::size_t place = 0; place < 100; ++place) {
    std::string bytes(100, 'x');
    bytes[place] = '\x80';
    EXPECT_FALSE(NSString::stringWithValidUTF8(bytes)) << place;
    EXPECT_EQ(Ref<NSString>(bytes)->characterAtIndex(place), 0xFFFD) << place;
  }
}

TEST(StringTests, FileNamesKeepEveryByte) {
  std::string all;
  for (int byte = 1; byte < 256; ++byte) all += static_cast<char>(byte);
  const std::string names[] = {all, "\xFF", "caf\xE9.txt", "\xE6\x97", "\xED\xA0\x80", "ok \xE6\x97\xA5 \xFE"};
  for (const std::string& name : names) {
    const Ref<NSString> string = NSString::stringWithFileSystemRepresentation(name);
    EXPECT_EQ(string->fileSystemRepresentation(), name);
    EXPECT_FALSE(string->strictUTF8());
  }
  EXPECT_EQ(NSString::stringWithFileSystemRepresentation("\xFF")->characterAtIndex(0), 0xDCFF);
  EXPECT_EQ(NSString::stringWithFileSystemRepresentation("\xFF")->utf8(), "\xEF\xBF\xBD");
}

TEST(StringTests, UnpairedSurrogatesAreKept) {
  const Ref<NSString> lone = std::u16string{u'a', 0xD800, u'b', 0xDC00};
  EXPECT_EQ(lone->length(), 4U);
  EXPECT_EQ(lone->utf16(), (std::u16string{u'a', 0xD800, u'b', 0xDC00}));
  EXPECT_EQ(lone->utf8(),
            "a\xEF\xBF\xBD"
            "b\xEF\xBF\xBD");
  EXPECT_FALSE(lone->strictUTF8());
  EXPECT_EQ(lone->fileSystemRepresentation(),
            "a\xEF\xBF\xBD"
            "b\xEF\xBF\xBD");
}

TEST(StringTests, EqualityAndHashDoNotDependOnStorageOrMutability) {
  for (const char* sample : kSamples) {
    const Ref<NSString> plain = sample, other = wide(sample);
    EXPECT_TRUE(plain->isEqual(other)) << sample;
    EXPECT_TRUE(other->isEqual(plain)) << sample;
    EXPECT_EQ(plain->hash(), other->hash()) << sample;
  }
  EXPECT_FALSE(isEqual(Ref<NSString>("a"), Ref<NSString>("b")));
  EXPECT_FALSE(isEqual(Ref<NSString>("a"), Ref<NSString>("aa")));
  EXPECT_FALSE(isEqual(Ref<NSString>("\xC3\xA9"), Ref<NSString>("e\xCC\x81")));
  EXPECT_FALSE(Ref<NSString>("a")->isEqual(Ref<NSObject>()));
  EXPECT_FALSE(Ref<NSString>("1")->isEqual(Ref<NSObject>(1)));
}

TEST(StringTests, HashesOfSimilarTextsDiffer) {
  EXPECT_NE(Ref<NSString>("key1")->hash(), Ref<NSString>("key2")->hash());
  EXPECT_NE(Ref<NSString>("ab")->hash(), Ref<NSString>("ba")->hash());
  EXPECT_NE(Ref<NSString>("")->hash(), Ref<NSString>(std::string(1, '\0'))->hash());
  EXPECT_NE(Ref<NSString>("12345678")->hash(), Ref<NSString>("123456789")->hash());
}

TEST(StringTests, PlacesOutsideRaise) {
  const Ref<NSString> text = "abc";
  unichar buffer[4];
  EXPECT_THROW(text->characterAtIndex(3), NSException);
  EXPECT_THROW(text->getCharacters_range(buffer, {1, 3}), NSException);
  EXPECT_THROW(text->getCharacters_range(buffer, {4, 0}), NSException);
  EXPECT_THROW(text->getCharacters_range(buffer, {1, ~NSUInteger{0}}), NSException);
  text->getCharacters_range(buffer, {3, 0});
}

TEST(StringTests, UnitsAreCopiedFromBothWidths) {
  unichar buffer[2];
  Ref<NSString>("abcd")->getCharacters_range(buffer, {1, 2});
  EXPECT_EQ(std::u16string(buffer, 2), u"bc");
  Ref<NSString>("a\xE6\x97\xA5\xE6\x9C\xAC")->getCharacters_range(buffer, {1, 2});
  EXPECT_EQ(std::u16string(buffer, 2), u"\u65E5\u672C");
}

TEST(StringTests, CopiesOfImmutableStringsAreTheObjectItself) {
  const Ref<NSString> text = "abc";
  EXPECT_EQ(text->copy(), text);
  EXPECT_EQ(text->description(), text);
  EXPECT_EQ(NSString::stringWithString(text), text);
  EXPECT_FALSE(NSString::stringWithString(nullptr));
  const Ref<NSMutableString> changing = text->mutableCopy();
  EXPECT_FALSE(changing->copy()->isMutable());
  EXPECT_NE(changing->copy(), Ref<NSString>(changing));
  EXPECT_TRUE(isEqual(changing->copy(), text));
}

TEST(StringTests, EmptyStringsAreStringsAndANullPointerIsNone) {
  EXPECT_EQ(NSString::string()->length(), 0U);
  EXPECT_EQ(NSString::string(), NSString::string());
  EXPECT_EQ(NSString::stringWithUnits({})->length(), 0U);
  EXPECT_EQ(NSString::stringWithCharacters_length(nullptr, 0)->length(), 0U);
  EXPECT_EQ(NSString::stringWithASCII("")->utf8(), "");
  EXPECT_FALSE(Ref<NSString>(static_cast<const char*>(nullptr)));
}

}  // namespace
}  // namespace ZtFoundation
