// Any bytes as data to be dumped, and as text to be read as one; the text is compared with reading it digit by digit.

#include <optional>
#include <string>

#include <ZtFoundation/Utilities.h>
#include <ZtFoundation/platform/CharacterSet.h>
#include <ZtFoundation/platform/Exception.h>

#include "Input.h"

using namespace ZtFoundation;
using namespace ZtFoundation::fuzz;

namespace {

Ref<NSData> dataOf(std::string_view bytes) { return NSData::dataWithBytes(bytes); }

// Groups of eight digits, four of them in a line.
void checkLayout(const std::string& dump) {
  for (std::size_t at = 0; at < dump.size(); ++at) {
    const std::size_t place = at % 36;
    const bool isDigit = std::string_view("0123456789abcdef").find(dump[at]) != std::string_view::npos;
    require(place % 9 != 8 ? isDigit : dump[at] == (place == 35 ? '\n' : ' '), "the layout of a dump");
  }
  require(dump.empty() || (dump.size() % 9 != 0), "no separator at the end of a dump");
}

void dumpAndRead(std::string_view bytes) {
  const Ref<NSData> data = dataOf(bytes);
  const Ref<NSString> dump = QvFoundationExtensions::hexRepresentation(data);
  checkLayout(dump->utf8());
  require(isEqual(QvFoundationExtensions::dataWithHexRepresentation(dump), data), "a dump reads as what was dumped");
}

// What stands for a digit is the low byte of a unit. None for anything else.
std::optional<unsigned> digit(char16_t unit) {
  const std::size_t at = std::string_view("0123456789abcdefABCDEF").find(static_cast<char>(unit));
  if (at == std::string_view::npos) return std::nullopt;
  return static_cast<unsigned>(at < 16 ? at : at - 6);
}

std::optional<std::string> bytesOfDigits(std::u16string digits) {
  if (digits.starts_with(u"0x") || digits.starts_with(u"0X")) digits.erase(0, 2);
  std::string bytes;
  if (digits.size() % 2 == 1) digits.insert(0, 1, u'0');
  for (std::size_t at = 0; at < digits.size(); at += 2) {
    const std::optional<unsigned> high = digit(digits[at]), low = digit(digits[at + 1]);
    if (!high || !low) return std::nullopt;
    bytes += static_cast<char>(*high << 4 | *low);
  }
  return bytes;
}

std::u16string withoutBlanks(const Ref<NSString>& text) {
  static const Ref<NSCharacterSet> blanks = NSCharacterSet::whitespaceAndNewlineCharacterSet();
  std::u16string result;
  for (const char16_t unit : text->utf16()) {
    if (!blanks->characterIsMember(unit)) result += unit;
  }
  return result;
}

// None when a digit is refused.
Ref<NSData> readByLibrary(const Ref<NSString>& text) {
  try {
    const Ref<NSData> data = QvFoundationExtensions::dataWithHexRepresentation(text);
    require(static_cast<bool>(data), "data for text");
    return data;
  } catch (const NSException& exception) {
    require(exception.name()->isEqualToString("IllegalHexDigit"), "the name of the exception");
    return nullptr;
  }
}

void readText(const Ref<NSString>& text) {
  const std::optional<std::string> expected = bytesOfDigits(withoutBlanks(text));
  const Ref<NSData> read = readByLibrary(text);
  require(static_cast<bool>(read) == expected.has_value(), "the same texts are refused");
  require(!read || isEqual(read, dataOf(*expected)), "the same bytes are read");
}

}  // namespace

// The first byte chooses: data, text of bytes, text of units, or a dump with the rest of the input put in somewhere.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  switch (input.takeByte() % 4) {
    case 0:
      dumpAndRead(input.rest());
      break;
    case 1:
      readText(NSString::stringWithUnits(UnitView(input.rest().data(), input.rest().size())));
      break;
    case 2:
      readText(unitsIn(input.rest()));
      break;
    default: {
      const std::size_t place = input.takeByte();
      const std::string_view inserted = input.takeBytes(input.takeByte() % 4);
      std::string dump = QvFoundationExtensions::hexRepresentation(dataOf(input.rest()))->utf8();
      dump.insert(std::min(place, dump.size()), inserted);
      readText(NSString::stringWithUnits(UnitView(dump.data(), dump.size())));
    }
  }
  return 0;
}
