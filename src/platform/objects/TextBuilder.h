/// \file TextBuilder.h
/// Text that grows at its end, on the stack as long as it is short and narrow.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include <ZtFoundation/platform/Format.h>

namespace ZtFoundation::detail {

class TextBuilder {
 public:
  TextBuilder() = default;
  TextBuilder(const TextBuilder&) = delete;
  TextBuilder& operator=(const TextBuilder&) = delete;

  /// The units so far; valid until the next change.
  UnitView units() const noexcept {
    return isWide_ ? UnitView(wide_.data(), wide_.size()) : UnitView(narrow_, length_);
  }

  // By reference, and one byte each in registers: a view goes through memory otherwise, which costs more than the
  // copying.
  void append(const UnitView& units) {
    if (units.isWide()) return appendWide(units);
    append(units.narrow());
  }
  /// Each byte is one unit, U+0000 to U+00FF.
  void append(std::string_view latin1) {
    if (isWide_) return appendWide(UnitView(latin1.data(), latin1.size()));
    std::copy_n(latin1.data(), latin1.size(), extend(latin1.size()));
  }
  void append(NSUInteger count, char ascii) {
    if (isWide_) {
      wide_.append(count, static_cast<char16_t>(ascii));
    } else {
      std::fill_n(extend(count), count, ascii);
    }
  }

 private:
  static constexpr std::size_t kRoom = 512;

  /// Makes the narrow text longer and answers where the new part begins.
  char* extend(std::size_t count) {
    if (count > capacity_ - length_) grow(count);
    char* const start = narrow_ + length_;
    length_ += count;
    return start;
  }
  void grow(std::size_t count) {
    if (count > NSNotFound - length_) throw std::bad_alloc();
    capacity_ = std::max(2 * capacity_, length_ + count);
    std::unique_ptr<char[]> larger(new char[capacity_]);
    std::copy_n(narrow_, length_, larger.get());
    heap_ = std::move(larger);
    narrow_ = heap_.get();
  }

  void appendWide(const UnitView& units) {
    if (!isWide_) widen();
    if (units.isWide()) {
      wide_.append(units.wide());
    } else {
      for (NSUInteger i = 0; i < units.size(); ++i) wide_ += units[i];
    }
  }
  void widen() {
    const UnitView before = units();
    isWide_ = true;
    appendWide(before);
  }

  char room_[kRoom];
  char* narrow_ = room_;  // Latin-1
  std::size_t length_ = 0;
  std::size_t capacity_ = kRoom;
  std::unique_ptr<char[]> heap_;
  std::u16string wide_;
  bool isWide_ = false;
};

/// Appends what `format`, which is not none, makes of `arguments`.
void appendFormatted(TextBuilder& out, const Ref<NSString>& format, FormatArguments arguments);

}  // namespace ZtFoundation::detail
