#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/String.h>

#include "platform/codec/Base64.h"
#include "platform/codec/Codec.h"
#include "platform/codec/DateText.h"
#include "platform/codec/Limits.h"
#include "platform/codec/TextOutput.h"
#include "platform/codec/XMLCharacters.h"
#include "platform/codec/XMLNumbers.h"
#include "platform/objects/UTF8.h"

namespace ZtFoundation::codec {

namespace {

constexpr std::string_view kPrologue =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";
constexpr std::string_view kEpilogue = "</plist>\n";

// A line of Base64 text is 68 digits long.
constexpr std::size_t kBytesInLine = 51;

struct WriteFault {
  std::string text;
};

// What a character that cannot stand for itself is written as; empty when XML cannot carry it.
constexpr std::string_view escapeOf(char32_t character) {
  switch (character) {
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '&':
      return "&amp;";
    case '\r':
      return "&#13;";  // a reader would take a bare one for the end of a line
    default:
      return {};
  }
}

std::string nameOf(char32_t character) {
  char name[16];
  std::snprintf(name, sizeof name, "U+%04X", static_cast<unsigned>(character));
  return name;
}

template <class Integer>
char* integerEnd(char* text, Integer value) {
  return std::to_chars(text, text + kLongestNumberText, value).ptr;
}

class XMLWriter {
 public:
  Ref<NSData> write(const NSObject& value);

 private:
  // A container that is being written, and the place in it.
  struct Frame {
    const NSObject* container;
    const Ref<NSObject>* item;  // of an array
    NSDictionary::Iterator entry;

    bool isArray() const { return container->kind() == ObjectKind::Array; }
    const NSArray& array() const { return static_cast<const NSArray&>(*container); }
    const NSDictionary& dictionary() const { return static_cast<const NSDictionary&>(*container); }
  };

  void step();
  void stepArray(const Frame& frame);
  void stepDictionary(const Frame& frame);
  void openArray(const NSArray& array);
  void openDictionary(const NSDictionary& dictionary);
  void requireRoom() const;
  void close(std::string_view endTag);
  void moveOn();

  void writeValue(const NSObject& value);
  void writeKey(const NSObject& key);
  void writeString(const NSString& string);
  void writeNumber(const NSNumber& number);
  void writeDate(const NSDate& date);
  void writeData(const NSData& data);
  void writeLine(std::string_view line);
  void writeScalar(std::string_view line);
  void writeTagged(std::string_view element, std::string_view text);

  void writeText(const NSString& text);
  void writeNarrow(std::string_view units);
  void writeLatin(std::string_view units);
  void writeWide(UnitView units);
  void writeEscaped(char32_t character);

  std::string path() const;
  [[noreturn]] void fail(const std::string& what) const;

  TextOutput out_;
  std::vector<Frame> frames_;
};

Ref<NSData> XMLWriter::write(const NSObject& value) {
  out_.append(kPrologue);
  writeValue(value);
  while (!frames_.empty()) step();
  out_.append(kEpilogue);
  return out_.takeData();
}

// --- Containers

void XMLWriter::step() {
  const Frame& frame = frames_.back();
  frame.isArray() ? stepArray(frame) : stepDictionary(frame);
}

void XMLWriter::stepArray(const Frame& frame) {
  if (frame.item == frame.array().end()) return close("</array>\n");
  writeValue(**frame.item);
}

void XMLWriter::stepDictionary(const Frame& frame) {
  if (frame.entry == frame.dictionary().end()) return close("</dict>\n");
  writeKey(*frame.entry->key);
  writeValue(*frame.entry->value);
}

void XMLWriter::openArray(const NSArray& array) {
  requireRoom();
  if (array.count() == 0) return writeScalar("<array/>\n");
  writeLine("<array>\n");
  frames_.push_back({&array, array.begin(), {}});
}

void XMLWriter::openDictionary(const NSDictionary& dictionary) {
  requireRoom();
  if (dictionary.count() == 0) return writeScalar("<dict/>\n");
  writeLine("<dict>\n");
  frames_.push_back({&dictionary, nullptr, dictionary.begin()});
}

// An empty container counts as one, as it does for the reader.
void XMLWriter::requireRoom() const {
  if (frames_.size() == kMaximumNestingDepth) {
    fail("Containers lie more than " + std::to_string(kMaximumNestingDepth) + " deep inside each other");
  }
}

void XMLWriter::close(std::string_view endTag) {
  frames_.pop_back();
  writeScalar(endTag);
}

// The place in a container moves on only after its value was written, so that it tells where the value at hand is.
void XMLWriter::moveOn() {
  if (frames_.empty()) return;
  Frame& frame = frames_.back();
  if (frame.isArray()) {
    ++frame.item;
  } else {
    ++frame.entry;
  }
}

// --- Values

void XMLWriter::writeValue(const NSObject& value) {
  switch (value.kind()) {
    case ObjectKind::String:
      return writeString(static_cast<const NSString&>(value));
    case ObjectKind::Number:
      return writeNumber(static_cast<const NSNumber&>(value));
    case ObjectKind::Date:
      return writeDate(static_cast<const NSDate&>(value));
    case ObjectKind::Data:
      return writeData(static_cast<const NSData&>(value));
    case ObjectKind::Array:
      return openArray(static_cast<const NSArray&>(value));
    case ObjectKind::Dictionary:
      return openDictionary(static_cast<const NSDictionary&>(value));
    case ObjectKind::Set:
      fail("A set is no property-list value");
    case ObjectKind::URL:
      fail("A URL is no property-list value");
    default:
      fail("An object of this class is no property-list value");
  }
}

void XMLWriter::writeLine(std::string_view line) {
  char* at = out_.room(frames_.size() + line.size());
  at = std::fill_n(at, frames_.size(), '\t');
  out_.advance(std::ranges::copy(line, at).out);
}

void XMLWriter::writeScalar(std::string_view line) {
  writeLine(line);
  moveOn();
}

void XMLWriter::writeKey(const NSObject& key) {
  if (key.kind() != ObjectKind::String) fail("A dictionary key that is no string");
  writeLine("<key>");
  writeText(static_cast<const NSString&>(key));
  out_.append("</key>\n");
}

void XMLWriter::writeString(const NSString& string) {
  writeLine("<string>");
  writeText(string);
  out_.append("</string>\n");
  moveOn();
}

void XMLWriter::writeNumber(const NSNumber& number) {
  char text[kLongestNumberText];
  switch (number.type()) {
    case NumberType::Boolean:
      return writeScalar(number.boolValue() ? "<true/>\n" : "<false/>\n");
    case NumberType::Signed:
      return writeTagged("integer", {text, integerEnd(text, number.longLongValue())});
    case NumberType::Unsigned:
      return writeTagged("integer", {text, integerEnd(text, number.unsignedLongLongValue())});
    default:
      return writeTagged("real", {text, writeReal(number.doubleValue(), text)});
  }
}

void XMLWriter::writeDate(const NSDate& date) {
  char text[kLongestDateText];
  const char* const end = writeDateText(date.timeIntervalSinceReferenceDate(), text);
  if (end == nullptr) fail("A date that is no finite number of seconds or has no calendar");
  writeTagged("date", {text, end});
}

void XMLWriter::writeTagged(std::string_view element, std::string_view text) {
  char* at = out_.room(frames_.size() + text.size() + 2 * element.size() + 6);
  const auto put = [&at](std::string_view part) { at = std::ranges::copy(part, at).out; };
  at = std::fill_n(at, frames_.size(), '\t');
  put("<");
  put(element);
  put(">");
  put(text);
  put("</");
  put(element);
  put(">\n");
  out_.advance(at);
  moveOn();
}

void XMLWriter::writeData(const NSData& data) {
  writeLine("<data>\n");
  for (std::string_view bytes = data.view(); !bytes.empty();
       bytes.remove_prefix(std::min(kBytesInLine, bytes.size()))) {
    const std::string_view line = bytes.substr(0, kBytesInLine);
    char* const at = out_.room(frames_.size() + base64Length(line.size()) + 1);
    char* end = encodeBase64(line, std::fill_n(at, frames_.size(), '\t'));
    *end++ = '\n';
    out_.advance(end);
  }
  writeScalar("</data>\n");
}

// --- Text

void XMLWriter::writeText(const NSString& text) {
  const UnitView units = text.units();
  units.isWide() ? writeWide(units) : writeNarrow(units.narrow());
}

// Units of one byte are the characters U+0000 to U+00FF.
void XMLWriter::writeNarrow(std::string_view units) {
  const char* at = units.data();
  const char* const end = at + units.size();
  for (;;) {
    const TextRun run = scanText<'<', '>', '&'>(at, end);
    const std::string_view plain(at, run.end);
    run.isASCII ? out_.append(plain) : writeLatin(plain);
    if (run.end == end) return;
    writeEscaped(static_cast<unsigned char>(*run.end));
    at = run.end + 1;
  }
}

void XMLWriter::writeLatin(std::string_view units) {
  char* at = out_.room(2 * units.size());
  for (const char unit : units) at = detail::putUTF8(at, static_cast<unsigned char>(unit));
  out_.advance(at);
}

void XMLWriter::writeWide(UnitView units) {
  for (NSUInteger index = 0; index < units.size();) {
    const char32_t character = detail::codePointAt(units, index);
    index += detail::unitsOf(character);
    if (isXMLCharacter(character) && escapeOf(character).empty()) {
      out_.advance(detail::putUTF8(out_.room(4), character));
    } else {
      writeEscaped(character);
    }
  }
}

void XMLWriter::writeEscaped(char32_t character) {
  const std::string_view escape = escapeOf(character);
  if (!escape.empty()) return out_.append(escape);
  const char* const kind = detail::isSurrogate(character) ? "unpaired surrogate " : "character ";
  fail("XML cannot hold the " + std::string(kind) + nameOf(character) + " of the text");
}

// --- Failures

void XMLWriter::fail(const std::string& what) const {
  const std::string where = path();
  throw WriteFault{what + (where.empty() ? "." : " at " + where + ".")};
}

// The keys and indexes that lead to the value at hand, such as "/Tracks/12/Name".
std::string XMLWriter::path() const {
  constexpr std::size_t kLongest = 16;
  std::string text;
  for (std::size_t depth = 0; depth < std::min(frames_.size(), kLongest); ++depth) {
    const Frame& frame = frames_[depth];
    text += '/';
    text +=
        frame.isArray() ? std::to_string(frame.item - frame.array().begin()) : frame.entry->key->description()->utf8();
  }
  return frames_.size() > kLongest ? text + "/..." : text;
}

}  // namespace

Ref<NSData> writeXML(const NSObject* value, CodecError& error) {
  if (value == nullptr) {
    error.text = "There is no value to write.";
    return nullptr;
  }
  try {
    return XMLWriter().write(*value);
  } catch (WriteFault& fault) {
    error.text = std::move(fault.text);
    return nullptr;
  }
}

}  // namespace ZtFoundation::codec
