// Strings with every unit there is.

#include <ZtFoundation/Files.h>
#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/Text.h>
#include <ZtFoundation/Utilities.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/Format.h>
#include <ZtFoundation/platform/Log.h>
#include <ZtFoundation/platform/StringEncoding.h>
#include <ZtFoundation/platform/URL.h>

#include <ostream>
#include <set>

#include "limits/Limits.h"
#include "support/ScopedEnvironment.h"
#include "support/ScratchFolder.h"

// The parts of Fontconfig's patterns are known by their distance, so the sanitizer finds no pointer to them.
extern "C" [[gnu::visibility("default")]] const char*
__lsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier)
  return "leak:libfontconfig\n";
}

namespace ZtFoundation::limits {
namespace {

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

Ref<NSDictionary> dictionaryOf(const Ref<NSString>& key, const Ref<NSObject>& value) {
  return NSDictionary::dictionaryWithObject_forKey(value, key);
}

TEST(EveryUnitTests, XMLKeepsItOrRefuses) {
  Case measured("every UTF-16 unit through XML, as value and as key", "65,536 units");
  std::size_t refused = 0;
  measured.measure([&] {
    for (std::size_t number = 0; number < kUnits; ++number) {
      for (const Ref<NSDictionary>& value : {dictionaryOf("key", amid(number)), dictionaryOf(amid(number), "value")}) {
        const Written written = write(value, NSPropertyListXMLFormat_v1_0);
        ASSERT_EQ(written.bytes != nullptr, isInXML(number)) << number;
        ASSERT_EQ(written.error.empty(), isInXML(number)) << number;
        ASSERT_TRUE(!written.bytes || isEqual(read(written.bytes).value, value)) << number;
      }
      refused += isInXML(number) ? 0U : 1U;
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

// As it stands in the text, but for the two that have to be escaped there.
TEST(EveryUnitTests, OpenStepReadsItAsItStands) {
  Case measured("every UTF-16 unit as it stands in OpenStep text, as value and as key", "65,536 units");
  measured.measure([] {
    for (std::size_t number = 0; number < kUnits; ++number) {
      const auto utf8 = amid(number)->strictUTF8();
      ASSERT_EQ(utf8.has_value(), !isSurrogate(number)) << number;
      if (!utf8 || number == u'"' || number == u'\\') continue;
      const std::string quoted = "\"" + *utf8 + "\"";
      ASSERT_TRUE(isEqual(read("{" + quoted + " = " + quoted + ";}").value, dictionaryOf(amid(number), amid(number))))
          << number;
    }
  });
  measured.answer("all kept; UTF-8 has no surrogates");
}

// --- INI text

// Those of which there is another after writing and reading, or none; `refused` counts those that were not written.
template <class Settings>
std::set<std::size_t> lostByINI(Settings settingsWith, std::size_t& refused) {
  std::set<std::size_t> lost;
  for (std::size_t number = 0; number < kUnits; ++number) {
    const Ref<NSDictionary> settings = settingsWith(amid(number));
    const Ref<NSData> bytes = writeINI(settings);
    EXPECT_EQ(bytes != nullptr, !isSurrogate(number)) << number;
    if (!bytes) {
      ++refused;
    } else if (!isEqual(readINI(bytes), settings)) {
      lost.insert(number);
    }
  }
  return lost;
}

const std::set<std::size_t> kLineEnds{0x0A, 0x0D, 0x85, 0x2028, 0x2029};

std::set<std::size_t> lineEndsAnd(std::size_t other) {
  std::set<std::size_t> units = kLineEnds;
  units.insert(other);
  return units;
}

TEST(EveryUnitTests, ValuesOfINIKeepItOrRefuse) {
  Case measured("every UTF-16 unit in values of INI text", "65,536 units");
  std::size_t refused = 0;
  const auto lost = measured.measure([&] {
    return lostByINI([](const auto& text) { return dictionaryOf("S", dictionaryOf("key", text)); }, refused);
  });
  EXPECT_EQ(lost, lineEndsAnd(u' ')) << "with a blank it gets quotes";
  measured.answer(std::to_string(refused) +
                  " refused (unpaired surrogates), 5 line ends divide the value, a blank adds quotes, all others kept");
}

TEST(EveryUnitTests, KeysOfINIKeepItOrRefuse) {
  Case measured("every UTF-16 unit in keys of INI text", "65,536 units");
  std::size_t refused = 0;
  const auto lost = measured.measure([&] {
    return lostByINI([](const auto& text) { return dictionaryOf("S", dictionaryOf(text, "value")); }, refused);
  });
  EXPECT_EQ(lost, lineEndsAnd(u'=')) << "which ends the key";
  measured.answer(std::to_string(refused) +
                  " refused (unpaired surrogates), 5 line ends and = divide the key, all others kept");
}

TEST(EveryUnitTests, SectionsOfINIKeepItOrRefuse) {
  Case measured("every UTF-16 unit in names of sections of INI text", "65,536 units");
  std::size_t refused = 0;
  const auto lost = measured.measure([&] {
    return lostByINI([](const auto& text) { return dictionaryOf(text, dictionaryOf("key", "value")); }, refused);
  });
  EXPECT_EQ(lost, kLineEnds);
  measured.answer(std::to_string(refused) +
                  " refused (unpaired surrogates), 5 line ends divide the name, all others kept");
}

// --- Encodings

struct Encoding {
  friend void PrintTo(const Encoding& one, std::ostream* stream) { *stream << one.name; }

  NSStringEncoding encoding;
  const char* name;
};

class EveryUnitEncodedTests : public testing::TestWithParam<Encoding> {};

TEST_P(EveryUnitEncodedTests, IsKeptOrRefused) {
  const NSStringEncoding encoding = GetParam().encoding;
  Case measured(std::string("every UTF-16 unit through ") + GetParam().name, "65,536 units");
  std::size_t kept = 0;
  std::size_t changed = 0;
  measured.measure([&] {
    for (std::size_t number = 0; number < kUnits; ++number) {
      const Ref<NSData> bytes = amid(number)->dataUsingEncoding(encoding);
      if (!bytes) continue;
      const bool isKept = isEqual(NSString::stringWithData_encoding(bytes, encoding), amid(number));
      isKept ? ++kept : ++changed;
      ASSERT_TRUE(amid(number)->dataUsingEncoding_allowLossyConversion(encoding, true)) << number;
    }
  });
  EXPECT_GE(kept, 128U - 3);
  EXPECT_LE(changed, 10U);
  if (encoding == NSUTF8StringEncoding) {
    EXPECT_EQ(kept, kUnits - 2048);
    EXPECT_EQ(changed, 0U);
  }
  measured.answer(std::to_string(kept) + " kept, " + std::to_string(changed) + " read as another, " +
                  std::to_string(kUnits - kept - changed) + " refused");
}

INSTANTIATE_TEST_SUITE_P(
    Encodings, EveryUnitEncodedTests,
    testing::Values(Encoding{NSUTF8StringEncoding, "UTF-8"}, Encoding{NSUTF16BigEndianStringEncoding, "UTF-16"},
                    Encoding{NSShiftJISStringEncoding, "Shift-JIS"}, Encoding{NSMacOSRomanStringEncoding, "Mac Roman"},
                    Encoding{NSISOLatin1StringEncoding, "Latin-1"}, Encoding{NSJapaneseEUCStringEncoding, "EUC-JP"},
                    Encoding{NSISO2022JPStringEncoding, "ISO-2022-JP"},
                    Encoding{NSWindowsCP1252StringEncoding, "CP1252"}));

// --- What is made of text

// What the log shows of a unit between others.
std::string asLogged(std::size_t number) {
  if ((number < 0x20 && number != u'\n' && number != u'\t') || number == 0x7F) {
    char shown[8];
    std::snprintf(shown, sizeof shown, "a\\x%02zxb", number);
    return shown;
  }
  return amid(number)->utf8();
}

TEST(EveryUnitTests, LogLinesKeepIt) {
  Case measured("every UTF-16 unit in a line of the log", "65,536 units");
  testing::internal::CaptureStderr();
  measured.measure([] {
    for (std::size_t number = 0; number < kUnits; ++number) NSLog("%@", amid(number));
  });
  const std::string log = testing::internal::GetCapturedStderr();
  std::string_view rest = log;
  for (std::size_t number = 0; number < kUnits; ++number) {
    const std::string shown = "] " + asLogged(number) + "\n";
    const std::size_t end = rest.find("b\n") + 2;
    ASSERT_TRUE(rest.substr(0, end).ends_with(shown)) << number << ": " << rest.substr(0, end);
    rest.remove_prefix(end);
  }
  EXPECT_EQ(rest, "");
  measured.answer("all kept, but 31 control characters as hexadecimal digits, and unpaired surrogates as U+FFFD");
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

// Surrogates are for bytes that are no UTF-8; those that stand for no byte have no place in the URL of a file.
TEST(EveryUnitTests, URLsKeepIt) {
  Case measured("every UTF-16 unit in the URL of a file, there and back", "65,536 units");
  std::set<std::size_t> lost;
  measured.measure([&] {
    for (std::size_t number = 0; number < kUnits; ++number) {
      const Ref<NSString> path = Ref<NSString>("/")->stringByAppendingString(amid(number));
      const Ref<NSURL> url = NSURL::fileURLWithPath(path);
      ASSERT_TRUE(url) << number;
      ASSERT_TRUE(isEqual(NSURL::URLWithString(url->absoluteString()), url)) << number;
      if (!isEqual(url->path(), path)) lost.insert(number);
    }
  });
  std::set<std::size_t> expected;
  for (std::size_t number = 0xD800; number < 0xE000; ++number) {
    if (number < 0xDC80 || number > 0xDCFF) expected.insert(number);
  }
  EXPECT_EQ(lost, expected) << "surrogates that stand for no byte";
  measured.answer(std::to_string(kUnits - lost.size()) + " kept; surrogates that stand for no byte as U+FFFD");
}

TEST(EveryUnitTests, PascalStringsKeepIt) {
  Case measured("every UTF-16 unit in a Pascal string", "65,536 units");
  test::ScopedEnvironment environment;
  environment.set("LC_ALL", "C");  // where the encoding is that of no language
  const NSStringEncoding encoding = CFStringConvertEncodingToNSStringEncoding(CFStringGetSystemEncoding());
  std::size_t kept = 0;
  measured.measure([&] {
    for (std::size_t number = 0; number < kUnits; ++number) {
      const Ref<NSData> bytes = amid(number)->dataUsingEncoding(encoding);
      if (!bytes) continue;
      std::string pascal(1, static_cast<char>(bytes->length()));
      pascal += bytes->view();
      const Ref<NSString> text =
          JxOldConversionExtensions::stringWithPascalString(reinterpret_cast<const unsigned char*>(pascal.data()));
      ASSERT_TRUE(isEqual(text, amid(number))) << number;
      ++kept;
    }
  });
  EXPECT_GE(kept, 256U);
  measured.answer(std::to_string(kept) + " kept, " + std::to_string(kUnits - kept) + " refused");
}

TEST(EveryUnitTests, ChangesItsCase) {
  Case measured("every UTF-16 unit in upper and lower case, and compared without case", "65,536 units");
  std::size_t changed = 0;
  measured.measure([&] {
    for (std::size_t number = 0; number < kUnits; ++number) {
      const Ref<NSString> text = amid(number);
      const Ref<NSString> upper = text->uppercaseString();
      const Ref<NSString> lower = text->lowercaseString();
      ASSERT_TRUE(isEqual(upper->uppercaseString(), upper)) << number;
      ASSERT_TRUE(isEqual(lower->lowercaseString(), lower)) << number;
      ASSERT_EQ(text->compare_options(lower, NSCaseInsensitiveSearch), NSOrderedSame) << number;
      if (isSurrogate(number)) {
        ASSERT_EQ(upper->characterAtIndex(1), number);
        ASSERT_EQ(lower->characterAtIndex(1), number);
      }
      const Ref<NSString> one = unit(number);
      changed += !isEqual(one->uppercaseString(), one) || !isEqual(one->lowercaseString(), one) ? 1U : 0U;
    }
  });
  EXPECT_GT(changed, 2U * 26);
  measured.answer(std::to_string(changed) + " have another case; all others, surrogates too, are kept");
}

TEST(EveryUnitTests, FormatsKeepIt) {
  Case measured("every UTF-16 unit through %@, %S and as the format", "65,536 units");
  measured.measure([] {
    for (std::size_t number = 0; number < kUnits; ++number) {
      const Ref<NSString> text = amid(number);
      ASSERT_TRUE(isEqual(NSString::stringWithFormat("%@", text), text)) << number;
      ASSERT_TRUE(isEqual(NSString::stringWithFormat("%S", text->utf16()), text)) << number;
      if (number != u'%') {
        ASSERT_TRUE(isEqual(NSString::stringWithFormat(text), text)) << number;
      }
    }
  });
  measured.answer("all kept");
}

Ref<NSString> fit(const Ref<NSString>& text, float width) {
  return JxTruncateExtensions::truncateStringWithDrawingWidth_themeFontID_truncCode(text, width, 0, kTruncateAtStart);
}

TEST(EveryUnitTests, IsTruncated) {
  constexpr float kWide = 1000;
  constexpr float kNarrow = 40;
  if (!fit("text", kWide)) GTEST_SKIP() << "there is no font to measure with";
  Case measured("every UTF-16 unit in a text that fits, and in one that is truncated", "65,536 units");
  const Ref<NSString> wide = "mmmmmmmm";
  measured.measure([&] {
    for (std::size_t number = 0; number < kUnits; number += sized(1, 97)) {
      ASSERT_TRUE(isEqual(fit(amid(number), kWide), amid(number))) << number;
      const Ref<NSString> text = wide->stringByAppendingString(amid(number));
      const Ref<NSString> cut = fit(text, kNarrow);
      ASSERT_TRUE(cut && cut->characterAtIndex(0) == 0x2026) << number;
      ASSERT_TRUE(text->hasSuffix(cut->substringFromIndex(1))) << number;
    }
  });
  measured.answer("kept where it fits; else its text ends the same behind the ellipsis");
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
