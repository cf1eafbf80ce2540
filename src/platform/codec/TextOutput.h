/// \file TextOutput.h
/// Text that grows at its end, for the writers.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <string_view>

#include <ZtFoundation/platform/Data.h>

namespace ZtFoundation::codec {

/// Bytes are written straight into room that was asked for. Large blocks grow without being copied where the allocator can do so.
class TextOutput {
 public:
  /// Where to write at most `length` bytes; `advance` says how many they became.
  char* room(std::size_t length) {
    if (length > capacity_ - used_) grow(length);
    return block_.get() + used_;
  }
  void advance(const char* end) { used_ = static_cast<std::size_t>(end - block_.get()); }

  void append(std::string_view text) {
    char* const at = room(text.size());
    std::memcpy(at, text.data(), text.size());
    used_ += text.size();
  }
  void fill(std::size_t count, char c) {
    std::memset(room(count), c, count);
    used_ += count;
  }

  std::string_view view() const { return {block_.get(), used_}; }
  Ref<NSData> data() const { return NSData::dataWithBytes(view()); }

 private:
  struct Free {
    void operator()(char* block) const noexcept { std::free(block); }
  };
  static constexpr std::size_t kSmallest = 4096;
  static constexpr std::size_t kLargest = std::numeric_limits<std::size_t>::max() / 4;

  void grow(std::size_t length) {
    if (length > kLargest || used_ > kLargest) throw std::bad_alloc();
    const std::size_t capacity = std::max({kSmallest, used_ + length, used_ + used_ / 2});
    char* const grown = static_cast<char*>(std::realloc(block_.get(), capacity));
    if (grown == nullptr) throw std::bad_alloc();
    static_cast<void>(block_.release());
    block_.reset(grown);
    capacity_ = capacity;
  }

  std::unique_ptr<char, Free> block_;
  std::size_t used_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace ZtFoundation::codec
