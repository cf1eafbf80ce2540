#include "platform/unicode/Charsets.h"

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/ucnv_err.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <vector>

#include "platform/services/EnoughMemory.h"
#include "platform/unicode/ShiftJIS.h"
#include "platform/unicode/Status.h"

namespace ZtFoundation::charsets {

namespace {

constexpr char kRegistry[] = "IANA";
constexpr char kShiftJIS[] = "Shift_JIS";
constexpr std::size_t kChunk = 4096;   // that is written at once
constexpr std::size_t kSlice = 65536;  // that is read at once

struct CloseConverter {
  void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, CloseConverter>;

struct CloseNames {
  void operator()(UEnumeration* names) const { uenum_close(names); }
};

char lowercase(char character) {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character + 0x20) : character;
}

bool equalIgnoringCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lowercase(x) == lowercase(y); });
}

// The converter library also takes names that are nearly right; the registry does not.
bool isRegisteredFor(const char* converterName, std::string_view name) {
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<UEnumeration, CloseNames> names(ucnv_openStandardNames(converterName, kRegistry, &status));
  while (const char* registered = uenum_next(names.get(), nullptr, &status)) {
    if (equalIgnoringCase(registered, name)) return true;
  }
  static_cast<void>(succeeded(status));
  return false;
}

std::optional<std::string> preferredName(const char* converterName) {
  UErrorCode status = U_ZERO_ERROR;
  const char* const name = ucnv_getStandardName(converterName, kRegistry, &status);
  return succeeded(status) && name != nullptr ? std::optional<std::string>(name) : std::nullopt;
}

// By the registry first: without it a name that two vendors read differently may find the other one.
const char* converterNamed(const char* name) {
  UErrorCode status = U_ZERO_ERROR;
  const char* const converter = ucnv_getCanonicalName(name, kRegistry, &status);
  return succeeded(status) ? converter : nullptr;
}

Converter open(const std::string& charset) {
  const char* const name = converterNamed(charset.c_str());
  if (name == nullptr) return nullptr;
  UErrorCode status = U_ZERO_ERROR;
  Converter converter(ucnv_open(name, &status));
  if (!succeeded(status)) return nullptr;
  return converter;
}

bool isShiftJIS(const std::string& charset) { return equalIgnoringCase(charset, kShiftJIS); }

// Unlike the callbacks that come with the library, these two also see characters that are ignored by default.
void stopAtMissing(const void*, UConverterFromUnicodeArgs*, const UChar*, int32_t, UChar32, UConverterCallbackReason,
                   UErrorCode*) {}

// The mark goes through the same converter. Where it has no form either, the charset has a mark of its own.
void replaceMissing(const void*, UConverterFromUnicodeArgs* arguments, const UChar*, int32_t, UChar32 missing,
                    UConverterCallbackReason reason, UErrorCode* status) {
  if (reason > UCNV_IRREGULAR) return;
  *status = U_ZERO_ERROR;
  static const UChar mark[] = u"?";
  if (missing == *mark) return ucnv_cbFromUWriteSub(arguments, 0, status);
  const UChar* from = mark;
  ucnv_cbFromUWriteUChars(arguments, &from, mark + 1, 0, status);
}

bool setCallbacks(UConverter* converter, bool lossy) {
  UErrorCode status = U_ZERO_ERROR;
  ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  ucnv_setFromUCallBack(converter, lossy ? replaceMissing : stopAtMissing, nullptr, nullptr, nullptr, &status);
  return succeeded(status);
}

// Runs `convert(&to, end, &from, stop, isLast, &status)` until all is read and written. A converter takes no more than
// 32 bits can count, so it gets a slice at a time; characters may lie across.
template <class Unit, class From, class Convert>
std::optional<std::basic_string<Unit>> collect(std::basic_string_view<From> source, Convert convert) {
  std::basic_string<Unit> result;
  result.reserve(source.size());
  const From* from = source.data();
  const From* const end = from + source.size();
  for (;;) {
    const From* const stop = from + std::min(static_cast<std::size_t>(end - from), kSlice);
    Unit chunk[kChunk];
    Unit* to = chunk;
    UErrorCode status = U_ZERO_ERROR;
    convert(&to, chunk + kChunk, &from, stop, stop == end, &status);
    result.append(chunk, to);
    if (status == U_BUFFER_OVERFLOW_ERROR) continue;
    if (!succeeded(status)) return std::nullopt;
    if (stop == end) return result;
  }
}

std::optional<std::u16string> decodeAny(const std::string& charset, std::string_view bytes) {
  if (isShiftJIS(charset)) return ShiftJIS::shared().decode(bytes);
  const Converter converter = open(charset);
  if (!converter || !setCallbacks(converter.get(), false)) return std::nullopt;
  return collect<char16_t>(bytes, [&](char16_t** to, const char16_t* limit, const char** from, const char* stop,
                                      bool isLast, UErrorCode* status) {
    ucnv_toUnicode(converter.get(), to, limit, from, stop, nullptr, isLast, status);
  });
}

std::optional<std::string> encodeAny(const std::string& charset, std::u16string_view units, bool lossy) {
  if (isShiftJIS(charset)) return ShiftJIS::shared().encode(units, lossy);
  const Converter converter = open(charset);
  if (!converter || !setCallbacks(converter.get(), lossy)) return std::nullopt;
  return collect<char>(units, [&](char** to, const char* limit, const char16_t** from, const char16_t* stop,
                                  bool isLast, UErrorCode* status) {
    ucnv_fromUnicode(converter.get(), to, limit, from, stop, nullptr, isLast, status);
  });
}

}  // namespace

std::optional<std::string> registeredName(std::string_view name) {
  const char* const converter = converterNamed(std::string(name).c_str());
  if (converter == nullptr || !isRegisteredFor(converter, name)) return std::nullopt;
  return preferredName(converter);
}

std::optional<std::uint32_t> index(const std::string& registeredName) {
  for (int32_t i = 0; i < ucnv_countAvailable(); ++i) {
    if (preferredName(ucnv_getAvailableName(i)) == registeredName) return static_cast<std::uint32_t>(i);
  }
  return std::nullopt;
}

std::optional<std::string> atIndex(std::uint32_t index) {
  if (index >= static_cast<std::uint32_t>(ucnv_countAvailable())) return std::nullopt;
  return preferredName(ucnv_getAvailableName(static_cast<int32_t>(index)));
}

std::optional<std::u16string> decode(const std::string& charset, std::string_view bytes) {
  return withEnoughMemory([&] { return decodeAny(charset, bytes); });
}

std::optional<std::string> encode(const std::string& charset, std::u16string_view units, bool lossy) {
  return withEnoughMemory([&] { return encodeAny(charset, units, lossy); });
}

}  // namespace ZtFoundation::charsets
