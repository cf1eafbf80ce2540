#include "platform/codec/XMLScanner.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

#include "platform/objects/UTF8.h"

namespace ZtFoundation::codec {

namespace {

constexpr std::array<std::string_view, 11> kNames = {"plist", "dict", "array", "key",  "string", "integer",
                                                     "real",  "true", "false", "date", "data"};

bool isNameCharacter(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') || byte >= 0x80 ||
         c == '_' || c == '-' || c == '.' || c == ':';
}

std::optional<XMLElement> elementNamed(std::string_view name) {
  const auto* const found = std::ranges::find(kNames, name);
  if (found == kNames.end()) return std::nullopt;
  return static_cast<XMLElement>(found - kNames.begin());
}

struct Position {
  std::size_t line = 1;
  std::size_t column = 1;
};

// Lines end with LF, CR or CR LF; columns count characters.
Position positionAt(std::string_view before) {
  Position position;
  for (std::size_t at = 0; at < before.size(); ++at) {
    const bool isBreak = before[at] == '\n' || (before[at] == '\r' && before.substr(at + 1, 1) != "\n");
    if (isBreak) {
      position = {position.line + 1, 1};
    } else if ((static_cast<unsigned char>(before[at]) & 0xC0) != 0x80) {
      ++position.column;
    }
  }
  return position;
}

std::string inBrackets(XMLElement element) { return "<" + std::string(nameOf(element)) + ">"; }

}  // namespace

std::string_view nameOf(XMLElement element) { return kNames[static_cast<std::size_t>(element)]; }

std::string excerpt(std::string_view text) {
  constexpr std::size_t kLongest = 24;
  std::size_t length = std::min(text.find_first_of("\r\n"), text.size());
  if (length > kLongest) {
    length = kLongest;
    while (length != 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) --length;
  }
  std::string shown(text.substr(0, length));
  std::ranges::replace_if(
      shown, [](char c) { return static_cast<unsigned char>(c) < 0x20; }, '?');
  return shown;
}

// --- Faults

void XMLScanner::fail(const char* at, std::string message) const {
  const Position position = positionAt(text_.substr(0, static_cast<std::size_t>(at - text_.data())));
  throw XMLFault{std::move(message) + " at line " + std::to_string(position.line) + ", column " +
                 std::to_string(position.column) + "."};
}

void XMLScanner::requireCharacters(const char* begin) const {
  const char* const illegal = findIllegalCharacter({begin, at_});
  if (illegal == nullptr) return;
  const auto byte = static_cast<unsigned char>(*illegal);
  if (byte >= 0x80) fail(illegal, "Bytes that are no valid UTF-8 form of a character of XML");
  fail(illegal, "The control character number " + std::to_string(byte) + ", which XML cannot hold,");
}

// --- Tags

XMLTag XMLScanner::nextTag() {
  for (;;) {
    skipSpace();
    XMLTag tag{XMLElement::PropertyList, TagForm::EndOfText, at_};
    if (at_ == end_) return tag;
    if (*at_ != '<') fail(at_, "A tag was expected, but \"" + excerpt(rest()) + "\" found");
    ++at_;
    if (takeCommonTag(tag)) return tag;
    if (!skipRemark() && !skipDocumentType()) return takeAnyTag(tag.at);
  }
}

// The tags as every program writes them, without attributes and superfluous space.
bool XMLScanner::takeCommonTag(XMLTag& tag) {
  const auto found = [&](XMLElement element, TagForm form) {
    tag.element = element;
    tag.form = form;
    mayDeclareType_ = false;
    return true;
  };
  if (at_ == end_) return false;
  switch (*at_) {
    case 'k':
      return take("key>") && found(XMLElement::Key, TagForm::Start);
    case 's':
      return take("string>") && found(XMLElement::String, TagForm::Start);
    case 'i':
      return take("integer>") && found(XMLElement::Integer, TagForm::Start);
    case 't':
      return take("true/>") && found(XMLElement::True, TagForm::Empty);
    case 'f':
      return take("false/>") && found(XMLElement::False, TagForm::Empty);
    case 'r':
      return take("real>") && found(XMLElement::Real, TagForm::Start);
    case 'a':
      return take("array>") && found(XMLElement::Array, TagForm::Start);
    case 'd':
      if (take("date>")) return found(XMLElement::Date, TagForm::Start);
      if (take("dict>")) return found(XMLElement::Dictionary, TagForm::Start);
      return take("data>") && found(XMLElement::Data, TagForm::Start);
    case '/':
      if (take("/dict>")) return found(XMLElement::Dictionary, TagForm::End);
      return take("/array>") && found(XMLElement::Array, TagForm::End);
    default:
      return false;
  }
}

XMLTag XMLScanner::takeAnyTag(const char* begin) {
  const bool isEnd = take("/");
  const std::string_view name = takeName();
  const std::optional<XMLElement> element = elementNamed(name);
  if (!element) fail(begin, "An element of a property list was expected, but \"" + excerpt({begin, end_}) + "\" found");
  skipSpace();
  if (!isEnd) skipAttributes();
  const bool isEmpty = !isEnd && take("/");
  if (!take(">")) fail(at_, "The tag <" + std::string(name) + "> has no \">\"");
  requireCharacters(begin);
  mayDeclareType_ = false;
  return {*element, isEnd ? TagForm::End : isEmpty ? TagForm::Empty : TagForm::Start, begin};
}

std::string_view XMLScanner::takeName() {
  const char* const begin = at_;
  at_ = std::find_if_not(at_, end_, isNameCharacter);
  return {begin, at_};
}

void XMLScanner::skipAttributes() {
  while (at_ != end_ && *at_ != '>' && *at_ != '/') skipAttribute();
}

void XMLScanner::skipAttribute() {
  const char* const attribute = at_;
  const bool isSeparated = isXMLSpace(attribute[-1]);
  const bool isNamed = !takeName().empty();
  skipSpace();
  if (!isSeparated || !isNamed || !take("=")) fail(attribute, "A malformed attribute");
  skipSpace();
  if (at_ == end_ || (*at_ != '"' && *at_ != '\'')) fail(at_, "An attribute whose value is not in quotes");
  skipQuoted();
  skipSpace();
}

void XMLScanner::skipQuoted() {
  const char* const close = std::find(at_ + 1, end_, *at_);
  if (close == end_) fail(at_, "A quoted text that never ends begins");
  at_ = close + 1;
}

// --- Markup that is skipped; here `at_` lies after the "<"

bool XMLScanner::skipRemark() {
  const char* const begin = at_ - 1;
  if (take("!--")) {
    skipPast("-->", begin, "A comment");
  } else if (take("?")) {
    skipPast("?>", begin, "A processing instruction");
  } else {
    return false;
  }
  return true;
}

void XMLScanner::skipPast(std::string_view terminator, const char* begin, const char* what) {
  const std::size_t found = rest().find(terminator);
  if (found == std::string_view::npos) fail(begin, std::string(what) + " that never ends begins");
  skip(found + terminator.size());
  requireCharacters(begin);
}

// The document type is never fetched; all that counts is that it declares no entities.
bool XMLScanner::skipDocumentType() {
  const char* const begin = at_ - 1;
  if (!take("!DOCTYPE")) return false;
  if (!mayDeclareType_) fail(begin, "A document type that does not stand alone before the property list");
  mayDeclareType_ = false;
  skipDeclaration("<[>");
  if (take("[")) {
    skipInternalSubset();
    skipDeclaration("<[>");
  }
  if (!take(">")) fail(begin, "A document type that is malformed or never ends begins");
  requireCharacters(begin);
  return true;
}

void XMLScanner::skipInternalSubset() {
  for (;;) {
    skipSpace();
    if (take("]")) return;
    const char* const begin = at_;
    if (!take("<")) fail(begin, "A declaration was expected in the document type");
    if (skipRemark()) continue;
    if (take("!ENTITY")) fail(begin, "An entity declaration, which property lists cannot have,");
    if (!take("!ELEMENT") && !take("!ATTLIST") && !take("!NOTATION")) fail(begin, "An unknown declaration");
    skipDeclaration("<>");
    if (!take(">")) fail(begin, "A declaration that never ends begins");
  }
}

// Goes to the first of the characters outside of quotes, or to the end.
void XMLScanner::skipDeclaration(std::string_view stops) {
  while (at_ != end_ && stops.find(*at_) == std::string_view::npos) {
    if (*at_ == '"' || *at_ == '\'') {
      skipQuoted();
    } else {
      ++at_;
    }
  }
}

// --- Text

XMLText XMLScanner::mixedText(const XMLTag& tag, const char* begin) {
  scratch_.assign(begin, at_);
  while (!takeEndTag(tag)) {
    takeSpecial(tag);
    const char* const from = at_;
    at_ = scanText<'<', '&'>(from, end_).end;
    scratch_.append(from, at_);
  }
  requireCharacters(begin);
  return {scratch_, detail::isASCII(scratch_)};
}

bool XMLScanner::takeEndTag(const XMLTag& tag) {
  if (at_ == end_) fail(tag.at, "An element " + inBrackets(tag.element) + " that never ends begins");
  const char* const begin = at_;
  if (!take("</")) return false;
  const std::string_view name = takeName();
  skipSpace();
  if (name != nameOf(tag.element) || !take(">")) {
    fail(begin,
         "</" + std::string(nameOf(tag.element)) + "> was expected, but \"" + excerpt({begin, end_}) + "\" found");
  }
  return true;
}

// Takes what plain text ends with: markup, a reference, a carriage return or something illegal.
void XMLScanner::takeSpecial(const XMLTag& tag) {
  const char* const begin = at_++;
  switch (*begin) {
    case '<':
      return takeMarkupInText(tag);
    case '&':
      return takeReference();
    case '\r':
      return takeCarriageReturn();
    default:
      return requireCharacters(begin);
  }
}

void XMLScanner::takeMarkupInText(const XMLTag& tag) {
  const char* const begin = at_ - 1;
  if (take("![CDATA[")) {
    takeCharacterData(begin);
  } else if (!skipRemark()) {
    fail(begin, "Only text may stand in " + inBrackets(tag.element) + ", but \"" + excerpt({begin, end_}) + "\" found");
  }
}

void XMLScanner::takeCharacterData(const char* begin) {
  const char* at = at_;
  skipPast("]]>", begin, "A CDATA section");
  const char* const end = at_ - 3;
  while (at != end) {
    const char* const lineEnd = std::find(at, end, '\r');
    scratch_.append(at, lineEnd);
    at = lineEnd;
    if (at == end) return;
    ++at;
    if (*at != '\n') scratch_ += '\n';  // at the end lies "]"
  }
}

// Lines may end with CR or CR LF; in a value that is LF.
void XMLScanner::takeCarriageReturn() {
  if (at_ == end_ || *at_ != '\n') scratch_ += '\n';
}

void XMLScanner::takeReference() {
  static constexpr std::pair<std::string_view, char> kEntities[] = {
      {"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};
  const char* const begin = at_ - 1;
  const std::size_t length = rest().find(';');
  if (length == std::string_view::npos) fail(begin, "A reference that never ends begins");
  const std::string_view name = rest().substr(0, length);
  skip(length + 1);
  if (name.starts_with('#')) return takeCharacterReference(name.substr(1), begin);
  const auto* const known = std::ranges::find(kEntities, name, &std::pair<std::string_view, char>::first);
  if (known == std::end(kEntities)) fail(begin, "An entity that is not known, \"" + excerpt({begin, at_}) + "\",");
  scratch_ += known->second;
}

void XMLScanner::takeCharacterReference(std::string_view number, const char* begin) {
  const bool isHex = number.starts_with('x');
  if (isHex) number.remove_prefix(1);
  std::uint32_t character = 0;
  const char* const end = number.data() + number.size();
  const auto parsed = std::from_chars(number.data(), end, character, isHex ? 16 : 10);
  // What is no number or too large a one leaves 0.
  if (parsed.ptr != end || !isXMLCharacter(character)) {
    fail(begin, "A reference \"" + excerpt({begin, at_}) + "\" that names no character of XML");
  }
  char bytes[4];
  scratch_.append(bytes, detail::putUTF8(bytes, character));
}

}  // namespace ZtFoundation::codec
