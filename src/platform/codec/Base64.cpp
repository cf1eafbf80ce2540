#include "platform/codec/Base64.h"

#include <array>
#include <cstdint>

namespace ZtFoundation::codec {

namespace {

constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t kSpace = 64;
constexpr std::uint8_t kPadding = 65;
constexpr std::uint8_t kIllegal = 66;

constexpr std::array<std::uint8_t, 256> kValues = [] {
  std::array<std::uint8_t, 256> values{};
  values.fill(kIllegal);
  for (std::size_t digit = 0; digit < kDigits.size(); ++digit) {
    values[static_cast<unsigned char>(kDigits[digit])] = static_cast<std::uint8_t>(digit);
  }
  for (const char space : {' ', '\t', '\n', '\r', '\f', '\v'}) values[static_cast<unsigned char>(space)] = kSpace;
  values['='] = kPadding;
  return values;
}();

std::uint8_t valueOf(char c) { return kValues[static_cast<unsigned char>(c)]; }
char digitOf(std::uint32_t value) { return kDigits[value & 63]; }
char lowByte(std::uint32_t value) { return static_cast<char>(static_cast<unsigned char>(value)); }

// Collects digits into bytes; text that is well formed ends with `isComplete`.
class Decoder {
 public:
  explicit Decoder(char* out) : out_(out) {}

  // Takes whole groups of four digits as long as nothing else comes between.
  const char* takeGroups(const char* at, const char* end) {
    while (pending_ == 0 && padding_ == 0 && end - at >= 4) {
      const std::uint32_t a = valueOf(at[0]);
      const std::uint32_t b = valueOf(at[1]);
      const std::uint32_t c = valueOf(at[2]);
      const std::uint32_t d = valueOf(at[3]);
      if ((a | b | c | d) >= kSpace) break;
      put(a << 18 | b << 12 | c << 6 | d, 3);
      at += 4;
    }
    return at;
  }

  bool take(char c) {
    const std::uint8_t value = valueOf(c);
    if (value == kSpace) return true;
    if (value == kPadding) return pad();
    if (value == kIllegal || padding_ != 0) return false;
    bits_ = bits_ << 6 | value;
    if (++pending_ == 4) {
      put(bits_, 3);
      pending_ = 0;
    }
    return true;
  }

  bool isComplete() const { return pending_ == 0; }
  char* end() const { return out_; }

 private:
  bool pad() {
    if (pending_ < 2) return false;
    ++padding_;
    if (pending_ + padding_ < 4) return true;
    put(bits_ << 6 * padding_, 3 - padding_);
    pending_ = 0;
    return true;
  }

  void put(std::uint32_t group, unsigned count) {
    for (unsigned at = 0; at < count; ++at) *out_++ = lowByte(group >> (16 - 8 * at));
  }

  char* out_;
  std::uint32_t bits_ = 0;
  unsigned pending_ = 0;
  unsigned padding_ = 0;
};

}  // namespace

bool decodeBase64(std::string_view text, std::string& bytes) {
  bytes.resize(text.size() / 4 * 3 + 3);
  Decoder decoder(bytes.data());
  const char* at = text.data();
  const char* const end = at + text.size();
  while ((at = decoder.takeGroups(at, end)) != end) {
    if (!decoder.take(*at++)) return false;
  }
  bytes.resize(static_cast<std::size_t>(decoder.end() - bytes.data()));
  return decoder.isComplete();
}

char* encodeBase64(std::string_view bytes, char* buffer) {
  const auto byteAt = [&](std::size_t at) { return std::uint32_t{static_cast<unsigned char>(bytes[at])}; };
  std::size_t at = 0;
  for (; at + 3 <= bytes.size(); at += 3) {
    const std::uint32_t group = byteAt(at) << 16 | byteAt(at + 1) << 8 | byteAt(at + 2);
    for (const unsigned shift : {18U, 12U, 6U, 0U}) *buffer++ = digitOf(group >> shift);
  }
  const std::size_t rest = bytes.size() - at;
  if (rest == 0) return buffer;
  const std::uint32_t group = byteAt(at) << 16 | (rest == 2 ? byteAt(at + 1) << 8 : 0);
  *buffer++ = digitOf(group >> 18);
  *buffer++ = digitOf(group >> 12);
  *buffer++ = rest == 2 ? digitOf(group >> 6) : '=';
  *buffer++ = '=';
  return buffer;
}

}  // namespace ZtFoundation::codec
