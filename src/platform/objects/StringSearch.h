/// \file StringSearch.h
/// Finding one text in another.
#pragma once

#include <memory>
#include <string>

#include <ZtFoundation/platform/String.h>

namespace ZtFoundation::detail {

class FoldedText;

/// One search of `target` in `text`, prepared so that going on after a match does not start anew. Looks at nothing
/// outside of `text`. Both views must outlive the finder; an empty target is never found.
///
/// Without NSLiteralSearch both texts are seen as rows of characters with their marks, a composed form like the
/// decomposed one, and a match holds whole characters only: "e" does not match the start of "e" + U+0301.
class TextFinder {
 public:
  TextFinder(UnitView text, UnitView target, NSUInteger options);
  ~TextFinder();
  TextFinder(const TextFinder&) = delete;
  TextFinder& operator=(const TextFinder&) = delete;

  /// The first match at or after `from`, which is 0 or where a match ended.
  NSRange next(NSUInteger from) const;
  NSRange last() const;
  /// The match at the very start or the very end of the text.
  NSRange atStart() const;
  NSRange atEnd() const;

 private:
  bool isWholeAt(NSUInteger place) const;
  NSRange match(NSUInteger place) const;  // none for NSNotFound
  NSRange matchAt(NSUInteger place) const;

  UnitView text_, target_;
  bool wholeCharacters_ = false;
  std::unique_ptr<FoldedText> folded_;  // only when comparing units does not do
  std::u16string foldedTarget_;
};

/// The foldings that search and comparison options ask for.
unsigned foldingsOf(NSUInteger options) noexcept;

}  // namespace ZtFoundation::detail
