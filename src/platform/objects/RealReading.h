/// \file RealReading.h
/// Decimal text as the nearest double.
#pragma once

#include <charconv>
#include <string_view>

namespace ZtFoundation::detail {

#if defined(__i386__)
/// While it lives, the processor's old floating-point unit keeps as many digits of a result as a double has.
class DoublePrecision {
 public:
  DoublePrecision() noexcept {
    asm volatile("fnstcw %0" : "=m"(before_));
    set(static_cast<unsigned short>((before_ & ~kMask) | kDouble));
  }
  DoublePrecision(const DoublePrecision&) = delete;
  DoublePrecision& operator=(const DoublePrecision&) = delete;
  ~DoublePrecision() { set(before_); }

 private:
  static constexpr int kMask = 0x300;
  static constexpr int kDouble = 0x200;

  static void set(unsigned short word) noexcept { asm volatile("fldcw %0" : : "m"(word) : "memory"); }

  unsigned short before_ = 0;
};
#endif

/// std::from_chars, which lies in the runtime library: that of 32-bit x86 multiplies on the old unit, and what has been
/// rounded there once would be rounded again.
inline std::from_chars_result realFromChars(std::string_view text, double& value) {
#if defined(__i386__)
  const DoublePrecision precision;
#endif
  return std::from_chars(text.data(), text.data() + text.size(), value);
}

}  // namespace ZtFoundation::detail
