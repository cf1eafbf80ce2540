// Binary property lists made by hand, valid and otherwise.
#pragma once

#include <bit>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ZtFoundation::support {

// The low `width` bytes of `value`, big-endian.
inline std::string bigEndian(std::uint64_t value, unsigned width) {
  std::string bytes;
  for (unsigned at = width; at-- > 0;) bytes += at < 8 ? static_cast<char>(value >> (8 * at)) : '\0';
  return bytes;
}

inline std::string bytes(std::initializer_list<unsigned> values) {
  std::string result;
  for (const unsigned value : values) result += static_cast<char>(value);
  return result;
}

inline std::string realBytes(double value) { return bigEndian(std::bit_cast<std::uint64_t>(value), 8); }

// A file of the given objects, each with its marker. What is set explicitly goes to the trailer as it is.
struct BinaryFile {
  std::vector<std::string> objects = {};
  unsigned offsetSize = 1;
  unsigned referenceSize = 1;
  std::uint64_t top = 0;
  std::optional<std::uint64_t> objectCount = {};
  std::optional<std::uint64_t> tableOffset = {};
  std::optional<std::vector<std::uint64_t>> offsets = {};

  std::string text() const {
    std::string file = "bplist00";
    std::vector<std::uint64_t> places;
    for (const std::string& object : objects) {
      places.push_back(file.size());
      file += object;
    }
    const std::uint64_t table = file.size();
    for (const std::uint64_t place : offsets.value_or(places)) file += bigEndian(place, offsetSize);
    file += std::string(6, '\0') + static_cast<char>(offsetSize) + static_cast<char>(referenceSize);
    file += bigEndian(objectCount.value_or(objects.size()), 8) + bigEndian(top, 8);
    return file + bigEndian(tableOffset.value_or(table), 8);
  }
};

// The marker for `count` items of the kind in the high half, with the count behind it if it is 15 or more.
inline std::string header(unsigned kind, std::uint64_t count) {
  if (count < 15) return bytes({kind << 4 | static_cast<unsigned>(count)});
  return bytes({kind << 4 | 15, 0x13}) + bigEndian(count, 8);
}

// References of `width` bytes each.
inline std::string references(const std::vector<std::uint64_t>& numbers, unsigned width = 1) {
  std::string result;
  for (const std::uint64_t number : numbers) result += bigEndian(number, width);
  return result;
}

inline std::string array(const std::vector<std::uint64_t>& elements, unsigned width = 1) {
  return header(0xA, elements.size()) + references(elements, width);
}

inline std::string dictionary(const std::vector<std::uint64_t>& keys, const std::vector<std::uint64_t>& values,
                              unsigned width = 1) {
  return header(0xD, keys.size()) + references(keys, width) + references(values, width);
}

inline std::string ascii(const std::string& text) { return header(0x5, text.size()) + text; }

}  // namespace ZtFoundation::support
