/// \file ItemKeys.h
/// Sets of items in little memory.
#pragma once

#include <compare>
#include <cstdint>
#include <string_view>
#include <vector>

namespace ZtFoundation::detail {

/// A number of 64 bits that stands for a path and whatever else is to tell an item: not all file systems keep the
/// numbers of items, and the paths themselves would be much for large folders.
class ItemKey {
 public:
  /// The key of all that this one stands for, and of `bytes` behind it.
  ItemKey with(std::string_view bytes) const noexcept {
    ItemKey key = *this;
    for (const char byte : bytes) key.value_ = (key.value_ ^ static_cast<unsigned char>(byte)) * 0x100000001b3U;
    return key;  // FNV-1a
  }

  friend auto operator<=>(const ItemKey&, const ItemKey&) = default;

 private:
  std::uint64_t value_ = 0xcbf29ce484222325U;
};

/// What an operation has met or made, so that it can take that away and nothing else.
class ItemKeys {
 public:
  /// Makes room for one more, so that noting it cannot fail.
  void expectOne() {
    if (keys_.size() == keys_.capacity()) keys_.reserve(2 * keys_.size() + 16);
  }
  void note(ItemKey key) { keys_.push_back(key); }

  bool isEmpty() const noexcept { return keys_.empty(); }
  /// Answers only after the last one has been noted and they have been sorted.
  bool contain(ItemKey key) const noexcept;
  void sort() noexcept;

 private:
  std::vector<ItemKey> keys_;
};

}  // namespace ZtFoundation::detail
