#include <ZtFoundation/Utilities.h>

namespace ZtFoundation {

namespace {

struct Span {
  CGFloat start;
  CGFloat length;
};

Span spanOf(CGFloat a, CGFloat b) { return b >= a ? Span{a, b - a} : Span{b, a - b}; }

}  // namespace

extern "C" NSRect ZtRectFromPoints(NSPoint a, NSPoint b) {
  const Span x = spanOf(a.x, b.x);
  const Span y = spanOf(a.y, b.y);
  return {{x.start, y.start}, {x.length, y.length}};
}

}  // namespace ZtFoundation
