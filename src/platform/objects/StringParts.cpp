#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/CharacterSet.h>
#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/String.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/objects/StringSearch.h"
#include "platform/objects/UTF8.h"
#include "platform/services/Service.h"
#include "platform/services/Unicode.h"

namespace ZtFoundation {

namespace {

// --- Case

char lowercaseASCII(char unit) noexcept { return unit >= 'A' && unit <= 'Z' ? static_cast<char>(unit + 0x20) : unit; }
char uppercaseASCII(char unit) noexcept { return unit >= 'a' && unit <= 'z' ? static_cast<char>(unit - 0x20) : unit; }

template <class Map>
Ref<NSString> mapASCII(std::string_view units, Map map) {
  std::string text(units);
  std::transform(text.begin(), text.end(), text.begin(), map);
  return NSString::stringWithASCII(text);
}

template <class Map>
Ref<NSString> mapUnits(UnitView units, Map map) {
  detail::UnitBuffer buffer(units);
  const std::u16string text = map(std::u16string_view(buffer.data(), units.size()));
  return NSString::stringWithCharacters_length(text.data(), text.size());
}

// --- Lines

bool endsLine(unichar unit) noexcept {
  return unit == '\n' || unit == '\r' || unit == 0x85 || unit == 0x2028 || unit == 0x2029;
}

// The place lies between the two halves of CR LF.
bool splitsTerminator(UnitView text, NSUInteger place) noexcept {
  return place != 0 && place < text.size() && text[place - 1] == '\r' && text[place] == '\n';
}

NSUInteger startOfLine(UnitView text, NSUInteger place) noexcept {
  if (splitsTerminator(text, place)) --place;
  while (place != 0 && !endsLine(text[place - 1])) --place;
  return place;
}

// Where the terminator of the line that holds the last unit of the range starts.
NSUInteger endOfContents(UnitView text, NSRange range) noexcept {
  NSUInteger place = range.length != 0 ? NSMaxRange(range) - 1 : range.location;
  if (splitsTerminator(text, place)) --place;
  while (place < text.size() && !endsLine(text[place])) ++place;
  return place;
}

NSUInteger endOfTerminator(UnitView text, NSUInteger contentsEnd) noexcept {
  if (contentsEnd == text.size()) return contentsEnd;
  return contentsEnd + (splitsTerminator(text, contentsEnd + 1) ? 2 : 1);
}

}  // namespace

Ref<NSString> NSString::substringWithRange(NSRange range) const {
  if (!isRangeWithin(range, length_)) detail::raiseRange("range past the end of the string");
  return range.length == length_ ? copy() : stringWithUnits(units().slice(range));
}

Ref<NSString> NSString::substringFromIndex(NSUInteger index) const {
  if (index > length_) detail::raiseRange("character index past the end of the string");
  return substringWithRange({index, length_ - index});
}

Ref<NSString> NSString::substringToIndex(NSUInteger index) const { return substringWithRange({0, index}); }

Ref<NSString> NSString::stringByAppendingString(const Ref<NSString>& other) const {
  if (!other || other->length() == 0) return copy();
  const Ref<NSMutableString> result = NSMutableString::stringWithCapacity(length_ + other->length());
  result->appendUnits(units());
  result->appendUnits(other->units());
  return result->copy();
}

Ref<NSArray> NSString::componentsSeparatedByString(const Ref<NSString>& separator) const {
  std::vector<Ref<NSObject>> pieces;
  NSUInteger start = 0;
  if (separator) {
    const detail::TextFinder finder(units(), separator->units(), NSLiteralSearch);
    for (NSRange found = finder.next(0); found.length != 0; found = finder.next(start)) {
      pieces.push_back(substringWithRange({start, found.location - start}));
      start = NSMaxRange(found);
    }
  }
  pieces.push_back(substringFromIndex(start));
  return NSArray::arrayByTaking(pieces);
}

Ref<NSString> NSString::lowercaseString() const {
  if (isASCII()) return mapASCII(units().narrow(), lowercaseASCII);
  return mapUnits(units(), [](std::u16string_view text) { return service<Unicode>().lowercase(text); });
}

Ref<NSString> NSString::uppercaseString() const {
  if (isASCII()) return mapASCII(units().narrow(), uppercaseASCII);
  return mapUnits(units(), [](std::u16string_view text) { return service<Unicode>().uppercase(text); });
}

Ref<NSString> NSString::stringByTrimmingCharactersInSet(const Ref<NSCharacterSet>& set) const {
  if (!set) return copy();
  const UnitView text = units();
  NSUInteger start = 0, end = length_;
  while (start < end) {
    const char32_t codePoint = detail::codePointAt(text, start);
    if (!set->longCharacterIsMember(codePoint)) break;
    start += detail::unitsOf(codePoint);
  }
  while (end > start) {
    const char32_t codePoint = detail::codePointBefore(text, end);
    if (!set->longCharacterIsMember(codePoint)) break;
    end -= detail::unitsOf(codePoint);
  }
  return substringWithRange({start, end - start});
}

void NSString::getLineStart_end_contentsEnd_forRange(NSUInteger* start, NSUInteger* end, NSUInteger* contentsEnd,
                                                     NSRange range) const {
  if (!isRangeWithin(range, length_)) detail::raiseRange("range past the end of the string");
  const UnitView text = units();
  if (start != nullptr) *start = startOfLine(text, range.location);
  if (end == nullptr && contentsEnd == nullptr) return;
  const NSUInteger contents = endOfContents(text, range);
  if (contentsEnd != nullptr) *contentsEnd = contents;
  if (end != nullptr) *end = endOfTerminator(text, contents);
}

}  // namespace ZtFoundation
