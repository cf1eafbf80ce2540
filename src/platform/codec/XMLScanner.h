/// \file XMLScanner.h
/// Splits the text of an XML property list into tags and texts, and knows where in the text each lies.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/codec/XMLCharacters.h"

namespace ZtFoundation::codec {

/// Thrown where reading cannot go on, with a text that ends with line and column.
struct XMLFault {
  std::string text;
};

enum class XMLElement : std::uint8_t {
  PropertyList,
  Dictionary,
  Array,
  Key,
  String,
  Integer,
  Real,
  True,
  False,
  Date,
  Data
};
std::string_view nameOf(XMLElement element);

/// The beginning of `text`, as an error text shows it.
std::string excerpt(std::string_view text);

enum class TagForm : std::uint8_t { Start, End, Empty, EndOfText };

struct XMLTag {
  XMLElement element;
  TagForm form;
  const char* at;  ///< where it begins

  bool isStart(XMLElement wanted) const { return form == TagForm::Start && element == wanted; }
  bool isEnd(XMLElement wanted) const { return form == TagForm::End && element == wanted; }
};

/// The text of an element, with references resolved and markup dropped. It is not known to be valid UTF-8 unless it is
/// ASCII.
struct XMLText {
  std::string_view text;
  bool isASCII = true;
};

class XMLScanner {
 public:
  /// The text must outlive the scanner and everything it answers.
  explicit XMLScanner(std::string_view text) : text_(text), at_(text.data()), end_(text.data() + text.size()) {}

  /// The next tag. White space, comments, processing instructions and, before the first tag, a document type without
  /// entities are skipped; anything else that lies before it is a fault.
  XMLTag nextTag();

  /// The text from here to `endTag`, which ends the element that `tag` began; valid until the next call.
  template <std::size_t Size>
  XMLText text(const XMLTag& tag, const char (&endTag)[Size]) {
    if (tag.form == TagForm::Empty) return {};
    const char* const begin = at_;
    const TextRun run = scanText<'<', '&'>(begin, end_);
    at_ = run.end;
    if (take(endTag)) return {{begin, run.end}, run.isASCII};
    return mixedText(tag, begin);
  }

  std::string_view rest() const { return {at_, end_}; }
  void skip(std::size_t length) { at_ += length; }
  /// True when `bytes` lies in the text itself.
  bool owns(std::string_view bytes) const { return bytes.data() >= text_.data() && bytes.data() < end_; }

  /// Throws unless all that lies from `begin` to here is characters that XML can hold.
  void requireCharacters(const char* begin) const;
  [[noreturn]] void fail(const char* at, std::string message) const;

 private:
  template <std::size_t Size>
  bool take(const char (&literal)[Size]) noexcept {
    constexpr std::size_t kLength = Size - 1;
    if (static_cast<std::size_t>(end_ - at_) < kLength || std::memcmp(at_, literal, kLength) != 0) return false;
    at_ += kLength;
    return true;
  }
  void skipSpace() noexcept {
    while (at_ != end_ && isXMLSpace(*at_)) ++at_;
  }

  bool takeCommonTag(XMLTag& tag);
  XMLTag takeAnyTag(const char* begin);
  std::string_view takeName();
  void skipAttributes();
  void skipAttribute();
  void skipQuoted();

  bool skipRemark();
  void skipPast(std::string_view terminator, const char* begin, const char* what);
  bool skipDocumentType();
  void skipInternalSubset();
  void skipDeclaration(std::string_view stops);

  XMLText mixedText(const XMLTag& tag, const char* begin);
  bool takeEndTag(const XMLTag& tag);
  void takeSpecial(const XMLTag& tag);
  void takeMarkupInText(const XMLTag& tag);
  void takeCharacterData(const char* begin);
  void takeCarriageReturn();
  void takeReference();
  void takeCharacterReference(std::string_view number, const char* begin);

  std::string_view text_;
  const char* at_;
  const char* end_;
  bool mayDeclareType_ = true;
  std::string scratch_;
};

}  // namespace ZtFoundation::codec
