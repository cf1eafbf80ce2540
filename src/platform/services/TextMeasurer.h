/// \file TextMeasurer.h
/// How wide text is in the system font.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

namespace ZtFoundation {

enum class ControlSize { Regular, Small, Mini };

class TextMeasurer {
 public:
  virtual ~TextMeasurer() = default;
  static TextMeasurer& production();

  /// In points; none when there is no font.
  virtual std::optional<double> systemFontSize(ControlSize size) = 0;
  /// The width in points of `units` drawn in one line in the system font of that size.
  virtual double width(std::u16string_view units, double fontSize) = 0;
  /// The width of each unit, if any text made of some of them is as wide as its units together, in whatever order they
  /// stand; none where they may draw together or apart, as with kerning.
  virtual std::optional<std::vector<double>> widthsThatAddUp(std::u16string_view units, double fontSize) = 0;
};

/// The name and type of the function by which the desktop module hands out its measurer; the object lives as long as
/// the process.
inline constexpr char kTextMeasurerEntry[] = "ZtFoundationTextMeasurer";
using TextMeasurerEntry = TextMeasurer* (*)();

}  // namespace ZtFoundation
