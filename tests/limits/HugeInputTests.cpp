// Files of more than two gigabytes, and results of that size.

#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/Text.h>
#include <ZtFoundation/Utilities.h>
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/Format.h>
#include <ZtFoundation/platform/StringEncoding.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <ostream>

#include "limits/Limits.h"
#include "support/Sanitizers.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::limits {
namespace {

// `size` bytes: what stands before, one part again and again, and what stands after.
Ref<NSData> repeated(std::size_t size, std::string_view before, std::string_view part, std::string_view after) {
  const std::size_t parts = (size - before.size() - after.size()) / part.size();
  return NSData::dataWithLength(before.size() + parts * part.size() + after.size(), [&](unsigned char* bytes) {
    std::memcpy(bytes, before.data(), before.size());
    bytes += before.size();
    // Copies of what is there already, twice as much each time.
    std::memcpy(bytes, part.data(), part.size());
    std::size_t filled = part.size();
    const std::size_t all = parts * part.size();
    while (filled < all) {
      const std::size_t more = std::min(filled, all - filled);
      std::memcpy(bytes + filled, bytes, more);
      filled += more;
    }
    std::memcpy(bytes + all, after.data(), after.size());
  });
}

constexpr std::string_view kJapanese = "\u65E5\u672C\u8A9E";

// Of UTF-8 without pairs of surrogates.
std::size_t unitsOf(std::string_view utf8) {
  return static_cast<std::size_t>(std::ranges::count_if(utf8, [](char byte) { return (byte & 0xC0) != 0x80; }));
}

// ASCII only.
Ref<NSString> textOf(const Ref<NSData>& bytes) { return NSString::stringWithASCII(bytes->view()); }

struct Input {
  friend void PrintTo(const Input& input, std::ostream* stream) { *stream << input.name; }

  const char* name;
  std::string_view before;
  std::string_view part;
  std::string_view after;
  std::size_t valuesPerPart;  // 0 for a single string or a single data
};

const Input kInputs[] = {
    {"XML, one data element", "<plist><data>\n", "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8g\n", "</data></plist>",
     0},
    {"XML, one string", "<plist><string>", "plain text ", "</string></plist>", 0},
    {"XML, one string of Japanese", "<plist><string>", kJapanese, "</string></plist>", 0},
    {"XML, many integers", "<plist><array>", "<integer>42</integer>\n", "</array></plist>", 1},
    {"XML, many strings", "<plist><array>", "<string>one of many strings of some length</string>", "</array></plist>",
     1},
    {"OpenStep, one data element", "<", "000102030405060708090a0b ", ">", 0},
    {"OpenStep, one string", "\"", "plain text ", "\"", 0},
    {"OpenStep, one string of Japanese", "\"", kJapanese, "\"", 0},
    {"OpenStep, many strings", "(", "\"one of many strings of some length\", ", ")", 1},
};

class HugeTextTests : public testing::TestWithParam<Input> {};

TEST_P(HugeTextTests, IsRead) {
  const Input& input = GetParam();
  Case measured(std::string("read ") + input.name, inUnits(huge()));
  const Ref<NSData> bytes = repeated(huge(), input.before, input.part, input.after);
  const std::size_t parts = (bytes->length() - input.before.size() - input.after.size()) / input.part.size();
  const Answer answer = measured.measure([&] { return read(bytes); });
  ASSERT_TRUE(answer.value) << answer.error;
  if (input.valuesPerPart != 0) {
    EXPECT_EQ(as<NSArray>(answer.value)->count(), parts * input.valuesPerPart);
    measured.answer(std::to_string(parts) + " values");
  } else if (const Ref<NSString> text = as<NSString>(answer.value)) {
    EXPECT_EQ(text->length(), parts * unitsOf(input.part));
    measured.answer(std::to_string(text->length()) + " characters");
  } else {
    const NSUInteger length = as<NSData>(answer.value)->length();
    EXPECT_EQ(length, parts * (input.before[0] == '<' && input.before.size() > 1 ? 33U : 12U));
    measured.answer(std::to_string(length) + " bytes");
  }
}

INSTANTIATE_TEST_SUITE_P(Texts, HugeTextTests, testing::ValuesIn(kInputs));

// --- INI text

Ref<NSDictionary> sectionOf(const Ref<NSObject>& settings) {
  return as<NSDictionary>(as<NSDictionary>(settings)->objectForKey("S"));
}

struct Value {
  friend void PrintTo(const Value& value, std::ostream* stream) { *stream << value.name; }

  const char* name;
  std::string_view part;
};

class HugeINIValueTests : public testing::TestWithParam<Value> {};

TEST_P(HugeINIValueTests, IsRead) {
  constexpr std::string_view kBefore = "[S]\nkey=";
  Case measured(std::string("read INI, one ") + GetParam().name, inUnits(huge()));
  const Ref<NSData> bytes = repeated(huge(), kBefore, GetParam().part, "\n");
  const std::size_t parts = (bytes->length() - kBefore.size() - 1) / GetParam().part.size();
  const Ref<NSObject> settings = measured.measure([&] { return readINI(bytes); });
  ASSERT_TRUE(settings);
  const std::size_t length = as<NSString>(sectionOf(settings)->objectForKey("key"))->length();
  EXPECT_EQ(length, parts * unitsOf(GetParam().part));
  measured.answer(std::to_string(length) + " characters");
}

INSTANTIATE_TEST_SUITE_P(Values, HugeINIValueTests,
                         testing::Values(Value{"value", "abcdefghij"}, Value{"value of Japanese", kJapanese}));

TEST(HugeINITests, ManyLinesAreRead) {
  Case measured("read INI, the same lines again and again", inUnits(huge()));
  const Ref<NSData> bytes =
      repeated(huge(), "[S]\n", "first=1\nsecond=a value of some words\n; a comment\n\n", "last=1\n");
  const Ref<NSObject> settings = measured.measure([&] { return readINI(bytes); });
  ASSERT_TRUE(settings);
  EXPECT_EQ(sectionOf(settings)->count(), 3U);
  measured.answer("3 keys");
}

// --- Binary

// A file whose root is one leaf: marker, eight bytes of length, contents.
Ref<NSData> binaryLeaf(char marker, std::size_t count, std::size_t size, char filler) {
  std::string head = "bplist00";
  head += marker;
  head += '\x13';
  append(head, count, 8);
  std::string tail;
  append(tail, 8, 8);  // where the only object is
  tail += std::string(6, '\0');
  tail += "\x08\x01";  // sizes of offsets and references
  append(tail, 1, 8);
  append(tail, 0, 8);
  append(tail, head.size() + size, 8);
  return NSData::dataWithLength(head.size() + size + tail.size(), [&](unsigned char* bytes) {
    std::memcpy(bytes, head.data(), head.size());
    std::memset(bytes + head.size(), filler, size);
    std::memcpy(bytes + head.size() + size, tail.data(), tail.size());
  });
}

TEST(HugeBinaryTests, DataIsReadAndWritten) {
  Case measured("read and write binary, one data element", inUnits(huge()));
  const Ref<NSData> bytes = binaryLeaf('\x4F', huge(), huge(), 'd');
  const Answer answer = measured.measure([&] { return read(bytes); });
  ASSERT_TRUE(answer.value) << answer.error;
  EXPECT_EQ(as<NSData>(answer.value)->length(), huge());
  const Written written = measured.measure([&] { return write(answer.value, NSPropertyListBinaryFormat_v1_0); });
  ASSERT_TRUE(written.bytes) << written.error;
  EXPECT_GT(written.bytes->length(), huge());
}

TEST(HugeBinaryTests, ASCIITextIsRead) {
  Case measured("read binary, one string of ASCII", inUnits(huge()));
  const Ref<NSData> bytes = binaryLeaf('\x5F', huge(), huge(), 's');
  const Answer answer = measured.measure([&] { return read(bytes); });
  ASSERT_TRUE(answer.value) << answer.error;
  EXPECT_EQ(as<NSString>(answer.value)->length(), huge());
}

TEST(HugeBinaryTests, UTF16TextIsRead) {
  Case measured("read binary, one string of UTF-16", inUnits(huge()));
  const Ref<NSData> bytes = binaryLeaf('\x6F', huge() / 2, huge() & ~std::size_t{1}, 'u');
  const Answer answer = measured.measure([&] { return read(bytes); });
  ASSERT_TRUE(answer.value) << answer.error;
  EXPECT_EQ(as<NSString>(answer.value)->length(), huge() / 2);
  EXPECT_EQ(as<NSString>(answer.value)->characterAtIndex(huge() / 2 - 1), 0x7575);
}

void put(unsigned char* bytes, std::uint64_t number, int size) {
  for (int at = 0; at < size; ++at) bytes[at] = static_cast<unsigned char>(number >> (8 * (size - 1 - at)));
}

constexpr std::size_t kHeadOfText = 3;
constexpr std::size_t kLengthOfText = 100;
constexpr std::size_t kSizeOfText = kHeadOfText + kLengthOfText;

// Its number, and many x.
std::string numberedText(std::size_t number) {
  std::string text = std::to_string(number);
  text.resize(kLengthOfText, 'x');
  return text;
}

// An array of so many texts; offsets and references have four bytes.
Ref<NSData> binaryTexts(std::size_t count) {
  const std::size_t references = 8 + 10;  // the first object's head
  const std::size_t texts = references + 4 * count;
  const std::size_t table = texts + kSizeOfText * count;
  const std::size_t trailer = table + 4 * (count + 1);
  return NSData::dataWithLength(trailer + 32, [&](unsigned char* bytes) {
    std::memcpy(bytes, "bplist00\xAF\x13", 10);
    put(bytes + 10, count, 8);
    put(bytes + table, 8, 4);
    for (std::size_t number = 0; number < count; ++number) {
      const std::size_t text = texts + kSizeOfText * number;
      put(bytes + references + 4 * number, number + 1, 4);
      std::memcpy(bytes + text, "\x5F\x10\x64", kHeadOfText);
      std::memcpy(bytes + text + kHeadOfText, numberedText(number).data(), kLengthOfText);
      put(bytes + table + 4 * (number + 1), text, 4);
    }
    put(bytes + trailer, 0x0404, 8);
    put(bytes + trailer + 8, count + 1, 8);
    put(bytes + trailer + 16, 0, 8);
    put(bytes + trailer + 24, table, 8);
  });
}

TEST(HugeBinaryTests, ManyTextsAreRead) {
  Case measured("read binary, many strings", inUnits(huge()));
  const std::size_t count = huge() / (kSizeOfText + 8);
  const Ref<NSData> bytes = binaryTexts(count);
  const Answer answer = measured.measure([&] { return read(bytes); });
  const Ref<NSArray> texts = as<NSArray>(answer.value);
  ASSERT_TRUE(texts) << answer.error;
  ASSERT_EQ(texts->count(), count);
  for (std::size_t number = 0; number < count; ++number) {
    ASSERT_TRUE(isEqual(texts->objectAtIndex(number), Ref<NSString>(numberedText(number)))) << number;
  }
  measured.answer(std::to_string(count) + " values");
}

TEST(HugeBinaryTests, ALengthBeyondTheFileIsRefusedBeforeMemoryIsTaken) {
  Case measured("read binary that claims 2^62 bytes", "62 bytes");
  for (const char marker : {'\x4F', '\x5F', '\x6F', '\x7F', '\xAF', '\xDF'}) {
    for (const unsigned shift : {31U, 32U, 33U, 40U, 61U, 62U, 63U}) {
      const Ref<NSData> bytes = binaryLeaf(marker, std::size_t(std::uint64_t{1} << shift), 8, 'x');
      const Answer answer = measured.measure([&] { return read(bytes); });
      if constexpr (kIsWide) {
        EXPECT_FALSE(answer.value) << shift;
        EXPECT_NE(answer.error, "") << shift;
      }
    }
  }
  measured.answer("refused");
}

// --- Writing

TEST(HugeOutputTests, XMLIsWritten) {
  const std::size_t size = sized(kIsWide ? std::size_t{1700} << 20 : 100 << 20, 2 << 20);
  Case measured("write XML, one data element", inUnits(size));
  const Ref<NSData> data = NSData::dataWithLength(size, [&](unsigned char* bytes) { std::memset(bytes, 7, size); });
  const Written written = measured.measure([&] { return write(data, NSPropertyListXMLFormat_v1_0); });
  ASSERT_TRUE(written.bytes) << written.error;
  EXPECT_GT(written.bytes->length(), size / 3 * 4);
  EXPECT_TRUE(written.bytes->view().ends_with("</data>\n</plist>\n"));
  measured.answer("writes " + inUnits(written.bytes->length()));
}

Ref<NSString> longText(std::size_t size) {
  return NSString::stringWithASCIILength(size, [&](auto* characters) { std::memset(characters, 'x', size); });
}

TEST(HugeOutputTests, XMLTextIsWritten) {
  Case measured("write XML, one string", inUnits(huge()));
  const Ref<NSString> text = longText(huge());
  const Written written = measured.measure([&] { return write(text, NSPropertyListXMLFormat_v1_0); });
  ASSERT_TRUE(written.bytes) << written.error;
  EXPECT_GT(written.bytes->length(), huge());
  measured.answer("writes " + inUnits(written.bytes->length()));
}

TEST(HugeOutputTests, INIIsWritten) {
  Case measured("write INI, one value", inUnits(huge()));
  const Ref<NSDictionary> settings = NSDictionary::dictionaryWithObject_forKey(
      NSDictionary::dictionaryWithObject_forKey(longText(huge()), "key"), "S");
  const Ref<NSData> bytes = measured.measure([&] { return writeINI(settings); });
  ASSERT_TRUE(bytes);
  EXPECT_GT(bytes->length(), huge());
  measured.answer("writes " + inUnits(bytes->length()));
}

// --- Charsets

TEST(HugeCharsetTests, TextIsDecoded) {
  Case measured("decode windows-1252", inUnits(huge()));
  const Ref<NSData> bytes = repeated(huge(), "\x80", "plain text ", "");
  const Ref<NSString> text =
      measured.measure([&] { return QvFoundationExtensions::initWithData_charset(bytes, "windows-1252"); });
  ASSERT_TRUE(text);
  EXPECT_EQ(text->length(), bytes->length());
  EXPECT_EQ(text->characterAtIndex(0), u'\u20AC');
  measured.answer(std::to_string(text->length()) + " characters");
}

TEST(HugeCharsetTests, ShiftJISIsDecodedAndEncoded) {
  Case measured("read and write Shift-JIS", inUnits(huge()));
  const Ref<NSData> bytes = repeated(huge(), "\x82\xA0", "\x93\xFA\x96{ text", "\x82\xA2");
  const auto size = static_cast<std::uint32_t>(bytes->length());
  const Ref<NSString> text =
      measured.measure([&] { return JxOldConversionExtensions::stringWithSJISDataBytes_length(bytes->bytes(), size); });
  ASSERT_TRUE(text);
  EXPECT_EQ(text->length(), 2 + (bytes->length() - 4) / 9 * 7);
  EXPECT_EQ(text->characterAtIndex(text->length() - 1), u'\u3044');
  const Ref<NSData> again = measured.measure([&] { return text->dataUsingEncoding(NSShiftJISStringEncoding); });
  ASSERT_TRUE(again);
  EXPECT_TRUE(again->isEqual(bytes));
  measured.answer(std::to_string(text->length()) + " characters, all kept");
}

struct Encoding {
  friend void PrintTo(const Encoding& one, std::ostream* stream) { *stream << one.name; }

  const char* name;
  NSStringEncoding encoding;
  std::string_view part;
  std::size_t unitsOfPart;
};

class HugeEncodingTests : public testing::TestWithParam<Encoding> {};

TEST_P(HugeEncodingTests, IsDecodedAndEncoded) {
  const Encoding& each = GetParam();
  Case measured(std::string("read and write ") + each.name, inUnits(huge()));
  const Ref<NSData> bytes = repeated(huge(), "", each.part, "");
  const Ref<NSString> text = measured.measure([&] { return NSString::stringWithData_encoding(bytes, each.encoding); });
  ASSERT_TRUE(text);
  EXPECT_EQ(text->length(), bytes->length() / each.part.size() * each.unitsOfPart);
  const Ref<NSData> again = measured.measure([&] { return text->dataUsingEncoding(each.encoding); });
  ASSERT_TRUE(again);
  EXPECT_TRUE(again->isEqual(bytes));
  measured.answer(std::to_string(text->length()) + " characters, all kept");
}

INSTANTIATE_TEST_SUITE_P(Unicode, HugeEncodingTests,
                         testing::Values(Encoding{"UTF-8", NSUTF8StringEncoding, kJapanese, unitsOf(kJapanese)},
                                         Encoding{"UTF-16", NSUTF16BigEndianStringEncoding,
                                                  std::string_view("\x65\xE5\x67\x2C\0 ", 6), 3}));

// --- Formats

TEST(HugeFormatTests, OneTextIsPrinted) {
  Case measured("format one string", inUnits(huge()));
  const Ref<NSString> text = longText(huge());
  const Ref<NSString> printed = measured.measure([&] { return NSString::stringWithFormat("<%@", text); });
  EXPECT_EQ(printed->length(), huge() + 1);
  EXPECT_TRUE(printed->hasPrefix("<x"));
  EXPECT_TRUE(printed->hasSuffix("xx"));
  measured.answer("writes " + inUnits(printed->length()));
}

// One in the format, one among the arguments.
TEST(HugeFormatTests, LargerWidthsCountAsTheLargest) {
  const std::size_t pairs = huge() / (2 * kMaximumFormatWidth);
  Case measured("format numbers wider than 2^31 units", std::to_string(2 * pairs) + " numbers");
  std::string format;
  for (std::size_t pair = 0; pair < pairs; ++pair) format += "%1$2147483649d%1$*2$d";
  const Ref<NSString> printed =
      measured.measure([&] { return NSString::stringWithFormat(format, 7, (std::int64_t{1} << 40)); });
  ASSERT_EQ(printed->length(), 2 * pairs * kMaximumFormatWidth);
  for (std::size_t end = kMaximumFormatWidth; end <= printed->length(); end += kMaximumFormatWidth) {
    EXPECT_EQ(printed->characterAtIndex(end - 2), u' ') << end;
    EXPECT_EQ(printed->characterAtIndex(end - 1), u'7') << end;
  }
  measured.answer("writes " + inUnits(printed->length()) + ", of which each takes " +
                  std::to_string(kMaximumFormatWidth) + " units");
}

// --- Hexadecimal text

constexpr std::size_t kHexLimit = std::size_t{1} << 31;

std::size_t mostHex() { return sized(kIsWide ? kHexLimit - 1 : 0x0FFFFFFF, (3 << 20) - 1); }

Ref<NSData> exes(std::size_t size) {
  return NSData::dataWithLength(size, [&](unsigned char* bytes) { std::memset(bytes, 'x', size); });
}

Ref<NSString> sevens(std::size_t size) {
  return NSString::stringWithASCIILength(size, [&](auto* characters) { std::memset(characters, '7', size); });
}

TEST(HugeHexTests, DataIsWrittenUpToTheLimit) {
  Case measured("write hexadecimal text", inUnits(mostHex()));
  const Ref<NSData> bytes = exes(mostHex());
  const Ref<NSString> text = measured.measure([&] { return QvFoundationExtensions::hexRepresentation(bytes); });
  ASSERT_TRUE(text);
  EXPECT_EQ(text->length(), 2 * mostHex() + (mostHex() - 1) / 4);
  EXPECT_TRUE(text->hasSuffix("78787878 787878"));
  measured.answer("writes " + inUnits(text->length()));
}

TEST(HugeHexTests, DigitsAreReadUpToTheLimit) {
  Case measured("read hexadecimal text, digits alone", inUnits(mostHex()));
  const Ref<NSString> text = sevens(mostHex());
  const Ref<NSData> data = measured.measure([&] { return QvFoundationExtensions::dataWithHexRepresentation(text); });
  ASSERT_TRUE(data);
  EXPECT_EQ(data->length(), (mostHex() + 1) / 2);
  EXPECT_TRUE(data->view().ends_with("www"));
  measured.answer(std::to_string(data->length()) + " bytes");
}

TEST(HugeHexTests, WhatWasWrittenIsReadUpToTheLimit) {
  const std::size_t most = mostHex() / 2;
  Case measured("read hexadecimal text as it was written", inUnits(2 * most));
  const Ref<NSData> bytes = exes(most);
  const Ref<NSString> text = QvFoundationExtensions::hexRepresentation(bytes);
  const Ref<NSData> again = measured.measure([&] { return QvFoundationExtensions::dataWithHexRepresentation(text); });
  ASSERT_TRUE(again);
  EXPECT_TRUE(again->isEqual(bytes));
  measured.answer(std::to_string(again->length()) + " bytes");
}

TEST(HugeHexTests, MoreGivesNone) {
  if (!isFull() || !kIsWide) GTEST_SKIP() << "this takes several gigabytes";
  Case measured("write and read longer hexadecimal text", inUnits(kHexLimit));
  const auto dataFrom = [&](const Ref<NSString>& text) {
    return measured.measure([&] { return QvFoundationExtensions::dataWithHexRepresentation(text); });
  };
  const Ref<NSData> bytes = exes(kHexLimit);
  EXPECT_FALSE(measured.measure([&] { return QvFoundationExtensions::hexRepresentation(bytes); }));
  EXPECT_FALSE(dataFrom(sevens(kHexLimit)));
  EXPECT_FALSE(dataFrom(QvFoundationExtensions::hexRepresentation(exes(kHexLimit / 2))));
  measured.answer("none");
}

// --- Comparing

TEST(HugeComparisonTests, TextIsComparedNaturally) {
  Case measured("compare two strings naturally", inUnits(huge()));
  const Ref<NSString> first = textOf(repeated(huge(), "", "Plain Text 7 ", "9 x"));
  const Ref<NSString> second = textOf(repeated(huge(), "", "plain text 7 ", "10 "));
  EXPECT_EQ(measured.measure([&] { return QvFoundationExtensions::naturalCompare(first, second); }),
            NSOrderedAscending);
}

// --- Files of that size

TEST(HugeFileTests, DataIsSavedAtomically) {
  Case measured("save a file atomically", inUnits(huge()));
  const test::ScratchFolder folder;
  test::writeFile(folder / "file", "old");
  const Ref<NSData> bytes = repeated(huge(), "first ", "contents ", "last");
  ASSERT_TRUE(measured.measure([&] { return bytes->writeToFile_atomically(folder.string("file"), true); }));
  EXPECT_EQ(folder.names(), (std::set<std::string>{"file"}));
  EXPECT_TRUE(NSData::dataWithContentsOfFile(folder.string("file"))->isEqual(bytes));
}

TEST(HugeFileTests, AFileIsCopied) {
  Case measured("copy a file", inUnits(huge()));
  const test::ScratchFolder folder;
  const Ref<NSData> bytes = repeated(huge(), "first ", "contents ", "last");
  ASSERT_TRUE(bytes->writeToFile_atomically(folder.string("file"), false));
  ASSERT_TRUE(measured.measure([&] {
    return NSFileManager::defaultManager()->copyPath_toPath_handler(folder.string("file"), folder.string("copy"),
                                                                    nullptr);
  }));
  EXPECT_TRUE(NSData::dataWithContentsOfFile(folder.string("copy"))->isEqual(bytes));
}

// --- Files full of holes

struct Beginning {
  friend void PrintTo(const Beginning& beginning, std::ostream* stream) { *stream << beginning.name; }

  const char* name;
  std::string_view bytes;
  bool isINI;
};

class SparseFileTests : public testing::TestWithParam<Beginning> {};

TEST_P(SparseFileTests, IsRefusedWithItsReason) {
  const Beginning& beginning = GetParam();
  const std::size_t size =
      sized(kIsWide ? static_cast<std::size_t>((std::uint64_t{1} << 32) + 4096) : std::size_t{200} << 20, 5 << 20);
  Case measured(std::string("read a file of zeros, ") + beginning.name, inUnits(size));
  const test::ScratchFolder folder;
  test::writeFile(folder / "sparse", std::string(beginning.bytes));
  std::filesystem::resize_file(folder / "sparse", size);
  const Ref<NSData> bytes = measured.measure([&] { return NSData::dataWithContentsOfFile(folder.string("sparse")); });
  ASSERT_TRUE(bytes);
  ASSERT_EQ(bytes->length(), size);
  if (beginning.isINI) {
    const Ref<NSObject> settings = measured.measure([&] { return readINI(bytes); });
    ASSERT_TRUE(settings);
    EXPECT_EQ(as<NSDictionary>(settings)->count(), 1U);
    measured.answer("one section without keys");
    return;
  }
  const Answer answer = measured.measure([&] { return read(bytes); });
  EXPECT_FALSE(answer.value);
  EXPECT_NE(answer.error, "");
  measured.answer(answer.error);
}

INSTANTIATE_TEST_SUITE_P(Beginnings, SparseFileTests,
                         testing::Values(Beginning{"nothing before them", "", false},
                                         Beginning{"XML before them", "<plist><string>", false},
                                         Beginning{"XML data before them", "<plist><data>", false},
                                         Beginning{"binary before them", "bplist00", false},
                                         Beginning{"OpenStep before them", "(\"", false},
                                         Beginning{"INI before them", "[S]\n", true}));

}  // namespace
}  // namespace ZtFoundation::limits
