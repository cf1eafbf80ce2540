/// \file Types.h
/// The scalar types that follow the machine word of the build, and the small records built from them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

namespace ZtFoundation {

/// Signed machine word: 64 bits in a 64-bit build, 32 bits in a 32-bit build.
using NSInteger = std::ptrdiff_t;
/// Unsigned machine word; lengths, indexes and locations are counted in it.
using NSUInteger = std::size_t;

#if UINTPTR_MAX > 0xFFFFFFFFU
/// Graphics float: 64-bit in a 64-bit build, 32-bit in a 32-bit build.
using CGFloat = double;
#else
using CGFloat = float;
#endif

/// One UTF-16 code unit.
using unichar = char16_t;
/// Seconds, as a double.
using NSTimeInterval = double;
/// Four-character code, built big-endian from four bytes.
using OSType = std::uint32_t;
/// File status code: 0 for success, otherwise one of the file-error numbers.
using OSStatus = std::int32_t;

/// The answer of a search that found nothing.
inline constexpr NSUInteger NSNotFound = static_cast<NSUInteger>(std::numeric_limits<NSInteger>::max());

/// Result of a three-way comparison; a signed machine word.
enum NSComparisonResult : NSInteger { NSOrderedAscending = -1, NSOrderedSame = 0, NSOrderedDescending = 1 };

/// A run of `length` units or elements that starts at `location`.
struct NSRange {
  NSUInteger location = 0;
  NSUInteger length = 0;

  friend bool operator==(const NSRange&, const NSRange&) = default;
};

/// The range that a search answers when it finds nothing: location NSNotFound, length 0.
inline constexpr NSRange kNotFoundRange{NSNotFound, 0};

/// One past the last index of `range`. Overflow is the caller's to exclude.
constexpr NSUInteger NSMaxRange(NSRange range) { return range.location + range.length; }

/// True when `range` lies inside a sequence of `length` elements; never overflows.
constexpr bool isRangeWithin(NSRange range, NSUInteger length) {
  return range.location <= length && range.length <= length - range.location;
}

}  // namespace ZtFoundation
