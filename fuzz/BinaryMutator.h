/// \file BinaryMutator.h
/// Changes of binary property lists that mostly leave header, offset table and trailer right, which bytes changed at
/// random never do.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

/// libFuzzer's own changes.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t largest);

namespace ZtFoundation::fuzz {

/// A file as its objects' bytes, in the order of their numbers.
struct BinaryFile {
  static constexpr std::size_t kHeaderSize = 8, kTrailerSize = 32;

  std::vector<std::string> objects;
  std::size_t referenceSize = 1;
  std::size_t top = 0;

  /// None when the offset table is not where the trailer says, or leads outside.
  static std::optional<BinaryFile> parse(std::string_view bytes) {
    if (bytes.size() < kHeaderSize + kTrailerSize) return std::nullopt;
    const std::string_view trailer = bytes.substr(bytes.size() - kTrailerSize);
    const std::size_t offsetSize = number(trailer, 6, 1), count = number(trailer, 8, 8), table = number(trailer, 24, 8);
    const std::size_t tableEnd = bytes.size() - kTrailerSize;
    if (offsetSize == 0 || offsetSize > 8 || table > tableEnd || count == 0 ||
        count > (tableEnd - table) / offsetSize) {
      return std::nullopt;
    }
    std::vector<std::size_t> starts;
    for (std::size_t at = 0; at < count; ++at) {
      starts.push_back(std::min(number(bytes, table + at * offsetSize, offsetSize), table));
    }
    BinaryFile file;
    file.referenceSize = std::clamp<std::size_t>(number(trailer, 7, 1), 1, 8);
    file.top = number(trailer, 16, 8);
    for (const std::size_t start : starts)
      file.objects.emplace_back(bytes.substr(start, endOf(start, starts, table) - start));
    return file;
  }

  std::string bytes() const {
    std::string result = "bplist00";
    std::vector<std::size_t> starts;
    for (const std::string& object : objects) {
      starts.push_back(result.size());
      result += object;
    }
    const std::size_t table = result.size();
    std::size_t offsetSize = 1;
    while (table >> (8 * offsetSize) != 0) ++offsetSize;
    for (const std::size_t start : starts) append(result, start, offsetSize);
    result.append(6, '\0');
    append(result, offsetSize, 1);
    append(result, referenceSize, 1);
    append(result, objects.size(), 8);
    append(result, top, 8);
    append(result, table, 8);
    return result;
  }

  static std::size_t number(std::string_view bytes, std::size_t at, std::size_t size) {
    std::size_t value = 0;
    for (std::size_t i = 0; i < size; ++i) value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
    return value;
  }
  static void append(std::string& bytes, std::size_t value, std::size_t size) {
    for (std::size_t i = size; i-- > 0;) bytes += static_cast<char>(i < 8 ? value >> (8 * i) & 0xFF : 0);
  }

 private:
  static std::size_t endOf(std::size_t start, const std::vector<std::size_t>& starts, std::size_t table) {
    std::size_t end = table;
    for (const std::size_t other : starts) {
      if (other > start) end = std::min(end, other);
    }
    return end;
  }
};

class BinaryMutator {
 public:
  explicit BinaryMutator(unsigned seed) : random_(seed) {}

  std::size_t mutate(std::uint8_t* data, std::size_t size, std::size_t largest) {
    const std::string_view before(reinterpret_cast<const char*>(data), size);
    std::optional<BinaryFile> file = below(5) != 0 ? BinaryFile::parse(before) : std::nullopt;
    if (!file) return LLVMFuzzerMutate(data, size, largest);
    for (std::size_t changes = 1 + below(3); changes > 0; --changes) change(*file);
    const std::string after = file->bytes();
    if (after.size() > largest || after == before) return LLVMFuzzerMutate(data, size, largest);
    std::memcpy(data, after.data(), after.size());
    return after.size();
  }

 private:
  std::size_t below(std::size_t limit) { return limit == 0 ? 0 : random_() % limit; }

  void change(BinaryFile& file) {
    std::string& object = file.objects[below(file.objects.size())];
    switch (below(7)) {
      case 0:
        changeInside(object);
        break;
      case 1:
        file.objects.push_back(std::string(object));
        break;
      case 2:
        if (file.objects.size() > 1) file.objects.pop_back();
        break;
      case 3:
        file.objects.push_back(newLeaf());
        break;
      case 4:
        object = newContainer(file);
        break;
      case 5:
        file.top = below(file.objects.size() + 1);
        break;
      default:
        changeReference(object, file);
    }
  }

  static void changeInside(std::string& object) {
    constexpr std::size_t kGrowth = 16;
    const std::size_t size = object.size();
    object.resize(size + kGrowth);
    object.resize(LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(object.data()), size, object.size()));
  }

  // Its last part is made of references.
  void changeReference(std::string& object, const BinaryFile& file) {
    const std::size_t count = object.size() / file.referenceSize;
    if (count < 2) return;
    std::string reference;
    BinaryFile::append(reference, below(file.objects.size()), file.referenceSize);
    object.replace(object.size() - (1 + below(count - 1)) * file.referenceSize, file.referenceSize, reference);
  }

  // Integers, reals, dates, data, text of both widths, identifiers, each of a size that fits or nearly does.
  std::string newLeaf() {
    static constexpr std::array<unsigned char, 16> kMarkers = {0x00, 0x08, 0x09, 0x10, 0x11, 0x12, 0x13, 0x14,
                                                               0x22, 0x23, 0x33, 0x40, 0x50, 0x60, 0x70, 0x80};
    const unsigned char marker = kMarkers[below(kMarkers.size())];
    const bool hasLength = marker >= 0x40;
    const std::size_t length = hasLength ? below(15) : marker & 0x0FU;
    std::string object(1, static_cast<char>(marker | (hasLength ? length : 0U)));
    const std::size_t size = !hasLength       ? std::size_t{marker >= 0x10 ? 1U : 0U} << length
                             : marker == 0x60 ? 2 * length
                             : marker == 0x80 ? length + 1
                                              : length;
    for (std::size_t at = 0; at < size; ++at) object += static_cast<char>(below(marker == 0x50 ? 128 : 256));
    return object;
  }

  // An array, or a dictionary, of any objects that there are.
  std::string newContainer(const BinaryFile& file) {
    const std::size_t count = below(8);
    const bool isArray = below(2) == 0;
    std::string object(1, static_cast<char>((isArray ? 0xA0U : 0xD0U) | count));
    for (std::size_t references = isArray ? count : 2 * count; references > 0; --references) {
      BinaryFile::append(object, below(file.objects.size()), file.referenceSize);
    }
    return object;
  }

  std::minstd_rand random_;
};

}  // namespace ZtFoundation::fuzz
