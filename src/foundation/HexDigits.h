/// \file HexDigits.h
/// Hexadecimal digits to bytes and back, sixteen at a time.
#pragma once

#include <cstdint>

namespace ZtFoundation::detail {

/// The value of a digit of either case, -1 for any other byte.
constexpr int hexDigitValue(unsigned char byte) noexcept {
  if (byte >= '0' && byte <= '9') return byte - '0';
  const unsigned lower = byte | 0x20U;
  return lower >= 'a' && lower <= 'f' ? static_cast<int>(lower - 'a' + 10) : -1;
}

/// Writes the 32 lower-case digits of 16 bytes.
void writeSixteenBytes(const unsigned char* bytes, char* digits) noexcept;

/// Reads 8 digits at `first` and 8 at `second` into 8 bytes; false, with `bytes` undefined, when one of them is no
/// digit.
bool readSixteenDigits(const char* first, const char* second, unsigned char* bytes) noexcept;

}  // namespace ZtFoundation::detail
