#include "platform/objects/FoldedText.h"

#include <algorithm>

#include "platform/objects/UTF8.h"
#include "platform/objects/UnitSearch.h"
#include "platform/services/Service.h"
#include "platform/services/Unicode.h"

namespace ZtFoundation::detail {

namespace {

constexpr char32_t kFirstMark = 0x300;
// A character with more marks than this is cut, which keeps the time that putting marks in order takes within bounds.
constexpr NSUInteger kLongestCharacter = 256;

// Nothing joins a control character or the end of a line.
bool isControl(char32_t codePoint) noexcept {
  return codePoint < 0x20 || (codePoint >= 0x7F && codePoint < 0xA0) || codePoint == 0x2028 || codePoint == 0x2029;
}

// Letters of common scripts, which never extend another character; asking about them would open the module.
bool isLetterByItself(char16_t unit) noexcept {
  constexpr struct {
    char16_t first, last;
  } kLetters[] = {{0x370, 0x482},   {0x3041, 0x3096}, {0x30A1, 0x30FA},
                  {0x3400, 0x4DBF}, {0x4E00, 0x9FFF}, {0xAC00, 0xD7A3}};
  return std::any_of(std::begin(kLetters), std::end(kLetters),
                     [unit](auto& letters) { return unit >= letters.first && unit <= letters.last; });
}

bool isPartOfPair(UnitView text, NSUInteger place) noexcept {
  return isLowSurrogate(text[place]) && isHighSurrogate(text[place - 1]);
}

NSUInteger endOfCodePoint(UnitView text, NSUInteger start) noexcept {
  return start + unitsOf(codePointAt(text, start));
}

NSUInteger endOfCharacter(UnitView text, NSUInteger start) {
  NSUInteger end = endOfCodePoint(text, start);
  while (end - start < kLongestCharacter && !isCharacterBoundary(text, end)) end = endOfCodePoint(text, end);
  return end;
}

UnitView viewOf(std::u16string_view units) noexcept { return {units.data(), units.size()}; }

char16_t foldASCII(char16_t unit, unsigned foldings) noexcept {
  const bool isCapital = unit >= 'A' && unit <= 'Z';
  return isCapital && (foldings & kFoldCase) != 0 ? static_cast<char16_t>(unit + 0x20) : unit;
}

}  // namespace

bool isCharacterBoundary(UnitView text, NSUInteger place) {
  if (place == 0 || place >= text.size() || text[place] < kFirstMark || isLetterByItself(text[place])) return true;
  if (isPartOfPair(text, place)) return false;
  return isControl(text[place - 1]) || !service<Unicode>().extends(codePointAt(text, place));
}

FoldedText::FoldedText(UnitView source, unsigned foldings) {
  text_.reserve(source.size());
  for (NSUInteger start = 0; start < source.size();) {
    const NSUInteger end =
        (foldings & kFoldLiterally) != 0 ? endOfCodePoint(source, start) : endOfCharacter(source, start);
    foldedStarts_.push_back(text_.size());
    sourceStarts_.push_back(start);
    append(source, start, end, foldings);
    start = end;
  }
  foldedStarts_.push_back(text_.size());
  sourceStarts_.push_back(source.size());
}

void FoldedText::append(UnitView source, NSUInteger start, NSUInteger end, unsigned foldings) {
  if (end - start == 1 && source[start] < 0x80) {
    text_ += foldASCII(source[start], foldings);
    return;
  }
  UnitBuffer units(source.slice({start, end - start}));
  service<Unicode>().fold({units.data(), end - start}, foldings, text_);
}

// Characters that folded to nothing are left out at both ends.
NSRange FoldedText::sourceOf(std::size_t place, std::size_t length) const {
  const auto begin = foldedStarts_.begin();
  const auto first = std::upper_bound(begin, foldedStarts_.end(), place) - 1;
  const auto end = std::lower_bound(begin, foldedStarts_.end(), place + length);
  if (*first != place || *end != place + length) return kNotFoundRange;
  const NSUInteger start = sourceStarts_[static_cast<std::size_t>(first - begin)];
  return {start, sourceStarts_[static_cast<std::size_t>(end - begin)] - start};
}

NSRange FoldedText::find(std::u16string_view target, NSUInteger from) const {
  const auto start = std::lower_bound(sourceStarts_.begin(), sourceStarts_.end(), from) - sourceStarts_.begin();
  NSRange range = kNotFoundRange;
  findUnits(viewOf(text_), viewOf(target), foldedStarts_[static_cast<std::size_t>(start)], [&](NSUInteger place) {
    range = sourceOf(place, target.size());
    return range.length != 0;
  });
  return range;
}

NSRange FoldedText::findLast(std::u16string_view target) const {
  NSRange range = kNotFoundRange;
  findLastUnits(viewOf(text_), viewOf(target), [&](NSUInteger place) {
    range = sourceOf(place, target.size());
    return range.length != 0;
  });
  return range;
}

NSRange FoldedText::findAtStart(std::u16string_view target) const {
  return text_.starts_with(target) ? sourceOf(0, target.size()) : kNotFoundRange;
}

NSRange FoldedText::findAtEnd(std::u16string_view target) const {
  return text_.ends_with(target) ? sourceOf(text_.size() - target.size(), target.size()) : kNotFoundRange;
}

}  // namespace ZtFoundation::detail
