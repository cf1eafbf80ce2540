// Names of growing length cut to a narrow width: how often they are measured and how long that takes, with a measurer
// that says that widths add up and with one that does not.

#include <cstdio>
#include <string>

#include <ZtFoundation/Text.h>

#include "platform/services/Service.h"
#include "platform/services/TextMeasurer.h"
#include "support/Timing.h"

namespace {

using namespace ZtFoundation;

class Measurer final : public TextMeasurer {
 public:
  explicit Measurer(bool addsUp) : addsUp_(addsUp) {}

  int measurements = 0;

  std::optional<double> systemFontSize(ControlSize) override { return 13; }
  double width(std::u16string_view units, double) override {
    ++measurements;
    double sum = 0;
    for (const char16_t unit : units) sum += widthOf(unit);
    return sum;
  }
  std::optional<std::vector<double>> widthsThatAddUp(std::u16string_view units, double) override {
    if (!addsUp_) return std::nullopt;
    std::vector<double> widths;
    for (const char16_t unit : units) widths.push_back(widthOf(unit));
    return widths;
  }

 private:
  static double widthOf(char16_t unit) { return 5 + unit % 7 / 8.0; }

  bool addsUp_;
};

void measure(const char* name, bool addsUp, std::size_t length, std::int16_t code) {
  Measurer measurer(addsUp);
  const ScopedService<TextMeasurer> scope(measurer);
  std::u16string text;
  for (std::size_t at = 0; at < length; ++at) text += static_cast<char16_t>(u'a' + at % 26);
  const Ref<NSString> string = text;
  Ref<NSString> cut;
  const double time = bench::milliseconds(
      [&] { cut = JxTruncateExtensions::truncateControlStringWithDrawingWidth_truncCode(string, 100, code); });
  bench::require(static_cast<bool>(cut), "truncation");
  std::printf("%-7s %6zu units, widths %-14s %6d measurements %10.3f ms\n", name, length,
              addsUp ? "add up:" : "do not add up:", measurer.measurements, time);
}

}  // namespace

int main() {
  for (const std::size_t length : {100U, 1000U, 10000U}) {
    for (const bool addsUp : {true, false}) {
      measure("end", addsUp, length, kTruncateAtEnd);
      measure("middle", addsUp, length, kTruncateInMiddle);
      measure("start", addsUp, length, kTruncateAtStart);
    }
  }
  return 0;
}
