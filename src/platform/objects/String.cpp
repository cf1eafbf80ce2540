#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/String.h>

#include <cstring>
#include <new>

#include "platform/objects/StringHash.h"
#include "platform/objects/UTF8.h"
#include "platform/services/LargeBlocks.h"

namespace ZtFoundation {

ZT_IMPLEMENT_CLASS(NSString);

using detail::UnitBuffer;

namespace {

bool equalAcrossWidths(std::string_view narrow, std::u16string_view wide) noexcept {
  for (NSUInteger i = 0; i < narrow.size(); ++i) {
    if (static_cast<unsigned char>(narrow[i]) != wide[i]) return false;
  }
  return true;
}

}  // namespace

bool equalUnits(UnitView a, UnitView b) noexcept {
  if (a.size() != b.size()) return false;
  if (a.isWide() && b.isWide()) return a.wide() == b.wide();
  if (a.isWide()) return equalAcrossWidths(b.narrow(), a.wide());
  if (b.isWide()) return equalAcrossWidths(a.narrow(), b.wide());
  return a.narrow() == b.narrow();
}

// --- Storage

NSString* NSString::newUninitialised(NSUInteger length, NSUInteger unitSize, std::uint8_t flags, void** contents) {
  if (length > NSNotFound / sizeof(char16_t)) throw std::bad_alloc();
  NSString* const string = new (length * unitSize) NSString(nullptr, length, flags);
  *contents = string + 1;
  expectToFill(*contents, length * unitSize);
  string->units_ = *contents;
  return string;
}

NSString* NSString::newNarrow(const char* units, NSUInteger length, bool ascii) {
  void* contents;
  NSString* const string = newUninitialised(length, 1, ascii ? kASCIIFlag : std::uint8_t{0}, &contents);
  if (length != 0) std::memcpy(contents, units, length);
  return string;
}

NSString* NSString::newWide(const char16_t* units, NSUInteger length) {
  void* contents;
  NSString* const string = newUninitialised(length, sizeof(char16_t), kWideFlag, &contents);
  std::memcpy(contents, units, length * sizeof(char16_t));
  return string;
}

NSString* NSString::newFromUnits(const char16_t* units, NSUInteger length) {
  const char16_t all = detail::unionOfUnits(units, length);
  if (all > 0xFF) return newWide(units, length);
  void* contents;
  NSString* const string = newUninitialised(length, 1, all < 0x80 ? kASCIIFlag : std::uint8_t{0}, &contents);
  detail::narrowUnits(units, length, static_cast<char*>(contents));
  return string;
}

NSString* detail::newString(std::string_view utf8) {
  if (detail::isASCII(utf8)) return NSString::newNarrow(utf8.data(), utf8.size(), true);
  UnitBuffer buffer(utf8.size());
  const std::size_t length = *decodeUTF8(utf8, InvalidBytes::Replace, buffer.data());
  return NSString::newFromUnits(buffer.data(), length);
}

NSString* detail::newString(std::u16string_view units) { return NSString::newFromUnits(units.data(), units.size()); }
NSObject* detail::newStringObject(std::string_view utf8) { return newString(utf8); }
NSObject* detail::newStringObject(std::u16string_view units) { return newString(units); }

// --- Making

Ref<NSString> NSString::string() {
  static NSString* const empty = newNarrow("", 0, true);  // never destroyed, so it serves during exit too
  return Ref<NSString>(empty);
}

Ref<NSString> NSString::stringWithString(const Ref<NSString>& other) { return other ? other->copy() : nullptr; }

Ref<NSString> NSString::stringWithCharacters_length(const unichar* characters, NSUInteger length) {
  return Ref<NSString>::adopt(newFromUnits(characters, length));
}

Ref<NSString> NSString::stringWithUnits(UnitView units) {
  if (units.isWide()) return stringWithCharacters_length(units.wide().data(), units.size());
  const std::string_view narrow = units.narrow();
  return Ref<NSString>::adopt(newNarrow(narrow.data(), narrow.size(), detail::isASCII(narrow)));
}

Ref<NSString> NSString::stringWithValidUTF8(std::string_view bytes) {
  if (detail::isASCII(bytes)) return stringWithASCII(bytes);
  UnitBuffer buffer(bytes.size());
  const auto length = detail::decodeUTF8(bytes, detail::InvalidBytes::Refuse, buffer.data());
  return length ? stringWithCharacters_length(buffer.data(), *length) : nullptr;
}

Ref<NSString> NSString::stringWithASCII(std::string_view bytes) {
  return Ref<NSString>::adopt(newNarrow(bytes.data(), bytes.size(), true));
}

Ref<NSString> NSString::stringWithFileSystemRepresentation(std::string_view bytes) {
  if (detail::isASCII(bytes)) return stringWithASCII(bytes);
  UnitBuffer buffer(bytes.size());
  const auto length = detail::decodeUTF8(bytes, detail::InvalidBytes::Escape, buffer.data());
  return stringWithCharacters_length(buffer.data(), *length);
}

// --- Units

unichar NSString::characterAtIndex(NSUInteger index) const {
  if (index >= length_) detail::raiseRange("character index past the end of the string");
  return units()[index];
}

void NSString::getCharacters_range(unichar* buffer, NSRange range) const {
  if (!isRangeWithin(range, length_)) detail::raiseRange("range past the end of the string");
  const UnitView slice = units().slice(range);
  if (slice.isWide()) {
    std::memcpy(buffer, slice.wide().data(), slice.size() * sizeof(char16_t));
  } else {
    detail::widenUnits(slice.narrow().data(), slice.size(), buffer);
  }
}

// --- To the host's types

std::string NSString::utf8() const { return *detail::encodeUTF8(units(), detail::LoneSurrogates::Replace); }

std::optional<std::string> NSString::strictUTF8() const {
  return detail::encodeUTF8(units(), detail::LoneSurrogates::Refuse);
}

std::u16string NSString::utf16() const {
  std::u16string result(length_, u'\0');
  getCharacters_range(result.data(), {0, length_});
  return result;
}

std::string NSString::fileSystemRepresentation() const {
  return *detail::encodeUTF8(units(), detail::LoneSurrogates::Restore);
}

// --- Comparing and copying

bool NSString::isEqual(const NSObject* other) const {
  if (other == this) return true;
  const NSString* string = as<NSString>(other);
  return string != nullptr && equalUnits(units(), string->units());
}

NSUInteger NSString::hash() const { return detail::hashUnits(units()); }

Ref<NSString> NSString::description() const { return copy(); }

Ref<NSString> NSString::copy() const {
  return isMutable() ? stringWithUnits(units()) : Ref<NSString>(const_cast<NSString*>(this));
}

Ref<NSMutableString> NSString::mutableCopy() const { return NSMutableString::stringWithUnits(units()); }

}  // namespace ZtFoundation
