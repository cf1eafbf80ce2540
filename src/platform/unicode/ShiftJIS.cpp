#include "platform/unicode/ShiftJIS.h"

#include <unicode/ucnv.h>
#include <unicode/utf16.h>

#include <cstdint>
#include <cstring>
#include <memory>

#include "platform/unicode/Status.h"

namespace ZtFoundation {

namespace {

constexpr char kConverter[] = "ibm-943_P15A-2003";
constexpr unsigned char kFirstTrail = 0x40, kLastTrail = 0xFC;
constexpr unsigned char kFirstKana = 0xA1, kLastKana = 0xDF;
constexpr char16_t kFirstKanaUnit = 0xFF61;

bool isASCII(unsigned char byte) { return byte < 0x80; }
bool isKana(unsigned char byte) { return byte >= kFirstKana && byte <= kLastKana; }

// What other flavours of Shift-JIS give for a code of this one; people have both in their texts.
struct OtherForm {
  char16_t unit;
  char16_t sameAs;
};
constexpr OtherForm kOtherForms[] = {{0x00A2, 0xFFE0}, {0x00A3, 0xFFE1}, {0x00AC, 0xFFE2}, {0x2014, 0x2015},
                                     {0x2016, 0x2225}, {0x2212, 0xFF0D}, {0x301C, 0xFF5E}};

// The one unit that two bytes stand for, 0 for none.
char16_t convert(UConverter* converter, unsigned lead, unsigned trail) {
  const char bytes[2] = {static_cast<char>(lead), static_cast<char>(trail)};
  char16_t units[2];
  UErrorCode status = U_ZERO_ERROR;
  const int32_t length = ucnv_toUChars(converter, units, 2, bytes, 2, &status);
  return succeeded(status) && length == 1 ? units[0] : u'\0';
}

bool isEightASCII(const char* bytes) {
  std::uint64_t word;
  std::memcpy(&word, bytes, sizeof word);
  return (word & 0x8080808080808080) == 0;
}

bool isFourASCII(const char16_t* units) {
  std::uint64_t word;
  std::memcpy(&word, units, sizeof word);
  return (word & 0xFF80FF80FF80FF80) == 0;
}

// Copies units from one sequence to the other, `Step` at a time as long as `isASCII` says so.
template <std::size_t Step, class From, class To, class Test>
void copyASCII(const From*& from, const From* end, To*& to, Test allASCII) {
  while (static_cast<std::size_t>(end - from) >= Step && allASCII(from)) {
    for (std::size_t i = 0; i < Step; ++i) to[i] = static_cast<To>(from[i]);
    from += Step;
    to += Step;
  }
}

}  // namespace

const ShiftJIS& ShiftJIS::shared() {
  static const ShiftJIS& tables = *new ShiftJIS;  // never destroyed, so it serves during exit too
  return tables;
}

// A character that the set holds more than once has the code that is added last: of the IBM rows, NEC's row 13 and
// JIS X 0208 it is the latter. The NEC rows ED and EE repeat the IBM ones and are only read.
ShiftJIS::ShiftJIS() {
  readUnits();
  addCodes(0xF0, 0xFC);
  addCodes(0x87, 0x87);
  addCodes(0x81, 0x86);
  addCodes(0x88, 0xEC);
  addOtherForms();
}

void ShiftJIS::readUnits() {
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<UConverter, decltype(&ucnv_close)> converter(ucnv_open(kConverter, &status), &ucnv_close);
  if (!succeeded(status)) return;
  ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  for (unsigned lead = 0x81; lead <= 0xFC; ++lead) {
    if (isKana(static_cast<unsigned char>(lead))) continue;
    for (unsigned trail = kFirstTrail; trail <= kLastTrail; ++trail) {
      (*units_)[lead * kTrails + trail - kFirstTrail] = convert(converter.get(), lead, trail);
    }
  }
}

void ShiftJIS::addCodes(unsigned firstLead, unsigned lastLead) {
  for (unsigned lead = firstLead; lead <= lastLead; ++lead) {
    for (unsigned trail = kFirstTrail; trail <= kLastTrail; ++trail) {
      const char16_t unit = (*units_)[lead * kTrails + trail - kFirstTrail];
      if (unit != 0) (*codes_)[unit] = static_cast<char16_t>(lead << 8 | trail);
    }
  }
}

void ShiftJIS::addOtherForms() {
  for (unsigned byte = kFirstKana; byte <= kLastKana; ++byte) {
    (*codes_)[kFirstKanaUnit + (byte - kFirstKana)] = static_cast<char16_t>(byte);
  }
  for (const OtherForm& form : kOtherForms) (*codes_)[form.unit] = (*codes_)[form.sameAs];
  for (char16_t unit = 0; unit < 0x80; ++unit) (*codes_)[unit] = unit;
}

inline char16_t ShiftJIS::unitOf(unsigned char lead, unsigned char trail) const {
  return trail < kFirstTrail ? u'\0' : (*units_)[lead * kTrails + trail - kFirstTrail];
}

std::optional<std::u16string> ShiftJIS::decode(std::string_view bytes) const {
  std::u16string result(bytes.size(), u'\0');
  char16_t* to = result.data();
  const char* const end = bytes.data() + bytes.size();
  for (const char* from = bytes.data(); from != end;) {
    const auto byte = static_cast<unsigned char>(*from++);
    if (isASCII(byte)) {
      *to++ = byte;
      copyASCII<8>(from, end, to, isEightASCII);
    } else if (isKana(byte)) {
      *to++ = static_cast<char16_t>(kFirstKanaUnit + (byte - kFirstKana));
    } else {
      const char16_t unit = from != end ? unitOf(byte, static_cast<unsigned char>(*from++)) : u'\0';
      if (unit == 0) return std::nullopt;
      *to++ = unit;
    }
  }
  result.resize(static_cast<std::size_t>(to - result.data()));
  return result;
}

std::optional<std::string> ShiftJIS::encode(std::u16string_view units, bool lossy) const {
  std::string result(2 * units.size(), '\0');
  char* to = result.data();
  const Codes& codes = *codes_;  // read once: writing bytes might change anything, as far as a compiler can tell
  const char16_t* const end = units.data() + units.size();
  for (const char16_t* from = units.data(); from != end;) {
    const char16_t unit = *from++;
    const char16_t code = codes[unit];
    if (code > 0xFF) {
      *to++ = static_cast<char>(code >> 8);
      *to++ = static_cast<char>(code & 0xFF);
    } else if (code != 0 || unit == 0) {
      *to++ = static_cast<char>(code);
      if (unit < 0x80) copyASCII<4>(from, end, to, isFourASCII);
    } else {
      if (!lossy) return std::nullopt;
      if (U16_IS_LEAD(unit) && from != end && U16_IS_TRAIL(*from)) ++from;
      *to++ = '?';
    }
  }
  result.resize(static_cast<std::size_t>(to - result.data()));
  return result;
}

}  // namespace ZtFoundation
