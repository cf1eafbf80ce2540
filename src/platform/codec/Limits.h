/// \file Limits.h
/// The bounds that keep every reader and writer of property lists linear on any input.
#pragma once

#include <cstddef>

namespace ZtFoundation::codec {

/// How many containers may lie inside each other. A tree with one container at the root and scalars in it has depth 1.
/// Readers and writers of all formats refuse more with an error text.
inline constexpr std::size_t kMaximumNestingDepth = 512;

}  // namespace ZtFoundation::codec
