/// \file INIReference.h
/// Reading INI text slowly, step by step over UTF-16 units; what the reader of the library answers must be the same.
#pragma once

#include <ZtFoundation/PropertyLists.h>

#include <sstream>
#include <string>

namespace ZtFoundation::test {

class INIReference {
 public:
  INIReference(const Ref<NSData>& data, int option) : option_(option), text_(decode(data)) {}

  Ref<NSDictionary> read() {
    NSUInteger position = 0;
    while (position < text_->length()) {
      NSUInteger start = 0;
      NSUInteger end = 0;
      NSUInteger contentsEnd = 0;
      text_->getLineStart_end_contentsEnd_forRange(&start, &end, &contentsEnd, {position, 1});
      if (start < contentsEnd) readLine(text_->substringWithRange({start, contentsEnd - start}));
      position = end + 1;
    }
    storeSection();
    return option_ == 0 ? Ref<NSDictionary>(file_->copy()) : Ref<NSDictionary>(file_);
  }

 private:
  static Ref<NSString> decode(const Ref<NSData>& data) {
    const Ref<NSString> text = NSString::stringWithData_encoding(data, NSUTF8StringEncoding);
    return text ? text : NSString::string();
  }

  void readLine(const Ref<NSString>& line) {
    const NSUInteger length = line->length();
    if (line->characterAtIndex(0) == u';' || length < 3) return;
    if (line->characterAtIndex(0) == u'[' && line->characterAtIndex(length - 1) == u']') {
      storeSection();
      name_ = line->substringWithRange({1, length - 2});
      section_ = NSMutableDictionary::dictionary();
      return;
    }
    NSUInteger equals = 0;
    while (equals < length && line->characterAtIndex(equals) != u'=') ++equals;
    if (equals == length || !section_) return;
    Ref<NSString> value = line->substringFromIndex(equals + 1);
    if (option_ == 2) value = value->mutableCopy();
    section_->setObject_forKey(value, line->substringToIndex(equals));
  }

  void storeSection() {
    if (!name_ || !section_) return;
    file_->setObject_forKey(option_ == 0 ? Ref<NSObject>(section_->copy()) : Ref<NSObject>(section_), name_);
  }

  int option_;
  Ref<NSString> text_;
  Ref<NSMutableDictionary> file_ = NSMutableDictionary::dictionary();
  Ref<NSString> name_;
  Ref<NSMutableDictionary> section_;
};

/// Everything that there is to see of what was read: order, text with its length, and which objects are mutable ("*").
inline std::string outlineOf(const Ref<NSObject>& object) {
  std::ostringstream out;
  if (!object) return "none";
  if (object->isMutable()) out << '*';
  if (const Ref<NSDictionary> dictionary = as<NSDictionary>(object)) {
    out << '{';
    for (const auto& [key, value] : *dictionary) out << outlineOf(key) << ':' << outlineOf(value) << ' ';
    out << '}';
  } else if (const Ref<NSString> string = as<NSString>(object)) {
    out << string->length() << '"' << string->utf8() << '"';
  } else {
    out << object;
  }
  return out.str();
}

}  // namespace ZtFoundation::test
