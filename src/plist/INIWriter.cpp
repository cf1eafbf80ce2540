#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/Utilities.h>

#include <string>
#include <utility>

namespace ZtFoundation {

namespace {

class INIText {
 public:
  // False when the text cannot be encoded, or the section is none.
  bool appendSection(const DictionaryEntry& section) {
    const NSDictionary* entries = as<NSDictionary>(section.value.get());
    if (entries == nullptr) return false;
    bytes_ += '[';
    append(*section.key);
    bytes_ += "]\n";
    for (const DictionaryEntry& entry : *entries) appendEntry(entry);
    bytes_ += '\n';
    return isEncodable_;
  }

  std::string&& take() { return std::move(bytes_); }

 private:
  void appendEntry(const DictionaryEntry& entry) {
    append(*entry.key);
    bytes_ += '=';
    const char* const quote = isQuoted(*entry.value) ? "\"" : "";
    bytes_ += quote;
    append(*entry.value);
    bytes_ += quote;
    bytes_ += '\n';
  }

  static bool isQuoted(const NSObject& value) {
    const NSString* text = as<NSString>(&value);
    return text == nullptr || containsSpace(*text);
  }

  static bool containsSpace(const NSString& text) {
    if (text.isASCII()) return text.units().narrow().find(' ') != std::string_view::npos;
    return QvFoundationExtensions::containsString(Ref<NSString>(const_cast<NSString*>(&text)), " ");
  }

  void append(const NSObject& object) {
    if (const NSString* text = as<NSString>(&object)) return appendText(*text);
    appendText(*detail::describe(&object));
  }

  void appendText(const NSString& text) {
    if (text.isASCII()) {
      bytes_ += text.units().narrow();
    } else if (const auto utf8 = text.strictUTF8()) {
      bytes_ += *utf8;
    } else {
      isEncodable_ = false;
    }
  }

  std::string bytes_;
  bool isEncodable_ = true;
};

// Keeps the file alive, whatever the descriptions of the host's keys do.
Ref<NSData> writeINI(Ref<NSDictionary> file) {
  if (!file) return nullptr;
  INIText text;
  for (const DictionaryEntry& section : *file) {
    if (!text.appendSection(section)) return nullptr;
  }
  return NSData::dataWithString(text.take());
}

}  // namespace

Ref<NSData> QvPropertyListSerialization::write(Class receiver, const Ref<NSObject>& propertyList,
                                               QvPropertyListFormat format, Ref<NSString>* errorDescription) {
  if (format != QvPropertyListINIFormat) {
    return NSPropertyListSerialization::dataFromPropertyList_format_errorDescription(
        propertyList, static_cast<NSUInteger>(format), errorDescription);
  }
  const bool isValid = propertyList_isValidForFormat(receiver, propertyList, format);
  return isValid ? writeINI(as<NSDictionary>(propertyList)) : nullptr;
}

Ref<NSData> QvPropertyListSerialization::dataFromTested(ValidityTest test, Class receiver,
                                                        const Ref<NSObject>& propertyList, QvPropertyListFormat format,
                                                        Ref<NSString>* errorDescription) {
  if (format != QvPropertyListINIFormat || test == nullptr) {
    return dataFromPropertyList_format_errorDescription(receiver, propertyList, format, errorDescription);
  }
  return test(propertyList, format) ? writeINI(as<NSDictionary>(propertyList)) : nullptr;
}

}  // namespace ZtFoundation
