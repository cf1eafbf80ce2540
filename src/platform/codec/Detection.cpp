#include "platform/codec/Detection.h"

#include "platform/codec/Codec.h"
#include "platform/codec/TextInput.h"

namespace ZtFoundation::codec {

namespace {

constexpr std::string_view kBlanks = " \t\n\v\f\r";
constexpr std::string_view kHexDigits = "0123456789abcdefABCDEF";

/// True when `text`, which follows "<", is OpenStep data: pairs of digits, where XML has a name. Some names of elements
/// begin with digits of this kind, so the end decides.
bool isOpenStepData(std::string_view text) {
  if (text.empty() || std::string_view("0123456789>* \t\n\v\f\r").find(text.front()) != text.npos) return true;
  const std::size_t end = text.find_first_not_of(std::string(kHexDigits) + std::string(kBlanks));
  return end != text.npos && text[end] == '>';
}

Format formatOfText(std::string_view text) {
  const std::size_t start = text.find_first_not_of(kBlanks);
  if (start == text.npos || text[start] != '<') return Format::OpenStep;
  return isOpenStepData(text.substr(start + 1)) ? Format::OpenStep : Format::XML;
}

}  // namespace

Format detectFormat(std::string_view bytes) {
  if (bytes.starts_with("bplist")) return Format::Binary;
  TextInput input;
  CodecError error;
  readUnicodeText(bytes, input, error);  // whatever is wrong further on, the beginning tells
  return formatOfText(input.text);
}

}  // namespace ZtFoundation::codec
