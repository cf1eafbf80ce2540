#include "platform/codec/TextInput.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>

#include <ZtFoundation/platform/String.h>
#include <ZtFoundation/platform/StringEncoding.h>

#include "platform/codec/XMLScanner.h"
#include "platform/objects/UTF8.h"

namespace ZtFoundation::codec {

namespace {

using namespace std::literals;

struct Mark {
  std::string_view bytes;
  UnitForm form;
};

// The longer marks come first, because one of them begins with a shorter one.
constexpr Mark kMarks[] = {
    {"\x00\x00\xFE\xFF"sv, UnitForm::UTF32Big}, {"\xFF\xFE\x00\x00"sv, UnitForm::UTF32Little},
    {"\xEF\xBB\xBF"sv, UnitForm::Bytes},        {"\xFE\xFF"sv, UnitForm::UTF16Big},
    {"\xFF\xFE"sv, UnitForm::UTF16Little},
};

// Where the zeros lie in the first four bytes of ASCII text.
UnitForm formByZeros(std::string_view bytes) {
  const auto isZero = [&](std::size_t at) { return at < bytes.size() && bytes[at] == '\0'; };
  const auto isByte = [&](std::size_t at) { return at < bytes.size() && bytes[at] != '\0'; };
  if (isZero(0) && isZero(1) && isZero(2) && isByte(3)) return UnitForm::UTF32Big;
  if (isByte(0) && isZero(1) && isZero(2) && isZero(3)) return UnitForm::UTF32Little;
  if (isZero(0) && isByte(1)) return UnitForm::UTF16Big;
  if (isByte(0) && isZero(1)) return UnitForm::UTF16Little;
  return UnitForm::Bytes;
}

std::size_t sizeOfUnit(UnitForm form) {
  if (form == UnitForm::Bytes) return 1;
  return form == UnitForm::UTF16Big || form == UnitForm::UTF16Little ? 2 : 4;
}

// The next character; empty when what lies there is none.
std::optional<char32_t> takeCharacter(UnitReader& reader, bool joinsSurrogates) {
  if (!reader.hasUnit()) return std::nullopt;
  const char32_t unit = reader.peek();
  if (unit > 0x10FFFF || detail::isLowSurrogate(unit)) return std::nullopt;
  if (!detail::isHighSurrogate(unit)) {
    reader.skip();
    return unit;
  }
  UnitReader next = reader;
  next.skip();
  if (!joinsSurrogates || !next.hasUnit() || !detail::isLowSurrogate(next.peek())) return std::nullopt;
  const char32_t joined = detail::joinSurrogates(unit, next.peek());
  next.skip();
  reader = next;
  return joined;
}

// Three bytes for two, and one for each byte that may be left over.
std::size_t utf8Room(std::size_t bytes) { return bytes + bytes / 2 + 4; }

bool recodeUnits(UnitReader reader, std::size_t offset, bool isUTF16, std::string& out, CodecError& error) {
  char* at = out.data();
  while (!reader.isAtEnd()) {
    const std::optional<char32_t> character = takeCharacter(reader, isUTF16);
    if (!character) break;
    at = detail::putUTF8(at, *character);
  }
  out.resize(static_cast<std::size_t>(at - out.data()));
  if (reader.isAtEnd()) return true;
  error.text = "The text is not valid "s + (isUTF16 ? "UTF-16" : "UTF-32") + " at byte offset " +
               std::to_string(offset + reader.offset()) + ".";
  return false;
}

bool readUnits(std::string_view bytes, TextForm form, TextInput& input, CodecError& error) {
  input.storage.resize(utf8Room(bytes.size() - form.markLength));
  const bool isUTF16 = sizeOfUnit(form.form) == 2;
  const bool isValid = recodeUnits(UnitReader(bytes, form), form.markLength, isUTF16, input.storage, error);
  input.text = input.storage;
  return isValid;
}

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

std::string_view trimmedFront(std::string_view text) {
  const auto* const first = std::ranges::find_if_not(text, isSpace);
  return text.substr(static_cast<std::size_t>(first - text.begin()));
}

// The XML declaration without its brackets, empty when there is none.
std::string_view declarationOf(std::string_view text) {
  text = trimmedFront(text);
  if (!text.starts_with("<?xml") || text.size() == 5 || !isSpace(text[5])) return {};
  const std::size_t end = text.find("?>");
  return end != std::string_view::npos ? text.substr(5, end - 5) : std::string_view();
}

// The value of the pseudo attribute `name`, empty when the declaration has none.
std::string_view attributeOf(std::string_view declaration, std::string_view name) {
  const std::size_t found = declaration.find(name);
  if (found == std::string_view::npos) return {};
  std::string_view rest = trimmedFront(declaration.substr(found + name.size()));
  if (!rest.starts_with('=')) return {};
  rest = trimmedFront(rest.substr(1));
  if (!rest.starts_with('"') && !rest.starts_with('\'')) return {};
  const std::size_t end = rest.find(rest.front(), 1);
  return end != std::string_view::npos ? rest.substr(1, end - 1) : std::string_view();
}

std::string uppercase(std::string_view name) {
  std::string result(name);
  for (char& c : result) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  return result;
}

// A declaration that could be read byte by byte is no UTF-16, whatever it says; such files come from programs that
// recode the text and leave its declaration alone.
bool isReadAsUTF8(const std::string& encoding) {
  static constexpr std::string_view kNames[] = {"",         "UTF-8",    "UTF8",   "US-ASCII", "ASCII",   "UTF-16",
                                                "UTF-16LE", "UTF-16BE", "UTF-32", "UTF-32LE", "UTF-32BE"};
  return std::ranges::find(kNames, encoding) != std::end(kNames);
}

NSStringEncoding encodingNamed(std::string_view name) {
  return CFStringConvertEncodingToNSStringEncoding(CFStringConvertIANACharSetNameToEncoding(name));
}

bool isWhole(std::string_view bytes, NSStringEncoding encoding) {
  return static_cast<bool>(NSString::stringWithBytes_length_encoding(bytes.data(), bytes.size(), encoding));
}

// Where the last whole character of those between `begin` and `end` ends; none when they are invalid before that.
std::optional<std::size_t> endOfWhole(std::string_view bytes, std::size_t begin, std::size_t end,
                                      NSStringEncoding encoding) {
  constexpr std::size_t kLongestCharacter = 4;
  for (std::size_t cut = 0; cut < std::min(end - begin + 1, kLongestCharacter); ++cut) {
    if (isWhole(bytes.substr(begin, end - begin - cut), encoding)) return end - cut;
  }
  return std::nullopt;
}

// Whether bytes may mean something else by what went before.
bool mayShift(std::string_view bytes) {
  return bytes.find('\x1B') != std::string_view::npos || bytes.find("~{") != std::string_view::npos;
}

// Where bytes that are not valid become so. By halves, since decoders do not tell.
std::size_t firstInvalidByte(std::string_view bytes, NSStringEncoding encoding) {
  const bool fromStart = mayShift(bytes);
  std::size_t whole = 0;
  std::size_t valid = 0;
  for (std::size_t end = bytes.size(); valid < end;) {
    const std::size_t middle = valid + (end - valid + 1) / 2;
    const std::optional<std::size_t> further = endOfWhole(bytes, fromStart ? 0 : whole, middle, encoding);
    valid = further ? middle : valid;
    end = further ? end : middle - 1;
    whole = further.value_or(whole);
  }
  return whole;
}

bool readEncoded(std::string_view bytes, std::string_view encoding, TextInput& input, CodecError& error) {
  const NSStringEncoding number = encodingNamed(encoding);
  if (number == kInvalidStringEncoding) {
    error.text = "The encoding \"" + excerpt(encoding) + "\" that the XML declaration names at byte offset " +
                 std::to_string(encoding.data() - bytes.data()) + " is not known.";
    return false;
  }
  const Ref<NSString> decoded = NSString::stringWithBytes_length_encoding(bytes.data(), bytes.size(), number);
  if (!decoded) {
    error.text = "The text is not valid in the encoding \"" + excerpt(encoding) +
                 "\", which the XML declaration names, at byte offset " +
                 std::to_string(firstInvalidByte(bytes, number)) + ".";
    return false;
  }
  input.storage = decoded->utf8();
  input.text = input.storage;
  return true;
}

}  // namespace

UnitReader::UnitReader(std::string_view bytes, TextForm form)
    : bytes_(bytes.substr(form.markLength)),
      size_(sizeOfUnit(form.form)),
      isBig_(form.form == UnitForm::UTF16Big || form.form == UnitForm::UTF32Big) {}

TextForm formOfText(std::string_view bytes) {
  for (const Mark& mark : kMarks) {
    if (bytes.starts_with(mark.bytes)) return {mark.form, mark.bytes.size()};
  }
  return {formByZeros(bytes), 0};
}

bool readUnicodeText(std::string_view bytes, TextInput& input, CodecError& error) {
  const TextForm form = formOfText(bytes);
  if (form.form != UnitForm::Bytes) return readUnits(bytes, form, input, error);
  input.text = bytes.substr(form.markLength);
  return true;
}

bool readXMLText(std::string_view bytes, TextInput& input, CodecError& error) {
  // Behind a mark or in wider units no declaration is found, so that those outrank it.
  const std::string_view encoding = attributeOf(declarationOf(bytes), "encoding");
  if (!isReadAsUTF8(uppercase(encoding))) return readEncoded(bytes, encoding, input, error);
  return readUnicodeText(bytes, input, error);
}

}  // namespace ZtFoundation::codec
