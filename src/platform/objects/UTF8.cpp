#include "platform/objects/UTF8.h"

#include <cstdint>
#include <cstring>

namespace ZtFoundation::detail {

namespace {

constexpr std::uint64_t kHighBits = 0x8080808080808080U;

std::uint64_t loadWord(const char* bytes) noexcept {
  std::uint64_t word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

bool isContinuation(unsigned char byte) noexcept { return (byte & 0xC0) == 0x80; }

struct Sequence {
  char32_t codePoint;
  unsigned length;  // 0 when the bytes are not valid
};

// The smallest code point of each length keeps overlong forms out.
Sequence finishSequence(const unsigned char* at, std::size_t left, unsigned length, char32_t smallest) noexcept {
  if (left < length) return {0, 0};
  char32_t codePoint = at[0] & (0x7FU >> length);
  for (unsigned i = 1; i < length; ++i) {
    if (!isContinuation(at[i])) return {0, 0};
    codePoint = (codePoint << 6) | (at[i] & 0x3FU);
  }
  if (codePoint < smallest || codePoint > 0x10FFFF || isSurrogate(codePoint)) return {0, 0};
  return {codePoint, length};
}

// One that does not begin with ASCII.
Sequence readSequence(const unsigned char* at, std::size_t left) noexcept {
  if (*at < 0xC2) return {0, 0};
  if (*at < 0xE0) return finishSequence(at, left, 2, 0x80);
  if (*at < 0xF0) return finishSequence(at, left, 3, 0x800);
  if (*at < 0xF5) return finishSequence(at, left, 4, 0x10000);
  return {0, 0};
}

char16_t substitute(InvalidBytes policy, unsigned char byte) noexcept {
  return policy == InvalidBytes::Replace ? kReplacementCharacter : static_cast<char16_t>(0xDC00 + byte);
}

std::size_t sizeInUTF8(char32_t codePoint) noexcept {
  return codePoint < 0x80 ? 1 : codePoint < 0x800 ? 2 : codePoint < 0x10000 ? 3 : 4;
}

bool isEscapedByte(char32_t codePoint) noexcept { return codePoint >= 0xDC80 && codePoint <= 0xDCFF; }

std::string encodeNarrow(std::string_view units) {
  const std::size_t prefix = asciiPrefix(units);
  if (prefix == units.size()) return std::string(units);
  std::size_t size = units.size();
  for (std::size_t i = prefix; i < units.size(); ++i) size += static_cast<unsigned char>(units[i]) < 0x80 ? 0U : 1U;
  std::string result(size, '\0');
  std::memcpy(result.data(), units.data(), prefix);
  char* out = result.data() + prefix;
  for (std::size_t i = prefix; i < units.size(); ++i) out = putUTF8(out, static_cast<unsigned char>(units[i]));
  return result;
}

// Calls `visit` with each code point after the policy was applied; false when one was refused.
template <class Visit>
bool visitCodePoints(UnitView units, LoneSurrogates policy, Visit visit) {
  for (NSUInteger i = 0; i < units.size();) {
    const char32_t codePoint = codePointAt(units, i);
    i += unitsOf(codePoint);
    if (!isSurrogate(codePoint)) {
      visit(codePoint, false);
    } else if (policy == LoneSurrogates::Refuse) {
      return false;
    } else if (policy == LoneSurrogates::Restore && isEscapedByte(codePoint)) {
      visit(codePoint - 0xDC00, true);
    } else {
      visit(char32_t{kReplacementCharacter}, false);
    }
  }
  return true;
}

std::optional<std::string> encodeWide(UnitView units, LoneSurrogates policy) {
  std::size_t size = 0;
  const auto measure = [&size](char32_t codePoint, bool rawByte) { size += rawByte ? 1 : sizeInUTF8(codePoint); };
  if (!visitCodePoints(units, policy, measure)) return std::nullopt;
  std::string result(size, '\0');
  char* out = result.data();
  visitCodePoints(units, policy, [&out](char32_t codePoint, bool rawByte) {
    if (rawByte) {
      *out++ = static_cast<char>(codePoint);
    } else {
      out = putUTF8(out, codePoint);
    }
  });
  return result;
}

}  // namespace

std::size_t asciiPrefix(std::string_view bytes) noexcept {
  const char* const begin = bytes.data();
  std::size_t at = 0;
  for (; at + 32 <= bytes.size(); at += 32) {
    const char* block = begin + at;
    if (((loadWord(block) | loadWord(block + 8) | loadWord(block + 16) | loadWord(block + 24)) & kHighBits) != 0) break;
  }
  while (at + 8 <= bytes.size() && (loadWord(begin + at) & kHighBits) == 0) at += 8;
  while (at < bytes.size() && static_cast<unsigned char>(begin[at]) < 0x80) ++at;
  return at;
}

char16_t unionOfUnits(const char16_t* units, std::size_t length) noexcept {
  unsigned all = 0;
  for (std::size_t i = 0; i < length; ++i) all |= units[i];
  return static_cast<char16_t>(all);
}

void narrowUnits(const char16_t* units, std::size_t length, char* bytes) noexcept {
  for (std::size_t i = 0; i < length; ++i) bytes[i] = static_cast<char>(units[i]);
}

void widenUnits(const char* bytes, std::size_t length, char16_t* units) noexcept {
  for (std::size_t i = 0; i < length; ++i) units[i] = static_cast<unsigned char>(bytes[i]);
}

UnitBuffer::UnitBuffer(UnitView view) : UnitBuffer(view.size()) {
  if (view.isWide()) {
    std::memcpy(units_, view.wide().data(), view.size() * sizeof(char16_t));
  } else {
    widenUnits(view.narrow().data(), view.size(), units_);
  }
}

std::optional<std::size_t> decodeUTF8(std::string_view bytes, InvalidBytes policy, char16_t* out) noexcept {
  char16_t* const begin = out;
  for (std::size_t at = 0; at < bytes.size();) {
    if (const std::size_t ascii = asciiPrefix(bytes.substr(at)); ascii != 0) {
      widenUnits(bytes.data() + at, ascii, out);
      at += ascii;
      out += ascii;
      continue;
    }
    const auto* const lead = reinterpret_cast<const unsigned char*>(bytes.data()) + at;
    const Sequence sequence = readSequence(lead, bytes.size() - at);
    if (sequence.length != 0) {
      out = putCodePoint(out, sequence.codePoint);
      at += sequence.length;
    } else if (policy == InvalidBytes::Refuse) {
      return std::nullopt;
    } else {
      *out++ = substitute(policy, *lead);
      ++at;
    }
  }
  return static_cast<std::size_t>(out - begin);
}

std::optional<std::string> encodeUTF8(UnitView units, LoneSurrogates policy) {
  if (!units.isWide()) return encodeNarrow(units.narrow());
  return encodeWide(units, policy);
}

}  // namespace ZtFoundation::detail
