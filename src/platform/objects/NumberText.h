// Floating values as text, the same in every locale.
#pragma once

#include <string>

namespace ZtFoundation::detail {

/// The fewest digits that read back as the same value: plain between 1e-5 and 1e17, with an exponent elsewhere; "nan",
/// "inf", "-inf".
std::string realText(double value);
std::string realText(float value);

}  // namespace ZtFoundation::detail
