#include <ZtFoundation/platform/Collation.h>

#include <optional>

#include "platform/objects/NaturalOrder.h"
#include "platform/objects/UTF8.h"
#include "platform/services/Service.h"
#include "platform/services/Unicode.h"

namespace ZtFoundation {

namespace {

constexpr OSStatus kNoError = 0;
constexpr OSStatus kParameterError = -50;
constexpr std::uint32_t kNaturalOptions = kUCCollateComposeInsensitiveMask | kUCCollateWidthInsensitiveMask |
                                          kUCCollateCaseInsensitiveMask | kUCCollatePunctuationSignificantMask |
                                          kUCCollateDigitsOverrideMask | kUCCollateDigitsAsNumberMask;

// The units of a view as UTF-16, copied only when they are stored as bytes.
class WideUnits {
 public:
  explicit WideUnits(const UnitView& units) : units_(units.isWide() ? units.wide() : widen(units)) {}

  std::u16string_view view() const noexcept { return units_; }

 private:
  std::u16string_view widen(UnitView units) {
    copy_.emplace(units);
    return {copy_->data(), units.size()};
  }

  std::optional<detail::UnitBuffer> copy_;
  std::u16string_view units_;
};

int orderByUnicode(const UnitView& a, const UnitView& b) {
  const WideUnits wideA(a), wideB(b);
  int order = detail::kUndecided;
  return service<Unicode>().compareNaturally(wideA.view(), wideB.view(), order) ? order : detail::kUndecided;
}

}  // namespace

OSStatus UCCompareTextDefault(std::uint32_t options, const UnitView& text1, const UnitView& text2, bool* equivalent,
                              std::int32_t* order) {
  if (options != kNaturalOptions) return kParameterError;
  int answer = detail::naturalOrder(text1, text2);
  if (answer == detail::kUndecided) answer = orderByUnicode(text1, text2);
  if (answer == detail::kUndecided) return kParameterError;
  if (equivalent != nullptr) *equivalent = answer == 0;
  if (order != nullptr) *order = answer;
  return kNoError;
}

OSStatus UCCompareTextDefault(std::uint32_t options, const unichar* text1, NSUInteger length1, const unichar* text2,
                              NSUInteger length2, bool* equivalent, std::int32_t* order) {
  return UCCompareTextDefault(options, UnitView(text1, length1), UnitView(text2, length2), equivalent, order);
}

}  // namespace ZtFoundation
