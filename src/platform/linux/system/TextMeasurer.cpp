#include "platform/linux/system/TextMeasurer.h"

#include "platform/linux/process/ModuleLoader.h"

namespace ZtFoundation {

namespace {

// Answers when the module is missing.
class NoFonts final : public TextMeasurer {
 public:
  std::optional<double> systemFontSize(ControlSize) override { return std::nullopt; }
  double width(std::u16string_view, double) override { return 0; }
  std::optional<std::vector<double>> widthsThatAddUp(std::u16string_view, double) override { return std::nullopt; }
};

using MeasurerInModule = ServiceInModule<TextMeasurer, NoFonts>;

}  // namespace

TextMeasurer& textMeasurerInModule(const char* file) { return MeasurerInModule(file, kTextMeasurerEntry).get(); }

TextMeasurer& TextMeasurer::production() {
  static constinit MeasurerInModule module("libZtFoundationDesktop.so", kTextMeasurerEntry);
  return module.get();
}

}  // namespace ZtFoundation
