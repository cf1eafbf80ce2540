#include <ZtFoundation/platform/String.h>

#include <algorithm>
#include <cstring>

#include "platform/objects/FoldedText.h"
#include "platform/objects/StringSearch.h"

namespace ZtFoundation {

namespace {

template <class Number>
NSComparisonResult order(Number a, Number b) noexcept {
  return a < b ? NSOrderedAscending : a > b ? NSOrderedDescending : NSOrderedSame;
}

NSComparisonResult orderByUnits(UnitView a, UnitView b) noexcept {
  const NSUInteger length = std::min(a.size(), b.size());
  if (!a.isWide() && !b.isWide()) {
    const int bytes = length != 0 ? std::memcmp(a.narrow().data(), b.narrow().data(), length) : 0;
    return bytes != 0 ? order(bytes, 0) : order(a.size(), b.size());
  }
  for (NSUInteger i = 0; i < length; ++i) {
    if (a[i] != b[i]) return order(a[i], b[i]);
  }
  return order(a.size(), b.size());
}

bool isDigitAt(UnitView text, NSUInteger place) noexcept {
  return place < text.size() && text[place] >= '0' && text[place] <= '9';
}

// The digits of the number at `place` without leading zeros; moves past them.
UnitView takeNumber(UnitView text, NSUInteger& place) noexcept {
  while (isDigitAt(text, place) && text[place] == '0') ++place;
  const NSUInteger start = place;
  while (isDigitAt(text, place)) ++place;
  return text.slice({start, place - start});
}

NSComparisonResult orderOfNumbers(UnitView a, UnitView b) noexcept {
  return a.size() != b.size() ? order(a.size(), b.size()) : orderByUnits(a, b);
}

// Runs of ASCII digits by value, everything else by unit.
NSComparisonResult orderWithNumbers(UnitView a, UnitView b) noexcept {
  NSUInteger i = 0, j = 0;
  while (i < a.size() && j < b.size()) {
    NSComparisonResult result;
    if (isDigitAt(a, i) && isDigitAt(b, j)) {
      const UnitView numberOfA = takeNumber(a, i), numberOfB = takeNumber(b, j);
      result = orderOfNumbers(numberOfA, numberOfB);
    } else {
      result = order(a[i++], b[j++]);
    }
    if (result != NSOrderedSame) return result;
  }
  return order(a.size() - i, b.size() - j);
}

NSComparisonResult orderOf(UnitView a, UnitView b, NSUInteger options) noexcept {
  return (options & NSNumericSearch) != 0 ? orderWithNumbers(a, b) : orderByUnits(a, b);
}

// ASCII is its own decomposition; the order of everything else is that of its decomposed units.
bool comparesUnits(const NSString& a, const NSString& b, NSUInteger options) noexcept {
  if (detail::foldingsOf(options) != 0) return false;
  return (options & NSLiteralSearch) != 0 || (a.isASCII() && b.isASCII());
}

}  // namespace

NSComparisonResult NSString::compare(const Ref<NSString>& other) const {
  return compare_options(other, NSLiteralSearch);
}

NSComparisonResult NSString::compare_options(const Ref<NSString>& other, NSUInteger options) const {
  if (!other) return NSOrderedDescending;
  if (other.get() == this) return NSOrderedSame;
  const UnitView a = units(), b = other->units();
  if (comparesUnits(*this, *other, options)) return orderOf(a, b, options);
  const detail::FoldedText foldedA(a, detail::foldingsOf(options)), foldedB(b, detail::foldingsOf(options));
  const std::u16string& textA = foldedA.text();
  const std::u16string& textB = foldedB.text();
  return orderOf({textA.data(), textA.size()}, {textB.data(), textB.size()}, options);
}

}  // namespace ZtFoundation
