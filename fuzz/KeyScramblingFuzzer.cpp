// Any text as a scrambled one, read with any key; any ASCII text scrambled and read again.

#include <string>

#include <ZtFoundation/Text.h>

#include "Input.h"

using namespace ZtFoundation;
using namespace ZtFoundation::fuzz;

namespace {

Ref<NSString> textOf(std::string_view bytes) { return NSString::stringWithUnits(UnitView(bytes.data(), bytes.size())); }

std::string ascii(std::string_view bytes) {
  std::string text(bytes);
  for (char& byte : text) byte = static_cast<char>(byte & 0x7F);
  return text;
}

void readAny(const Ref<NSString>& text, const Ref<NSString>& key) {
  const Ref<NSString> read = ZtSimpleDecriptedKey(text, key);
  require(static_cast<bool>(read) == (key->length() != 0), "a text unless the key is empty");
  require(!read || read->length() == text->length() / 2, "a unit for each pair");
}

void scrambleAndRead(const Ref<NSString>& text, const Ref<NSString>& key) {
  const Ref<NSString> scrambled = ZtSimpleEncriptedKey(text, key);
  require(static_cast<bool>(scrambled) == (key->length() != 0), "a scrambled text unless the key is empty");
  if (!scrambled) return;
  require(scrambled->length() == 2 * text->length(), "two digits for each unit");
  require(isEqual(ZtSimpleDecriptedKey(scrambled, key), text), "it reads as the same");
  require(isEqual(ZtSimpleDecriptedKey(scrambled->lowercaseString(), key), text), "digits may be in either case");
}

}  // namespace

// The key ends with a newline.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const std::string_view key = input.takeUntil('\n');
  readAny(textOf(input.rest()), textOf(key));
  readAny(unitsIn(input.rest()), unitsIn(key));
  scrambleAndRead(ascii(input.rest()), ascii(key));
  return 0;
}
