#include <ZtFoundation/platform/CharacterSet.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/String.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "platform/objects/StringHash.h"
#include "platform/objects/UTF8.h"
#include "platform/services/Service.h"
#include "platform/services/Unicode.h"

namespace ZtFoundation {

ZT_IMPLEMENT_CLASS(NSCharacterSet);

namespace {

using Bounds = std::vector<char32_t>;
constexpr char32_t kEndOfUnicode = 0x110000;

constexpr CodePointRange kLineEnds[] = {{0x0A, 0x0D}, {0x85, 0x85}, {0x2028, 0x2029}};
constexpr CodePointRange kBlanks[] = {{0x09, 0x09},     {0x20, 0x20},     {0xA0, 0xA0},     {0x1680, 0x1680},
                                      {0x2000, 0x200A}, {0x202F, 0x202F}, {0x205F, 0x205F}, {0x3000, 0x3000}};

// The bounds of ranges in any order, which may overlap.
Bounds boundsOf(std::vector<CodePointRange> ranges) {
  std::sort(ranges.begin(), ranges.end(), [](auto& a, auto& b) { return a.first < b.first; });
  Bounds bounds;
  for (const CodePointRange& range : ranges) {
    if (!bounds.empty() && range.first <= bounds.back()) {
      bounds.back() = std::max<char32_t>(bounds.back(), range.last + 1);
    } else {
      bounds.insert(bounds.end(), {range.first, range.last + 1});
    }
  }
  return bounds;
}

std::vector<CodePointRange> rangesOfCharacters(UnitView units) {
  std::vector<CodePointRange> ranges;
  for (NSUInteger i = 0; i < units.size();) {
    const char32_t codePoint = detail::codePointAt(units, i);
    ranges.push_back({codePoint, codePoint});
    i += detail::unitsOf(codePoint);
  }
  return ranges;
}

template <class... Lists>
std::vector<CodePointRange> joined(const Lists&... lists) {
  std::vector<CodePointRange> ranges;
  (ranges.insert(ranges.end(), std::begin(lists), std::end(lists)), ...);
  return ranges;
}

Bounds boundsOfClass(CharacterClass characters) { return boundsOf(service<Unicode>().members(characters)); }

}  // namespace

NSCharacterSet::NSCharacterSet(Bounds bounds) : bounds_(std::move(bounds)) {
  for (char32_t codePoint = 0; codePoint < 256; ++codePoint) {
    if (isInRanges(codePoint)) latin1_[codePoint / 64] |= std::uint64_t{1} << (codePoint % 64);
  }
}

Ref<NSCharacterSet> NSCharacterSet::withBounds(Bounds bounds) {
  return Ref<NSCharacterSet>::adopt(new NSCharacterSet(std::move(bounds)));
}

Ref<NSCharacterSet> NSCharacterSet::characterSetWithCharactersInString(const Ref<NSString>& characters) {
  return withBounds(characters ? boundsOf(rangesOfCharacters(characters->units())) : Bounds());
}

Ref<NSCharacterSet> NSCharacterSet::characterSetWithRange(NSRange range) {
  if (range.length == 0 || range.location >= kEndOfUnicode) return withBounds({});
  const NSUInteger length = std::min<NSUInteger>(range.length, kEndOfUnicode - range.location);
  return withBounds({static_cast<char32_t>(range.location), static_cast<char32_t>(range.location + length)});
}

Ref<NSCharacterSet> NSCharacterSet::whitespaceCharacterSet() {
  static const Ref<NSCharacterSet>& shared = *new Ref<NSCharacterSet>(withBounds(boundsOf(joined(kBlanks))));
  return shared;
}

Ref<NSCharacterSet> NSCharacterSet::whitespaceAndNewlineCharacterSet() {
  static const Ref<NSCharacterSet>& shared = *new Ref<NSCharacterSet>(withBounds(boundsOf(joined(kBlanks, kLineEnds))));
  return shared;
}

Ref<NSCharacterSet> NSCharacterSet::newlineCharacterSet() {
  static const Ref<NSCharacterSet>& shared = *new Ref<NSCharacterSet>(withBounds(boundsOf(joined(kLineEnds))));
  return shared;
}

Ref<NSCharacterSet> NSCharacterSet::decimalDigitCharacterSet() {
  static const Ref<NSCharacterSet>& shared =
      *new Ref<NSCharacterSet>(withBounds(boundsOfClass(CharacterClass::DecimalDigit)));
  return shared;
}

Ref<NSCharacterSet> NSCharacterSet::letterCharacterSet() {
  static const Ref<NSCharacterSet>& shared =
      *new Ref<NSCharacterSet>(withBounds(boundsOfClass(CharacterClass::Letter)));
  return shared;
}

Ref<NSCharacterSet> NSCharacterSet::alphanumericCharacterSet() {
  static const Ref<NSCharacterSet>& shared =
      *new Ref<NSCharacterSet>(withBounds(boundsOfClass(CharacterClass::Alphanumeric)));
  return shared;
}

// Turning all members around only adds or removes the bounds at both ends.
Ref<NSCharacterSet> NSCharacterSet::invertedSet() const {
  Bounds bounds = bounds_;
  if (!bounds.empty() && bounds.front() == 0) {
    bounds.erase(bounds.begin());
  } else {
    bounds.insert(bounds.begin(), 0);
  }
  if (bounds.back() == kEndOfUnicode) {
    bounds.pop_back();
  } else {
    bounds.push_back(kEndOfUnicode);
  }
  return withBounds(std::move(bounds));
}

bool NSCharacterSet::isInRanges(char32_t codePoint) const noexcept {
  const auto above = std::upper_bound(bounds_.begin(), bounds_.end(), codePoint);
  return (above - bounds_.begin()) % 2 != 0;
}

bool NSCharacterSet::isEqual(const NSObject* other) const {
  const NSCharacterSet* set = as<NSCharacterSet>(other);
  return set != nullptr && bounds_ == set->bounds_;
}

NSUInteger NSCharacterSet::hash() const {
  const auto* const bytes = reinterpret_cast<const char*>(bounds_.data());
  return detail::hashUnits(UnitView(bytes, bounds_.size() * sizeof(char32_t)));
}

}  // namespace ZtFoundation
