/// \file StringHash.h
/// Hashes that differ from process to process, so nobody can prepare values that collide.
#pragma once

#include <cstdint>

#include <ZtFoundation/platform/String.h>

namespace ZtFoundation::detail {

/// The hash of text, the same for the same units however they are stored.
NSUInteger hashUnits(UnitView units);
/// The hash of a number, of which every bit counts for every bit.
NSUInteger hashWord(std::uint64_t word);

}  // namespace ZtFoundation::detail
