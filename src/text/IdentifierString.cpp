#include <array>
#include <cstddef>
#include <string>

#include <ZtFoundation/Text.h>

#include "platform/services/RandomSource.h"
#include "platform/services/Service.h"

namespace ZtFoundation {

namespace {

using Identifier = std::array<std::byte, 16>;

// RFC 9562: version 4 in the high nibble of byte 6, variant 10 in the high bits of byte 8.
void mark(Identifier& identifier) {
  identifier[6] = (identifier[6] & std::byte{0x0F}) | std::byte{0x40};
  identifier[8] = (identifier[8] & std::byte{0x3F}) | std::byte{0x80};
}

bool hyphenPrecedes(std::size_t byte) { return byte == 4 || byte == 6 || byte == 8 || byte == 10; }

std::string canonicalText(const Identifier& identifier) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (std::size_t at = 0; at < identifier.size(); ++at) {
    if (hyphenPrecedes(at)) text += '-';
    text += kDigits[std::to_integer<unsigned>(identifier[at] >> 4)];
    text += kDigits[std::to_integer<unsigned>(identifier[at] & std::byte{0xF})];
  }
  return text;
}

}  // namespace

Ref<NSString> ZtIdentifierString() {
  Identifier identifier;
  if (!service<RandomSource>().fill(identifier)) return nullptr;
  mark(identifier);
  return canonicalText(identifier);
}

}  // namespace ZtFoundation
