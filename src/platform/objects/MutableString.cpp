#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/String.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>

#include "platform/objects/UTF8.h"

namespace ZtFoundation {

ZT_IMPLEMENT_CLASS(NSMutableString);

namespace {

constexpr NSUInteger kSmallestCapacity = 32;

bool needsWideStorage(UnitView units) noexcept {
  return units.isWide() && detail::unionOfUnits(units.wide().data(), units.size()) > 0xFF;
}

void copyUnits(UnitView from, void* to, bool wide) noexcept {
  if (from.empty()) return;
  if (wide && from.isWide()) {
    std::memcpy(to, from.wide().data(), from.size() * sizeof(char16_t));
  } else if (wide) {
    detail::widenUnits(from.narrow().data(), from.size(), static_cast<char16_t*>(to));
  } else if (from.isWide()) {
    detail::narrowUnits(from.wide().data(), from.size(), static_cast<char*>(to));
  } else {
    std::memcpy(to, from.narrow().data(), from.size());
  }
}

const void* addressOf(UnitView units) noexcept {
  return units.isWide() ? static_cast<const void*>(units.wide().data()) : units.narrow().data();
}

// True when the units lie in the buffer that starts at `begin`.
bool liesIn(UnitView units, const void* begin, NSUInteger bytes) noexcept {
  const auto* const first = static_cast<const char*>(begin);
  const auto* const at = static_cast<const char*>(addressOf(units));
  return !std::less<>()(at, first) && std::less<>()(at, first + bytes);
}

void* allocate(NSUInteger units, bool wide) {
  if (units > NSNotFound / sizeof(char16_t)) throw std::bad_alloc();
  void* const buffer = std::malloc(wide ? units * sizeof(char16_t) : units);
  if (buffer == nullptr) throw std::bad_alloc();
  return buffer;
}

}  // namespace

NSMutableString::~NSMutableString() { std::free(const_cast<void*>(units_)); }

// --- Making

Ref<NSMutableString> NSMutableString::string() { return Ref<NSMutableString>::adopt(new NSMutableString()); }

Ref<NSMutableString> NSMutableString::stringWithCapacity(NSUInteger units) {
  Ref<NSMutableString> result = string();
  result->reserve(units, false);
  return result;
}

Ref<NSMutableString> NSMutableString::stringWithString(const Ref<NSString>& other) {
  return other ? other->mutableCopy() : nullptr;
}

Ref<NSMutableString> NSMutableString::stringWithUnits(UnitView units) {
  Ref<NSMutableString> result = string();
  result->appendUnits(units);
  return result;
}

// --- Changing

void NSMutableString::reserve(NSUInteger units, bool wide) {
  wide = wide || isWide();
  if (units <= capacity_ && wide == isWide()) return;
  const NSUInteger capacity = std::max({units, kSmallestCapacity, units > capacity_ ? capacity_ * 2 : capacity_});
  void* const buffer = allocate(capacity, wide);
  copyUnits(this->units(), buffer, wide);
  std::free(const_cast<void*>(units_));
  units_ = buffer;
  capacity_ = capacity;
  if (wide) setFlags(static_cast<std::uint8_t>(flags() | kWideFlag));
}

void NSMutableString::replaceRange(NSRange range, UnitView incoming) {
  const NSUInteger unitSize = isWide() ? sizeof(char16_t) : 1;
  if (liesIn(incoming, units_, capacity_ * unitSize)) {
    return replaceRange(range, stringWithUnits(incoming)->units());
  }
  if (incoming.size() > NSNotFound - length_) throw std::bad_alloc();
  reserve(length_ - range.length + incoming.size(), needsWideStorage(incoming));
  if (!detail::isASCII(incoming)) setFlags(static_cast<std::uint8_t>(flags() & ~kASCIIFlag));

  const NSUInteger size = isWide() ? sizeof(char16_t) : 1;
  char* const hole = static_cast<char*>(const_cast<void*>(units_)) + range.location * size;
  const NSUInteger tail = length_ - NSMaxRange(range);
  if (tail != 0 && range.length != incoming.size()) {
    std::memmove(hole + incoming.size() * size, hole + range.length * size, tail * size);
  }
  copyUnits(incoming, hole, isWide());
  length_ += incoming.size() - range.length;
}

void NSMutableString::appendString(const Ref<NSString>& other) {
  if (other) appendUnits(other->units());
}

void NSMutableString::appendUnits(UnitView units) { replaceRange({length_, 0}, units); }

void NSMutableString::appendCharacter(unichar unit) { appendUnits(UnitView(&unit, 1)); }

void NSMutableString::appendUTF8(std::string_view bytes) {
  if (detail::isASCII(bytes)) return appendUnits(UnitView(bytes.data(), bytes.size()));
  detail::UnitBuffer buffer(bytes.size());
  const auto length = detail::decodeUTF8(bytes, detail::InvalidBytes::Replace, buffer.data());
  appendUnits(UnitView(buffer.data(), *length));
}

void NSMutableString::insertString_atIndex(const Ref<NSString>& other, NSUInteger index) {
  replaceCharactersInRange_withString({index, 0}, other);
}

void NSMutableString::deleteCharactersInRange(NSRange range) {
  if (!isRangeWithin(range, length_)) detail::raiseRange("range past the end of the string");
  replaceRange(range, {});
}

void NSMutableString::replaceCharactersInRange_withString(NSRange range, const Ref<NSString>& replacement) {
  if (!isRangeWithin(range, length_)) detail::raiseRange("range past the end of the string");
  if (!replacement) detail::raiseInvalidArgument("no string to put in place");
  replaceRange(range, replacement->units());
}

void NSMutableString::setString(const Ref<NSString>& other) {
  replaceCharactersInRange_withString({0, length_}, other);
}

}  // namespace ZtFoundation
