// Strings from bytes and back. ASCII, Latin-1 and the UTFs are done here, everything else by the Unicode service.

#include <ZtFoundation/platform/StringEncoding.h>

#include <ZtFoundation/platform/Data.h>

#include <optional>
#include <string>
#include <utility>

#include "platform/objects/EncodingTable.h"
#include "platform/objects/UTF8.h"
#include "platform/services/Service.h"
#include "platform/services/Unicode.h"

namespace ZtFoundation {

namespace {

using detail::Transformation;

constexpr char32_t kByteOrderMark = 0xFEFF;

enum class ByteOrder { Big, Little };

// --- Words of two or four bytes

template <class Word>
Word loadWord(const char* bytes, ByteOrder order) noexcept {
  Word word = 0;
  for (std::size_t i = 0; i < sizeof(Word); ++i) {
    const std::size_t place = order == ByteOrder::Big ? i : sizeof(Word) - 1 - i;
    word = static_cast<Word>(word << 8 | static_cast<unsigned char>(bytes[place]));
  }
  return word;
}

template <class Word>
void appendWord(std::string& bytes, Word word, ByteOrder order) {
  for (std::size_t i = 0; i < sizeof(Word); ++i) {
    const std::size_t shift = 8 * (order == ByteOrder::Big ? sizeof(Word) - 1 - i : i);
    bytes += static_cast<char>(static_cast<unsigned char>(word >> shift));
  }
}

// --- Decoding

// Drops a leading mark; `order` becomes what it says, if it may.
template <class Word>
void takeMark(std::string_view& bytes, ByteOrder& order, bool mayChoose) noexcept {
  if (bytes.size() < sizeof(Word)) return;
  if (mayChoose && loadWord<Word>(bytes.data(), ByteOrder::Little) == kByteOrderMark) order = ByteOrder::Little;
  if (loadWord<Word>(bytes.data(), order) == kByteOrderMark) bytes.remove_prefix(sizeof(Word));
}

Ref<NSString> decodeUTF16(std::string_view bytes, ByteOrder order, bool mayChoose) {
  if (bytes.size() % 2 != 0) return nullptr;
  takeMark<std::uint16_t>(bytes, order, mayChoose);
  detail::UnitBuffer units(bytes.size() / 2);
  for (std::size_t i = 0; i < bytes.size(); i += 2)
    units.data()[i / 2] = loadWord<std::uint16_t>(bytes.data() + i, order);
  return NSString::stringWithCharacters_length(units.data(), bytes.size() / 2);
}

Ref<NSString> decodeUTF32(std::string_view bytes, ByteOrder order, bool mayChoose) {
  if (bytes.size() % 4 != 0) return nullptr;
  takeMark<std::uint32_t>(bytes, order, mayChoose);
  detail::UnitBuffer units(bytes.size() / 2);
  char16_t* out = units.data();
  for (std::size_t i = 0; i < bytes.size(); i += 4) {
    const auto codePoint = static_cast<char32_t>(loadWord<std::uint32_t>(bytes.data() + i, order));
    if (codePoint > 0x10FFFF || detail::isSurrogate(codePoint)) return nullptr;
    out = detail::putCodePoint(out, codePoint);
  }
  return NSString::stringWithCharacters_length(units.data(), static_cast<NSUInteger>(out - units.data()));
}

Ref<NSString> decodeUTF8(std::string_view bytes) {
  if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
  return NSString::stringWithValidUTF8(bytes);
}

// Charsets in which ASCII text has the same bytes, and text that is often nothing else.
bool keepsASCII(std::string_view charset) noexcept { return charset == "Shift_JIS" || charset == "macintosh"; }

Ref<NSString> decodeWithTables(std::string_view bytes, NSStringEncoding encoding) {
  const auto charset = detail::charsetOf(encoding);
  if (!charset) return nullptr;
  if (keepsASCII(*charset) && detail::isASCII(bytes)) return NSString::stringWithASCII(bytes);
  const auto units = service<Unicode>().decode(*charset, bytes);
  return units ? NSString::stringWithCharacters_length(units->data(), units->size()) : nullptr;
}

Ref<NSString> decode(std::string_view bytes, NSStringEncoding encoding) {
  switch (detail::transformationOf(encoding)) {
    case Transformation::ASCII:
      return detail::isASCII(bytes) ? NSString::stringWithASCII(bytes) : nullptr;
    case Transformation::Latin1:
      return NSString::stringWithUnits(UnitView(bytes.data(), bytes.size()));
    case Transformation::UTF8:
      return decodeUTF8(bytes);
    case Transformation::UTF16:
      return decodeUTF16(bytes, ByteOrder::Big, true);
    case Transformation::UTF16BigEndian:
      return decodeUTF16(bytes, ByteOrder::Big, false);
    case Transformation::UTF16LittleEndian:
      return decodeUTF16(bytes, ByteOrder::Little, false);
    case Transformation::UTF32:
      return decodeUTF32(bytes, ByteOrder::Big, true);
    case Transformation::UTF32BigEndian:
      return decodeUTF32(bytes, ByteOrder::Big, false);
    case Transformation::UTF32LittleEndian:
      return decodeUTF32(bytes, ByteOrder::Little, false);
    case Transformation::None:
      break;
  }
  return decodeWithTables(bytes, encoding);
}

// --- Encoding

using Bytes = std::optional<std::string>;

// Calls `put` with each code point. One that `fits` refuses becomes "?" if loss is allowed, else ends it all with
// false.
template <class Fits, class Put>
bool encodeEach(UnitView units, bool lossy, Fits fits, Put put) {
  for (NSUInteger i = 0; i < units.size();) {
    const char32_t codePoint = detail::codePointAt(units, i);
    i += detail::unitsOf(codePoint);
    if (fits(codePoint)) {
      put(codePoint);
    } else if (lossy) {
      put(U'?');
    } else {
      return false;
    }
  }
  return true;
}

Bytes encodeBytes(UnitView units, char32_t limit, bool lossy) {
  std::string bytes;
  bytes.reserve(units.size());
  const bool complete = encodeEach(
      units, lossy, [limit](char32_t codePoint) { return codePoint < limit; },
      [&bytes](char32_t codePoint) { bytes += static_cast<char>(codePoint); });
  return complete ? Bytes(std::move(bytes)) : std::nullopt;
}

Bytes encodeUTF8(UnitView units, bool lossy) {
  Bytes bytes = detail::encodeUTF8(units, detail::LoneSurrogates::Refuse);
  if (bytes || !lossy) return bytes;
  std::u16string repaired;
  char16_t pair[2];
  encodeEach(
      units, true, [](char32_t codePoint) { return !detail::isSurrogate(codePoint); },
      [&](char32_t codePoint) { repaired.append(pair, detail::putCodePoint(pair, codePoint)); });
  return detail::encodeUTF8(UnitView(repaired.data(), repaired.size()), detail::LoneSurrogates::Refuse);
}

std::string encodeUTF16(UnitView units, ByteOrder order, bool mark) {
  std::string bytes;
  bytes.reserve(2 * (units.size() + 1));
  if (mark) appendWord(bytes, static_cast<std::uint16_t>(kByteOrderMark), order);
  for (NSUInteger i = 0; i < units.size(); ++i) appendWord(bytes, static_cast<std::uint16_t>(units[i]), order);
  return bytes;
}

Bytes encodeUTF32(UnitView units, ByteOrder order, bool mark, bool lossy) {
  std::string bytes;
  if (mark) appendWord(bytes, static_cast<std::uint32_t>(kByteOrderMark), order);
  const bool complete = encodeEach(
      units, lossy, [](char32_t codePoint) { return !detail::isSurrogate(codePoint); },
      [&](char32_t codePoint) { appendWord(bytes, static_cast<std::uint32_t>(codePoint), order); });
  return complete ? Bytes(std::move(bytes)) : std::nullopt;
}

std::string narrowed(UnitView ascii) {
  if (!ascii.isWide()) return std::string(ascii.narrow());
  std::string bytes(ascii.size(), '\0');
  detail::narrowUnits(ascii.wide().data(), bytes.size(), bytes.data());
  return bytes;
}

Bytes encodeWithTables(UnitView units, NSStringEncoding encoding, bool lossy) {
  const auto charset = detail::charsetOf(encoding);
  if (!charset) return std::nullopt;
  if (keepsASCII(*charset) && detail::isASCII(units)) return narrowed(units);
  detail::UnitBuffer wide(units);
  return service<Unicode>().encode(*charset, {wide.data(), units.size()}, lossy);
}

Bytes encode(UnitView units, NSStringEncoding encoding, bool lossy) {
  switch (detail::transformationOf(encoding)) {
    case Transformation::ASCII:
      return encodeBytes(units, 0x80, lossy);
    case Transformation::Latin1:
      return encodeBytes(units, 0x100, lossy);
    case Transformation::UTF8:
      return encodeUTF8(units, lossy);
    case Transformation::UTF16:
      return encodeUTF16(units, ByteOrder::Big, true);
    case Transformation::UTF16BigEndian:
      return encodeUTF16(units, ByteOrder::Big, false);
    case Transformation::UTF16LittleEndian:
      return encodeUTF16(units, ByteOrder::Little, false);
    case Transformation::UTF32:
      return encodeUTF32(units, ByteOrder::Big, true, lossy);
    case Transformation::UTF32BigEndian:
      return encodeUTF32(units, ByteOrder::Big, false, lossy);
    case Transformation::UTF32LittleEndian:
      return encodeUTF32(units, ByteOrder::Little, false, lossy);
    case Transformation::None:
      break;
  }
  return encodeWithTables(units, encoding, lossy);
}

}  // namespace

Ref<NSString> NSString::stringWithData_encoding(const Ref<NSData>& data, NSStringEncoding encoding) {
  return data ? decode(data->view(), encoding) : nullptr;
}

Ref<NSString> NSString::stringWithBytes_length_encoding(const void* bytes, NSUInteger length,
                                                        NSStringEncoding encoding) {
  return decode({static_cast<const char*>(bytes), length}, encoding);
}

Ref<NSData> NSString::dataUsingEncoding_allowLossyConversion(NSStringEncoding encoding,
                                                             bool allowLossyConversion) const {
  Bytes bytes = encode(units(), encoding, allowLossyConversion);
  return bytes ? NSData::dataWithString(std::move(*bytes)) : nullptr;
}

Ref<NSData> NSString::dataUsingEncoding(NSStringEncoding encoding) const {
  return dataUsingEncoding_allowLossyConversion(encoding, false);
}

}  // namespace ZtFoundation
