#include "platform/objects/StringSearch.h"

#include <ZtFoundation/platform/CharacterSet.h>
#include <ZtFoundation/platform/Exception.h>

#include <algorithm>
#include <cstring>

#include "platform/objects/FoldedText.h"
#include "platform/objects/UTF8.h"
#include "platform/objects/UnitSearch.h"
#include "platform/services/Service.h"
#include "platform/services/Unicode.h"

namespace ZtFoundation {

namespace detail {

namespace {

// ASCII characters that some other character is canonically equal to.
constexpr std::string_view kASCIIWithTwins = ";K`";

// --- Unit by unit

NSUInteger findBytes(std::string_view text, std::string_view target, NSUInteger from) noexcept {
  const void* const found = ::memmem(text.data() + from, text.size() - from, target.data(), target.size());
  return found != nullptr ? static_cast<NSUInteger>(static_cast<const char*>(found) - text.data()) : NSNotFound;
}

bool hasUnitsAt(UnitView text, UnitView target, NSUInteger place) noexcept {
  const NSRange range{place, target.size()};
  return isRangeWithin(range, text.size()) && equalUnits(text.slice(range), target);
}

// --- What a search needs

bool isPlainASCII(UnitView units) noexcept {
  for (NSUInteger i = 0; i < units.size(); ++i) {
    if (units[i] >= 0x80 || kASCIIWithTwins.find(static_cast<char>(units[i])) != std::string_view::npos) return false;
  }
  return true;
}

bool isComposed(UnitView units) { return !units.isWide() || service<Unicode>().isComposed(units.wide()); }

}  // namespace

unsigned foldingsOf(NSUInteger options) noexcept {
  unsigned foldings = kFoldNothing;
  if ((options & NSCaseInsensitiveSearch) != 0) foldings |= kFoldCase;
  if ((options & NSDiacriticInsensitiveSearch) != 0) foldings |= kFoldDiacritics;
  if ((options & NSWidthInsensitiveSearch) != 0) foldings |= kFoldWidth;
  if ((options & NSLiteralSearch) != 0 && foldings != kFoldNothing) foldings |= kFoldLiterally;
  return foldings;
}

TextFinder::TextFinder(UnitView text, UnitView target, NSUInteger options) : text_(text), target_(target) {
  const unsigned foldings = foldingsOf(options);
  if (foldings == kFoldNothing) {
    if ((options & NSLiteralSearch) != 0 || (!text.isWide() && !target.isWide())) return;
    wholeCharacters_ = true;
    if (isPlainASCII(target) || (isComposed(target) && isComposed(text))) return;
  }
  folded_ = std::make_unique<FoldedText>(text, foldings);
  foldedTarget_ = FoldedText(target, foldings).text();
}

TextFinder::~TextFinder() = default;

bool TextFinder::isWholeAt(NSUInteger place) const {
  return !wholeCharacters_ || (isCharacterBoundary(text_, place) && isCharacterBoundary(text_, place + target_.size()));
}

NSRange TextFinder::match(NSUInteger place) const {
  return place != NSNotFound ? NSRange{place, target_.size()} : kNotFoundRange;
}

NSRange TextFinder::matchAt(NSUInteger place) const {
  return match(!target_.empty() && hasUnitsAt(text_, target_, place) && isWholeAt(place) ? place : NSNotFound);
}

NSRange TextFinder::next(NSUInteger from) const {
  if (target_.empty()) return kNotFoundRange;
  if (folded_) return foldedTarget_.empty() ? kNotFoundRange : folded_->find(foldedTarget_, from);
  if (from > text_.size() || target_.size() > text_.size() - from) return kNotFoundRange;
  if (!text_.isWide() && !target_.isWide()) return match(findBytes(text_.narrow(), target_.narrow(), from));
  return match(findUnits(text_, target_, from, [this](NSUInteger place) { return isWholeAt(place); }));
}

NSRange TextFinder::last() const {
  if (folded_) return foldedTarget_.empty() ? kNotFoundRange : folded_->findLast(foldedTarget_);
  if (target_.empty() || target_.size() > text_.size()) return kNotFoundRange;
  return match(findLastUnits(text_, target_, [this](NSUInteger place) { return isWholeAt(place); }));
}

NSRange TextFinder::atStart() const {
  if (folded_) return foldedTarget_.empty() ? kNotFoundRange : folded_->findAtStart(foldedTarget_);
  return matchAt(0);
}

NSRange TextFinder::atEnd() const {
  if (folded_) return foldedTarget_.empty() ? kNotFoundRange : folded_->findAtEnd(foldedTarget_);
  return target_.size() <= text_.size() ? matchAt(text_.size() - target_.size()) : kNotFoundRange;
}

}  // namespace detail

namespace {

void requireWithin(NSRange range, const NSString& string) {
  if (!isRangeWithin(range, string.length())) detail::raiseRange("range past the end of the string");
}

NSRange moved(NSRange range, NSUInteger by) {
  return range.length != 0 ? NSRange{range.location + by, range.length} : range;
}

NSRange findWith(const detail::TextFinder& finder, NSUInteger options) {
  const bool backwards = (options & NSBackwardsSearch) != 0;
  if ((options & NSAnchoredSearch) != 0) return backwards ? finder.atEnd() : finder.atStart();
  return backwards ? finder.last() : finder.next(0);
}

NSRange firstToReplace(const detail::TextFinder& finder, NSUInteger options) {
  return (options & NSAnchoredSearch) != 0 ? findWith(finder, options) : finder.next(0);
}

NSRange nextToReplace(const detail::TextFinder& finder, NSUInteger options, NSUInteger start) {
  return (options & NSAnchoredSearch) != 0 ? kNotFoundRange : finder.next(start);
}

// --- Searching for members of a set

bool isMember(const NSCharacterSet& set, char32_t codePoint, NSUInteger options) {
  if (set.longCharacterIsMember(codePoint)) return true;
  if ((options & NSCaseInsensitiveSearch) == 0) return false;
  Unicode& unicode = service<Unicode>();
  return set.longCharacterIsMember(unicode.lowercase(codePoint)) ||
         set.longCharacterIsMember(unicode.uppercase(codePoint));
}

NSRange memberAt(UnitView text, NSUInteger place, const NSCharacterSet& set, NSUInteger options) {
  const char32_t codePoint = detail::codePointAt(text, place);
  return isMember(set, codePoint, options) ? NSRange{place, detail::unitsOf(codePoint)} : kNotFoundRange;
}

NSRange firstMember(UnitView text, const NSCharacterSet& set, NSUInteger options) {
  for (NSUInteger place = 0; place < text.size(); place += detail::unitsOf(detail::codePointAt(text, place))) {
    if (const NSRange found = memberAt(text, place, set, options); found.length != 0) return found;
    if ((options & NSAnchoredSearch) != 0) break;
  }
  return kNotFoundRange;
}

NSRange lastMember(UnitView text, const NSCharacterSet& set, NSUInteger options) {
  for (NSUInteger end = text.size(); end != 0;) {
    end -= detail::unitsOf(detail::codePointBefore(text, end));
    if (const NSRange found = memberAt(text, end, set, options); found.length != 0) return found;
    if ((options & NSAnchoredSearch) != 0) break;
  }
  return kNotFoundRange;
}

}  // namespace

NSRange NSString::rangeOfString(const Ref<NSString>& target) const {
  return rangeOfString_options_range(target, 0, {0, length_});
}

NSRange NSString::rangeOfString_options(const Ref<NSString>& target, NSUInteger options) const {
  return rangeOfString_options_range(target, options, {0, length_});
}

NSRange NSString::rangeOfString_options_range(const Ref<NSString>& target, NSUInteger options, NSRange range) const {
  requireWithin(range, *this);
  if (!target) return kNotFoundRange;
  const detail::TextFinder finder(units().slice(range), target->units(), options);
  return moved(findWith(finder, options), range.location);
}

NSRange NSString::rangeOfCharacterFromSet(const Ref<NSCharacterSet>& set) const {
  return rangeOfCharacterFromSet_options_range(set, 0, {0, length_});
}

NSRange NSString::rangeOfCharacterFromSet_options(const Ref<NSCharacterSet>& set, NSUInteger options) const {
  return rangeOfCharacterFromSet_options_range(set, options, {0, length_});
}

NSRange NSString::rangeOfCharacterFromSet_options_range(const Ref<NSCharacterSet>& set, NSUInteger options,
                                                        NSRange range) const {
  requireWithin(range, *this);
  if (!set) return kNotFoundRange;
  const UnitView text = units().slice(range);
  const bool backwards = (options & NSBackwardsSearch) != 0;
  return moved(backwards ? lastMember(text, *set, options) : firstMember(text, *set, options), range.location);
}

bool NSString::hasPrefix(const Ref<NSString>& prefix) const {
  return rangeOfString_options(prefix, NSLiteralSearch | NSAnchoredSearch).length != 0;
}

bool NSString::hasSuffix(const Ref<NSString>& suffix) const {
  return rangeOfString_options(suffix, NSLiteralSearch | NSAnchoredSearch | NSBackwardsSearch).length != 0;
}

NSUInteger NSMutableString::replaceOccurrencesOfString_withString_options_range(const Ref<NSString>& target,
                                                                                const Ref<NSString>& replacement,
                                                                                NSUInteger options, NSRange range) {
  requireWithin(range, *this);
  if (!replacement) detail::raiseInvalidArgument("no string to put in place");
  if (!target) return 0;
  const UnitView text = units().slice(range);
  const detail::TextFinder finder(text, target->units(), options);
  const Ref<NSMutableString> result = NSMutableString::string();
  NSUInteger count = 0;
  NSUInteger copied = 0;
  for (NSRange found = firstToReplace(finder, options); found.length != 0;
       found = nextToReplace(finder, options, NSMaxRange(found))) {
    result->appendUnits(text.slice({copied, found.location - copied}));
    result->appendString(replacement);
    copied = NSMaxRange(found);
    ++count;
  }
  if (count == 0) return 0;
  result->appendUnits(text.slice({copied, text.size() - copied}));
  replaceRange(range, result->units());
  return count;
}

}  // namespace ZtFoundation
