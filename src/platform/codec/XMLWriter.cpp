#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/String.h>

#include "platform/codec/Base64.h"
#include "platform/codec/Codec.h"
#include "platform/codec/DateText.h"
#include "platform/codec/KeyPath.h"
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

// The longest scalar with its tags and the end of the line.
constexpr std::size_t kLongestLine = std::max(kLongestNumberText, kLongestDateText) + 2 * sizeof "</integer>";
constexpr std::string_view kTabs = "\t\t\t\t\t\t\t\t";

// Text is written in pieces, so that room for the worst case need not be asked for all at once.
constexpr NSUInteger kUnitsAtOnce = 4096;
constexpr std::size_t kBytesPerUnit = 5;  // a carriage return as a reference

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

constexpr bool standsForItself(char c) { return c >= ' ' && c <= '~' && c != '<' && c != '>' && c != '&'; }

std::string nameOf(char32_t character) {
  char name[16];
  std::snprintf(name, sizeof name, "U+%04X", static_cast<unsigned>(character));
  return name;
}

template <std::size_t Size>
char* put(char* at, const char (&literal)[Size]) {
  std::memcpy(at, literal, Size - 1);
  return at + Size - 1;
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
  template <std::size_t Size>
  void close(const char (&endTag)[Size]);
  void moveOn();

  void writeValue(const NSObject& value);
  void writeKey(const NSObject& key);
  void writeString(const NSString& string);
  void writeNumber(const NSNumber& number);
  template <class Integer>
  void writeInteger(Integer value);
  void writeReal(double value);
  void writeDate(const NSDate& date);
  void writeData(const NSData& data);

  char* beginLine(std::size_t length);
  template <std::size_t Size>
  void writeLine(const char (&line)[Size]);
  template <std::size_t Size>
  void writeScalar(const char (&line)[Size]);
  void endScalar(const char* end);

  void writeText(const NSString& text);
  NSUInteger writeNarrow(UnitView units, NSUInteger begin, NSUInteger end, char* at);
  NSUInteger writeWide(UnitView units, NSUInteger begin, NSUInteger end, char* at);
  char* putCharacter(char* at, char32_t character) const;
  [[noreturn]] void refuse(char32_t character) const;

  static std::string stepAt(const Frame& frame);  // the key or index of its value at hand
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

template <std::size_t Size>
void XMLWriter::close(const char (&endTag)[Size]) {
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

// Writes the indentation and answers where to write the line, which is at most `length` bytes.
char* XMLWriter::beginLine(std::size_t length) {
  const std::size_t depth = frames_.size();
  char* const at = out_.room(std::max(depth, kTabs.size()) + length);
  // Writing more tabs than wanted, always the same number, costs less than counting them.
  std::memcpy(at, kTabs.data(), kTabs.size());
  if (depth > kTabs.size()) std::fill_n(at, depth, '\t');
  return at + depth;
}

template <std::size_t Size>
void XMLWriter::writeLine(const char (&line)[Size]) {
  out_.advance(put(beginLine(Size), line));
}

template <std::size_t Size>
void XMLWriter::writeScalar(const char (&line)[Size]) {
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
  switch (number.type()) {
    case NumberType::Boolean:
      return number.boolValue() ? writeScalar("<true/>\n") : writeScalar("<false/>\n");
    case NumberType::Signed:
      return writeInteger(number.longLongValue());
    case NumberType::Unsigned:
      return writeInteger(number.unsignedLongLongValue());
    default:
      return writeReal(number.doubleValue());
  }
}

template <class Integer>
void XMLWriter::writeInteger(Integer value) {
  char* at = put(beginLine(kLongestLine), "<integer>");
  at = std::to_chars(at, at + kLongestNumberText, value).ptr;
  endScalar(put(at, "</integer>\n"));
}

void XMLWriter::writeReal(double value) {
  char* const at = codec::writeReal(value, put(beginLine(kLongestLine), "<real>"));
  endScalar(put(at, "</real>\n"));
}

void XMLWriter::writeDate(const NSDate& date) {
  char* const at = writeDateText(date.timeIntervalSinceReferenceDate(), put(beginLine(kLongestLine), "<date>"));
  if (at == nullptr) fail("A date that is no finite number of seconds or has no calendar");
  endScalar(put(at, "</date>\n"));
}

void XMLWriter::endScalar(const char* end) {
  out_.advance(end);
  moveOn();
}

void XMLWriter::writeData(const NSData& data) {
  writeLine("<data>\n");
  for (std::string_view bytes = data.view(); !bytes.empty();
       bytes.remove_prefix(std::min(kBytesInLine, bytes.size()))) {
    char* const at = encodeBase64(bytes.substr(0, kBytesInLine), beginLine(base64Length(kBytesInLine) + 1));
    out_.advance(put(at, "\n"));
  }
  writeScalar("</data>\n");
}

// --- Text

void XMLWriter::writeText(const NSString& text) {
  const UnitView units = text.units();
  for (NSUInteger index = 0; index < units.size();) {
    const NSUInteger length = std::min(units.size() - index, kUnitsAtOnce);
    char* const at = out_.room(length * kBytesPerUnit + ByteBlock::kSize);
    index =
        units.isWide() ? writeWide(units, index, index + length, at) : writeNarrow(units, index, index + length, at);
  }
}

// Units of one byte are the characters U+0000 to U+00FF, and most of them stand for themselves.
NSUInteger XMLWriter::writeNarrow(UnitView units, NSUInteger begin, NSUInteger end, char* at) {
  const char* const bytes = units.narrow().data();
  for (NSUInteger index = begin; index < end;) {
    if (end - index >= ByteBlock::kSize) {
      const ByteBlock block(bytes + index);
      const std::size_t plain = std::min(block.findControlOr<'<', '>', '&'>(), block.lengthOfASCII());
      std::memcpy(at, bytes + index, ByteBlock::kSize);
      at += plain;
      index += plain;
      if (plain == ByteBlock::kSize) continue;
    }
    const char byte = bytes[index++];
    if (standsForItself(byte)) {
      *at++ = byte;
    } else {
      at = putCharacter(at, static_cast<unsigned char>(byte));
    }
  }
  out_.advance(at);
  return end;
}

// A pair of surrogates is not torn, so the end may be one unit further than asked for.
NSUInteger XMLWriter::writeWide(UnitView units, NSUInteger begin, NSUInteger end, char* at) {
  NSUInteger index = begin;
  while (index < end) {
    const char32_t character = detail::codePointAt(units, index);
    at = putCharacter(at, character);
    index += detail::unitsOf(character);
  }
  out_.advance(at);
  return index;
}

char* XMLWriter::putCharacter(char* at, char32_t character) const {
  if (const std::string_view escape = escapeOf(character); !escape.empty()) return std::ranges::copy(escape, at).out;
  if (!isXMLCharacter(character)) refuse(character);
  return detail::putUTF8(at, character);
}

void XMLWriter::refuse(char32_t character) const {
  const char* const kind = detail::isSurrogate(character) ? "unpaired surrogate " : "character ";
  fail("XML cannot hold the " + std::string(kind) + nameOf(character) + " of the text");
}

// --- Failures

void XMLWriter::fail(const std::string& what) const {
  throw WriteFault{failureAt(what, frames_.size(), [this](std::size_t level) { return stepAt(frames_[level]); })};
}

std::string XMLWriter::stepAt(const Frame& frame) {
  if (frame.isArray()) return std::to_string(frame.item - frame.array().begin());
  return detail::describe(frame.entry->key.get())->utf8();
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
