// Two texts in natural order, compared with ICU's own collator, and the other way round.

#include <unicode/ucol.h>

#include <string>

#include <ZtFoundation/Utilities.h>

#include "Input.h"

using namespace ZtFoundation;
using namespace ZtFoundation::fuzz;

namespace {

UCollator* collator() {
  static UCollator* const shared = [] {
    UErrorCode status = U_ZERO_ERROR;
    UCollator* const made = ucol_open("root", &status);
    ucol_setAttribute(made, UCOL_STRENGTH, UCOL_SECONDARY, &status);
    ucol_setAttribute(made, UCOL_NUMERIC_COLLATION, UCOL_ON, &status);
    ucol_setAttribute(made, UCOL_NORMALIZATION_MODE, UCOL_ON, &status);
    require(U_SUCCESS(status), "ICU has a root collator");
    return made;
  }();
  return shared;
}

NSComparisonResult orderByICU(const std::u16string& a, const std::u16string& b) {
  const auto order = ucol_strcoll(collator(), a.data(), static_cast<std::int32_t>(a.size()), b.data(),
                                  static_cast<std::int32_t>(b.size()));
  return static_cast<NSComparisonResult>(order);
}

NSComparisonResult order(const Ref<NSString>& a, const Ref<NSString>& b) {
  return QvFoundationExtensions::naturalCompare(a, b);
}

// Characters that have rules of their own are much rarer among all units than they are in names.
std::u16string unitsOf(std::string_view bytes, unsigned kind) {
  static constexpr std::u16string_view kPalette =
      u"019aZz\u00E9\u0301\u0308 "
      u"-_.\uFF11\uFF21\u0663\u30AB\uFF76\uFF9E\u3099\u4E00\u4E8C\uAC00\u1100\u1161\x01\u200D\U0001F600"
      u"\u00DF\u0130\u01C4\u0E40\u0E01\u0F71\u0F72\uFDFA";
  if (kind % 3 == 1) return unitsIn(bytes);
  std::u16string units;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    units += kind % 3 == 0 ? char16_t{value} : kPalette[value % kPalette.size()];
  }
  return units;
}

void check(const std::u16string& a, const std::u16string& b) {
  const Ref<NSString> first = a, second = b;
  const NSComparisonResult expected = orderByICU(a, b);
  require(order(first, second) == expected, "the order of ICU");
  require(order(second, first) == -expected, "the other way round");
  require(order(first, first) == NSOrderedSame, "equal to itself");
}

}  // namespace

// The first byte says how the others are characters, the second where the first text ends; both begin with what comes
// before a byte 255.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const unsigned kind = input.takeByte();
  const std::size_t end = input.takeByte();
  const bool hasPrefix = input.rest().find('\xFF') != std::string_view::npos;
  const std::u16string prefix = hasPrefix ? unitsOf(input.takeUntil('\xFF'), kind) : std::u16string();
  const std::u16string a = unitsOf(input.takeBytes(end), kind);
  check(prefix + a, prefix + unitsOf(input.rest(), kind / 3));
  return 0;
}
