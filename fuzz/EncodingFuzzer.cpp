// Any bytes in each of the encodings that need no tables, compared with what the C library's converter makes of them,
// and any units in all encodings: what has a form in an encoding is the same text when it is read again.

#include <iconv.h>

#include <optional>
#include <string>

#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/String.h>

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

void readAndWrite(const Encoding& encoding, const Ref<NSString>& text) {
  const Ref<NSData> bytes = text->dataUsingEncoding(encoding.number);
  if (!bytes) return;
  const Ref<NSString> again = NSString::stringWithData_encoding(bytes, encoding.number);
  require(static_cast<bool>(again), "what was written can be read");
  const std::u16string expected = asReadAgain(encoding.number, text->utf16());
  require(again->utf16() == withoutMark(expected) || again->utf16() == expected, "and is the same text");
}

void writeWithLoss(const Encoding& encoding, const Ref<NSString>& text) {
  const Ref<NSData> bytes = text->dataUsingEncoding_allowLossyConversion(encoding.number, true);
  require(!bytes || NSString::stringWithData_encoding(bytes, encoding.number),
          "what was written with loss can be read");
}

}  // namespace

// The first byte chooses the encoding.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const Encoding& encoding = kEncodings[input.takeByte() % std::size(kEncodings)];
  const Ref<NSString> text = decoded(input.rest(), encoding.number);
  compare(encoding, input.rest(), text);
  if (text) readAndWrite(encoding, text);

  const Ref<NSString> units = unitsIn(input.rest());
  readAndWrite(encoding, units);
  writeWithLoss(encoding, units);
  require(isEqual(NSString::stringWithFileSystemRepresentation(input.rest()),
                  NSString::stringWithFileSystemRepresentation(
                      NSString::stringWithFileSystemRepresentation(input.rest())->fileSystemRepresentation())),
          "names of files keep their bytes");
  require(NSString::stringWithFileSystemRepresentation(input.rest())->fileSystemRepresentation() == input.rest(),
          "each byte of them");
  return 0;
}
