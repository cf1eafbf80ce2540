#include "foundation/HexDigits.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace ZtFoundation::detail {

#if defined(__SSE2__)

namespace {

__m128i load(const void* bytes) noexcept { return _mm_loadu_si128(static_cast<const __m128i*>(bytes)); }
__m128i loadHalf(const char* bytes) noexcept { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(bytes)); }
__m128i all(char value) noexcept { return _mm_set1_epi8(value); }

// 0xFF in each byte that is at most `limit`, unsigned.
__m128i atMost(__m128i bytes, char limit) noexcept { return _mm_cmpeq_epi8(_mm_min_epu8(bytes, all(limit)), bytes); }

__m128i digitsOf(__m128i nibbles) noexcept {
  const __m128i beyondNine = _mm_cmpgt_epi8(nibbles, all(9));
  return _mm_add_epi8(_mm_add_epi8(nibbles, all('0')), _mm_and_si128(beyondNine, all('a' - '0' - 10)));
}

}  // namespace

void writeSixteenBytes(const unsigned char* bytes, char* digits) noexcept {
  const __m128i source = load(bytes);
  const __m128i high = digitsOf(_mm_and_si128(_mm_srli_epi16(source, 4), all(0x0F)));
  const __m128i low = digitsOf(_mm_and_si128(source, all(0x0F)));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(digits), _mm_unpacklo_epi8(high, low));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(digits + 16), _mm_unpackhi_epi8(high, low));
}

bool readSixteenDigits(const char* first, const char* second, unsigned char* bytes) noexcept {
  const __m128i digits = _mm_unpacklo_epi64(loadHalf(first), loadHalf(second));
  const __m128i decimal = _mm_sub_epi8(digits, all('0'));
  const __m128i letter = _mm_sub_epi8(_mm_or_si128(digits, all(0x20)), all('a'));
  const __m128i isDecimal = atMost(decimal, 9);
  const __m128i isLetter = atMost(letter, 5);
  if (_mm_movemask_epi8(_mm_or_si128(isDecimal, isLetter)) != 0xFFFF) return false;
  const __m128i values =
      _mm_or_si128(_mm_and_si128(isDecimal, decimal), _mm_and_si128(isLetter, _mm_add_epi8(letter, all(10))));
  // Each pair is one 16-bit lane with the high digit in its low byte.
  const __m128i pairs = _mm_or_si128(_mm_slli_epi16(values, 4), _mm_srli_epi16(values, 8));
  const __m128i result = _mm_packus_epi16(_mm_and_si128(pairs, _mm_set1_epi16(0xFF)), _mm_setzero_si128());
  _mm_storel_epi64(reinterpret_cast<__m128i*>(bytes), result);
  return true;
}

#else

void writeSixteenBytes(const unsigned char* bytes, char* digits) noexcept {
  constexpr char kDigits[] = "0123456789abcdef";
  for (unsigned at = 0; at < 16; ++at) {
    digits[2 * at] = kDigits[bytes[at] >> 4];
    digits[2 * at + 1] = kDigits[bytes[at] & 0xF];
  }
}

bool readSixteenDigits(const char* first, const char* second, unsigned char* bytes) noexcept {
  int illegal = 0;
  for (unsigned at = 0; at < 8; ++at) {
    const char* const pair = at < 4 ? first + 2 * at : second + 2 * (at - 4);
    const int high = hexDigitValue(static_cast<unsigned char>(pair[0]));
    const int low = hexDigitValue(static_cast<unsigned char>(pair[1]));
    illegal |= high | low;
    bytes[at] = static_cast<unsigned char>(static_cast<unsigned>(high) << 4 | static_cast<unsigned>(low));
  }
  return illegal >= 0;
}

#endif

}  // namespace ZtFoundation::detail
