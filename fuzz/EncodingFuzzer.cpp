// Any bytes in each of the encodings that need no tables, compared with what the C library's converter makes of them,
// and any units in all encodings: what has a form in an encoding is the same text when it is read again. Charsets are
// found by any name; what came out of one is the same text when it is written and read again, however long it is.

#include <iconv.h>

#include <functional>
#include <optional>
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

// More units than a converter writes at once, in one input of so many.
constexpr std::size_t kLong = 5000;
constexpr std::size_t kInputsForALongOne = 16;

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

void readAndWrite(NSStringEncoding encoding, const Ref<NSString>& text) {
  const Ref<NSString> again = writtenAndRead(encoding, text);
  if (!again) return;
  const std::u16string expected = asReadAgain(encoding, text->utf16());
  require(again->utf16() == withoutMark(expected) || again->utf16() == expected, "and is the same text");
}

void writeWithLoss(NSStringEncoding encoding, const Ref<NSString>& text) {
  const Ref<NSData> bytes = text->dataUsingEncoding_allowLossyConversion(encoding, true);
  require(!bytes || NSString::stringWithData_encoding(bytes, encoding), "what was written with loss can be read");
}

void checkEncoding(const Encoding& encoding, std::string_view bytes) {
  const Ref<NSString> text = decoded(bytes, encoding.number);
  compare(encoding, bytes, text);
  if (text) readAndWrite(encoding.number, text);
  const Ref<NSString> units = unitsIn(bytes);
  readAndWrite(encoding.number, units);
  writeWithLoss(encoding.number, units);
}

Ref<NSString> repeated(const Ref<NSString>& part) {
  const Ref<NSMutableString> text = NSMutableString::string();
  while (text->length() < kLong) text->appendString(part);
  return text;
}

// Some charsets have one code for two characters, of which one is read again.
void checkWriting(NSStringEncoding encoding, const Ref<NSString>& text, bool isLong) {
  const Ref<NSString> again = writtenAndRead(encoding, text);
  if (!again || again->length() == 0) return;
  const Ref<NSString> third = writtenAndRead(encoding, again);
  require(!third || isEqual(third, again), "what was read is the same text when it is read again");
  if (!isLong || again->length() != text->length()) return;  // a byte order mark goes only from the beginning
  require(isEqual(writtenAndRead(encoding, repeated(text)), repeated(again)),
          "many times the same is as one after another");
}

void checkCharset(std::string_view name, std::string_view bytes) {
  const NSStringEncoding encoding =
      CFStringConvertEncodingToNSStringEncoding(CFStringConvertIANACharSetNameToEncoding(name));
  const Ref<NSString> text = QvFoundationExtensions::initWithData_charset(NSData::dataWithBytes(bytes), name);
  require(!text || encoding != kInvalidStringEncoding, "only charsets that are known are read");
  const bool isLong = std::hash<std::string_view>()(bytes) % kInputsForALongOne == 0;
  if (text) checkWriting(encoding, text, isLong);
  const Ref<NSString> units = unitsIn(bytes);
  checkWriting(encoding, units, isLong);
  writeWithLoss(encoding, units);
}

void checkNamesOfFiles(std::string_view bytes) {
  const Ref<NSString> name = NSString::stringWithFileSystemRepresentation(bytes);
  require(name->fileSystemRepresentation() == bytes, "names of files keep their bytes");
  require(isEqual(name, NSString::stringWithFileSystemRepresentation(name->fileSystemRepresentation())),
          "and are the same names again");
}

}  // namespace

// The first byte chooses the encoding, or a charset whose name ends with the line.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const std::size_t choice = input.takeByte() % (std::size(kEncodings) + 1);
  if (choice < std::size(kEncodings)) {
    checkEncoding(kEncodings[choice], input.rest());
  } else {
    const std::string_view name = input.takeUntil('\n');
    checkCharset(name, input.rest());
  }
  checkNamesOfFiles(input.rest());
  return 0;
}
