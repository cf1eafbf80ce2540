#include <algorithm>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/String.h>

#include "platform/codec/Codec.h"
#include "platform/codec/Containers.h"
#include "platform/codec/Limits.h"
#include "platform/codec/OpenStepCharacters.h"
#include "platform/codec/TextInput.h"
#include "platform/objects/UTF8.h"

namespace ZtFoundation::codec {

namespace {

struct Failure {
  std::string text;
};

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
// From - to : lie . and / and the digits.
bool isUnquoted(char c) { return isLetter(c) || (c >= '-' && c <= ':') || c == '_' || c == '$'; }
bool isBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool isOctalDigit(char c) { return c >= '0' && c <= '7'; }
bool isContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  const char lower = static_cast<char>(c | 0x20);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// "line 3, column 7", both counted from 1, columns in characters.
std::string positionText(std::string_view text, std::size_t at) {
  std::size_t line = 1;
  std::size_t column = 1;
  for (std::size_t i = 0; i < at; ++i) {
    const bool endsLine = text[i] == '\n' || (text[i] == '\r' && (i + 1 == text.size() || text[i + 1] != '\n'));
    line += endsLine ? 1 : 0;
    column = endsLine ? 1 : column + (isContinuation(text[i]) ? 0 : 1);
  }
  return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

/// What a container holds waits on a stack until its end, as in the reader of XML, so that nesting takes nothing of the
/// thread's own stack.
class OpenStepReader {
 public:
  OpenStepReader(std::string_view text, Mutability mutability) : text_(text), mutability_(mutability) {}

  Ref<NSObject> read();

 private:
  enum class Role { Key, Value };
  enum class Container { Array, Dictionary, DictionaryWithoutBraces };

  // A container that is not complete yet.
  struct Frame {
    Container kind;
    std::size_t base;  // where its contents begin on the stack of its kind
  };

  // --- Characters
  bool isAtEnd() const { return at_ == text_.size(); }
  bool isAt(char c) const { return at_ < text_.size() && text_[at_] == c; }
  bool take(char c);
  bool isAt(std::string_view words) const { return text_.substr(at_).starts_with(words); }
  void skipBlanks();
  void skipLineComment();
  void skipBlockComment();

  // --- Values
  void readRoot();
  void readValue();
  void readEntry();
  Ref<NSObject> readData();
  void place(Ref<NSObject>&& value);

  // --- Containers
  void step();
  void open(Container kind);
  bool isAtEndOf(Container kind) const;
  void readSeparator(Container kind);
  void close();

  // --- Strings
  bool isAtString() const { return !isAtEnd() && (text_[at_] == '"' || text_[at_] == '\'' || isUnquoted(text_[at_])); }
  Ref<NSString> readString(Role role);
  Ref<NSString> readUnquoted();
  Ref<NSString> readQuoted();
  Ref<NSString> readEscaped(std::size_t start);
  void findQuoteOrEscape(std::size_t start, std::size_t from);
  void appendText(std::u16string& units, std::string_view bytes, std::size_t start);
  bool readEscape(std::u16string& units);
  char16_t readOctal();
  char16_t readHexadecimal();

  [[noreturn]] void fail(std::size_t at, const std::string& what) const;
  [[noreturn]] void failExpecting(const std::string& what) const;

  std::string_view text_;
  Mutability mutability_;
  std::size_t at_ = 0;
  std::vector<Frame> frames_;
  std::vector<DictionaryEntry> entries_;
  std::vector<Ref<NSObject>> items_;
  Ref<NSObject> root_;
};

void OpenStepReader::fail(std::size_t at, const std::string& what) const {
  throw Failure{what + " at " + positionText(text_, at) + "."};
}

void OpenStepReader::failExpecting(const std::string& what) const {
  if (isAtEnd()) fail(at_, "Expected " + what + ", but found the end of the text");
  constexpr std::size_t kLongestCharacter = 4;
  const std::size_t most = std::min(text_.size(), at_ + kLongestCharacter);
  std::size_t end = at_ + 1;
  while (end < most && isContinuation(text_[end])) ++end;
  const bool isPrintable = static_cast<unsigned char>(text_[at_]) >= ' ' && text_[at_] != 0x7F;
  fail(at_, "Expected " + what +
                (isPrintable ? ", but found \"" + std::string(text_.substr(at_, end - at_)) + "\""
                             : ", but found a control character"));
}

// --- Characters

bool OpenStepReader::take(char c) {
  if (!isAt(c)) return false;
  ++at_;
  return true;
}

void OpenStepReader::skipBlanks() {
  for (;;) {
    while (!isAtEnd() && isBlank(text_[at_])) ++at_;
    if (isAt("//")) {
      skipLineComment();
    } else if (isAt("/*")) {
      skipBlockComment();
    } else {
      return;
    }
  }
}

void OpenStepReader::skipLineComment() { at_ = std::min(text_.find_first_of("\r\n", at_), text_.size()); }

void OpenStepReader::skipBlockComment() {
  const std::size_t end = text_.find("*/", at_ + 2);
  if (end == text_.npos) fail(at_, "Expected the end of the comment that begins");
  at_ = end + 2;
}

// --- Values

Ref<NSObject> OpenStepReader::read() {
  skipBlanks();
  readRoot();
  while (!frames_.empty()) step();
  skipBlanks();
  if (!isAtEnd()) failExpecting("nothing more after the property list");
  return std::move(root_);
}

// A string that something follows is the first key of a dictionary without braces.
void OpenStepReader::readRoot() {
  if (!isAtString()) return readValue();
  const std::size_t start = at_;
  Ref<NSObject> string = readString(Role::Value);
  skipBlanks();
  if (isAtEnd()) return place(std::move(string));
  at_ = start;
  open(Container::DictionaryWithoutBraces);
}

void OpenStepReader::readValue() {
  if (isAt('{')) return open(Container::Dictionary);
  if (isAt('(')) return open(Container::Array);
  if (isAt('<')) return place(readData());
  if (isAtString()) return place(readString(Role::Value));
  failExpecting("a value");
}

void OpenStepReader::readEntry() {
  if (!isAtString()) failExpecting("a key");
  entries_.push_back({readString(Role::Key), nullptr});
  skipBlanks();
  if (!take('=')) failExpecting("\"=\" after a key");
  skipBlanks();
  readValue();
}

Ref<NSObject> OpenStepReader::readData() {
  const std::size_t start = at_++;
  if (isAt('*')) fail(start, "Typed values such as <*I1> are not understood");
  std::string bytes;
  bool isHalf = false;
  for (; !isAt('>'); ++at_) {
    if (!isAtEnd() && isBlank(text_[at_])) continue;
    const int digit = isAtEnd() ? -1 : hexValue(text_[at_]);
    if (digit < 0) failExpecting("a hexadecimal digit or \">\"");
    if (isHalf) {
      bytes.back() = static_cast<char>(bytes.back() | digit);
    } else {
      bytes.push_back(static_cast<char>(digit << 4));
    }
    isHalf = !isHalf;
  }
  if (isHalf) failExpecting("a second hexadecimal digit for the last byte");
  ++at_;
  return NSData::dataWithString(std::move(bytes));
}

void OpenStepReader::place(Ref<NSObject>&& value) {
  if (frames_.empty()) {
    root_ = std::move(value);
    return;
  }
  const Container kind = frames_.back().kind;
  if (kind == Container::Array) {
    items_.push_back(std::move(value));
  } else {
    entries_.back().value = std::move(value);
  }
  readSeparator(kind);
}

// --- Containers

void OpenStepReader::step() {
  const Container kind = frames_.back().kind;
  skipBlanks();
  if (isAtEndOf(kind)) return close();
  kind == Container::Array ? readValue() : readEntry();
}

void OpenStepReader::open(Container kind) {
  if (frames_.size() == kMaximumNestingDepth) {
    fail(at_, "Containers lie more than " + std::to_string(kMaximumNestingDepth) + " deep inside each other");
  }
  frames_.push_back({kind, kind == Container::Array ? items_.size() : entries_.size()});
  if (kind != Container::DictionaryWithoutBraces) ++at_;
}

bool OpenStepReader::isAtEndOf(Container kind) const {
  if (kind == Container::DictionaryWithoutBraces) return isAtEnd();
  return isAt(kind == Container::Array ? ')' : '}');
}

void OpenStepReader::readSeparator(Container kind) {
  skipBlanks();
  const bool isInArray = kind == Container::Array;
  if (take(isInArray ? ',' : ';') || isAtEndOf(kind)) return;
  failExpecting(isInArray ? "\",\" or \")\" after an element" : "\";\" after a value");
}

void OpenStepReader::close() {
  const auto [kind, base] = frames_.back();
  frames_.pop_back();
  if (kind != Container::DictionaryWithoutBraces) ++at_;
  place(kind == Container::Array ? takeArray(items_, base, mutability_) : takeDictionary(entries_, base, mutability_));
}

// --- Strings

Ref<NSString> OpenStepReader::readString(Role role) {
  Ref<NSString> string = isUnquoted(text_[at_]) ? readUnquoted() : readQuoted();
  if (role == Role::Value && mutability_ == Mutability::ContainersAndLeaves) return string->mutableCopy();
  return string;
}

Ref<NSString> OpenStepReader::readUnquoted() {
  const std::size_t start = at_;
  while (!isAtEnd() && isUnquoted(text_[at_])) ++at_;
  return NSString::stringWithASCII(text_.substr(start, at_ - start));
}

Ref<NSString> OpenStepReader::readQuoted() {
  const std::size_t start = at_;
  findQuoteOrEscape(start, start + 1);
  if (text_[at_] == '\\') return readEscaped(start);
  Ref<NSString> string = NSString::stringWithValidUTF8(text_.substr(start + 1, at_ - start - 1));
  if (!string) fail(start, "Expected a string in UTF-8");
  ++at_;
  return string;
}

/// Goes from the first "\" to the end of the string.
Ref<NSString> OpenStepReader::readEscaped(std::size_t start) {
  std::u16string units;
  std::size_t from = start + 1;
  for (;;) {
    appendText(units, text_.substr(from, at_ - from), start);
    if (text_[at_++] != '\\') break;
    const bool standsForItself = !readEscape(units);
    from = at_;
    findQuoteOrEscape(start, from + (standsForItself ? 1 : 0));
  }
  return NSString::stringWithCharacters_length(units.data(), units.size());
}

/// Goes to the quote that ends the string from `start`, or to a "\" before it.
void OpenStepReader::findQuoteOrEscape(std::size_t start, std::size_t from) {
  const char stops[] = {text_[start], '\\'};
  at_ = text_.find_first_of({stops, sizeof stops}, from);
  if (at_ == text_.npos) fail(start, "Expected the end of the string that begins");
}

void OpenStepReader::appendText(std::u16string& units, std::string_view bytes, std::size_t start) {
  const std::size_t before = units.size();
  units.resize(before + bytes.size());
  const auto length = detail::decodeUTF8(bytes, detail::InvalidBytes::Refuse, units.data() + before);
  if (!length) fail(start, "Expected a string in UTF-8");
  units.resize(before + *length);
}

/// Reads what follows a "\". False, with nothing read, for a character that stands for itself.
bool OpenStepReader::readEscape(std::u16string& units) {
  constexpr std::string_view kLetters = "abfnrtv";
  constexpr std::u16string_view kMeanings = u"\a\b\f\n\r\t\v";
  if (isAtEnd()) return false;
  const char c = text_[at_];
  if (isOctalDigit(c)) {
    units += readOctal();
  } else if (c == 'U' || c == 'u') {
    units += readHexadecimal();
  } else if (const std::size_t letter = kLetters.find(c); letter != kLetters.npos) {
    units += kMeanings[letter];
    ++at_;
  } else {
    return false;
  }
  return true;
}

/// One to three digits.
char16_t OpenStepReader::readOctal() {
  const std::size_t start = at_;
  unsigned code = 0;
  for (; at_ < start + 3 && !isAtEnd() && isOctalDigit(text_[at_]); ++at_) {
    code = code * 8 + static_cast<unsigned>(text_[at_] - '0');
  }
  if (code > 0xFF) fail(start, "Expected an octal number up to 377");
  return characterOfOpenStepCode(static_cast<unsigned char>(code));
}

/// Four digits after a letter.
char16_t OpenStepReader::readHexadecimal() {
  unsigned unit = 0;
  ++at_;
  for (int digits = 0; digits < 4; ++digits, ++at_) {
    const int value = isAtEnd() ? -1 : hexValue(text_[at_]);
    if (value < 0) failExpecting("four hexadecimal digits");
    unit = unit << 4 | static_cast<unsigned>(value);
  }
  return static_cast<char16_t>(unit);
}

}  // namespace

Ref<NSObject> readOpenStep(std::string_view bytes, Mutability mutability, CodecError& error) {
  TextInput input;
  if (!readUnicodeText(bytes, input, error)) return nullptr;
  try {
    return OpenStepReader(input.text, mutability).read();
  } catch (const Failure& failure) {
    error.text = failure.text;
    return nullptr;
  }
}

}  // namespace ZtFoundation::codec
