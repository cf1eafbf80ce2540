// The floating conversions of formats.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace ZtFoundation::detail {

struct RealFormat {
  char letter;  ///< e, f, g or a
  std::optional<std::size_t> precision;
  bool alternate = false;  ///< keep the point and, for g, the zeros behind it
};

inline constexpr std::size_t kFixedTextSize = 330;  ///< sign, 309 digits, point and 9 digits

/// Writes `value`, which is finite, with `precision` (0 to 9) digits behind the point, as printf does; `out` has room
/// for `kFixedTextSize` characters. Answers the end.
char* putFixed(char* out, double value, int precision);

/// The digits of `magnitude`, which is finite and not negative, as printf writes them in the "C" locale.
std::string formatReal(double magnitude, const RealFormat& format);

}  // namespace ZtFoundation::detail
