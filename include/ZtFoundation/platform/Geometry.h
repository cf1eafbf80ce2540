/// \file Geometry.h
/// Points, sizes and rectangles. Plain records, the same in C.
/// \code
///   NSRect frame = {{10, 20}, {640, 480}};
///   CGFloat right = frame.origin.x + frame.size.width;  // 650
/// \endcode
/// Threads: the plain rule of C; reading is safe, writing is one at a time.
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
