/// \file Geometry.h
/// Points, sizes and rectangles. Plain records, the same in C.
#pragma once

#include <ZtFoundation/platform/Types.h>

namespace ZtFoundation {

extern "C" {

/// A place in a plane.
struct NSPoint {
  CGFloat x;
  CGFloat y;
};

/// An extent in a plane.
struct NSSize {
  CGFloat width;
  CGFloat height;
};

/// A rectangle: one corner, and the extent from there.
struct NSRect {
  NSPoint origin;
  NSSize size;
};

}  // extern "C"

}  // namespace ZtFoundation
