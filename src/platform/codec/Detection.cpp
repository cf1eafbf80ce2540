#include "platform/codec/Detection.h"

#include "platform/codec/TextInput.h"

namespace ZtFoundation::codec {

namespace {

bool isBlank(char32_t unit) { return unit == ' ' || (unit >= '\t' && unit <= '\r'); }
bool isDecimalDigit(char32_t unit) { return unit >= '0' && unit <= '9'; }

bool isHexLetter(char32_t unit) {
  const char32_t lower = unit | 0x20;
  return lower >= 'a' && lower <= 'f';
}

/// The unit at hand, behind the end 0.
char32_t peek(const UnitReader& text) { return text.hasUnit() ? text.peek() : 0; }

/// True when `text`, which follows "<", is OpenStep data: pairs of digits, where XML has a name. Some names of elements
/// begin with digits of this kind, so the end decides.
bool isOpenStepData(UnitReader text) {
  const char32_t first = peek(text);
  if (!text.hasUnit() || isDecimalDigit(first) || isBlank(first) || first == '>' || first == '*') return true;
  while (isHexLetter(peek(text)) || isDecimalDigit(peek(text)) || isBlank(peek(text))) text.skip();
  return peek(text) == '>';
}

Format formatOfText(UnitReader text) {
  while (isBlank(peek(text))) text.skip();
  if (peek(text) != '<') return Format::OpenStep;
  text.skip();
  return isOpenStepData(text) ? Format::OpenStep : Format::XML;
}

}  // namespace

Format detectFormat(std::string_view bytes) {
  if (bytes.starts_with("bplist")) return Format::Binary;
  return formatOfText(UnitReader(bytes, formOfText(bytes)));
}

}  // namespace ZtFoundation::codec
