/// \file String.h
/// `NSString` and `NSMutableString`: sequences of UTF-16 code units.
///
/// Lengths, indexes and ranges count UTF-16 units; unpaired surrogates are kept as they are. How the units are
/// stored is private: text whose units all fit one byte takes one byte each.
/// \code
///   Ref<NSString> greeting = "Grüße";                    // from UTF-8
///   greeting->length();                                  // 5
///   std::string bytes = greeting->utf8();                // back to UTF-8
///   Ref<NSString> path = "/tmp/a.txt";
///   path->stringByDeletingLastPathComponent();           // "/tmp"
/// \endcode
///
/// Indexes and ranges outside of a string raise NSRangeException. No operation depends on the process's locale.
///
/// Threads: an immutable string may be used by many threads at once, a mutable one by one at a time.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <ZtFoundation/platform/Object.h>

namespace ZtFoundation {

class NSArray;
class NSCharacterSet;
class NSData;
class NSMutableString;

/// Bits that say how strings are searched and compared.
enum NSStringCompareOptions : NSUInteger {
  NSCaseInsensitiveSearch = 1,
  NSLiteralSearch = 2,    ///< unit by unit, without canonical equivalence
  NSBackwardsSearch = 4,  ///< the last occurrence
  NSAnchoredSearch = 8,   ///< only at the start (with NSBackwardsSearch: the end)
  NSNumericSearch = 64,   ///< comparisons only: runs of digits by value
  NSDiacriticInsensitiveSearch = 128,
  NSWidthInsensitiveSearch = 256,
};

/// Numbers of the byte encodings that strings convert from and to.
using NSStringEncoding = NSUInteger;
inline constexpr NSStringEncoding NSASCIIStringEncoding = 1;
inline constexpr NSStringEncoding NSJapaneseEUCStringEncoding = 3;
inline constexpr NSStringEncoding NSUTF8StringEncoding = 4;
inline constexpr NSStringEncoding NSISOLatin1StringEncoding = 5;
inline constexpr NSStringEncoding NSShiftJISStringEncoding = 8;
inline constexpr NSStringEncoding NSISOLatin2StringEncoding = 9;
inline constexpr NSStringEncoding NSUnicodeStringEncoding = 10;  ///< UTF-16, big-endian without a mark
inline constexpr NSStringEncoding NSWindowsCP1251StringEncoding = 11;
inline constexpr NSStringEncoding NSWindowsCP1252StringEncoding = 12;
inline constexpr NSStringEncoding NSWindowsCP1253StringEncoding = 13;
inline constexpr NSStringEncoding NSWindowsCP1254StringEncoding = 14;
inline constexpr NSStringEncoding NSWindowsCP1250StringEncoding = 15;
inline constexpr NSStringEncoding NSISO2022JPStringEncoding = 21;
inline constexpr NSStringEncoding NSMacOSRomanStringEncoding = 30;
inline constexpr NSStringEncoding NSUTF16BigEndianStringEncoding = 0x90000100;
inline constexpr NSStringEncoding NSUTF16LittleEndianStringEncoding = 0x94000100;
inline constexpr NSStringEncoding NSUTF32StringEncoding = 0x8c000100;
inline constexpr NSStringEncoding NSUTF32BigEndianStringEncoding = 0x98000100;
inline constexpr NSStringEncoding NSUTF32LittleEndianStringEncoding = 0x9c000100;
/// What an unknown charset name gives; decoding with it gives none.
inline constexpr NSStringEncoding kInvalidStringEncoding = 0xFFFFFFFF;

/// The units of a string where they lie; valid as long as the string lives and is not changed.
class UnitView {
 public:
  /// No units.
  constexpr UnitView() noexcept = default;
  /// Units of one byte each, at the place given.
  constexpr UnitView(const char* narrow, NSUInteger length) noexcept : units_(narrow), length_(length) {}
  /// Units of two bytes each, at the place given.
  constexpr UnitView(const char16_t* wide, NSUInteger length) noexcept : units_(wide), length_(length), wide_(true) {}

  /// How many units there are.
  constexpr NSUInteger size() const noexcept { return length_; }
  /// True when there are none.
  constexpr bool empty() const noexcept { return length_ == 0; }
  /// True when each unit takes two bytes; otherwise each is one byte with the value of the unit (0 to 255).
  constexpr bool isWide() const noexcept { return wide_; }
  /// The units as bytes; only when they are not wide.
  std::string_view narrow() const noexcept { return {static_cast<const char*>(units_), length_}; }
  /// The units; only when they are wide.
  std::u16string_view wide() const noexcept { return {static_cast<const char16_t*>(units_), length_}; }
  /// Unchecked.
  unichar operator[](NSUInteger index) const noexcept {
    return wide_ ? static_cast<const char16_t*>(units_)[index]
                 : static_cast<unichar>(static_cast<const unsigned char*>(units_)[index]);
  }
  /// The units of `range`, which must lie inside.
  UnitView slice(NSRange range) const noexcept {
    return wide_ ? UnitView(static_cast<const char16_t*>(units_) + range.location, range.length)
                 : UnitView(static_cast<const char*>(units_) + range.location, range.length);
  }

 private:
  const void* units_ = nullptr;
  NSUInteger length_ = 0;
  bool wide_ = false;
};

class ZT_EXPORT NSString : public NSObject {
  ZT_OBJECT(NSString, NSObject)
 public:
  static constexpr ObjectKind kKind = ObjectKind::String;

  // --- Making

  /// The empty string.
  static Ref<NSString> string();
  /// An immutable string with the contents of `other`; `other` itself when it is immutable, none for none.
  static Ref<NSString> stringWithString(const Ref<NSString>& other);
  /// The units as they are; `characters` may be null when `length` is 0.
  static Ref<NSString> stringWithCharacters_length(const unichar* characters, NSUInteger length);
  /// A copy of the units.
  static Ref<NSString> stringWithUnits(UnitView units);
  /// Strict UTF-8: none when the bytes are not valid. No byte-order mark handling.
  static Ref<NSString> stringWithValidUTF8(std::string_view bytes);
  /// Bytes that the caller knows to be ASCII (0 to 127).
  static Ref<NSString> stringWithASCII(std::string_view bytes);
  /// `length` bytes that `fill` writes, ASCII only, before anybody else sees them; for producers that know the size
  /// beforehand.
  template <class Fill>
  static Ref<NSString> stringWithASCIILength(NSUInteger length, Fill&& fill) {
    void* contents;
    Ref<NSString> result = Ref<NSString>::adopt(newUninitialised(length, 1, kASCIIFlag, &contents));
    std::forward<Fill>(fill)(static_cast<char*>(contents));
    return result;
  }
  /// A file name or path as the system gives it; a byte that is not valid UTF-8 becomes the unpaired surrogate
  /// U+DC80 + (byte - 0x80), which `fileSystemRepresentation` turns back into the same byte.
  static Ref<NSString> stringWithFileSystemRepresentation(std::string_view bytes);
  /// Text made by `format` and its arguments; see Format.h for the format language.
  template <class... Arguments>
  static Ref<NSString> stringWithFormat(const Ref<NSString>& format, const Arguments&... arguments);

  // --- Units

  /// How many UTF-16 units there are.
  NSUInteger length() const noexcept { return length_; }
  /// Raises NSRangeException past the end.
  unichar characterAtIndex(NSUInteger index) const;
  /// Copies the units of `range` to `buffer`, which holds at least that many.
  void getCharacters_range(unichar* buffer, NSRange range) const;
  /// The units where they lie, good until the string changes or goes.
  UnitView units() const noexcept {
    if ((flags() & kWideFlag) != 0) return {static_cast<const char16_t*>(units_), length_};
    return {static_cast<const char*>(units_), length_};
  }
  /// True when every unit is known to be below 0x80; a mutable string that lost its other units may still say no.
  bool isASCII() const noexcept { return (flags() & kASCIIFlag) != 0; }

  // --- To the host's types

  /// UTF-8; an unpaired surrogate becomes U+FFFD.
  std::string utf8() const;
  /// UTF-8, none when there is an unpaired surrogate.
  std::optional<std::string> strictUTF8() const;
  /// The units as they are, unpaired surrogates included.
  std::u16string utf16() const;
  /// The bytes that name a file: UTF-8, with U+DC80..U+DCFF that stand alone as the bytes they carry.
  std::string fileSystemRepresentation() const;

  // --- Comparing

  bool isEqual(const NSObject* other) const override;
  using NSObject::isEqual;
  NSUInteger hash() const override;
  Ref<NSString> description() const override;
  /// True for the same units; false for none.
  bool isEqualToString(const Ref<NSString>& other) const { return isEqual(other.get()); }
  /// By UTF-16 unit value.
  NSComparisonResult compare(const Ref<NSString>& other) const;
  /// By the units that remain when the differences that `options` ignore are gone; without NSLiteralSearch of
  /// decomposed text, so that composed and decomposed forms are the same. With NSNumericSearch runs of ASCII digits go
  /// by value. None is less than any text.
  NSComparisonResult compare_options(const Ref<NSString>& other, NSUInteger options) const;
  /// Unit by unit; an empty prefix or suffix is none.
  bool hasPrefix(const Ref<NSString>& prefix) const;
  /// Unit by unit; an empty suffix is none.
  bool hasSuffix(const Ref<NSString>& suffix) const;

  // --- Searching: a search that finds nothing answers kNotFoundRange; an empty or absent target is never found

  /// The first occurrence, canonically equivalent text included.
  NSRange rangeOfString(const Ref<NSString>& target) const;
  /// The first occurrence, or the last, as `options` (NSStringCompareOptions) tell.
  NSRange rangeOfString_options(const Ref<NSString>& target, NSUInteger options) const;
  /// The same inside of `range`. Raises NSRangeException when that does not lie inside the string.
  NSRange rangeOfString_options_range(const Ref<NSString>& target, NSUInteger options, NSRange range) const;
  /// The first character that is a member of `set`: one unit, or two for a surrogate pair.
  NSRange rangeOfCharacterFromSet(const Ref<NSCharacterSet>& set) const;
  /// The first such character, or the last with NSBackwardsSearch; with NSAnchoredSearch only at that end.
  NSRange rangeOfCharacterFromSet_options(const Ref<NSCharacterSet>& set, NSUInteger options) const;
  /// The same inside of `range`. Raises NSRangeException when that does not lie inside the string.
  NSRange rangeOfCharacterFromSet_options_range(const Ref<NSCharacterSet>& set, NSUInteger options,
                                                NSRange range) const;

  // --- Parts and joins; each answers a new immutable string

  /// The units from `index` on. Raises NSRangeException past the end.
  Ref<NSString> substringFromIndex(NSUInteger index) const;
  /// The units before `index`. Raises NSRangeException past the end.
  Ref<NSString> substringToIndex(NSUInteger index) const;
  /// The units of `range`. Raises NSRangeException when it does not lie inside.
  Ref<NSString> substringWithRange(NSRange range) const;
  /// The receiver with `other` behind.
  Ref<NSString> stringByAppendingString(const Ref<NSString>& other) const;
  /// The pieces between occurrences of `separator` (literal search), empty ones included; never an empty array.
  Ref<NSArray> componentsSeparatedByString(const Ref<NSString>& separator) const;
  /// By the Unicode rules, which may change the length; independent of the locale.
  Ref<NSString> lowercaseString() const;
  /// By the Unicode rules, which may change the length; independent of the locale.
  Ref<NSString> uppercaseString() const;
  /// Without the members of `set` at both ends; the same text for none.
  Ref<NSString> stringByTrimmingCharactersInSet(const Ref<NSCharacterSet>& set) const;
  /// A mutable string with the same text.
  Ref<NSMutableString> mutableCopy() const;
  /// An immutable string with the same contents: the receiver itself when it is immutable.
  Ref<NSString> copy() const;

  // --- Lines

  /// Finds the whole lines that `range` touches. Any pointer may be null. Terminators: LF, CR, CR LF, U+0085, U+2028,
  /// U+2029.
  void getLineStart_end_contentsEnd_forRange(NSUInteger* start, NSUInteger* end, NSUInteger* contentsEnd,
                                             NSRange range) const;

  // --- Numbers in text: leading white space skipped, 0 when there is none

  /// The decimal integer at the start; one that does not fit becomes the nearest that does.
  int intValue() const;
  /// The decimal integer at the start; one that does not fit becomes the nearest that does.
  long long longLongValue() const;
  /// The decimal number at the start, with a dot whatever the locale.
  double doubleValue() const;
  /// True for text that begins with Y, y, T, t or a number other than 0.
  bool boolValue() const;

  // --- Paths

  /// True when the text begins with a slash.
  bool isAbsolutePath() const;
  /// The names between slashes, without empty ones; for an absolute path "/" is the first.
  Ref<NSArray> pathComponents() const;
  /// The last name; slashes at the end do not count. "/" for the root.
  Ref<NSString> lastPathComponent() const;
  /// What stands behind the last dot of the last name, without the dot; empty when the dot begins or ends the name, or
  /// there is none.
  Ref<NSString> pathExtension() const;
  /// The path of the folder; empty for a single name, "/" for the root and what lies in it.
  Ref<NSString> stringByDeletingLastPathComponent() const;
  /// Without the extension and its dot; without slashes at the end.
  Ref<NSString> stringByDeletingPathExtension() const;
  /// With one slash between the two; just the other where one is empty.
  Ref<NSString> stringByAppendingPathComponent(const Ref<NSString>& component) const;
  /// With a dot between the two; the path alone for an empty extension, an empty path and the root.
  Ref<NSString> stringByAppendingPathExtension(const Ref<NSString>& extension) const;

  // --- Bytes

  /// The bytes decoded; a leading byte-order mark is dropped (UTF-8, UTF-16, UTF-32). None when the bytes are not valid
  /// in `encoding` or the encoding is unknown.
  static Ref<NSString> stringWithData_encoding(const Ref<NSData>& data, NSStringEncoding encoding);
  /// The same from bytes.
  static Ref<NSString> stringWithBytes_length_encoding(const void* bytes, NSUInteger length, NSStringEncoding encoding);
  /// The text encoded, none when a character has no form in `encoding` and loss is not allowed; with loss each becomes
  /// one "?", or what the encoding has for that (GB_2312-80 has none).
  Ref<NSData> dataUsingEncoding_allowLossyConversion(NSStringEncoding encoding, bool allowLossyConversion) const;
  /// The same without loss.
  Ref<NSData> dataUsingEncoding(NSStringEncoding encoding) const;

 protected:
  static constexpr std::uint8_t kWideFlag = 2;
  static constexpr std::uint8_t kASCIIFlag = 4;
  friend class NSMutableString;
  friend NSString* detail::newString(std::string_view);
  friend NSString* detail::newString(std::u16string_view);

  NSString(const void* units, NSUInteger length, std::uint8_t flags) noexcept
      : NSObject(ObjectKind::String, flags), units_(units), length_(length) {}

  // Contents of an immutable string follow the object in its block.
  static NSString* newUninitialised(NSUInteger length, NSUInteger unitSize, std::uint8_t flags, void** contents);
  static NSString* newNarrow(const char* units, NSUInteger length, bool ascii);
  static NSString* newWide(const char16_t* units, NSUInteger length);
  static NSString* newFromUnits(const char16_t* units, NSUInteger length);

  const void* units_;
  NSUInteger length_;
};

/// A string that can be changed in place.
class ZT_EXPORT NSMutableString : public NSString {
  ZT_OBJECT(NSMutableString, NSString)
 public:
  static constexpr bool kIsMutable = true;

  ~NSMutableString() override;

  /// The empty string.
  static Ref<NSMutableString> string();
  /// The empty string with room for that many units.
  static Ref<NSMutableString> stringWithCapacity(NSUInteger units);
  /// A mutable string with the same text, none for none.
  static Ref<NSMutableString> stringWithString(const Ref<NSString>& other);
  /// A copy of the units.
  static Ref<NSMutableString> stringWithUnits(UnitView units);

  /// Adds the text of `other`, which may be this very string; nothing for none.
  void appendString(const Ref<NSString>& other);
  /// Adds the units, which may be a part of this very string.
  void appendUnits(UnitView units);
  /// Adds one UTF-16 unit.
  void appendCharacter(unichar unit);
  /// Appends UTF-8; bytes that are not valid become U+FFFD, one each.
  void appendUTF8(std::string_view bytes);
  /// Adds the text made by `format` and its arguments; see Format.h.
  template <class... Arguments>
  void appendFormat(const Ref<NSString>& format, const Arguments&... arguments);
  /// Raises NSRangeException when `index` is past the end, NSInvalidArgumentException when `other` is none.
  void insertString_atIndex(const Ref<NSString>& other, NSUInteger index);
  /// Raises NSRangeException when `range` does not lie inside.
  void deleteCharactersInRange(NSRange range);
  /// Raises NSRangeException when `range` does not lie inside, NSInvalidArgumentException when `replacement` is none.
  void replaceCharactersInRange_withString(NSRange range, const Ref<NSString>& replacement);
  /// Replaces all occurrences, with NSAnchoredSearch at most the one at the start or end. Answers how many were replaced.
  NSUInteger replaceOccurrencesOfString_withString_options_range(const Ref<NSString>& target,
                                                                 const Ref<NSString>& replacement, NSUInteger options,
                                                                 NSRange range);
  /// Puts the text of `other` in place of all. Raises NSInvalidArgumentException for none.
  void setString(const Ref<NSString>& other);

 private:
  NSMutableString() noexcept : NSString(nullptr, 0, kMutableFlag | kASCIIFlag) {}

  bool isWide() const noexcept { return (flags() & kWideFlag) != 0; }
  /// Makes room for `inserted` units in place of `range`, of the width that `incoming` needs.
  void replaceRange(NSRange range, UnitView incoming);
  void reserve(NSUInteger units, bool wide);

  NSUInteger capacity_ = 0;  // in units of the present width
};

/// True when the text of both is the same, unit by unit.
ZT_EXPORT bool equalUnits(UnitView a, UnitView b) noexcept;

}  // namespace ZtFoundation
