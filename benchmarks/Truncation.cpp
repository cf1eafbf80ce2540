// A long name cut to a narrow width: how often it is measured, with a measurer that says that widths add up, beside one
// that does not, which has to be asked about every attempt.

#include <string>

#include <ZtFoundation/Text.h>

#include "platform/services/Service.h"
#include "platform/services/TextMeasurer.h"
#include "support/Report.h"

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

struct Cut {
  double measurements, milliseconds;
};

struct Series {
  bench::Samples measurements, times;

  void add(const Cut& cut) {
    measurements.push_back(cut.measurements);
    times.push_back(cut.milliseconds);
  }
};

Cut cut(const Ref<NSString>& name, std::int16_t code, bool addsUp) {
  Measurer measurer(addsUp);
  const ScopedService<TextMeasurer> scope(measurer);
  Ref<NSString> result;
  const double taken = bench::processorMilliseconds(
      [&] { result = JxTruncateExtensions::truncateControlStringWithDrawingWidth_truncCode(name, 100, code); });
  bench::require(static_cast<bool>(result), "truncation");
  return {static_cast<double>(measurer.measurements), taken};
}

void compare(const bench::Report& report, const std::string& where, const Ref<NSString>& name, std::int16_t code) {
  Series quick, slow;
  bench::takeTurns(5, {[&] { quick.add(cut(name, code, true)); }, [&] { slow.add(cut(name, code, false)); }});
  const std::string peer = "widths that do not add up";
  report.addLimit("measurements, cut " + where, "times", quick.measurements, 10);
  report.add({"measurements, cut " + where, "times", quick.measurements, peer, slow.measurements});
  report.add({"time, cut " + where, "ms", quick.times, peer, slow.times});
}

}  // namespace

int main() {
  const std::size_t length = bench::fullOrQuick(10'000U, 1000U);
  std::u16string text;
  for (std::size_t at = 0; at < length; ++at) text += static_cast<char16_t>(u'a' + at % 26);
  const bench::Report report("Truncation of a name of " + std::to_string(length) + " units, widths that add up");
  compare(report, "at the end", text, kTruncateAtEnd);
  compare(report, "in the middle", text, kTruncateInMiddle);
  compare(report, "at the start", text, kTruncateAtStart);
}
