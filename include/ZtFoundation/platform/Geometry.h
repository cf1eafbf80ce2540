/// \file Geometry.h
/// Points, sizes and rectangles. Plain records, the same in C.
#pragma once

#include <ZtFoundation/platform/Types.h>

namespace ZtFoundation {

extern "C" {

struct NSPoint {
  CGFloat x;
  CGFloat y;
};

struct NSSize {
  CGFloat width;
  CGFloat height;
};

struct NSRect {
  NSPoint origin;
  NSSize size;
};

}  // extern "C"

}  // namespace ZtFoundation
