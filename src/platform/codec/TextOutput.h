/// \file TextOutput.h
/// Text that grows at its end, for the writers.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

#include <ZtFoundation/platform/Data.h>

namespace ZtFoundation::codec {

/// Bytes are written straight into room that was asked for. Large blocks grow without being copied where the allocator
/// can do so, and become data without being copied.
class TextOutput {
 public:
  /// Where to write at most `length` bytes; `advance` says how many they became.
  char* room(std::size_t length) {
    if (length > capacity_ - used_) grow(length);
    return block_.get() + used_;
  }
  void advance(const char* end) { used_ = static_cast<std::size_t>(end - block_.get()); }

  void append(std::string_view text) { advance(std::ranges::copy(text, room(text.size())).out); }

  std::string_view view() const { return {block_.get(), used_}; }

  /// The text as data; nothing is left here.
  Ref<NSData> takeData() {
    if (used_ != 0) resize(used_);
    Ref<NSData> data = make<BlockData>(std::move(block_), used_);
    used_ = capacity_ = 0;
    return data;
  }

 private:
  struct Free {
    void operator()(char* block) const noexcept { std::free(block); }
  };
  using Block = std::unique_ptr<char, Free>;

  class BlockData final : public NSData {
   public:
    BlockData(Block block, std::size_t length) noexcept : NSData(block.get(), length, 0), block_(std::move(block)) {}

   private:
    Block block_;
  };

  static constexpr std::size_t kSmallest = 4096;
  static constexpr std::size_t kLargest = std::numeric_limits<std::size_t>::max() / 4;

  void grow(std::size_t length) {
    if (length > kLargest || used_ > kLargest) throw std::bad_alloc();
    resize(std::max({kSmallest, used_ + length, used_ + used_ / 2}));
  }

  void resize(std::size_t capacity) {
    char* const resized = static_cast<char*>(std::realloc(block_.get(), capacity));
    if (resized == nullptr) throw std::bad_alloc();
    static_cast<void>(block_.release());
    block_.reset(resized);
    capacity_ = capacity;
  }

  Block block_;
  std::size_t used_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace ZtFoundation::codec
