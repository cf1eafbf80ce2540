/// \file TextInput.h
/// Text of whatever Unicode form as UTF-8, which is what the readers work on.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/codec/Codec.h"

namespace ZtFoundation::codec {

/// How the units of a text lie in its bytes.
enum class UnitForm { Bytes, UTF16Big, UTF16Little, UTF32Big, UTF32Little };

/// The form that a text begins with, told by its byte-order mark or, without one, by where the zeros of its first
/// character lie, which must be ASCII then.
struct TextForm {
  UnitForm form = UnitForm::Bytes;
  std::size_t markLength = 0;  ///< bytes of the byte-order mark; with UnitForm::Bytes and a mark the text is UTF-8
};
TextForm formOfText(std::string_view bytes);

/// Goes over the units of a text, which begin behind its byte-order mark.
class UnitReader {
 public:
  UnitReader(std::string_view bytes, TextForm form);

  bool isAtEnd() const { return at_ == bytes_.size(); }
  bool hasUnit() const { return bytes_.size() - at_ >= size_; }
  std::size_t offset() const { return at_; }

  char32_t peek() const {
    char32_t unit = 0;
    for (std::size_t i = 0; i < size_; ++i) {
      const std::size_t place = isBig_ ? i : size_ - 1 - i;
      unit = unit << 8 | static_cast<unsigned char>(bytes_[at_ + place]);
    }
    return unit;
  }
  void skip() { at_ += size_; }

 private:
  std::string_view bytes_;
  std::size_t size_;
  std::size_t at_ = 0;
  bool isBig_;
};

/// Text as UTF-8: either the given bytes themselves or `storage`. Not to be copied or moved.
struct TextInput {
  TextInput() = default;
  TextInput(const TextInput&) = delete;
  TextInput& operator=(const TextInput&) = delete;

  std::string_view text;
  std::string storage;
};

/// Drops a byte-order mark and turns UTF-16 and UTF-32 into UTF-8; anything else is taken to be UTF-8 and not checked
/// here. False, with an error text that names the byte offset, for an incomplete unit, an unpaired surrogate or a
/// number that is no character. What lies before is in `input` then.
bool readUnicodeText(std::string_view bytes, TextInput& input, CodecError& error);

/// The same for XML, where bytes without a mark are in the encoding that the XML declaration names. False as well for
/// an unknown encoding, with the byte offset of its name, and for bytes that are not valid in it, with that of the
/// first such byte.
bool readXMLText(std::string_view bytes, TextInput& input, CodecError& error);

}  // namespace ZtFoundation::codec
