/// \file Input.h
/// What the fuzz targets share: demands, and inputs taken apart.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>

namespace ZtFoundation::fuzz {

/// Stops the process, which is how a target tells of a fault.
inline void require(bool holds, const char* demand) {
  if (holds) return;
  std::cerr << "not so: " << demand << std::endl;
  std::abort();
}

/// An input, taken from the front. Where it ends early, zeros follow.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : rest_(reinterpret_cast<const char*>(data), size) {}

  bool isAtEnd() const { return rest_.empty(); }
  std::string_view rest() const { return rest_; }

  unsigned takeByte() {
    if (rest_.empty()) return 0;
    const auto byte = static_cast<unsigned char>(rest_.front());
    rest_.remove_prefix(1);
    return byte;
  }

  /// The bytes before the next `end`, which goes too; all that is left when there is none.
  std::string_view takeUntil(char end) {
    const std::size_t size = std::min(rest_.find(end), rest_.size());
    const std::string_view part = rest_.substr(0, size);
    rest_.remove_prefix(std::min(size + 1, rest_.size()));
    return part;
  }

  std::string_view takeBytes(std::size_t count) {
    const std::string_view part = rest_.substr(0, count);
    rest_.remove_prefix(part.size());
    return part;
  }

 private:
  std::string_view rest_;
};

/// Pairs of bytes as UTF-16 units, the high one first. An odd byte at the end is left out.
inline std::u16string unitsIn(std::string_view bytes) {
  std::u16string units;
  for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
    const auto high = static_cast<unsigned char>(bytes[at]), low = static_cast<unsigned char>(bytes[at + 1]);
    units += static_cast<char16_t>(high << 8 | low);
  }
  return units;
}

}  // namespace ZtFoundation::fuzz
