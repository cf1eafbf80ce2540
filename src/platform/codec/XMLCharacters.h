/// \file XMLCharacters.h
/// What XML says about single characters, and quick looks at many bytes at once.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace ZtFoundation::codec {

/// White space of markup: blank, tab, line feed, carriage return.
constexpr bool isXMLSpace(char c) noexcept {
  constexpr std::uint64_t kSpaces = std::uint64_t{1} << ' ' | 1U << '\t' | 1U << '\n' | 1U << '\r';
  const auto byte = static_cast<unsigned char>(c);
  return byte <= ' ' && (kSpaces >> byte & 1) != 0;
}

/// True for the characters that a document can hold at all, as themselves or as references.
constexpr bool isXMLCharacter(char32_t character) noexcept {
  if (character < 0x20) return character == '\t' || character == '\n' || character == '\r';
  return character < 0xD800 || (character > 0xDFFF && character < 0xFFFE) ||
         (character > 0xFFFF && character <= 0x10FFFF);
}

/// The first byte of `text` that is not part of the UTF-8 form of a character of XML, null when there is none.
const char* findIllegalCharacter(std::string_view text) noexcept;

/// Eight bytes of text at once.
class ByteBlock {
 public:
  static constexpr std::size_t kSize = sizeof(std::uint64_t);

  explicit ByteBlock(const char* bytes) noexcept {
    std::memcpy(&bytes_, bytes, kSize);
    if constexpr (std::endian::native == std::endian::big) bytes_ = __builtin_bswap64(bytes_);
  }

  /// Where the first byte lies that is below 0x20 or one of the characters; kSize when there is none.
  template <char... Characters>
  std::size_t findControlOr() const noexcept {
    // Borrows reach only bytes after a match, so the first match is exact.
    const std::uint64_t controls = (bytes_ - 0x20 * kOnes) & ~bytes_;
    const std::uint64_t found = (controls | ... | equalTo(Characters)) & kHigh;
    return static_cast<std::size_t>(std::countr_zero(found)) / 8;
  }

  /// How many bytes at the front are below 0x80.
  std::size_t lengthOfASCII() const noexcept { return static_cast<std::size_t>(std::countr_zero(bytes_ & kHigh)) / 8; }

 private:
  static constexpr std::uint64_t kOnes = 0x0101010101010101U;
  static constexpr std::uint64_t kHigh = 0x80 * kOnes;

  // The high bit of each byte that equals `c`.
  std::uint64_t equalTo(char c) const noexcept {
    const std::uint64_t difference = bytes_ ^ (kOnes * static_cast<unsigned char>(c));
    return (difference - kOnes) & ~difference;
  }

  std::uint64_t bytes_;
};

/// Text up to the first of the characters or a control character other than tab and line feed.
struct TextRun {
  const char* end;
  bool isASCII;
};
template <char... Stops>
TextRun scanText(const char* at, const char* end) noexcept {
  bool isASCII = true;
  const auto isStop = [](char c) { return static_cast<unsigned char>(c) < 0x20 || ((c == Stops) || ...); };
  for (;;) {
    while (static_cast<std::size_t>(end - at) >= ByteBlock::kSize) {
      const ByteBlock block(at);
      const std::size_t found = block.findControlOr<Stops...>();
      isASCII = isASCII && block.lengthOfASCII() >= found;
      at += found;
      if (found != ByteBlock::kSize) break;
    }
    for (; at != end && !isStop(*at); ++at) isASCII = isASCII && static_cast<unsigned char>(*at) < 0x80;
    if (at == end || (*at != '\n' && *at != '\t')) return {at, isASCII};
    ++at;
  }
}

}  // namespace ZtFoundation::codec
