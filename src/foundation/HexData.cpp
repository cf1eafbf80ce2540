#include <cstring>
#include <new>
#include <string_view>

#include <ZtFoundation/Utilities.h>
#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/Format.h>

#include "foundation/HexDigits.h"

namespace ZtFoundation {

namespace {

constexpr NSUInteger kCountLimit = NSUInteger{1} << 31;
constexpr NSUInteger kLineBytes = 16;
constexpr NSUInteger kGroupBytes = 4;
constexpr NSUInteger kGroupDigits = 2 * kGroupBytes;

// --- Writing

NSUInteger dumpLength(NSUInteger bytes) { return 2 * bytes + (bytes - 1) / kGroupBytes; }

// A line that another follows: four groups, each with what parts it from the next.
char* writeFullLine(const unsigned char* bytes, char* text) {
  char digits[2 * kLineBytes];
  detail::writeSixteenBytes(bytes, digits);
  for (NSUInteger group = 0; group < kLineBytes / kGroupBytes; ++group, text += kGroupDigits + 1) {
    std::memcpy(text, digits + group * kGroupDigits, kGroupDigits);
    text[kGroupDigits] = ' ';
  }
  text[-1] = '\n';
  return text;
}

void writeLastLine(const unsigned char* bytes, NSUInteger count, char* text) {
  unsigned char padded[kLineBytes] = {};
  char line[2 * kLineBytes + kLineBytes / kGroupBytes];
  std::memcpy(padded, bytes, count);
  writeFullLine(padded, line);
  std::memcpy(text, line, dumpLength(count));
}

void writeDump(const unsigned char* bytes, NSUInteger count, char* text) {
  for (; count > kLineBytes; bytes += kLineBytes, count -= kLineBytes) text = writeFullLine(bytes, text);
  writeLastLine(bytes, count, text);
}

// --- Reading

[[noreturn]] void raiseIllegalDigit(unsigned char byte) {
  const Ref<NSString> shown = NSString::stringWithUnits(UnitView(reinterpret_cast<const char*>(&byte), 1));
  throw NSException(
      "IllegalHexDigit",
      NSString::stringWithFormat("Attempt to interpret a string containing '%@' as a hexidecimal value", shown));
}

unsigned digitValue(unichar unit) {
  const auto byte = static_cast<unsigned char>(unit);
  const int value = detail::hexDigitValue(byte);
  if (value < 0) raiseIllegalDigit(byte);
  return static_cast<unsigned>(value);
}

UnitView withoutPrefix(UnitView digits) {
  const bool prefixed = digits.size() >= 2 && digits[0] == u'0' && (digits[1] | 0x20) == u'x';
  return prefixed ? digits.slice({2, digits.size() - 2}) : digits;
}

// Sixteen at a time where that can be had; what it cannot read is left to the walk that tells which digit is illegal.
NSUInteger readManyDigits(std::string_view digits, unsigned char* bytes) {
  NSUInteger at = 0;
  while (digits.size() - at >= 2 * kGroupDigits) {
    const char* const next = digits.data() + at;
    if (!detail::readSixteenDigits(next, next + kGroupDigits, bytes + at / 2)) break;
    at += 2 * kGroupDigits;
  }
  return at;
}

// An even number of digits without white space between them.
void readPairs(UnitView digits, unsigned char* bytes) {
  NSUInteger at = digits.isWide() ? 0 : readManyDigits(digits.narrow(), bytes);
  for (; at < digits.size(); at += 2) {
    const unsigned high = digitValue(digits[at]);
    bytes[at / 2] = static_cast<unsigned char>(high << 4 | digitValue(digits[at + 1]));
  }
}

void readDigits(UnitView digits, unsigned char* bytes) {
  const NSUInteger odd = digits.size() % 2;
  if (odd == 1) *bytes++ = static_cast<unsigned char>(digitValue(digits[0]));
  readPairs(digits.slice({odd, digits.size() - odd}), bytes);
}

Ref<NSString> withoutWhiteSpace(const Ref<NSString>& text) {
  return QvFoundationExtensions::stringByDeletingAllOccurrencesOfCharactersInSet(
      text, NSCharacterSet::whitespaceAndNewlineCharacterSet());
}

// Whatever way the text is laid out.
Ref<NSData> readAnyLayout(const Ref<NSString>& text) {
  const Ref<NSString> cleaned = withoutWhiteSpace(text);
  const UnitView digits = withoutPrefix(cleaned->units());
  if (digits.size() >= kCountLimit) return nullptr;
  return NSData::dataWithLength((digits.size() + 1) / 2, [&](unsigned char* bytes) { readDigits(digits, bytes); });
}

// --- Reading what was written here, without a cleaned copy

NSUInteger bytesInDump(NSUInteger length) {
  return (length + 1) / (kGroupDigits + 1) * kGroupBytes + (length + 1) % (kGroupDigits + 1) / 2;
}

bool isSeparator(char character) { return character == ' ' || character == '\n'; }

// Groups of eight digits with one separator behind each, two at a time.
bool readTwoGroups(const char* text, unsigned char* bytes) {
  const char* const second = text + kGroupDigits + 1;
  return isSeparator(second[-1]) && isSeparator(second[kGroupDigits]) && detail::readSixteenDigits(text, second, bytes);
}

// False when the text is not laid out so.
bool readDump(std::string_view text, unsigned char* bytes, NSUInteger count) {
  constexpr NSUInteger kTwoGroups = 2 * (kGroupDigits + 1);
  while (text.size() >= kTwoGroups) {
    if (!readTwoGroups(text.data(), bytes)) return false;
    text.remove_prefix(kTwoGroups);
    bytes += 2 * kGroupBytes;
    count -= 2 * kGroupBytes;
  }
  const Ref<NSString> rest = withoutWhiteSpace(NSString::stringWithASCII(text));
  if (rest->length() != 2 * count) return false;
  readPairs(rest->units(), bytes);
  return true;
}

Ref<NSData> readDump(const NSString& text) {
  constexpr NSUInteger kWorthwhile = 64;
  if (!text.isASCII() || text.length() < kWorthwhile || !isSeparator(static_cast<char>(text.units()[kGroupDigits]))) {
    return nullptr;
  }
  const NSUInteger count = bytesInDump(text.length());
  if (count >= kCountLimit / 2) return nullptr;
  bool complete = false;
  const Ref<NSData> data = NSData::dataWithLength(
      count, [&](unsigned char* bytes) { complete = readDump(text.units().narrow(), bytes, count); });
  return complete ? data : nullptr;
}

}  // namespace

Ref<NSString> QvFoundationExtensions::hexRepresentation(const Ref<NSData>& self) {
  if (!self || self->length() >= kCountLimit) return nullptr;
  if (self->length() == 0) return NSString::string();
  if (self->length() > NSNotFound / 3) throw std::bad_alloc();  // or the length below would begin again at 0
  return NSString::stringWithASCIILength(dumpLength(self->length()), [&](char* text) {
    writeDump(static_cast<const unsigned char*>(self->bytes()), self->length(), text);
  });
}

Ref<NSData> QvFoundationExtensions::initWithHexRepresentation(const Ref<NSString>& text) {
  if (!text) return nullptr;
  if (Ref<NSData> data = readDump(*text)) return data;
  return readAnyLayout(text);
}

Ref<NSData> QvFoundationExtensions::dataWithHexRepresentation(const Ref<NSString>& text) {
  return initWithHexRepresentation(text);
}

}  // namespace ZtFoundation
