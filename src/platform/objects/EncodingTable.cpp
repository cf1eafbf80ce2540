#include "platform/objects/EncodingTable.h"

#include <algorithm>
#include <string>

#include "platform/services/Service.h"
#include "platform/services/Unicode.h"

namespace ZtFoundation {

namespace {

using detail::Transformation;

constexpr CFStringEncoding kOwnNumbers = 0x20000000;      // | the number that the Unicode service gives the charset
constexpr NSStringEncoding kOtherEncodings = 0x80000000;  // | the 32-bit number

struct NumberedCharset {
  CFStringEncoding number;
  NSStringEncoding wellKnown;  // 0: none
  std::string_view registeredName;
};

// What is converted most stands first. Of the numbers of one name the first is the one that the name gives.
constexpr NumberedCharset kCharsets[] = {
    {0x0A01, NSShiftJISStringEncoding, "Shift_JIS"},
    {0x0420, NSShiftJISStringEncoding, "Shift_JIS"},
    {0x0001, 0, "Shift_JIS"},
    {0x0000, NSMacOSRomanStringEncoding, "macintosh"},
    {0x0202, NSISOLatin2StringEncoding, "ISO_8859-2:1987"},
    {0x0203, 0, "ISO_8859-3:1988"},
    {0x0204, 0, "ISO_8859-4:1988"},
    {0x0205, 0, "ISO_8859-5:1988"},
    {0x0206, 0, "ISO_8859-6:1987"},
    {0x0207, 0, "ISO_8859-7:1987"},
    {0x0208, 0, "ISO_8859-8:1988"},
    {0x0209, 0, "ISO_8859-9:1989"},
    {0x020A, 0, "ISO-8859-10"},
    {0x020B, 0, "TIS-620"},
    {0x020D, 0, "ISO-8859-13"},
    {0x020E, 0, "ISO-8859-14"},
    {0x020F, 0, "ISO-8859-15"},
    {0x0400, 0, "IBM437"},
    {0x0410, 0, "IBM850"},
    {0x0412, 0, "IBM852"},
    {0x0413, 0, "IBM855"},
    {0x0414, 0, "IBM857"},
    {0x0415, 0, "IBM860"},
    {0x0416, 0, "IBM861"},
    {0x0417, 0, "IBM862"},
    {0x0418, 0, "IBM863"},
    {0x0419, 0, "IBM864"},
    {0x041A, 0, "IBM865"},
    {0x041B, 0, "IBM866"},
    {0x041C, 0, "IBM869"},
    {0x0500, NSWindowsCP1252StringEncoding, "windows-1252"},
    {0x0501, NSWindowsCP1250StringEncoding, "windows-1250"},
    {0x0502, NSWindowsCP1251StringEncoding, "windows-1251"},
    {0x0503, NSWindowsCP1253StringEncoding, "windows-1253"},
    {0x0504, NSWindowsCP1254StringEncoding, "windows-1254"},
    {0x0505, 0, "windows-1255"},
    {0x0506, 0, "windows-1256"},
    {0x0507, 0, "windows-1257"},
    {0x0508, 0, "windows-1258"},
    {0x0631, 0, "GBK"},
    {0x0632, 0, "gb18030"},
    {0x0820, NSISO2022JPStringEncoding, "ISO-2022-JP"},
    {0x0822, 0, "ISO-2022-JP-2"},
    {0x0830, 0, "ISO-2022-CN"},
    {0x0831, 0, "ISO-2022-CN-EXT"},
    {0x0840, 0, "ISO-2022-KR"},
    {0x0920, NSJapaneseEUCStringEncoding, "Extended_UNIX_Code_Packed_Format_for_Japanese"},
    {0x0930, 0, "GB2312"},
    {0x0940, 0, "EUC-KR"},
    {0x0A02, 0, "KOI8-R"},
    {0x0A03, 0, "Big5"},
    {0x0A05, 0, "HZ-GB-2312"},
    {0x0A06, 0, "Big5-HKSCS"},
    {0x0A08, 0, "KOI8-U"},
};

struct NumberedTransformation {
  CFStringEncoding number;
  NSStringEncoding wellKnown;
  Transformation transformation;
};

constexpr NumberedTransformation kTransformations[] = {
    {0x0600, NSASCIIStringEncoding, Transformation::ASCII},
    {0x0201, NSISOLatin1StringEncoding, Transformation::Latin1},
    {0x08000100, NSUTF8StringEncoding, Transformation::UTF8},
    {0x0100, NSUnicodeStringEncoding, Transformation::UTF16},
    {0x10000100, NSUTF16BigEndianStringEncoding, Transformation::UTF16BigEndian},
    {0x14000100, NSUTF16LittleEndianStringEncoding, Transformation::UTF16LittleEndian},
    {0x0C000100, NSUTF32StringEncoding, Transformation::UTF32},
    {0x18000100, NSUTF32BigEndianStringEncoding, Transformation::UTF32BigEndian},
    {0x1C000100, NSUTF32LittleEndianStringEncoding, Transformation::UTF32LittleEndian},
};

struct RegisteredName {
  std::string_view name;  // in lower case
  CFStringEncoding number;
};

constexpr RegisteredName kTransformationNames[] = {
    {"utf-8", 0x08000100},
    {"csutf8", 0x08000100},
    {"us-ascii", 0x0600},
    {"ascii", 0x0600},
    {"us", 0x0600},
    {"ansi_x3.4-1968", 0x0600},
    {"ansi_x3.4-1986", 0x0600},
    {"iso_646.irv:1991", 0x0600},
    {"iso-ir-6", 0x0600},
    {"iso646-us", 0x0600},
    {"ibm367", 0x0600},
    {"cp367", 0x0600},
    {"csascii", 0x0600},
    {"iso-8859-1", 0x0201},
    {"iso_8859-1:1987", 0x0201},
    {"iso_8859-1", 0x0201},
    {"iso-ir-100", 0x0201},
    {"latin1", 0x0201},
    {"l1", 0x0201},
    {"ibm819", 0x0201},
    {"cp819", 0x0201},
    {"csisolatin1", 0x0201},
    {"utf-16", 0x0100},
    {"csutf16", 0x0100},
    {"utf-16be", 0x10000100},
    {"csutf16be", 0x10000100},
    {"utf-16le", 0x14000100},
    {"csutf16le", 0x14000100},
    {"utf-32", 0x0C000100},
    {"csutf32", 0x0C000100},
    {"utf-32be", 0x18000100},
    {"csutf32be", 0x18000100},
    {"utf-32le", 0x1C000100},
    {"csutf32le", 0x1C000100},
};

char lowercase(char character) noexcept {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character + 0x20) : character;
}

std::string lowercase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](char character) { return lowercase(character); });
  return text;
}

template <class Table, class Matches>
auto find(const Table& table, Matches matches) {
  const auto entry = std::find_if(std::begin(table), std::end(table), matches);
  return entry != std::end(table) ? &*entry : nullptr;
}

std::optional<CFStringEncoding> numberOfTransformation(const std::string& name) {
  const std::string wanted = lowercase(name);
  const auto* const entry = find(kTransformationNames, [&](auto& known) { return known.name == wanted; });
  return entry != nullptr ? std::optional(entry->number) : std::nullopt;
}

CFStringEncoding numberOfCharset(const std::string& registeredName) {
  if (const auto number = numberOfTransformation(registeredName)) return *number;
  if (const auto* entry = find(kCharsets, [&](auto& charset) { return charset.registeredName == registeredName; })) {
    return entry->number;
  }
  const auto index = service<Unicode>().indexOfCharset(registeredName);
  return index ? kOwnNumbers | *index : kCFStringEncodingInvalidId;
}

}  // namespace

CFStringEncoding CFStringConvertIANACharSetNameToEncoding(const Ref<NSString>& name) {
  if (!name) return kCFStringEncodingInvalidId;
  const std::string text = name->utf8();
  if (const auto number = numberOfTransformation(text)) return *number;
  const auto registeredName = service<Unicode>().registeredCharset(text);
  return registeredName ? numberOfCharset(*registeredName) : kCFStringEncodingInvalidId;
}

NSStringEncoding CFStringConvertEncodingToNSStringEncoding(CFStringEncoding encoding) {
  const auto isWanted = [encoding](auto& entry) { return entry.number == encoding; };
  if (const auto* entry = find(kTransformations, isWanted)) return entry->wellKnown;
  static_assert((kOtherEncodings | kCFStringEncodingInvalidId) == kInvalidStringEncoding);
  const auto* const charset = find(kCharsets, isWanted);
  return charset != nullptr && charset->wellKnown != 0 ? charset->wellKnown : kOtherEncodings | encoding;
}

namespace detail {

Transformation transformationOf(NSStringEncoding encoding) noexcept {
  const auto* const entry = find(kTransformations, [=](auto& known) {
    return known.wellKnown == encoding || (kOtherEncodings | known.number) == encoding;
  });
  return entry != nullptr ? entry->transformation : Transformation::None;
}

std::optional<std::string> charsetOf(NSStringEncoding encoding) {
  if (encoding == 0 || encoding > kInvalidStringEncoding) return std::nullopt;
  const auto* const entry = find(kCharsets, [=](auto& charset) {
    return charset.wellKnown == encoding || (kOtherEncodings | charset.number) == encoding;
  });
  if (entry != nullptr) return std::string(entry->registeredName);
  constexpr NSStringEncoding kOwn = kOtherEncodings | kOwnNumbers;
  if ((encoding & kOwn) != kOwn) return std::nullopt;
  return service<Unicode>().charsetAtIndex(static_cast<std::uint32_t>(encoding & ~kOwn));
}

}  // namespace detail

}  // namespace ZtFoundation
