#include <cmath>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <ZtFoundation/Text.h>

#include "platform/services/Service.h"
#include "platform/services/TextMeasurer.h"

namespace ZtFoundation {

namespace {

constexpr char16_t kEllipsis = 0x2026;
// How far sums in another order may be apart, for each width in them.
constexpr double kRounding = 1e-15;

enum ThemeFont : std::uint16_t {
  kSystemFont = 0,
  kSmallSystemFont = 1,
  kSmallEmphasizedSystemFont = 2,
  kEmphasizedSystemFont = 4,
  kMiniSystemFont = 109,
};

std::optional<ControlSize> controlSizeOf(std::uint16_t themeFontID) {
  switch (themeFontID) {
    case kSystemFont:
    case kEmphasizedSystemFont:
      return ControlSize::Regular;
    case kSmallSystemFont:
    case kSmallEmphasizedSystemFont:
      return ControlSize::Small;
    case kMiniSystemFont:
      return ControlSize::Mini;
    default:
      return std::nullopt;
  }
}

std::uint16_t themeFontFor(NSUInteger controlSize, bool bold) {
  if (controlSize == 2) return kMiniSystemFont;
  if (controlSize == 1) return bold ? kSmallEmphasizedSystemFont : kSmallSystemFont;
  return bold ? kEmphasizedSystemFont : kSystemFont;
}

// The widths of a text with one run replaced by the ellipsis, near enough to rule most attempts out, for text whose
// widths add up.
class Estimates {
 public:
  Estimates(TextMeasurer& measurer, const std::u16string& text, double fontSize) {
    const auto widths = measurer.widthsThatAddUp(text + kEllipsis, fontSize);
    if (!widths) return;
    double sum = 0, size = 0;
    for (const double width : *widths) {
      sums_.push_back(sum);
      sum += width;
      size += std::abs(width);
    }
    ellipsis_ = widths->back();
    error_ = size * kRounding * static_cast<double>(widths->size());
  }

  // False when it cannot be told.
  bool isSurelyWider(NSRange run, double limit) const {
    if (sums_.empty()) return false;
    const double behind = sums_.back() - sums_[NSMaxRange(run)];
    return sums_[run.location] + ellipsis_ + behind > limit + error_;
  }

 private:
  std::vector<double> sums_;  // of the units before each
  double ellipsis_ = 0;
  double error_ = 0;
};

class Fitting {
 public:
  Fitting(const Ref<NSString>& text, double fontSize, double limit)
      : text_(text->utf16()), fontSize_(fontSize), limit_(limit) {}

  NSUInteger length() const { return text_.size(); }
  bool isWholeTooWide() { return isTooWide(text_); }
  bool isTooWideWithout(NSRange run) {
    if (!estimates_) estimates_.emplace(measurer_, text_, fontSize_);
    return estimates_->isSurelyWider(run, limit_) || isTooWide(without(run));
  }
  std::u16string without(NSRange run) const {
    return text_.substr(0, run.location) + kEllipsis + text_.substr(NSMaxRange(run));
  }

 private:
  bool isTooWide(const std::u16string& text) { return measurer_.width(text, fontSize_) > limit_; }

  TextMeasurer& measurer_ = service<TextMeasurer>();
  std::u16string text_;
  double fontSize_;
  double limit_;
  std::optional<Estimates> estimates_;
};

// The first run at the start whose removal makes the text fit; at least one unit stays.
std::optional<NSRange> runAtStart(Fitting& fitting) {
  for (NSUInteger count = 1; count < fitting.length(); ++count) {
    if (const NSRange run{0, count}; !fitting.isTooWideWithout(run)) return run;
  }
  return std::nullopt;
}

// The first run that grows from `location` to the front with every unit, or every other one, and keeps two units before
// it.
std::optional<NSRange> runGrowingFrom(NSUInteger location, bool everyOther, Fitting& fitting) {
  for (NSRange run{location, 1}; run.location >= 2;) {
    if (!fitting.isTooWideWithout(run)) return run;
    ++run.length;
    if (!everyOther || run.length % 2 == 0) --run.location;
  }
  return std::nullopt;
}

std::optional<NSRange> runToReplace(std::int16_t truncCode, Fitting& fitting) {
  const NSUInteger length = fitting.length();
  if (length < 2) return std::nullopt;
  switch (truncCode) {
    case kTruncateAtEnd:
      return runGrowingFrom(length - 1, false, fitting);
    case kTruncateInMiddle:
      return runGrowingFrom(length / 2, true, fitting);
    case kTruncateAtStart:
      return runAtStart(fitting);
    default:
      return std::nullopt;
  }
}

}  // namespace

namespace JxTruncateExtensions {

Ref<NSString> truncateStringWithDrawingWidth_themeFontID_truncCode(const Ref<NSString>& self, float drawingWidth,
                                                                   std::uint16_t themeFontID, std::int16_t truncCode) {
  const std::optional<ControlSize> size = controlSizeOf(themeFontID);
  if (!self || !size) return nullptr;
  const std::optional<double> fontSize = service<TextMeasurer>().systemFontSize(*size);
  if (!fontSize) return nullptr;
  Fitting fitting(self, *fontSize, double{drawingWidth});
  if (!fitting.isWholeTooWide()) return self->copy();
  const std::optional<NSRange> run = runToReplace(truncCode, fitting);
  return run ? Ref<NSString>(fitting.without(*run)) : nullptr;
}

Ref<NSString> truncateControlStringWithDrawingWidth_truncCode_controlSize_bold(const Ref<NSString>& self,
                                                                               float drawingWidth,
                                                                               std::int16_t truncCode,
                                                                               NSUInteger controlSize, bool bold) {
  return truncateStringWithDrawingWidth_themeFontID_truncCode(self, drawingWidth, themeFontFor(controlSize, bold),
                                                              truncCode);
}

Ref<NSString> truncateControlStringWithDrawingWidth_truncCode_controlSize(const Ref<NSString>& self, float drawingWidth,
                                                                          std::int16_t truncCode,
                                                                          NSUInteger controlSize) {
  return truncateControlStringWithDrawingWidth_truncCode_controlSize_bold(self, drawingWidth, truncCode, controlSize,
                                                                          false);
}

Ref<NSString> truncateControlStringWithDrawingWidth_truncCode(const Ref<NSString>& self, float drawingWidth,
                                                              std::int16_t truncCode) {
  return truncateControlStringWithDrawingWidth_truncCode_controlSize(self, drawingWidth, truncCode, 0);
}

Ref<NSString> truncateSmallControlStringWithDrawingWidth_truncCode(const Ref<NSString>& self, float drawingWidth,
                                                                   std::int16_t truncCode) {
  return truncateControlStringWithDrawingWidth_truncCode_controlSize(self, drawingWidth, truncCode, 1);
}

Ref<NSString> truncateMiniControlStringWithDrawingWidth_truncCode(const Ref<NSString>& self, float drawingWidth,
                                                                  std::int16_t truncCode) {
  return truncateControlStringWithDrawingWidth_truncCode_controlSize(self, drawingWidth, truncCode, 2);
}

}  // namespace JxTruncateExtensions

}  // namespace ZtFoundation
