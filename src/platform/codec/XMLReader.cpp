#include <algorithm>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/String.h>

#include "platform/codec/Base64.h"
#include "platform/codec/Codec.h"
#include "platform/codec/Containers.h"
#include "platform/codec/DateText.h"
#include "platform/codec/Limits.h"
#include "platform/codec/TextInput.h"
#include "platform/codec/XMLKeys.h"
#include "platform/codec/XMLNumbers.h"
#include "platform/codec/XMLScanner.h"

namespace ZtFoundation::codec {

namespace {

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isXMLSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isXMLSpace(text.back())) text.remove_suffix(1);
  return text;
}

// Builds the value while tags come in. What a container holds waits on a stack until its end tag; a key waits there for
// its value.
class XMLReader {
 public:
  XMLReader(std::string_view text, Mutability mutability) : scanner_(text), mutability_(mutability) {}

  Ref<NSObject> readDocument();

 private:
  // A container that is not complete yet.
  struct Frame {
    XMLTag tag;
    std::size_t base;  // where its contents begin on the stack of its kind
  };

  void readValue(const XMLTag& tag);
  void readEntry();
  void readElement();
  void open(const XMLTag& tag);
  void close();
  void place(Ref<NSObject>&& value);
  void readKey(const XMLTag& tag);
  const XMLKey& keyFor(const XMLTag& tag);

  Ref<NSString> readString(const XMLTag& tag);
  Ref<NSString> stringFrom(const XMLText& text);
  Ref<NSObject> readInteger(const XMLTag& tag);
  Ref<NSObject> readReal(const XMLTag& tag);
  Ref<NSObject> readBoolean(const XMLTag& tag);
  Ref<NSObject> readDate(const XMLTag& tag);
  Ref<NSObject> readData(const XMLTag& tag);
  Ref<NSObject> takeOpenDictionary(std::size_t base);
  [[noreturn]] void refuse(const XMLTag& tag, std::string_view text, const char* why);

  XMLScanner scanner_;
  Mutability mutability_;
  XMLKeys keys_;
  std::vector<Frame> frames_;
  std::vector<DictionaryEntry> entries_;
  std::vector<std::uint32_t> hashes_;
  std::vector<Ref<NSObject>> items_;
  std::string bytes_;
  Ref<NSObject> root_;
};

Ref<NSObject> XMLReader::readDocument() {
  XMLTag tag = scanner_.nextTag();
  if (tag.form == TagForm::EndOfText) scanner_.fail(tag.at, "A property list was expected, but the text ends");
  const bool isWrapped = tag.isStart(XMLElement::PropertyList);
  if (isWrapped) tag = scanner_.nextTag();
  readValue(tag);
  while (!frames_.empty()) frames_.back().tag.element == XMLElement::Dictionary ? readEntry() : readElement();

  tag = scanner_.nextTag();
  if (isWrapped) {
    if (!tag.isEnd(XMLElement::PropertyList)) scanner_.fail(tag.at, "</plist> was expected after the one value");
    tag = scanner_.nextTag();
  }
  if (tag.form != TagForm::EndOfText) scanner_.fail(tag.at, "The end of the text was expected, but another tag found");
  return std::move(root_);
}

// --- Containers

void XMLReader::readEntry() {
  const XMLTag tag = scanner_.nextTag();
  if (tag.isEnd(XMLElement::Dictionary)) return close();
  if (tag.element != XMLElement::Key || tag.form == TagForm::End) {
    scanner_.fail(tag.at, "<key> or </dict> was expected");
  }
  readKey(tag);
  readValue(scanner_.nextTag());
}

void XMLReader::readElement() {
  const XMLTag tag = scanner_.nextTag();
  if (tag.isEnd(XMLElement::Array)) return close();
  readValue(tag);
}

void XMLReader::readValue(const XMLTag& tag) {
  if (tag.form == TagForm::End || tag.form == TagForm::EndOfText) scanner_.fail(tag.at, "A value was expected");
  switch (tag.element) {
    case XMLElement::String:
      return place(readString(tag));
    case XMLElement::Integer:
      return place(readInteger(tag));
    case XMLElement::Real:
      return place(readReal(tag));
    case XMLElement::True:
    case XMLElement::False:
      return place(readBoolean(tag));
    case XMLElement::Date:
      return place(readDate(tag));
    case XMLElement::Data:
      return place(readData(tag));
    case XMLElement::Dictionary:
    case XMLElement::Array:
      return open(tag);
    default:
      scanner_.fail(tag.at, "A value was expected, but <" + std::string(nameOf(tag.element)) + "> found");
  }
}

void XMLReader::open(const XMLTag& tag) {
  if (frames_.size() == kMaximumNestingDepth) {
    scanner_.fail(tag.at, "Containers nested deeper than " + std::to_string(kMaximumNestingDepth) + " levels");
  }
  const bool isDictionary = tag.element == XMLElement::Dictionary;
  frames_.push_back({tag, isDictionary ? entries_.size() : items_.size()});
  if (tag.form == TagForm::Empty) close();
}

void XMLReader::close() {
  const Frame frame = frames_.back();
  frames_.pop_back();
  place(frame.tag.element == XMLElement::Dictionary ? takeOpenDictionary(frame.base)
                                                    : takeArray(items_, frame.base, mutability_));
}

void XMLReader::place(Ref<NSObject>&& value) {
  if (frames_.empty()) {
    root_ = std::move(value);
  } else if (frames_.back().tag.element == XMLElement::Dictionary) {
    entries_.back().value = std::move(value);
  } else {
    items_.push_back(std::move(value));
  }
}

Ref<NSObject> XMLReader::takeOpenDictionary(std::size_t base) {
  Ref<NSObject> result = takeDictionary(entries_, base, mutability_, std::span(hashes_).subspan(base));
  hashes_.resize(base);
  return result;
}

// --- Keys and values

void XMLReader::readKey(const XMLTag& tag) {
  const XMLKey& key = keyFor(tag);
  entries_.push_back({key.string, nullptr});
  hashes_.push_back(key.hash);
}

const XMLKey& XMLReader::keyFor(const XMLTag& tag) {
  if (tag.form == TagForm::Start) {
    if (const XMLKey* guessed = keys_.guess(scanner_.rest())) {
      scanner_.skip(guessed->text.size() + kKeyEndTagLength);
      return *guessed;
    }
  }
  const XMLText text = scanner_.text(tag, kKeyEndTag);
  if (const XMLKey* known = keys_.find(text.text)) return *known;
  return keys_.add(text.text, scanner_.owns(text.text), stringFrom(text));
}

Ref<NSString> XMLReader::readString(const XMLTag& tag) {
  Ref<NSString> string = stringFrom(scanner_.text(tag, "</string>"));
  if (mutability_ != Mutability::ContainersAndLeaves) return string;
  return NSMutableString::stringWithString(string);
}

Ref<NSString> XMLReader::stringFrom(const XMLText& text) {
  if (text.text.empty()) return NSString::string();
  if (text.isASCII) return NSString::stringWithASCII(text.text);
  Ref<NSString> string = NSString::stringWithValidUTF8(text.text);
  // Resolved text was checked when it was resolved; all characters of UTF-8 that XML refuses begin with the one byte.
  const bool isSuspect = !string || text.text.find('\xEF') != std::string_view::npos;
  if (isSuspect && scanner_.owns(text.text)) scanner_.requireCharacters(text.text.data());
  return string;
}

Ref<NSObject> XMLReader::readInteger(const XMLTag& tag) {
  const std::string_view text = trimmed(scanner_.text(tag, "</integer>").text);
  NumberFault fault = NumberFault::None;
  Ref<NSObject> number = integerFromText(text, fault);
  if (fault == NumberFault::OutOfRange) refuse(tag, text, "is an integer outside of -2^63 to 2^64-1");
  if (!number) refuse(tag, text, "is no integer");
  return number;
}

Ref<NSObject> XMLReader::readReal(const XMLTag& tag) {
  const std::string_view text = trimmed(scanner_.text(tag, "</real>").text);
  NumberFault fault = NumberFault::None;
  const std::optional<double> number = realFromText(text, fault);
  if (fault == NumberFault::OutOfRange) refuse(tag, text, "is a number too large for a double");
  if (!number) refuse(tag, text, "is no number");
  return *number;
}

Ref<NSObject> XMLReader::readBoolean(const XMLTag& tag) {
  if (tag.form == TagForm::Start) {
    const XMLTag end = scanner_.nextTag();
    if (!end.isEnd(tag.element)) {
      scanner_.fail(end.at, "</" + std::string(nameOf(tag.element)) + "> was expected");
    }
  }
  return tag.element == XMLElement::True;
}

Ref<NSObject> XMLReader::readDate(const XMLTag& tag) {
  const std::string_view text = trimmed(scanner_.text(tag, "</date>").text);
  const std::optional<NSTimeInterval> seconds = dateFromText(text);
  if (!seconds) refuse(tag, text, "is no date of the form YYYY-MM-DDTHH:MM:SSZ");
  return NSDate::dateWithTimeIntervalSinceReferenceDate(*seconds);
}

Ref<NSObject> XMLReader::readData(const XMLTag& tag) {
  const std::string_view text = scanner_.text(tag, "</data>").text;
  if (!decodeBase64(text, bytes_)) refuse(tag, trimmed(text), "is no Base64 text");
  return NSData::dataWithBytes(bytes_);
}

void XMLReader::refuse(const XMLTag& tag, std::string_view text, const char* why) {
  scanner_.fail(tag.at, "\"" + excerpt(text) + "\" " + why);
}

}  // namespace

Ref<NSObject> readXML(std::string_view bytes, Mutability mutability, CodecError& error) {
  TextInput input;
  if (!readXMLText(bytes, input, error)) return nullptr;
  try {
    return XMLReader(input.text, mutability).readDocument();
  } catch (XMLFault& fault) {
    error.text = std::move(fault.text);
    return nullptr;
  }
}

}  // namespace ZtFoundation::codec
