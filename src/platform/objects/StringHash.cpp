#include "platform/objects/StringHash.h"

#include <cstring>

#include "platform/objects/UTF8.h"

namespace ZtFoundation::detail {

namespace {

constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15U;
constexpr std::uint64_t kOther = 0xD6E8FEB86659FD93U;

// Both halves of the 128-bit product, folded.
std::uint64_t mix(std::uint64_t a, std::uint64_t b) noexcept {
#if defined(__SIZEOF_INT128__)
  __extension__ using Product = unsigned __int128;
  const Product product = static_cast<Product>(a) * b;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
#else
  const std::uint64_t crossed = (a >> 32) * (b & 0xFFFFFFFFU) ^ (a & 0xFFFFFFFFU) * (b >> 32);
  return a * b ^ (a >> 32) * (b >> 32) ^ (crossed << 32 | crossed >> 32);
#endif
}

// Where the library was loaded is chosen anew for each process, and costs nothing to ask.
std::uint64_t secret() noexcept {
  static const char anchor = 0;
  return static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(&anchor)) * kMultiplier ^ kOther;
}

template <class Word>
std::uint64_t load(const char* bytes) noexcept {
  Word word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

// The last one to eight bytes as one word.
std::uint64_t loadTail(const char* bytes, std::size_t length) noexcept {
  if (length >= 4) return load<std::uint32_t>(bytes) << 32 | load<std::uint32_t>(bytes + length - 4);
  const auto byte = [bytes](std::size_t i) { return std::uint64_t{static_cast<unsigned char>(bytes[i])}; };
  return byte(0) << 16 | byte(length / 2) << 8 | byte(length - 1);
}

std::uint64_t hashBytes(const char* bytes, std::size_t length) noexcept {
  const std::uint64_t key = secret();
  std::uint64_t state = key ^ length;
  if (length == 0) return mix(state, kMultiplier);
  for (; length > 8; bytes += 8, length -= 8) state = mix(state ^ load<std::uint64_t>(bytes), key ^ kMultiplier);
  return mix(state ^ loadTail(bytes, length), key ^ kOther);
}

NSUInteger toWord(std::uint64_t hash) noexcept {
  if constexpr (sizeof(NSUInteger) < sizeof hash) hash ^= hash >> 32;
  return static_cast<NSUInteger>(hash);
}

bool fitsBytes(std::u16string_view units) noexcept {
  for (const char16_t unit : units) {
    if (unit > 0xFF) return false;
  }
  return true;
}

std::uint64_t hashNarrowed(std::u16string_view units) {
  std::string bytes(units.size(), '\0');
  narrowUnits(units.data(), units.size(), bytes.data());
  return hashBytes(bytes.data(), bytes.size());
}

// Only a mutable string that lost its wide units is stored wider than it needs.
std::uint64_t hashWide(std::u16string_view units) {
  if (fitsBytes(units)) return hashNarrowed(units);
  return hashBytes(reinterpret_cast<const char*>(units.data()), units.size() * sizeof(char16_t));
}

}  // namespace

NSUInteger hashUnits(UnitView units) {
  if (units.isWide()) return toWord(hashWide(units.wide()));
  return toWord(hashBytes(units.narrow().data(), units.size()));
}

// Once would leave evenly spaced words too evenly spaced.
NSUInteger hashWord(std::uint64_t word) {
  const std::uint64_t key = secret();
  return toWord(mix(mix(word ^ key, kMultiplier), key ^ kOther));
}

}  // namespace ZtFoundation::detail
