/// \file XMLNumbers.h
/// Numbers as the text of XML property lists; nothing depends on the process locale.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include <ZtFoundation/platform/Object.h>

namespace ZtFoundation::codec {

/// Room for the longest text of an integer or a real.
inline constexpr std::size_t kLongestNumberText = 32;

/// Why a text is no number.
enum class NumberFault { None, Malformed, OutOfRange };

/// A decimal or, after "0x", hexadecimal integer from -2^63 to 2^64 - 1 with an optional sign; none with `fault` set
/// otherwise.
Ref<NSObject> integerFromText(std::string_view text, NumberFault& fault);

/// A decimal real with an optional exponent, rounded to the nearest double, or `nan`, `inf`, `infinity` in any case,
/// each with an optional sign. What is nearer to zero than any double becomes zero; what is further from it than any
/// double is out of range.
std::optional<double> realFromText(std::string_view text, NumberFault& fault);

/// Writes the fewest digits that read back as `value` to `buffer` (kLongestNumberText bytes), or `nan`, `+infinity`,
/// `-infinity`; answers the end.
char* writeReal(double value, char* buffer);

}  // namespace ZtFoundation::codec
