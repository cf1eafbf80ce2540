/// \file Text.h
/// Text services: encodings from before Unicode, truncation for display, numbered placeholders, four-character codes,
/// scrambling of short strings, identifier strings.
/// \code
///   Ref<NSString> text = "%2 of %1";
///   JxReplacementExtensions::stringWithParameterArray(text, NSArray::of("ten", "three"));   // "three of ten"
///   ZtSimpleDecriptedKey(ZtSimpleEncriptedKey("secret", "key"), "key");                     // "secret"
/// \endcode
/// Threads: all operations are pure functions of their arguments and the machine's settings, and may be called from any
/// thread.
#pragma once

#include <cstdint>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

// --- Encodings from before Unicode

namespace detail {
ZT_EXPORT Ref<NSString> decodePascalString(const unsigned char* pascalString);
ZT_EXPORT Ref<NSString> decodeSJIS(const void* bytes, std::uint32_t length);

template <class String>
Ref<String> newOfClass(const Ref<NSString>& text) {
  return text ? String::stringWithString(text) : nullptr;
}
}  // namespace detail

/// Pascal strings and Shift-JIS bytes.
///
/// Shift-JIS is that of code page 932: 0x5C is the backslash, 0x7E the tilde; the bytes 0x80, 0xA0 and 0xFD to 0xFF are
/// invalid; of several codes for one character JIS X 0208 comes before NEC row 13 before the IBM rows FA to FC.
/// Conversion to Shift-JIS never refuses: each character without a code becomes one "?". U+301C, U+2212, U+2016,
/// U+2014, U+00A2, U+00A3 and U+00AC, which other flavours give for codes of this one, have those codes.
///
/// "Cannot be converted" below happens to text that is not ASCII when the Unicode module is not installed; then bytes
/// that are not ASCII give none.
namespace JxOldConversionExtensions {

/// A new string of class `String` from a length byte and that many bytes in the encoding `CFStringGetSystemEncoding`
/// answers.
/// \returns none for null and for bytes that are not valid in that encoding.
template <class String = NSString>
Ref<String> stringWithPascalString(const unsigned char* pascalString) {
  return detail::newOfClass<String>(detail::decodePascalString(pascalString));
}

/// A new string of class `String` from Shift-JIS bytes; the empty string for a length of 0.
/// \returns none for null, whatever the length, and for bytes that are not valid.
template <class String = NSString>
Ref<String> stringWithSJISDataBytes_length(const void* bytes, std::uint32_t length) {
  return detail::newOfClass<String>(detail::decodeSJIS(bytes, length));
}

/// The number of bytes of `self` in Shift-JIS; 0 for none and for text that cannot be converted.
ZT_EXPORT std::uint32_t sjisStringLength(const Ref<NSString>& self);

/// Clears `maxLength` bytes of `buffer`, then writes at most `maxLength` - 1 bytes of `self` in Shift-JIS and a zero
/// byte.
///
/// The cut is by bytes and may leave the first byte of a two-byte character before the zero. A `maxLength` of 0 means
/// no bound at all: the whole form and the zero are written, so `buffer` must have room for `sjisStringLength` + 1
/// bytes.
/// \returns `buffer`; null when it is null, and, with the buffer cleared, when `self` is none or cannot be converted.
ZT_EXPORT char* getSJISString_maxLength(const Ref<NSString>& self, char* buffer, std::uint32_t maxLength);

/// Clears `maxBufferSize` bytes of `buffer`, then writes at most that many bytes of `self` in Shift-JIS, without a zero
/// byte at the end.
/// \returns as `getSJISString_maxLength`.
ZT_EXPORT char* getSJISData_maxBufferSize(const Ref<NSString>& self, char* buffer, std::uint32_t maxBufferSize);

/// The text of the first `limit` bytes of `self` in Shift-JIS. Where there are fewer, U+0000 stands for each that is
/// missing.
/// \returns the empty string when `self` is empty, `limit` is 0 or memory runs out; none when `self` is none or cannot
/// be converted, or when `limit` splits a two-byte character.
ZT_EXPORT Ref<NSString> stringWithSJISSizeLimitation(const Ref<NSString>& self, std::uint32_t limit);

}  // namespace JxOldConversionExtensions

// --- Truncation for display

/// Where the ellipsis replaces characters.
inline constexpr std::int16_t kTruncateAtEnd = 0;
inline constexpr std::int16_t kTruncateAtStart = 0x1000;
inline constexpr std::int16_t kTruncateInMiddle = 0x4000;

/// Shortens strings so that they fit a width when drawn in the system font.
///
/// One U+2026 stands for the removed run of UTF-16 units: the shortest one, at the place that the code names, that
/// makes the text fit. At least two units stay before it (at the start: one after it). A run may begin or end inside a
/// surrogate pair or a composed character. Family and size of the font are the desktop's; the first use opens the
/// desktop module, and measuring blocks while fonts are read. Each attempt is one measurement of the whole text: a
/// name of 300 units takes some 10 ms to shorten to a few, one of 1000 units a third of a second.
namespace JxTruncateExtensions {

/// \param drawingWidth in points; text exactly as wide fits.
/// \param themeFontID 0 or 4: the system font of regular controls; 1 or 2: of small ones; 109: of mini ones. The
/// emphasized fonts 2 and 4 are measured as the plain ones.
/// \param truncCode `kTruncateAtEnd`, `kTruncateAtStart` or `kTruncateInMiddle`.
/// \returns a new immutable string, with the text of `self` when that fits, whatever the code. None for another font
/// identifier, without a font (also when the desktop module is not installed), when the text does not fit and the code
/// is another one, when even the shortest form is too wide, and when `self` is none.
ZT_EXPORT Ref<NSString> truncateStringWithDrawingWidth_themeFontID_truncCode(const Ref<NSString>& self,
                                                                             float drawingWidth,
                                                                             std::uint16_t themeFontID,
                                                                             std::int16_t truncCode);

/// The same with the font of a control size: 1 small, 2 mini (`bold` is ignored), any other regular.
ZT_EXPORT Ref<NSString> truncateControlStringWithDrawingWidth_truncCode_controlSize_bold(
    const Ref<NSString>& self, float drawingWidth, std::int16_t truncCode, NSUInteger controlSize, bool bold);
/// The same, not bold.
ZT_EXPORT Ref<NSString> truncateControlStringWithDrawingWidth_truncCode_controlSize(const Ref<NSString>& self,
                                                                                    float drawingWidth,
                                                                                    std::int16_t truncCode,
                                                                                    NSUInteger controlSize);
/// The same, not bold, for regular controls.
ZT_EXPORT Ref<NSString> truncateControlStringWithDrawingWidth_truncCode(const Ref<NSString>& self, float drawingWidth,
                                                                        std::int16_t truncCode);
/// The same, not bold, for small controls.
ZT_EXPORT Ref<NSString> truncateSmallControlStringWithDrawingWidth_truncCode(const Ref<NSString>& self,
                                                                             float drawingWidth,
                                                                             std::int16_t truncCode);
/// The same, not bold, for mini controls.
ZT_EXPORT Ref<NSString> truncateMiniControlStringWithDrawingWidth_truncCode(const Ref<NSString>& self,
                                                                            float drawingWidth, std::int16_t truncCode);

}  // namespace JxTruncateExtensions

// --- Numbered placeholders

/// Placeholders in strings.
namespace JxReplacementExtensions {

/// Fills the placeholders %1, %2, ... of `self` with the strings of `parameters`.
///
/// Placeholders are filled in ascending order, each at every occurrence, until the first that does not occur: the
/// template "%1 %3" keeps its %3. As each search begins anew at the start of the text, what a parameter brings in is
/// searched too, and %10 is found as %1 followed by 0. An element that is no string takes part with its description.
/// \returns a new mutable string; a copy of `self` when `parameters` is none; none when `self` is none.
/// \throws NSException NSInvalidArgumentException when a parameter that is wanted holds its own placeholder, so that
/// filling it would never end, or when the text would grow by more than 2^24 UTF-16 units or need more replacements
/// than it had units at first and 2^24.
ZT_EXPORT Ref<NSMutableString> stringWithParameterArray(const Ref<NSString>& self, const Ref<NSArray>& parameters);

}  // namespace JxReplacementExtensions

// --- Four-character codes

/// Four-character codes of strings.
namespace JxOSExtensions {

/// The code of `self`: its first four bytes in Shift-JIS, big-endian, zero for each that is missing ("APPL" is
/// 0x4150504C, "ab" 0x61620000). The cut may fall inside a two-byte character. A second, third or fourth byte of 0x80
/// or more sets every bit above its own place to 1; codes that are ASCII are not touched by this.
/// \returns the code in the low 32 bits, the others 0; 0 when `self` is none or empty, begins with U+0000 or cannot be
/// converted.
ZT_EXPORT NSUInteger osType(const Ref<NSString>& self);

}  // namespace JxOSExtensions

// --- Scrambling and identifiers

/// A new random identifier: 36 characters in upper case, 8-4-4-4-12 (RFC 9562, version 4). None when the system has no
/// randomness to give.
ZT_EXPORT Ref<NSString> ZtIdentifierString();

/// Scrambles `text` with `key`: each UTF-16 unit becomes two upper-case hexadecimal digits, the low byte of its
/// exclusive-or with a unit of the key, which repeats. This keeps a value from being read in passing; it is not
/// encryption.
///
/// Only pairs of units whose exclusive-or has a low byte of at most 0x7F are allowed, which holds for ASCII text with
/// an ASCII key; anything else stops the process with a message, because its result could not be read back.
/// \returns none when text or key is none, the key is empty or memory runs out.
ZT_EXPORT Ref<NSString> ZtSimpleEncriptedKey(const Ref<NSString>& text, const Ref<NSString>& key);

/// Turns the result of `ZtSimpleEncriptedKey` back into the text, given the same key.
///
/// Digits may be in either case. A pair that is no number repeats the value of the pair before it (0 at the start), one
/// whose second character is no digit has the value of its first; an odd last character is ignored.
/// \returns none when text or key is none, the key is empty or memory runs out.
ZT_EXPORT Ref<NSString> ZtSimpleDecriptedKey(const Ref<NSString>& scrambled, const Ref<NSString>& key);

/// The worker of `ZtSimpleEncriptedKey`, with the same rules.
ZT_EXPORT Ref<NSString> __EncriptedKey(const Ref<NSString>& text,
                                       const Ref<NSString>& key);  // NOLINT(bugprone-reserved-identifier)
/// The worker of `ZtSimpleDecriptedKey`, with the same rules.
ZT_EXPORT Ref<NSString> __DecriptedKey(const Ref<NSString>& scrambled,
                                       const Ref<NSString>& key);  // NOLINT(bugprone-reserved-identifier)

}  // namespace ZtFoundation
