#include "platform/linux/applications/ApplicationSignature.h"

#include <algorithm>

#include <ZtFoundation/platform/Data.h>

#include "platform/services/DesktopEntries.h"

namespace ZtFoundation::detail {

namespace {

constexpr OSType kUnknown = 0x3F3F3F3F;  // '????'

OSType byteAt(std::string_view bytes, std::size_t index) {
  return index < bytes.size() ? static_cast<OSType>(static_cast<signed char>(bytes[index])) : 0;
}

// Blanks behind a value belong to it, but for the first half of a line's end.
std::string_view valueBehind(std::string_view line, std::size_t equals) {
  const std::size_t start = line.find_first_not_of(" \t", equals + 1);
  std::string_view value = start != std::string_view::npos ? line.substr(start) : std::string_view();
  if (value.ends_with('\r')) value.remove_suffix(1);
  return value;
}

OSType codeOfValue(std::string_view value) {
  if (value.find('\\') != std::string_view::npos) return kAnySignature;
  return signatureCode(NSString::stringWithValidUTF8(value));
}

}  // namespace

OSType signatureCode(const Ref<NSString>& text) {
  const Ref<NSData> data =
      text ? text->dataUsingEncoding_allowLossyConversion(NSShiftJISStringEncoding, true) : nullptr;
  const std::string_view bytes = data ? data->view() : std::string_view();
  if (byteAt(bytes, 0) == 0) return 0;
  const OSType code = byteAt(bytes, 0) << 24 | byteAt(bytes, 1) << 16 | byteAt(bytes, 2) << 8 | byteAt(bytes, 3);
  return code == kUnknown ? 0 : code;
}

std::vector<OSType> signaturesInEntry(std::string_view text) {
  std::vector<OSType> codes;
  constexpr std::string_view key = kSignatureKey;
  std::string_view line;
  for (std::size_t at = text.find(key); at != std::string_view::npos; at = text.find(key, at + line.size())) {
    line = text.substr(at, text.find('\n', at) - at);
    const std::size_t equals = line.find('=');
    if (equals != std::string_view::npos) codes.push_back(codeOfValue(valueBehind(line, equals)));
  }
  return codes;
}

}  // namespace ZtFoundation::detail
