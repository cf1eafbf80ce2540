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

}  // namespace

TextMeasurer& textMeasurerInModule(const char* file) {
  return serviceInModule<TextMeasurer, NoFonts>(file, kTextMeasurerEntry);
}

TextMeasurer& TextMeasurer::production() {
  static TextMeasurer& loaded = textMeasurerInModule("libZtFoundationDesktop.so");
  return loaded;
}

}  // namespace ZtFoundation
