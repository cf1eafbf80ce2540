/// \file StringHash.h
/// The hash of text, the same for the same units however they are stored.
#pragma once

#include <ZtFoundation/platform/String.h>

namespace ZtFoundation::detail {

/// Differs from process to process, so nobody can prepare texts that collide.
NSUInteger hashUnits(UnitView units);

}  // namespace ZtFoundation::detail
