#include <unicode/coll.h>
#include <unicode/uchar.h>
#include <unicode/ucol.h>
#include <unicode/unorm2.h>
#include <unicode/uset.h>
#include <unicode/ustring.h>

#include <limits>
#include <memory>
#include <new>

#include "platform/services/EnoughMemory.h"
#include "platform/services/Unicode.h"
#include "platform/unicode/Charsets.h"
#include "platform/unicode/Status.h"

#define ZT_MODULE_ENTRY extern "C" __attribute__((visibility("default")))

namespace ZtFoundation {

namespace {

// ICU counts with 32 bits, and no text here grows to more than four times its length.
constexpr std::size_t kLongest = std::numeric_limits<int32_t>::max();
constexpr std::size_t kLongestThatGrows = kLongest / 4;

int32_t lengthOf(std::u16string_view units) { return static_cast<int32_t>(units.size()); }

// Text that ICU cannot count is like text that there is no memory for: any answer would be a wrong one.
void requireLength(std::u16string_view units, std::size_t longest) {
  if (units.size() > longest) throw std::bad_alloc();
}

// Calls `produce(buffer, capacity, &status)` with room for what it says it needs. On failure the text stays as it is.
template <class Produce>
std::u16string produceFrom(std::u16string_view source, Produce produce) {
  requireLength(source, kLongestThatGrows);
  std::u16string result(source.size() + 16, u'\0');
  for (;;) {
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length = produce(result.data(), static_cast<int32_t>(result.size()), &status);
    const bool tooSmall = status == U_BUFFER_OVERFLOW_ERROR;
    if (!tooSmall && !succeeded(status)) return std::u16string(source);
    withEnoughMemory([&] { result.resize(static_cast<std::size_t>(length)); });
    if (!tooSmall) return result;
  }
}

// --- Collation

UCollator* openNaturalCollator() {
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<UCollator, decltype(&ucol_close)> collator(ucol_open("root", &status), &ucol_close);
  ucol_setAttribute(collator.get(), UCOL_STRENGTH, UCOL_SECONDARY, &status);
  ucol_setAttribute(collator.get(), UCOL_NUMERIC_COLLATION, UCOL_ON, &status);
  ucol_setAttribute(collator.get(), UCOL_NORMALIZATION_MODE, UCOL_ON, &status);
  return succeeded(status) ? collator.release() : nullptr;
}

// Comparing does not change a collator, so all threads share this one.
const UCollator* naturalCollator() {
  static const UCollator* const collator = openNaturalCollator();
  return collator;
}

// --- Normalization

// The data is a part of ICU, so that only memory can be missing.
template <const UNormalizer2* (*instance)(UErrorCode*)>
const UNormalizer2* normalizer() {
  UErrorCode status = U_ZERO_ERROR;
  const UNormalizer2* const form = instance(&status);
  if (!succeeded(status)) throw std::bad_alloc();
  return form;
}

const UNormalizer2* decomposer() { return normalizer<&unorm2_getNFDInstance>(); }
const UNormalizer2* composer() { return normalizer<&unorm2_getNFCInstance>(); }
const UNormalizer2* compatibilityComposer() { return normalizer<&unorm2_getNFKCInstance>(); }

std::u16string normalized(const UNormalizer2* form, std::u16string_view units) {
  return produceFrom(units, [&](char16_t* out, int32_t capacity, UErrorCode* status) {
    return unorm2_normalize(form, units.data(), lengthOf(units), out, capacity, status);
  });
}

// Calls `visit` with each code point, unpaired surrogates as themselves.
template <class Visit>
void visitCodePoints(std::u16string_view units, Visit visit) {
  for (std::size_t i = 0; i < units.size(); ++i) {
    const bool isPair = U16_IS_LEAD(units[i]) && i + 1 < units.size() && U16_IS_TRAIL(units[i + 1]);
    visit(isPair ? U16_GET_SUPPLEMENTARY(units[i], units[i + 1]) : UChar32{units[i]});
    if (isPair) ++i;
  }
}

void append(std::u16string& out, UChar32 codePoint) {
  char16_t units[U16_MAX_LENGTH];
  int32_t length = 0;
  U16_APPEND_UNSAFE(units, length, codePoint);
  out.append(units, static_cast<std::size_t>(length));
}

std::u16string withOrdinaryWidth(std::u16string_view units) {
  std::u16string result;
  visitCodePoints(units, [&result](UChar32 codePoint) {
    const int32_t type = u_getIntPropertyValue(codePoint, UCHAR_DECOMPOSITION_TYPE);
    std::u16string one;
    append(one, codePoint);
    result += type == U_DT_WIDE || type == U_DT_NARROW ? normalized(compatibilityComposer(), one) : one;
  });
  return result;
}

std::u16string withoutMarks(std::u16string_view units) {
  std::u16string result;
  visitCodePoints(units, [&result](UChar32 codePoint) {
    if (u_charType(codePoint) != U_NON_SPACING_MARK) append(result, codePoint);
  });
  return result;
}

std::u16string withFoldedCase(std::u16string_view units) {
  return produceFrom(units, [&](char16_t* out, int32_t capacity, UErrorCode* status) {
    return u_strFoldCase(out, capacity, units.data(), lengthOf(units), U_FOLD_CASE_DEFAULT, status);
  });
}

// --- Properties

bool isLaterPartOfSyllable(UChar32 codePoint) {
  const int32_t type = u_getIntPropertyValue(codePoint, UCHAR_HANGUL_SYLLABLE_TYPE);
  return type == U_HST_VOWEL_JAMO || type == U_HST_TRAILING_JAMO;
}

std::uint32_t categories(CharacterClass characters) {
  switch (characters) {
    case CharacterClass::Letter:
      return U_GC_L_MASK | U_GC_M_MASK;
    case CharacterClass::DecimalDigit:
      return U_GC_ND_MASK;
    case CharacterClass::Alphanumeric:
      break;
  }
  return U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK;
}

class ICUUnicode final : public Unicode {
 public:
  bool compareNaturally(std::u16string_view a, std::u16string_view b, int& order) override {
    const UCollator* const collator = naturalCollator();
    if (collator == nullptr) return false;
    requireLength(a, kLongest);
    requireLength(b, kLongest);
    // The C interface answers "same" where there is no memory.
    UErrorCode status = U_ZERO_ERROR;
    const int found =
        icu::Collator::fromUCollator(collator)->compare(a.data(), lengthOf(a), b.data(), lengthOf(b), status);
    if (!succeeded(status)) return false;
    order = found;
    return true;
  }

  std::optional<std::string> registeredCharset(std::string_view name) override {
    return charsets::registeredName(name);
  }
  std::optional<std::uint32_t> indexOfCharset(const std::string& registeredName) override {
    return charsets::index(registeredName);
  }
  std::optional<std::string> charsetAtIndex(std::uint32_t index) override { return charsets::atIndex(index); }
  std::optional<std::u16string> decode(const std::string& charset, std::string_view bytes) override {
    return charsets::decode(charset, bytes);
  }
  std::optional<std::string> encode(const std::string& charset, std::u16string_view units, bool lossy) override {
    return charsets::encode(charset, units, lossy);
  }

  bool isComposed(std::u16string_view units) override {
    if (units.size() > kLongest) return false;
    UErrorCode status = U_ZERO_ERROR;
    const int32_t composed = unorm2_spanQuickCheckYes(composer(), units.data(), lengthOf(units), &status);
    return succeeded(status) && composed == lengthOf(units);
  }

  bool extends(char32_t codePoint) override {
    const auto character = static_cast<UChar32>(codePoint);
    return (U_GET_GC_MASK(character) & U_GC_M_MASK) != 0 || u_hasBinaryProperty(character, UCHAR_GRAPHEME_EXTEND) ||
           isLaterPartOfSyllable(character);
  }

  void fold(std::u16string_view units, unsigned foldings, std::u16string& out) override {
    requireLength(units, kLongestThatGrows);
    const bool decompose = (foldings & kFoldLiterally) == 0;
    std::u16string text((foldings & kFoldWidth) != 0 ? withOrdinaryWidth(units) : std::u16string(units));
    if (decompose) text = normalized(decomposer(), text);
    if ((foldings & kFoldCase) != 0) text = withFoldedCase(text);  // leaves what is decomposed so
    out += (foldings & kFoldDiacritics) != 0 ? withoutMarks(text) : text;
  }

  std::u16string lowercase(std::u16string_view units) override {
    return produceFrom(units, [&](char16_t* out, int32_t capacity, UErrorCode* status) {
      return u_strToLower(out, capacity, units.data(), lengthOf(units), "", status);
    });
  }
  std::u16string uppercase(std::u16string_view units) override {
    return produceFrom(units, [&](char16_t* out, int32_t capacity, UErrorCode* status) {
      return u_strToUpper(out, capacity, units.data(), lengthOf(units), "", status);
    });
  }
  char32_t lowercase(char32_t codePoint) override {
    return static_cast<char32_t>(u_tolower(static_cast<UChar32>(codePoint)));
  }
  char32_t uppercase(char32_t codePoint) override {
    return static_cast<char32_t>(u_toupper(static_cast<UChar32>(codePoint)));
  }

  std::vector<CodePointRange> members(CharacterClass characters) override {
    std::vector<CodePointRange> ranges;
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<USet, decltype(&uset_close)> set(uset_openEmpty(), &uset_close);
    if (set == nullptr) throw std::bad_alloc();
    uset_applyIntPropertyValue(set.get(), UCHAR_GENERAL_CATEGORY_MASK, static_cast<int32_t>(categories(characters)),
                               &status);
    if (!succeeded(status)) return ranges;
    for (int32_t i = 0; i < uset_getRangeCount(set.get()); ++i) {
      UChar32 first, last;
      uset_getItem(set.get(), i, &first, &last, nullptr, 0, &status);
      ranges.push_back({static_cast<char32_t>(first), static_cast<char32_t>(last)});
    }
    return ranges;
  }
};

}  // namespace

ZT_MODULE_ENTRY Unicode* ZtFoundationUnicodeModule();
Unicode* ZtFoundationUnicodeModule() {
  static ICUUnicode* const shared = new ICUUnicode;
  return shared;
}

}  // namespace ZtFoundation
