/// \file UnitSearch.h
/// Where one row of units stands in another.
#pragma once

#include <functional>

#include <ZtFoundation/platform/String.h>

namespace ZtFoundation::detail {

/// Whether a place will do.
using PlaceTest = std::function<bool(NSUInteger)>;

/// The first place at or after `from`, or the last of all, where `target` stands and that will do; NSNotFound when there
/// is none. `target` is not empty. The time grows with the length of the text and of the target, whatever they hold.
NSUInteger findUnits(UnitView text, UnitView target, NSUInteger from, const PlaceTest& willDo);
NSUInteger findLastUnits(UnitView text, UnitView target, const PlaceTest& willDo);

}  // namespace ZtFoundation::detail
