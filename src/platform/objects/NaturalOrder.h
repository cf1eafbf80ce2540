/// \file NaturalOrder.h
/// The natural order of texts that ASCII decides.
#pragma once

#include <ZtFoundation/platform/String.h>

namespace ZtFoundation::detail {

/// No order: a character beyond ASCII has a say in it.
inline constexpr int kUndecided = 2;

/// The order (-1, 0, 1) of `a` and `b` as the root collation has it with secondary strength and numbers by value, or
/// kUndecided. ASCII texts are always decided. A plain number and no std::optional, which costs more to return than the
/// comparison takes.
int naturalOrder(const UnitView& a, const UnitView& b) noexcept;

}  // namespace ZtFoundation::detail
