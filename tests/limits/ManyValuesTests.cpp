// Ten million keys, ten million elements, containers a million levels deep, strings with every unit there is.

#include <ZtFoundation/Files.h>
#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/Text.h>
#include <ZtFoundation/Utilities.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/Number.h>

#include <filesystem>
#include <functional>
#include <ostream>

#include "limits/Limits.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::limits {
namespace {

// --- Many keys

std::size_t manyKeys() { return sized(10'000'000, 20'000); }

Ref<NSString> keyAt(std::size_t number) { return NSString::stringWithASCII("key" + std::to_string(number)); }

Ref<NSMutableDictionary> dictionaryOfMany() {
  const Ref<NSMutableDictionary> many = NSMutableDictionary::dictionary();
  for (std::size_t i = 0; i < manyKeys(); ++i) {
    many->setObject_forKey(NSNumber::numberWithInt(static_cast<int>(i)), keyAt(i));
  }
  return many;
}

int valueOf(const Ref<NSObject>& value) { return value ? as<NSNumber>(value)->intValue() : -1; }

TEST(ManyKeysTests, AreAddedFoundAndRemoved) {
  Case measured("dictionary: add, find and remove each key", std::to_string(manyKeys()) + " keys");
  measured.measure([] {
    const Ref<NSMutableDictionary> many = dictionaryOfMany();
    EXPECT_EQ(many->count(), manyKeys());
    for (std::size_t i = 0; i < manyKeys(); ++i) ASSERT_EQ(valueOf(many->objectForKey(keyAt(i))), static_cast<int>(i));
    for (std::size_t i = 0; i < manyKeys(); ++i) many->removeObjectForKey(keyAt(i));
    EXPECT_EQ(many->count(), 0U);
  });
}

void expectRoundTrip(const char* name, NSUInteger format) {
  Case measured(name, std::to_string(manyKeys()) + " keys");
  const Ref<NSMutableDictionary> many = dictionaryOfMany();
  const Written written = measured.measure([&] { return write(many, format); });
  ASSERT_TRUE(written.bytes) << written.error;
  const Answer answer = measured.measure([&] { return read(written.bytes); });
  ASSERT_TRUE(answer.value) << answer.error;
  EXPECT_TRUE(measured.measure([&] { return isEqual(many, answer.value); }));
  measured.answer("equal after writing and reading " + inUnits(written.bytes->length()));
}

TEST(ManyKeysTests, GoThroughXML) { expectRoundTrip("write and read XML", NSPropertyListXMLFormat_v1_0); }
TEST(ManyKeysTests, GoThroughBinary) { expectRoundTrip("write and read binary", NSPropertyListBinaryFormat_v1_0); }

TEST(ManyKeysTests, GoThroughINI) {
  Case measured("write and read INI", std::to_string(manyKeys()) + " keys");
  const Ref<NSDictionary> settings = NSDictionary::dictionaryWithObject_forKey(dictionaryOfMany(), "S");
  measured.measure([&] {
    QvPropertyListFormat format = QvPropertyListINIFormat;
    const Ref<NSData> bytes =
        QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(settings, format, nullptr);
    ASSERT_TRUE(bytes);
    const Ref<NSObject> read =
        QvPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(bytes, 0, &format,
                                                                                                   nullptr);
    EXPECT_EQ(as<NSDictionary>(as<NSDictionary>(read)->objectForKey("S"))->count(), manyKeys());
  });
}

TEST(ManyElementsTests, GoThroughEveryFormat) {
  const std::size_t count = sized(10'000'000, 20'000);
  Case measured("array: add, write, read, compare, copy", std::to_string(count) + " elements");
  measured.measure([&] {
    const Ref<NSMutableArray> many = NSMutableArray::array();
    for (std::size_t i = 0; i < count; ++i) many->addObject(NSNumber::numberWithInt(static_cast<int>(i)));
    for (const NSUInteger format : {NSPropertyListXMLFormat_v1_0, NSPropertyListBinaryFormat_v1_0}) {
      const Answer answer = read(write(many, format).bytes);
      ASSERT_TRUE(answer.value) << answer.error;
      EXPECT_TRUE(isEqual(many, answer.value));
    }
    EXPECT_EQ(QvFoundationExtensions::deepMutableCopy(many)->count(), count);
  });
}

// --- Many levels

std::size_t manyLevels() { return sized(1'000'000, 20'000); }

std::string repeated(std::string_view part, std::size_t times) {
  std::string text;
  text.reserve(part.size() * times);
  for (std::size_t i = 0; i < times; ++i) text += part;
  return text;
}

// Each array holds the next one by the reference that follows it.
std::string deepBinary(std::size_t levels) {
  std::string bytes = "bplist00";
  const auto append = [&bytes](std::uint64_t number, int size) {
    for (int at = size - 1; at >= 0; --at) bytes += static_cast<char>(number >> (8 * at));
  };
  for (std::size_t level = 0; level < levels; ++level) {
    bytes += '\xA1';
    append(level + 1, 4);
  }
  bytes += '\xA0';
  const std::size_t table = bytes.size();
  for (std::size_t level = 0; level <= levels; ++level) append(8 + 5 * level, 4);
  bytes += std::string(6, '\0');
  append(0x0404, 2);
  append(levels + 1, 8);
  append(0, 8);
  append(table, 8);
  return bytes;
}

struct Nesting {
  friend void PrintTo(const Nesting& nesting, std::ostream* stream) { *stream << nesting.name; }

  const char* name;
  std::function<std::string(std::size_t)> text;
};

const Nesting kNestings[] = {
    {"XML arrays",
     [](std::size_t levels) {
       return "<plist>" + repeated("<array>", levels) + repeated("</array>", levels) + "</plist>";
     }},
    {"XML dictionaries",
     [](std::size_t levels) {
       return "<plist>" + repeated("<dict><key>a</key>", levels) + "<true/>" + repeated("</dict>", levels) + "</plist>";
     }},
    {"XML arrays that never end", [](std::size_t levels) { return repeated("<array>", levels); }},
    {"OpenStep arrays", [](std::size_t levels) { return repeated("(", levels) + repeated(")", levels); }},
    {"OpenStep dictionaries",
     [](std::size_t levels) { return repeated("{a=", levels) + "b" + repeated(";}", levels); }},
    {"binary arrays", deepBinary},
};

class NestingTests : public testing::TestWithParam<Nesting> {};

TEST_P(NestingTests, BeyondTheLimitIsRefused) {
  Case measured(std::string("read ") + GetParam().name + " in each other", std::to_string(manyLevels()) + " levels");
  const std::string text = GetParam().text(manyLevels());
  const Answer answer = measured.measure([&] { return read(text); });
  EXPECT_FALSE(answer.value);
  EXPECT_NE(answer.error.find("512"), std::string::npos) << answer.error;
  measured.answer(answer.error);
}

INSTANTIATE_TEST_SUITE_P(Shapes, NestingTests, testing::ValuesIn(kNestings));

Ref<NSObject> deepTree(bool ofArrays) {
  Ref<NSObject> tree = Ref<NSString>("innermost");
  for (std::size_t level = 0; level < manyLevels(); ++level) {
    if (ofArrays) {
      tree = NSMutableArray::arrayWithArray(NSArray::arrayWithObject(tree));
    } else {
      const Ref<NSMutableDictionary> outer = NSMutableDictionary::dictionary();
      outer->setObject_forKey(tree, "key");
      tree = outer;
    }
  }
  return tree;
}

class DeepTreeTests : public testing::TestWithParam<bool> {
 protected:
  std::string sizeText() const { return std::to_string(manyLevels()) + (GetParam() ? " arrays" : " dictionaries"); }
};

TEST_P(DeepTreeTests, IsMadeAndDestroyed) {
  Case measured("tree in memory: make and destroy", sizeText());
  measured.measure([] { EXPECT_TRUE(deepTree(GetParam())); });
}

TEST_P(DeepTreeTests, IsRefusedByTheWriters) {
  Case measured("tree in memory: write XML, binary, INI", sizeText());
  const Ref<NSObject> tree = deepTree(GetParam());
  for (const NSUInteger format : {NSPropertyListXMLFormat_v1_0, NSPropertyListBinaryFormat_v1_0}) {
    const Written written = measured.measure([&] { return write(tree, format); });
    EXPECT_FALSE(written.bytes);
    EXPECT_NE(written.error.find("512"), std::string::npos) << written.error.substr(0, 200);
    EXPECT_LT(written.error.size(), 20000U) << "not the whole way";
  }
  EXPECT_FALSE(measured.measure([&] {
    return QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(
        NSDictionary::dictionaryWithObject_forKey(tree, "S"), QvPropertyListINIFormat, nullptr);
  }));
  measured.answer("refused");
}

TEST_P(DeepTreeTests, IsCompared) {
  Case measured("tree in memory: compare with its twin", sizeText());
  const Ref<NSObject> tree = deepTree(GetParam());
  const Ref<NSObject> twin = deepTree(GetParam());
  EXPECT_TRUE(measured.measure([&] { return isEqual(tree, twin); }));
  EXPECT_EQ(measured.measure([&] { return tree->hash(); }), twin->hash());
}

TEST_P(DeepTreeTests, IsCopied) {
  Case measured("tree in memory: copy to the bottom", sizeText());
  const Ref<NSObject> tree = deepTree(GetParam());
  const Ref<NSObject> copy = measured.measure([&]() -> Ref<NSObject> {
    if (GetParam()) return QvFoundationExtensions::deepMutableCopy(as<NSArray>(tree));
    return QvFoundationExtensions::deepMutableCopy(as<NSDictionary>(tree));
  });
  ASSERT_TRUE(copy);
  EXPECT_TRUE(isEqual(copy, tree));
}

TEST_P(DeepTreeTests, IsDescribed) {
  Case measured("tree in memory: describe", sizeText());
  const Ref<NSObject> tree = deepTree(GetParam());
  const Ref<NSString> text = measured.measure([&] { return tree->description(); });
  ASSERT_TRUE(text);
  measured.answer("text of " + inUnits(text->length()));
}

TEST_P(DeepTreeTests, HasDifferences) {
  Case measured("tree in memory: differences from its twin", sizeText());
  const Ref<NSDictionary> tree = NSDictionary::dictionaryWithObject_forKey(deepTree(GetParam()), "a");
  const Ref<NSDictionary> twin = NSDictionary::dictionaryWithObject_forKey(deepTree(GetParam()), "a");
  const Ref<NSDictionary> differences =
      measured.measure([&] { return QvFoundationExtensions::differencesFromDictionary(tree, twin); });
  ASSERT_TRUE(differences);
  EXPECT_EQ(differences->count(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Kinds, DeepTreeTests, testing::Bool());

// --- Every unit

constexpr std::size_t kUnits = 0x10000;

Ref<NSString> unit(std::size_t number) {
  const unichar only = static_cast<unichar>(number);
  return NSString::stringWithCharacters_length(&only, 1);
}

// So that no unit meets one that it would pair with.
Ref<NSString> amid(std::size_t number) {
  const unichar units[] = {u'a', static_cast<unichar>(number), u'b'};
  return NSString::stringWithCharacters_length(units, 3);
}

Ref<NSString> allUnits() {
  std::u16string units;
  // From above, so that no two surrogates make a pair.
  for (std::size_t number = kUnits; number-- > 0;) units += static_cast<char16_t>(number);
  return NSString::stringWithUnits(UnitView(units.data(), units.size()));
}

bool isSurrogate(std::size_t number) { return number >= 0xD800 && number <= 0xDFFF; }

// In the two characters of each, not in others.
bool isInXML(std::size_t number) {
  return number == 9 || number == 10 || number == 13 || (number >= 0x20 && !isSurrogate(number) && number < 0xFFFE);
}

TEST(EveryUnitTests, BinaryKeepsIt) {
  Case measured("every UTF-16 unit through binary, as value and as key", "65,536 units");
  measured.measure([] {
    EXPECT_TRUE(isEqual(read(write(allUnits(), NSPropertyListBinaryFormat_v1_0).bytes).value, allUnits()));
    const Ref<NSMutableDictionary> each = NSMutableDictionary::dictionary();
    for (std::size_t number = 0; number < kUnits; ++number) each->setObject_forKey(unit(number), amid(number));
    EXPECT_EQ(each->count(), kUnits);
    EXPECT_TRUE(isEqual(read(write(each, NSPropertyListBinaryFormat_v1_0).bytes).value, each));
  });
  measured.answer("all kept");
}

TEST(EveryUnitTests, XMLKeepsItOrRefuses) {
  Case measured("every UTF-16 unit through XML", "65,536 units");
  std::size_t refused = 0;
  measured.measure([&] {
    for (std::size_t number = 0; number < kUnits; ++number) {
      const Written written = write(amid(number), NSPropertyListXMLFormat_v1_0);
      ASSERT_EQ(written.bytes != nullptr, isInXML(number)) << number;
      if (written.bytes) {
        ASSERT_TRUE(isEqual(read(written.bytes).value, amid(number))) << number;
      } else {
        ++refused;
        ASSERT_NE(written.error, "");
      }
    }
  });
  measured.answer(std::to_string(refused) + " refused, which XML does not have; all others kept");
}

TEST(EveryUnitTests, OpenStepReadsItsEscape) {
  Case measured("every UTF-16 unit as an escape in OpenStep text", "65,536 units");
  measured.measure([] {
    for (std::size_t number = 0; number < kUnits; ++number) {
      char text[16];
      std::snprintf(text, sizeof text, "\"a\\U%04zxb\"", number);
      ASSERT_TRUE(isEqual(read(text).value, amid(number))) << number;
    }
  });
  measured.answer("all kept");
}

TEST(EveryUnitTests, INIKeepsItOrRefuses) {
  Case measured("every UTF-16 unit through INI text", "65,536 units");
  std::size_t refused = 0;
  std::set<std::size_t> lost;
  measured.measure([&] {
    for (std::size_t number = 0; number < kUnits; ++number) {
      const Ref<NSDictionary> section = NSDictionary::dictionaryWithObject_forKey(amid(number), "key");
      const Ref<NSDictionary> settings = NSDictionary::dictionaryWithObject_forKey(section, "S");
      QvPropertyListFormat format = QvPropertyListINIFormat;
      const Ref<NSData> bytes =
          QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(settings, format, nullptr);
      ASSERT_EQ(bytes != nullptr, !isSurrogate(number)) << number;
      refused += bytes ? 0U : 1U;
      if (!bytes || number == u' ') continue;  // with a blank it gets quotes
      const Ref<NSObject> read =
          QvPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(bytes, 0, &format,
                                                                                                     nullptr);
      if (!isEqual(read, settings)) lost.insert(number);
    }
  });
  EXPECT_EQ(lost, (std::set<std::size_t>{0x0A, 0x0D, 0x85, 0x2028, 0x2029})) << "line ends, as documented";
  measured.answer(std::to_string(refused) +
                  " refused (unpaired surrogates), 5 line ends divide the value, all others kept");
}

TEST(EveryUnitTests, EncodingsKeepItOrRefuse) {
  struct Encoding {
    NSStringEncoding encoding;
    const char* name;
  };
  for (const Encoding& each :
       {Encoding{NSUTF8StringEncoding, "UTF-8"}, Encoding{NSUTF16BigEndianStringEncoding, "UTF-16"},
        Encoding{NSShiftJISStringEncoding, "Shift-JIS"}, Encoding{NSMacOSRomanStringEncoding, "Mac Roman"},
        Encoding{NSISOLatin1StringEncoding, "Latin-1"}, Encoding{NSJapaneseEUCStringEncoding, "EUC-JP"},
        Encoding{NSISO2022JPStringEncoding, "ISO-2022-JP"}, Encoding{NSWindowsCP1252StringEncoding, "CP1252"}}) {
    Case measured(std::string("every UTF-16 unit through ") + each.name, "65,536 units");
    std::size_t kept = 0;
    std::size_t changed = 0;
    measured.measure([&] {
      for (std::size_t number = 0; number < kUnits; ++number) {
        const Ref<NSData> bytes = amid(number)->dataUsingEncoding(each.encoding);
        if (!bytes) continue;
        const bool isKept = isEqual(NSString::stringWithData_encoding(bytes, each.encoding), amid(number));
        isKept ? ++kept : ++changed;
        ASSERT_TRUE(amid(number)->dataUsingEncoding_allowLossyConversion(each.encoding, true)) << number;
      }
    });
    EXPECT_GE(kept, 128U - 3) << each.name;
    EXPECT_LE(changed, 10U) << each.name;
    if (each.encoding == NSUTF8StringEncoding) {
      EXPECT_EQ(kept, kUnits - 2048);
      EXPECT_EQ(changed, 0U);
    }
    measured.answer(std::to_string(kept) + " kept, " + std::to_string(changed) + " read as another, " +
                    std::to_string(kUnits - kept - changed) + " refused");
  }
}

TEST(EveryUnitTests, IsOrderedAndReplaced) {
  Case measured("every UTF-16 unit through natural comparison, substitution and hexadecimal text", "65,536 units");
  std::size_t illegal = 0;
  measured.measure([&] {
    const Ref<NSString> letter = "m";
    for (std::size_t number = 0; number < kUnits; ++number) {
      const Ref<NSString> text = amid(number);
      ASSERT_EQ(QvFoundationExtensions::naturalCompare(text, text), NSOrderedSame) << number;
      const auto forth = QvFoundationExtensions::naturalCompare(unit(number), letter);
      ASSERT_EQ(QvFoundationExtensions::naturalCompare(letter, unit(number)), -forth) << number;
      const auto filled =
          JxReplacementExtensions::stringWithParameterArray("a%1b", NSArray::arrayWithObject(unit(number)));
      ASSERT_TRUE(isEqual(filled, text)) << number;
      try {
        QvFoundationExtensions::dataWithHexRepresentation(unit(number));
      } catch (const NSException&) {
        ++illegal;
      }
    }
    ASSERT_EQ(QvFoundationExtensions::naturalCompare(allUnits(), allUnits()), NSOrderedSame);
  });
  measured.answer(std::to_string(illegal) + " are no hexadecimal digits; ordered and replaced all");
}

TEST(EveryUnitTests, FileNamesKeepIt) {
  Case measured("every UTF-16 unit in a file name", "65,536 units");
  const test::ScratchFolder folder;
  std::size_t kept = 0;
  std::set<std::size_t> refused;
  measured.measure([&] {
    for (std::size_t number = 0; number < kUnits; ++number) {
      if (!isFull() && number > 0x400 && (number < 0xDC00 || number > 0xDE00)) continue;
      const Ref<NSString> path = folder.string("")->stringByAppendingString(amid(number));
      const bool isMade = NSFileManager::defaultManager()->createFileAtPath_contents_attributes(path, nullptr, nullptr);
      if (!isMade) {
        refused.insert(number);
        continue;
      }
      const Ref<NSArray> names = NSFileManager::defaultManager()->directoryContentsAtPath(folder.string(""));
      ASSERT_EQ(names->count(), 1U) << number;
      const bool isKept = isEqual(names->objectAtIndex(0), amid(number));
      ASSERT_EQ(isKept, !isSurrogate(number) || (number >= 0xDC80 && number <= 0xDCFF)) << number;
      kept += isKept ? 1U : 0U;
      ASSERT_TRUE(NSFileManager::defaultManager()->removeFileAtPath_handler(path, nullptr)) << number;
    }
  });
  EXPECT_EQ(refused, (std::set<std::size_t>{0, u'/'}));
  measured.answer(std::to_string(kept) + " kept; U+0000 and / refused; surrogates that stand for no byte as U+FFFD");
}

}  // namespace
}  // namespace ZtFoundation::limits
