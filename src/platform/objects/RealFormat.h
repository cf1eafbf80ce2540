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

/// The digits of `magnitude`, which is finite and not negative, as printf writes them in the "C" locale.
std::string formatReal(double magnitude, const RealFormat& format);

}  // namespace ZtFoundation::detail
