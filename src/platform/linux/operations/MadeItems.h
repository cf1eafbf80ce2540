/// \file MadeItems.h
/// What an operation has made, so that it can take that back and nothing else.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace ZtFoundation::detail {

/// A set of paths, each counted from the first item, whose own is empty. It keeps a number of 64 bits for each: not all
/// file systems keep the numbers of items, and the paths themselves would be much for large folders.
class MadeItems {
 public:
  /// Makes room for one more, so that noting it cannot fail.
  void expectOne() {
    if (keys_.size() == keys_.capacity()) keys_.reserve(2 * keys_.size() + 16);
  }
  void note(std::string_view folder, std::string_view name) noexcept;

  bool isEmpty() const noexcept { return keys_.empty(); }
  /// Answers only after the last one has been noted and they have been sorted.
  bool contain(std::string_view folder, std::string_view name) const noexcept;
  void sort() noexcept;

 private:
  std::vector<std::uint64_t> keys_;
};

}  // namespace ZtFoundation::detail
