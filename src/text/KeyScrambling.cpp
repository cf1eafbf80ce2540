#include <cstdint>
#include <cstdlib>
#include <new>
#include <optional>
#include <string>

#include <ZtFoundation/Text.h>
#include <ZtFoundation/platform/Log.h>

#include "platform/services/EnoughMemory.h"

namespace ZtFoundation {

namespace {

constexpr char kDigits[] = "0123456789ABCDEF";

// The units of a key, over and over.
class RepeatingKey {
 public:
  explicit RepeatingKey(const NSString& key) : units_(key.units()) {}

  unichar next() {
    const unichar unit = units_[at_];
    at_ = at_ + 1 == units_.size() ? 0 : at_ + 1;
    return unit;
  }

 private:
  UnitView units_;
  NSUInteger at_ = 0;
};

bool isUsable(const Ref<NSString>& text, const Ref<NSString>& key) { return text && key && key->length() != 0; }

// Two digits are all that a unit may take; more could not be told from the next unit's when read back.
void requireTwoDigits(unsigned byte) {
  if (byte < 0x80) return;
  NSLog("a text and a key whose units differ in bit 7 (0x%02X) cannot be scrambled; stopping", byte);
  std::abort();
}

bool isBlank(unsigned char byte) { return byte == ' ' || (byte >= '\t' && byte <= '\r'); }

int digitValue(unsigned char byte) {
  if (byte >= '0' && byte <= '9') return byte - '0';
  if (byte >= 'A' && byte <= 'F') return byte - 'A' + 10;
  if (byte >= 'a' && byte <= 'f') return byte - 'a' + 10;
  return -1;
}

// Reads two bytes as a number the way a scanner does: blanks, a sign, then digits as long as there are any.
class PairScanner {
 public:
  PairScanner(unichar first, unichar second)
      : bytes_{static_cast<unsigned char>(first), static_cast<unsigned char>(second)} {}

  std::optional<std::uint32_t> value() {
    while (at_ < 2 && isBlank(bytes_[at_])) ++at_;
    const bool negative = at_ < 2 && bytes_[at_] == '-';
    if (negative || (at_ < 2 && bytes_[at_] == '+')) ++at_;
    const std::optional<std::uint32_t> magnitude = digits();
    return negative && magnitude ? std::optional<std::uint32_t>(0U - *magnitude) : magnitude;
  }

 private:
  std::optional<std::uint32_t> digits() {
    std::optional<std::uint32_t> value;
    for (; at_ < 2 && digitValue(bytes_[at_]) >= 0; ++at_) {
      value = value.value_or(0) * 16 + static_cast<std::uint32_t>(digitValue(bytes_[at_]));
    }
    return value;
  }

  unsigned char bytes_[2];
  unsigned at_ = 0;
};

}  // namespace

Ref<NSString> __EncriptedKey(const Ref<NSString>& text, const Ref<NSString>& key) try {
  if (!isUsable(text, key)) return nullptr;
  const UnitView units = text->units();
  RepeatingKey keyUnits(*key);
  std::string scrambled = withEnoughMemory([&] { return std::string(units.size() * 2, '\0'); });
  for (NSUInteger at = 0; at < units.size(); ++at) {
    const unsigned byte = static_cast<unsigned>(units[at] ^ keyUnits.next()) & 0xFF;
    requireTwoDigits(byte);
    scrambled[2 * at] = kDigits[byte >> 4];
    scrambled[2 * at + 1] = kDigits[byte & 0xF];
  }
  return NSString::stringWithASCII(scrambled);
} catch (const std::bad_alloc&) {
  return nullptr;
}

Ref<NSString> __DecriptedKey(const Ref<NSString>& scrambled, const Ref<NSString>& key) try {
  if (!isUsable(scrambled, key)) return nullptr;
  const UnitView units = scrambled->units();
  RepeatingKey keyUnits(*key);
  std::u16string text(units.size() / 2, u'\0');
  std::uint32_t value = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    value = PairScanner(units[2 * at], units[2 * at + 1]).value().value_or(value);
    text[at] = static_cast<unichar>(keyUnits.next() ^ value);
  }
  return NSString::stringWithCharacters_length(text.data(), text.size());
} catch (const std::bad_alloc&) {
  return nullptr;
}

Ref<NSString> ZtSimpleEncriptedKey(const Ref<NSString>& text, const Ref<NSString>& key) {
  return __EncriptedKey(text, key);
}

Ref<NSString> ZtSimpleDecriptedKey(const Ref<NSString>& scrambled, const Ref<NSString>& key) {
  return __DecriptedKey(scrambled, key);
}

}  // namespace ZtFoundation
