// Any bytes in each of the encodings that need no tables, compared with what the C library's converter makes of them, any
// bytes in charsets of any name, and any units in all of these. What was read can be written; what was written is the
// same text when it is read again, also many times over; what cannot be written has a character that cannot.

#include <iconv.h>

#include <algorithm>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include <ZtFoundation/Utilities.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/String.h>
#include <ZtFoundation/platform/StringEncoding.h>

#include "Input.h"

using namespace ZtFoundation;
using namespace ZtFoundation::fuzz;

namespace {

struct Encoding {
  NSStringEncoding number;
  const char* name;  // none where it is not compared
};

constexpr Encoding kEncodings[] = {
    {NSASCIIStringEncoding, "ASCII"},
    {NSUTF8StringEncoding, "UTF-8"},
    {NSISOLatin1StringEncoding, "ISO-8859-1"},
    {NSUTF16BigEndianStringEncoding, "UTF-16BE"},
    {NSUTF16LittleEndianStringEncoding, "UTF-16LE"},
    {NSUTF32BigEndianStringEncoding, "UTF-32BE"},
    {NSUTF32LittleEndianStringEncoding, "UTF-32LE"},
    {NSUnicodeStringEncoding, nullptr},
    {NSUTF32StringEncoding, nullptr},
    {NSMacOSRomanStringEncoding, nullptr},
    {NSWindowsCP1252StringEncoding, nullptr},
    {NSISOLatin2StringEncoding, nullptr},
    {NSShiftJISStringEncoding, nullptr},
    {NSJapaneseEUCStringEncoding, nullptr},
    {kInvalidStringEncoding, nullptr},
};

// Charsets that also read characters of vendors, and characters in a second place, but do not write them.
constexpr const char* kReadingMore[] = {"EUC-JP", "ISO-2022-JP", "ISO-2022-JP-2", "JIS_Encoding"};

// Charsets that know units of private use in which others keep characters of theirs.
constexpr const char* kWithPrivateUse[] = {"Big5-HKSCS", "ISO-2022-JP", "ISO-2022-JP-2", "JIS_Encoding", "Shift_JIS"};

constexpr std::size_t kLong = 5000;  // more units than a converter writes at once

NSStringEncoding encodingNamed(std::string_view charset) {
  return CFStringConvertEncodingToNSStringEncoding(CFStringConvertIANACharSetNameToEncoding(charset));
}

bool isOneOf(std::span<const char* const> charsets, NSStringEncoding encoding) {
  return std::any_of(charsets.begin(), charsets.end(),
                     [encoding](const char* charset) { return encodingNamed(charset) == encoding; });
}

// None when the bytes are not valid.
std::optional<std::u16string> decodedByC(const char* name, std::string_view bytes) {
  const iconv_t converter = ::iconv_open("UTF-16LE", name);
  require(converter != reinterpret_cast<iconv_t>(-1), "the C library knows the encoding");
  std::string input(bytes), output(2 * bytes.size() + 4, '\0');
  char *from = input.data(), *to = output.data();
  std::size_t left = input.size(), room = output.size();
  const bool complete = ::iconv(converter, &from, &left, &to, &room) != static_cast<std::size_t>(-1);
  ::iconv_close(converter);
  if (!complete) return std::nullopt;
  std::u16string units;
  for (std::size_t at = 0; at < output.size() - room; at += 2) {
    units +=
        static_cast<char16_t>(static_cast<unsigned char>(output[at + 1]) << 8 | static_cast<unsigned char>(output[at]));
  }
  return units;
}

Ref<NSString> decoded(std::string_view bytes, NSStringEncoding encoding) {
  return NSString::stringWithBytes_length_encoding(bytes.data(), bytes.size(), encoding);
}

std::u16string withoutMark(std::u16string units) {
  if (units.starts_with(u'\uFEFF')) units.erase(0, 1);
  return units;
}

void compare(const Encoding& encoding, std::string_view bytes, const Ref<NSString>& text) {
  if (encoding.name == nullptr) return;
  const auto expected = decodedByC(encoding.name, bytes);
  require(!expected || text, "what the C library can read");
  require(!expected || text->utf16() == withoutMark(*expected), "the same text");
  require(expected || encoding.number != NSUTF8StringEncoding || !text, "what is no UTF-8 to the C library is none");
}

// Shift-JIS has codes for seven characters that other flavours of it have in the place of these.
std::u16string asReadAgain(NSStringEncoding encoding, std::u16string units) {
  if (encoding != NSShiftJISStringEncoding) return units;
  constexpr std::u16string_view others = u"\u00A2\u00A3\u00AC\u2014\u2016\u2212\u301C";
  constexpr std::u16string_view own = u"\uFFE0\uFFE1\uFFE2\u2015\u2225\uFF0D\uFF5E";
  for (char16_t& unit : units) {
    const std::size_t at = others.find(unit);
    if (at != others.npos) unit = own[at];
  }
  return units;
}

// None when the encoding has no form of the text.
Ref<NSString> writtenAndRead(NSStringEncoding encoding, const Ref<NSString>& text) {
  const Ref<NSData> bytes = text->dataUsingEncoding(encoding);
  if (!bytes) return nullptr;
  const Ref<NSString> again = NSString::stringWithData_encoding(bytes, encoding);
  require(static_cast<bool>(again), "what was written can be read");
  return again;
}

bool isSame(const Ref<NSString>& text, const std::u16string& units) {
  return text->utf16() == units || text->utf16() == withoutMark(units);
}

bool hasForm(NSStringEncoding encoding, const std::u16string& units) {
  return static_cast<bool>(Ref<NSString>(units)->dataUsingEncoding(encoding));
}

bool isPairAt(const std::u16string& units, std::size_t at) {
  return at + 1 < units.size() && (units[at] & 0xFC00) == 0xD800 && (units[at + 1] & 0xFC00) == 0xDC00;
}

// Why these units have no form: their first character without one, found by halves.
std::u16string refusedCharacter(NSStringEncoding encoding, std::u16string units) {
  while (units.size() > (isPairAt(units, 0) ? 2 : 1)) {
    const std::size_t middle = units.size() / 2 + (isPairAt(units, units.size() / 2 - 1) ? 1 : 0);
    const std::u16string front = units.substr(0, middle), back = units.substr(middle);
    const bool isInFront = !hasForm(encoding, front);
    require(isInFront || !hasForm(encoding, back), "text has a form when both of its halves have one");
    units = isInFront ? front : back;
  }
  return units;
}

bool isUnpairedSurrogate(const std::u16string& character) {
  return character.size() == 1 && (character[0] & 0xF800) == 0xD800;
}

// One unit of private use may be two of another character.
bool hasOthersForPrivateUse(NSStringEncoding encoding, const Ref<NSString>& text, const std::u16string& units) {
  return text->length() >= units.size() && isOneOf(kWithPrivateUse, encoding) &&
         std::any_of(units.begin(), units.end(), [](char16_t unit) { return unit >= 0xE000 && unit <= 0xF8FF; });
}

std::u16string repeated(const std::u16string& part) {
  std::u16string text;
  while (text.size() < kLong) text += part;
  return text;
}

void checkRead(NSStringEncoding encoding, const Ref<NSString>& text, bool isLong) {
  const Ref<NSString> again = writtenAndRead(encoding, text);
  require(again || isUnpairedSurrogate(refusedCharacter(encoding, text->utf16())) || isOneOf(kReadingMore, encoding),
          "what was read can be written");
  if (!again) return;
  require(isSame(again, text->utf16()), "what was read is the same text when it is written and read again");
  if (!isLong || text->length() == 0 || again->length() != text->length()) return;  // a mark is left out once only
  const Ref<NSString> many = repeated(text->utf16());
  require(isEqual(writtenAndRead(encoding, many), many), "and so it is many times over");
}

void checkUnits(NSStringEncoding encoding, const std::u16string& units, bool isLong) {
  const Ref<NSString> again = writtenAndRead(encoding, units);
  if (!again) {
    refusedCharacter(encoding, units);
    return;
  }
  require(isSame(again, asReadAgain(encoding, units)) || hasOthersForPrivateUse(encoding, again, units),
          "what was written is the same text when it is read");
  checkRead(encoding, again, isLong);
}

void writeWithLoss(NSStringEncoding encoding, const Ref<NSString>& text) {
  const Ref<NSData> bytes = text->dataUsingEncoding_allowLossyConversion(encoding, true);
  require(!bytes || NSString::stringWithData_encoding(bytes, encoding), "what was written with loss can be read");
}

// `text` is what was read from the bytes, none when they are not valid.
void checkWriting(NSStringEncoding encoding, const Ref<NSString>& text, std::string_view bytes, bool isLong) {
  if (text) checkRead(encoding, text, isLong);
  const std::u16string units = unitsIn(bytes);
  checkUnits(encoding, units, isLong);
  writeWithLoss(encoding, units);
}

void checkEncoding(const Encoding& encoding, std::string_view bytes, bool isLong) {
  const Ref<NSString> text = decoded(bytes, encoding.number);
  compare(encoding, bytes, text);
  checkWriting(encoding.number, text, bytes, isLong);
}

void checkCharset(std::string_view name, std::string_view bytes, bool isLong) {
  const NSStringEncoding encoding = encodingNamed(name);
  const Ref<NSString> text = QvFoundationExtensions::initWithData_charset(NSData::dataWithBytes(bytes), name);
  require(!text || encoding != kInvalidStringEncoding, "only charsets that are known are read");
  checkWriting(encoding, text, bytes, isLong);
}

void checkNamesOfFiles(std::string_view bytes) {
  const Ref<NSString> name = NSString::stringWithFileSystemRepresentation(bytes);
  require(name->fileSystemRepresentation() == bytes, "names of files keep their bytes");
  require(isEqual(name, NSString::stringWithFileSystemRepresentation(name->fileSystemRepresentation())),
          "and are the same names again");
}

}  // namespace

// The first byte chooses the encoding, or a charset whose name ends with the line, and whether text is also long.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t choices = std::size(kEncodings) + 1;
  Input input(data, size);
  const std::size_t first = input.takeByte(), choice = first % choices;
  const bool isLong = first / choices % 2 == 1;
  if (choice < std::size(kEncodings)) {
    checkEncoding(kEncodings[choice], input.rest(), isLong);
  } else {
    const std::string_view name = input.takeUntil('\n');
    checkCharset(name, input.rest(), isLong);
  }
  checkNamesOfFiles(input.rest());
  return 0;
}
