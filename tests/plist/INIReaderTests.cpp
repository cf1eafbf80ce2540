#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/Runtime.h>
#include <gtest/gtest.h>

#include <ctime>
#include <random>

#include "INIReference.h"
#include "support/Sanitizers.h"

namespace ZtFoundation::test {

/// Reads otherwise than the class that it derives from.
class ReadsItself : public QvPropertyListSerialization {
  ZT_OBJECT(ReadsItself, QvPropertyListSerialization)
 public:
  static Ref<NSObject> read(const Ref<NSData>&, std::int32_t, QvPropertyListFormat*, Ref<NSString>*) {
    return Ref<NSString>("read by the class");
  }
};
ZT_REGISTER_CLASS(ReadsItself, ZT_CLASS_METHOD("propertyListFromData:mutabilityOption:format:errorDescription:",
                                               &ReadsItself::read));

namespace {

Ref<NSDictionary> readINI(std::string_view text, int option = 0) {
  QvPropertyListFormat format = QvPropertyListINIFormat;
  Ref<NSString> error = "untouched";
  const Ref<NSString> before = error;
  const Ref<NSObject> result =
      QvPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
          NSData::dataWithBytes(text), option, &format, &error);
  EXPECT_EQ(format, QvPropertyListINIFormat);
  EXPECT_EQ(error, before) << "the error slot is never written";
  return as<NSDictionary>(result);
}

// Sections in "[name]", entries in "key=value;".
std::string contentsOf(const Ref<NSDictionary>& file) {
  if (!file) return "none";
  std::string text;
  for (const auto& [name, section] : *file) {
    text += "[" + as<NSString>(name)->utf8() + "]";
    for (const auto& [key, value] : *as<NSDictionary>(section)) {
      text += as<NSString>(key)->utf8() + "=" + as<NSString>(value)->utf8() + ";";
    }
  }
  return text;
}

struct Case {
  std::string_view text;
  std::string_view contents;
};

void expectContents(std::initializer_list<Case> cases) {
  for (const auto& [text, contents] : cases) {
    for (const int option : {0, 1, 2}) {
      EXPECT_EQ(contentsOf(readINI(text, option)), contents) << "text:\n" << text;
    }
  }
}

// --- Lines

TEST(INIReaderTests, NothingGivesAnEmptyDictionary) {
  expectContents(
      {{"", ""}, {"\n", ""}, {"\n\n\r\n", ""}, {"a", ""}, {"a=b", ""}, {"no header\n", ""}, {"\xEF\xBB\xBF", ""}});
  QvPropertyListFormat format = QvPropertyListINIFormat;
  const Ref<NSObject> result =
      QvPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(nullptr, 1, &format,
                                                                                                 nullptr);
  EXPECT_EQ(outlineOf(result), "*{}");
}

TEST(INIReaderTests, SectionsHoldTheEntriesThatFollowThem) {
  expectContents({
      {"[S]\nkey=value", "[S]key=value;"},
      {"[S]\nkey=value\n", "[S]key=value;"},
      {"[A]\na=1\n\n[B]\nb=2\n", "[A]a=1;[B]b=2;"},
      {"[S]\n[T]\n", "[S][T]"},
      {"x=1\n[S]\ny=2", "[S]y=2;"},
  });
}

TEST(INIReaderTests, ARepeatedNameBeginsAnewInItsOldPlace) {
  expectContents({
      {"[S]\nk=1\n[S]\nj=2", "[S]j=2;"},
      {"[S]\nk=1\n[T]\nt=1\n[S]\n", "[S][T]t=1;"},
      {"[S]\nk=1\nk=2", "[S]k=2;"},
      {"[S]\nk=1\nj=1\nk=2", "[S]k=2;j=1;"},
  });
}

TEST(INIReaderTests, OnlyTheFirstUnitMakesAComment) {
  expectContents({
      {";[S]\nk=v", ""},
      {"[S]\n;k=v", "[S]"},
      {"[S]\n ;k=v", "[S] ;k=v;"},
      {"[S]\n\t;k=v", "[S]\t;k=v;"},
      {"[S]\n;\nk=v", "[S]k=v;"},
  });
}

TEST(INIReaderTests, WhatMarksALineIsAUnitWhateverFollowsIt) {
  expectContents({
      {"[S]\n;\xCC\x81k=v", "[S]"},
      {"[S]\n\xCD\xBEk=v", "[S]\xCD\xBEk=v;"},  // U+037E looks like a semicolon
      {"[S]\nk=\xCC\xB8v", "[S]k=\xCC\xB8v;"},
      {"[S]\nk\xE2\x89\xA0v", "[S]"},  // "=" and U+0338 in one
      {"[S]\n[T]\xCC\x81\nk=v", "[S]k=v;"},
  });
}

TEST(INIReaderTests, LinesOfFewerThanThreeUnitsSayNothing) {
  expectContents({
      {"[]\nk=v", ""},
      {"[S]\na=\n=b\n=", "[S]"},
      {"[S]\nab=", "[S]ab=;"},
      {"[S]\n=ab", "[S]=ab;"},
      {"[S]\na==", "[S]a==;"},
      {"[S]\n\xC3\xA9=\n=\xC3\xA9", "[S]"},  // two units, three bytes
      {"[S]\n=\xE2\x82\xAC\n\xE2\x82\xAC\xE2\x82\xAC=", "[S]\xE2\x82\xAC\xE2\x82\xAC=;"},
      {"[S]\n\xF0\x9F\x98\x80=", "[S]\xF0\x9F\x98\x80=;"},  // one character, but two units and the "="
      {"[S]\n\xF0\x9F\x98\x80", "[S]"},
  });
}

TEST(INIReaderTests, HeadersEndWithTheirLine) {
  expectContents({
      {"[a=b]\nk=v", "[a=b]k=v;"},
      {"[ S ]\nk=v", "[ S ]k=v;"},
      {"[[S]]\nk=v", "[[S]]k=v;"},
      {"[S] ; note\nk=v", ""},
      {"[T]\n[S] ; note\nk=v", "[T]k=v;"},
      {"[T]\n[S] ; a=b\nk=v", "[T][S] ; a=b;k=v;"},
      {" [S]\nk=v", ""},
      {"[S\nk=v", ""},
      {"[T]\n[S\nk=v", "[T]k=v;"},
      {"[;]\nk=v", "[;]k=v;"},
  });
}

TEST(INIReaderTests, ValuesAreAllThatFollowsTheFirstEqualsSign) {
  expectContents({
      {"[S]\nk = v", "[S]k = v;"},
      {"[S]\na=b=c", "[S]a=b=c;"},
      {"[S]\nName=\"Alice Smith\"", "[S]Name=\"Alice Smith\";"},
      {"[S]\nk=v ; no comment ", "[S]k=v ; no comment ;"},
      {"[S]\nk=[v]", "[S]k=[v];"},
      {"[S]\nno sign\nk=v", "[S]k=v;"},
  });
}

TEST(INIReaderTests, AllLineTerminatorsCount) {
  for (const std::string end : {"\n", "\r", "\r\n", "\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9"}) {
    std::string text;
    for (const char* line : {"[S]", "a=1", "", "b=2", "[T]"}) text += line + end;
    EXPECT_EQ(contentsOf(readINI(text)), "[S]a=1;b=2;[T]");
    EXPECT_EQ(contentsOf(readINI(text + "c=3")), "[S]a=1;b=2;[T]c=3;");
  }
  expectContents({
      {"[S]\n\rk=v\r\r\n\nj=w", "[S]k=v;j=w;"},
      {"[S]\vk=v\f", ""},
      {"[S]\na=\xC2\xA0\xE2\x80\xA7\xE2\x81\xA8\x1E", "[S]a=\xC2\xA0\xE2\x80\xA7\xE2\x81\xA8\x1E;"},
  });
}

// --- Bytes

TEST(INIReaderTests, BytesThatAreNotUTF8AreNoText) {
  for (const char* bad : {"\xFF", "\xC2", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE2\x80", "\x80", "\x85"}) {
    const std::string bytes = bad;
    for (const std::string& text :
         {"[S]\nk=" + bytes + "\n", "[S]\n" + bytes + "=v\n", "[S]\n" + bytes, ";" + bytes + "\n[S]\nk=v",
          "[" + bytes + "]\nk=v", "[S]\nk=v\n[T]\nno sign " + bytes, bytes + "\n[S]", "x" + bytes + "=early\n[S]"}) {
      EXPECT_EQ(outlineOf(readINI(text)), "{}") << testing::PrintToString(text);
      EXPECT_EQ(outlineOf(readINI(text, 1)), "*{}") << testing::PrintToString(text);
    }
  }
}

TEST(INIReaderTests, OneByteOrderMarkIsDropped) {
  expectContents({
      {"\xEF\xBB\xBF[S]\nk=v", "[S]k=v;"},
      {"\xEF\xBB\xBF\xEF\xBB\xBF[S]\nk=v", ""},
      {"[S]\n\xEF\xBB\xBFk=v", "[S]\xEF\xBB\xBFk=v;"},
  });
}

TEST(INIReaderTests, ControlCharactersAreText) {
  using namespace std::string_view_literals;
  expectContents({{"[\0S]\nk\0=\0v\x01"sv, "[\0S]k\0=\0v\x01;"sv}});
}

TEST(INIReaderTests, TextOutsideOfASCIIIsKept) {
  const Ref<NSDictionary> file = readINI("[Größe]\nschlüssel=日本語 😀\nö=é", 0);
  EXPECT_EQ(outlineOf(file), "{5\"Größe\":{9\"schlüssel\":6\"日本語 😀\" 1\"ö\":1\"é\" } }");
}

// --- Kinds and flavours

TEST(INIReaderTests, TheOptionDecidesWhatIsMutable) {
  struct Flavours {
    int option;
    std::string_view outline;
  };
  const Flavours cases[] = {{0, "{1\"S\":{1\"k\":1\"v\" } }"},
                            {1, "*{1\"S\":*{1\"k\":1\"v\" } }"},
                            {2, "*{1\"S\":*{1\"k\":*1\"v\" } }"},
                            {3, "*{1\"S\":*{1\"k\":1\"v\" } }"},
                            {-1, "*{1\"S\":*{1\"k\":1\"v\" } }"}};
  for (const auto& [option, outline] : cases) EXPECT_EQ(outlineOf(readINI("[S]\nk=v", option)), outline) << option;
}

TEST(INIReaderTests, MutableLeavesAreChangedInPlace) {
  const Ref<NSDictionary> file = readINI("[S]\na=v\nb=v", 2);
  const Ref<NSDictionary> section = as<NSDictionary>(file->objectForKey("S"));
  as<NSMutableString>(section->objectForKey("a"))->appendString("!");
  EXPECT_EQ(contentsOf(file), "[S]a=v!;b=v;");
}

TEST(INIReaderTests, MutableContainersAreTheirOwn) {
  const Ref<NSDictionary> file = readINI("[S]\na=v\n[T]\na=v", 1);
  as<NSMutableDictionary>(file->objectForKey("S"))->setObject_forKey("new", "a");
  EXPECT_EQ(contentsOf(file), "[S]a=new;[T]a=v;");
}

TEST(INIReaderTests, EqualKeysAreOneString) {
  const Ref<NSDictionary> file = readINI("[A]\nrepeated=1\n[B]\nrepeated=2\n");
  const NSDictionary* a = as<NSDictionary>(file->lookUp("A"));
  const NSDictionary* b = as<NSDictionary>(file->lookUp("B"));
  EXPECT_EQ(a->begin()->key, b->begin()->key);
}

// --- Other formats

TEST(INIReaderTests, TheFormatIsRequired) {
  EXPECT_THROW(QvPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
                   NSData::dataWithBytes("[S]"), 0, nullptr, nullptr),
               NSException);
}

TEST(INIReaderTests, OtherFormatsAreDetected) {
  const Ref<NSDictionary> value = NSDictionary::dictionaryWithObject_forKey("v", "k");
  for (const QvPropertyListFormat written : {100, 200}) {
    const Ref<NSData> data =
        QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(value, written, nullptr);
    for (const QvPropertyListFormat given : {1, 100, 200, 0, -1, 65536}) {
      QvPropertyListFormat format = given;
      Ref<NSString> error = "old";
      const Ref<NSObject> result =
          QvPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(data, 1, &format,
                                                                                                     &error);
      EXPECT_TRUE(isEqual(result, value));
      EXPECT_EQ(format, written);
      EXPECT_FALSE(error);
    }
  }
}

TEST(INIReaderTests, OtherFormatsTakeTheOptionAsItIs) {
  const Ref<NSData> data = NSData::dataWithBytes("<plist><dict><key>k</key><string>v</string></dict></plist>");
  for (const std::int32_t option : {0, 1, 2, 3, -1}) {
    QvPropertyListFormat format = 100;
    const Ref<NSObject> result =
        QvPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(data, option,
                                                                                                   &format, nullptr);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->isMutable(), option != 0) << option;
    EXPECT_EQ(as<NSDictionary>(result)->lookUp("k")->isMutable(), option == 2) << option;
  }
}

TEST(INIReaderTests, TheReceivingClassReads) {
  QvPropertyListFormat format = QvPropertyListINIFormat;
  const auto readBy = [&](Class receiver) {
    return QvPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
        receiver, NSData::dataWithBytes("[S]"), 0, &format, nullptr);
  };
  EXPECT_TRUE(isEqual(readBy(ReadsItself::classObject()), Ref<NSString>("read by the class")));
  EXPECT_TRUE(as<NSDictionary>(readBy(QvPropertyListSerialization::classObject())));
  EXPECT_FALSE(readBy(nullptr));
}

TEST(INIReaderTests, TextIsNoINITextUnlessAskedFor) {
  for (const QvPropertyListFormat given : {1, 100, 65536, -1}) {
    QvPropertyListFormat format = given;
    Ref<NSString> error;
    EXPECT_FALSE(QvPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
        NSData::dataWithBytes("[S]\nk=v\n"), 0, &format, &error));
    EXPECT_EQ(format, given) << "left alone on failure";
    EXPECT_TRUE(error);
  }
}

// --- The same as read step by step

std::string randomText(std::mt19937& random, bool mayBeInvalid) {
  static constexpr std::string_view kPieces[] = {"[",
                                                 "]",
                                                 "=",
                                                 ";",
                                                 "a",
                                                 "b",
                                                 "key",
                                                 " ",
                                                 "\n",
                                                 "\n",
                                                 "\r",
                                                 "\r\n",
                                                 "\n[S]\n",
                                                 "\n[T]\nk=",
                                                 "\xC2\x85",
                                                 "\xE2\x80\xA8",
                                                 "\t",
                                                 "\"",
                                                 "é",
                                                 "\xC2\xA0",
                                                 "€",
                                                 "\xE2\x80\xA7",
                                                 "\xE2\x80\xA9",
                                                 "😀",
                                                 "日本",
                                                 "\xCC\x81",
                                                 "\xCC\xB8",
                                                 "\xCD\xBE",
                                                 "\x01",
                                                 "[x]",
                                                 "k=v",
                                                 "\xEF\xBB\xBF",
                                                 "\x80",
                                                 "\xC2",
                                                 "\xE2\x80"};
  constexpr std::size_t kInvalid = 3;
  const std::size_t usable = std::size(kPieces) - (mayBeInvalid ? 0 : kInvalid);
  std::string text;
  for (std::size_t count = random() % 24; count > 0; --count) text += kPieces[random() % usable];
  return text;
}

TEST(INIReaderTests, RandomTextIsReadAsStepByStep) {
  std::mt19937 random(7);
  std::size_t withSections = 0;
  for (int round = 0; round < 40000; ++round) {
    const std::string text = randomText(random, round % 8 == 0);
    const int option = round % 3;
    const Ref<NSDictionary> expected = INIReference(NSData::dataWithBytes(text), option).read();
    ASSERT_EQ(outlineOf(readINI(text, option)), outlineOf(expected)) << testing::PrintToString(text);
    withSections += expected->count() != 0 ? 1U : 0U;
  }
  EXPECT_GT(withSections, 10000U) << "the random texts say too little";
}

// --- Size

// How much processor time it takes to read `text`, at best.
double secondsFor(const std::string& text) {
  double best = 1e9;
  for (int i = 0; i < 3; ++i) {
    const std::clock_t start = std::clock();
    readINI(text);
    best = std::min(best, static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
  }
  return best;
}

TEST(INIReaderTests, TimeGrowsWithTheTextWhateverItHolds) {
  const std::string units[] = {"[S]\nk=v\n",   "[S]\n",       "k=v\n", "\r", "\n",  "\xC2\x85",     "\xC2\xA0",
                               "\xE2\x80\xA7", "[",           "[]",    "=",  ";\n", "\xE2\x80\xA8", "\xC3\x85",
                               "a=\xC2\xA0\n", "[S]\nk=é\n\r"};
  constexpr std::size_t kLength = kIsSanitized ? 20000 : 200000;
  for (const std::string& unit : units) {
    std::string text = "[S]\n";
    while (text.size() < kLength) text += unit;
    const double once = secondsFor(text);
    std::string larger;
    for (int i = 0; i < 16; ++i) larger += text;
    EXPECT_LT(secondsFor(larger), 100 * once + 0.02) << testing::PrintToString(unit);
  }
}

TEST(INIReaderTests, LinesAndSectionsHaveNoLimit) {
  const std::string longKey(300000, 'k');
  const std::string longValue(3000000, 'v');
  std::string text = "[" + longKey + "]\n" + longKey + "=" + longValue + "\n";
  for (int i = 0; i < 30000; ++i) text += "[S" + std::to_string(i) + "]\n" + std::to_string(i) + "=" + "x\n";
  const Ref<NSDictionary> file = readINI(text);
  EXPECT_EQ(file->count(), 30001U);
  const NSDictionary* section = as<NSDictionary>(file->begin()->value.get());
  EXPECT_EQ(as<NSString>(section->begin()->value)->length(), longValue.size());
}

}  // namespace
}  // namespace ZtFoundation::test
