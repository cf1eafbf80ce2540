/// \file UTF8.h
/// UTF-8 to UTF-16 units and back, and quick looks at many units at once.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <ZtFoundation/platform/String.h>

namespace ZtFoundation::detail {

inline constexpr char16_t kReplacementCharacter = 0xFFFD;

constexpr bool isHighSurrogate(char32_t unit) noexcept { return (unit & 0xFFFFFC00U) == 0xD800; }
constexpr bool isLowSurrogate(char32_t unit) noexcept { return (unit & 0xFFFFFC00U) == 0xDC00; }
constexpr bool isSurrogate(char32_t unit) noexcept { return (unit & 0xFFFFF800U) == 0xD800; }
constexpr char32_t joinSurrogates(char32_t high, char32_t low) noexcept {
  return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

/// The code point that starts at `index`: a surrogate pair as one, an unpaired surrogate as itself.
inline char32_t codePointAt(UnitView units, NSUInteger index) noexcept {
  const char32_t unit = units[index];
  if (!isHighSurrogate(unit) || index + 1 >= units.size() || !isLowSurrogate(units[index + 1])) return unit;
  return joinSurrogates(unit, units[index + 1]);
}

/// The code point that ends before `index`, which is not 0.
inline char32_t codePointBefore(UnitView units, NSUInteger index) noexcept {
  const char32_t unit = units[index - 1];
  if (!isLowSurrogate(unit) || index < 2 || !isHighSurrogate(units[index - 2])) return unit;
  return joinSurrogates(units[index - 2], unit);
}

constexpr NSUInteger unitsOf(char32_t codePoint) noexcept { return codePoint > 0xFFFF ? 2 : 1; }

/// Writes one code point and answers where the next goes.
inline char16_t* putCodePoint(char16_t* out, char32_t codePoint) noexcept {
  if (codePoint > 0xFFFF) {
    *out++ = static_cast<char16_t>(0xD7C0 + (codePoint >> 10));
    codePoint = 0xDC00 + (codePoint & 0x3FF);
  }
  *out++ = static_cast<char16_t>(codePoint);
  return out;
}

/// Writes one code point in one to four bytes and answers where the next goes.
inline char* putUTF8(char* out, char32_t codePoint) noexcept {
  const auto put = [&out](char32_t byte) { *out++ = static_cast<char>(byte); };
  if (codePoint < 0x80) {
    put(codePoint);
    return out;
  }
  if (codePoint < 0x800) {
    put(0xC0 | (codePoint >> 6));
  } else {
    if (codePoint < 0x10000) {
      put(0xE0 | (codePoint >> 12));
    } else {
      put(0xF0 | (codePoint >> 18));
      put(0x80 | ((codePoint >> 12) & 0x3F));
    }
    put(0x80 | ((codePoint >> 6) & 0x3F));
  }
  put(0x80 | (codePoint & 0x3F));
  return out;
}

/// How many bytes at the start are below 0x80.
std::size_t asciiPrefix(std::string_view bytes) noexcept;
inline bool isASCII(std::string_view bytes) noexcept { return asciiPrefix(bytes) == bytes.size(); }

/// All units or'ed together: below 0x80 for ASCII, below 0x100 when each fits a byte.
char16_t unionOfUnits(const char16_t* units, std::size_t length) noexcept;
inline bool isASCII(UnitView units) noexcept {
  return units.isWide() ? unionOfUnits(units.wide().data(), units.size()) < 0x80 : isASCII(units.narrow());
}

/// Each unit cut to a byte.
void narrowUnits(const char16_t* units, std::size_t length, char* bytes) noexcept;
/// Each byte as a unit.
void widenUnits(const char* bytes, std::size_t length, char16_t* units) noexcept;

/// Room for `capacity` units, on the stack when they are few.
class UnitBuffer {
 public:
  explicit UnitBuffer(std::size_t capacity)
      : heap_(capacity > kInline ? std::make_unique_for_overwrite<char16_t[]>(capacity) : nullptr),
        units_(heap_ ? heap_.get() : inline_) {}
  /// A copy of `view`, whatever its width.
  explicit UnitBuffer(UnitView view);
  UnitBuffer(const UnitBuffer&) = delete;
  UnitBuffer& operator=(const UnitBuffer&) = delete;

  char16_t* data() noexcept { return units_; }

 private:
  static constexpr std::size_t kInline = 256;
  std::unique_ptr<char16_t[]> heap_;
  char16_t inline_[kInline];
  char16_t* units_;
};

/// What a byte that is not valid UTF-8 becomes.
enum class InvalidBytes { Replace, Escape, Refuse };  // U+FFFD; U+DC80 + (byte - 0x80); an end of decoding

/// Decodes to `out`, which has room for one unit for each byte. Answers the number of units, none when refused.
std::optional<std::size_t> decodeUTF8(std::string_view bytes, InvalidBytes policy, char16_t* out) noexcept;

/// What an unpaired surrogate becomes.
enum class LoneSurrogates { Replace, Restore, Refuse };  // U+FFFD; the byte that it escapes; an end of encoding

std::optional<std::string> encodeUTF8(UnitView units, LoneSurrogates policy);

}  // namespace ZtFoundation::detail
