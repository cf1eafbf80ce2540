#include "Failure.h"

#include <ZtFoundation/platform/String.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>

namespace ztplist {

namespace {

bool isControl(unsigned char byte) { return byte < 0x20 || byte == 0x7F; }

void appendByte(std::string& to, char character) {
  constexpr std::string_view kHexDigits = "0123456789abcdef";
  const auto byte = static_cast<unsigned char>(character);
  to += {'\\', 'x', kHexDigits[byte >> 4U], kHexDigits[byte & 15U]};
}

// The length of the character that `rest` begins with; 0 when no character does.
std::size_t lengthOfCharacter(std::string_view rest) {
  const auto first = static_cast<unsigned char>(rest.front());
  const std::size_t length = first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  const std::string_view character = rest.substr(0, length);
  return first < 0x80 || ZtFoundation::NSString::stringWithValidUTF8(character) ? length : 0;
}

// U+0080 to U+009F are controls too.
bool isShown(std::string_view character, std::string_view kept) {
  const auto first = static_cast<unsigned char>(character.front());
  if (character.size() == 1) return !isControl(first) || kept.find(character) != std::string_view::npos;
  return first != 0xC2 || static_cast<unsigned char>(character[1]) >= 0xA0;
}

}  // namespace

Exit complainAboutException(const std::string& prefix) {
  try {
    throw;
  } catch (const Failure& failure) {
    complain(failure.what());
    return failure.code();
  } catch (const std::bad_alloc&) {
    complain(prefix + "out of memory");
    return Exit::InputOutput;
  } catch (const std::length_error&) {  // More than any memory could hold.
    complain(prefix + "out of memory");
    return Exit::InputOutput;
  } catch (const std::exception& error) {
    complain(prefix + error.what());
    return Exit::Invalid;
  }
}

std::string visible(std::string_view text, std::string_view kept) {
  std::string result;
  while (!text.empty()) {
    const std::size_t length = lengthOfCharacter(text);
    const std::string_view character = text.substr(0, std::max<std::size_t>(length, 1));
    if (length > 0 && isShown(character, kept)) {
      result += character;
    } else {
      for (const char byte : character) appendByte(result, byte);
    }
    text.remove_prefix(character.size());
  }
  return result;
}

void tell(const std::string& text) {
  const std::string line = "ztplist: " + visible(text) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

void complain(const std::string& text) {
  tell(text);
  std::fflush(stderr);
}

}  // namespace ztplist
