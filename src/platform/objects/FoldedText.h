/// \file FoldedText.h
/// Text without the differences that a search ignores, and the way back to the original.
#pragma once

#include <string>
#include <vector>

#include <ZtFoundation/platform/String.h>

namespace ZtFoundation::detail {

/// True when a character starts at `place`: nothing there belongs to the character before it.
bool isCharacterBoundary(UnitView text, NSUInteger place);

/// A text folded character by character. `foldings` are those of the Unicode service.
class FoldedText {
 public:
  FoldedText(UnitView source, unsigned foldings);

  /// The first or last place of the folded `target`, as a range of whole characters of the source.
  NSRange find(std::u16string_view target, NSUInteger from) const;
  NSRange findLast(std::u16string_view target) const;
  NSRange findAtStart(std::u16string_view target) const;
  NSRange findAtEnd(std::u16string_view target) const;

  const std::u16string& text() const noexcept { return text_; }

 private:
  void append(UnitView source, NSUInteger start, NSUInteger end, unsigned foldings);
  NSRange sourceOf(std::size_t place, std::size_t length) const;

  std::u16string text_;
  // Where each character starts, with the end of the text last.
  std::vector<std::size_t> foldedStarts_;
  std::vector<NSUInteger> sourceStarts_;
};

}  // namespace ZtFoundation::detail
