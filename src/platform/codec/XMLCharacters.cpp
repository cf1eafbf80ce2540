#include "platform/codec/XMLCharacters.h"

namespace ZtFoundation::codec {

namespace {

// How many bytes the form that begins with `lead` has; 0 when none begins so.
std::size_t lengthOfForm(unsigned char lead) noexcept {
  if (lead < 0x80) return 1;
  if (lead < 0xC2) return 0;
  return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 0;
}

// How many bytes the legal character at the front has, 0 when there is none.
std::size_t lengthOfCharacter(std::string_view text) noexcept {
  static constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  const auto byteAt = [&](std::size_t at) { return char32_t{static_cast<unsigned char>(text[at])}; };
  const std::size_t length = lengthOfForm(static_cast<unsigned char>(text[0]));
  if (length > text.size()) return 0;
  char32_t character = length == 1 ? byteAt(0) : byteAt(0) & (0x7FU >> length);
  for (std::size_t at = 1; at < length; ++at) {
    if ((byteAt(at) & 0xC0) != 0x80) return 0;
    character = character << 6 | (byteAt(at) & 0x3F);
  }
  return character >= kSmallest[length] && isXMLCharacter(character) ? length : 0;
}

bool isPlainBlock(std::string_view text) noexcept {
  if (text.size() < ByteBlock::kSize) return false;
  const ByteBlock block(text.data());
  return block.findControlOr<>() == ByteBlock::kSize && block.lengthOfASCII() == ByteBlock::kSize;
}

}  // namespace

const char* findIllegalCharacter(std::string_view text) noexcept {
  while (!text.empty()) {
    const std::size_t length = isPlainBlock(text) ? ByteBlock::kSize : lengthOfCharacter(text);
    if (length == 0) return text.data();
    text.remove_prefix(length);
  }
  return nullptr;
}

}  // namespace ZtFoundation::codec
