/// \file CharacterSet.h
/// `NSCharacterSet`: sets of Unicode characters, for searching and trimming strings.
///
/// Members are code points, those beyond U+FFFF included; a surrogate is a member by itself only where it stands
/// unpaired.
/// \code
///   Ref<NSString> trimmed = text->stringByTrimmingCharactersInSet(NSCharacterSet::whitespaceAndNewlineCharacterSet());
/// \endcode
/// Sets are immutable and may be used by many threads at once.
#pragma once

#include <cstdint>
#include <vector>

#include <ZtFoundation/platform/Object.h>

namespace ZtFoundation {

class ZT_EXPORT NSCharacterSet : public NSObject {
  ZT_OBJECT(NSCharacterSet, NSObject)
 public:
  /// The characters of `characters`; the empty set for the empty string and for none.
  static Ref<NSCharacterSet> characterSetWithCharactersInString(const Ref<NSString>& characters);
  /// `range.length` code points from `range.location` on; what lies beyond U+10FFFF is left out.
  static Ref<NSCharacterSet> characterSetWithRange(NSRange range);

  // The sets below are made once; each call answers the same object.

  /// White space inside of a line: the characters with the Unicode property White_Space that do not end a line.
  static Ref<NSCharacterSet> whitespaceCharacterSet();
  /// All characters with the Unicode property White_Space.
  static Ref<NSCharacterSet> whitespaceAndNewlineCharacterSet();
  /// U+000A to U+000D, U+0085, U+2028 and U+2029.
  static Ref<NSCharacterSet> newlineCharacterSet();
  /// Decimal digits of all scripts (category Nd). This set and the two below know only ASCII without the Unicode
  /// module.
  static Ref<NSCharacterSet> decimalDigitCharacterSet();
  /// Letters and marks (categories L and M).
  static Ref<NSCharacterSet> letterCharacterSet();
  /// Letters, marks and numbers (categories L, M and N).
  static Ref<NSCharacterSet> alphanumericCharacterSet();

  /// Every code point that the receiver lacks, unpaired surrogates included.
  Ref<NSCharacterSet> invertedSet() const;

  /// True when the set has the code point with the number of the unit.
  bool characterIsMember(unichar unit) const noexcept { return longCharacterIsMember(unit); }
  /// True when the set has the code point.
  bool longCharacterIsMember(char32_t codePoint) const noexcept {
    return codePoint < 256 ? isInLatin1(codePoint) : isInRanges(codePoint);
  }

  /// Sets are equal when they have the same members.
  bool isEqual(const NSObject* other) const override;
  using NSObject::isEqual;
  NSUInteger hash() const override;

 private:
  // Where membership changes: members are bounds_[0] up to but not including bounds_[1], and so on.
  using Bounds = std::vector<char32_t>;

  explicit NSCharacterSet(Bounds bounds);
  static Ref<NSCharacterSet> withBounds(Bounds bounds);

  bool isInLatin1(char32_t codePoint) const noexcept { return (latin1_[codePoint / 64] >> (codePoint % 64) & 1) != 0; }
  bool isInRanges(char32_t codePoint) const noexcept;

  Bounds bounds_;
  std::uint64_t latin1_[4] = {};
};

}  // namespace ZtFoundation
