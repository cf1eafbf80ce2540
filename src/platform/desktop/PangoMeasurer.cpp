// Text as wide as the desktop's toolkits draw it. Pango's font maps are for one thread at a time, hence the lock.

#include <pango/pangoft2.h>

#include <cmath>
#include <mutex>
#include <string>

#include "platform/desktop/SystemFont.h"
#include "platform/services/TextMeasurer.h"

#define ZT_MODULE_ENTRY extern "C" __attribute__((visibility("default")))

namespace ZtFoundation {

namespace {

constexpr double kPixelsPerInch = 72;  // so that a pixel is a point
constexpr double kSmallShare = 11.0 / 13, kMiniShare = 9.0 / 13;
// Pango counts 1/1024 of a point in 32 bits, so longer text is measured in pieces.
constexpr std::size_t kLongestPiece = 1 << 13;
constexpr char32_t kReplacement = 0xFFFD;

bool isLead(char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool isTrail(char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }
bool isPairAt(std::u16string_view units, std::size_t at) {
  return at + 1 < units.size() && isLead(units[at]) && isTrail(units[at + 1]);
}

// What is drawn for what is no character, and for zero, which would end the text.
char32_t drawn(char16_t unit) { return unit == 0 || isLead(unit) || isTrail(unit) ? kReplacement : char32_t{unit}; }

std::string toUTF8(std::u16string_view units) {
  std::string text;
  for (std::size_t at = 0; at < units.size(); ++at) {
    char32_t character = drawn(units[at]);
    if (isPairAt(units, at)) {
      character = 0x10000 + ((char32_t{units[at]} - 0xD800) << 10) + (char32_t{units[at + 1]} - 0xDC00);
      ++at;
    }
    char bytes[6];
    text.append(bytes, static_cast<std::size_t>(g_unichar_to_utf8(character, bytes)));
  }
  return text;
}

std::size_t pieceLength(std::u16string_view units) {
  if (units.size() <= kLongestPiece) return units.size();
  return isPairAt(units, kLongestPiece - 1) ? kLongestPiece - 1 : kLongestPiece;
}

class PangoMeasurer final : public TextMeasurer {
 public:
  PangoMeasurer() : font_(systemFont()), map_(pango_ft2_font_map_new()) {
    pango_ft2_font_map_set_resolution(PANGO_FT2_FONT_MAP(map_), kPixelsPerInch, kPixelsPerInch);
    context_ = pango_font_map_create_context(map_);
    pango_context_set_round_glyph_positions(context_, FALSE);
    pango_context_set_language(context_, pango_language_from_string("en"));
    layout_ = pango_layout_new(context_);
    pango_layout_set_single_paragraph_mode(layout_, TRUE);
    description_ = pango_font_description_new();
    pango_font_description_set_family(description_, font_.family.c_str());
    hasFont_ = canLoad();
  }

  std::optional<double> systemFontSize(ControlSize size) override {
    if (!hasFont_) return std::nullopt;
    switch (size) {
      case ControlSize::Small:
        return font_.size * kSmallShare;
      case ControlSize::Mini:
        return font_.size * kMiniShare;
      case ControlSize::Regular:
        break;
    }
    return font_.size;
  }

  double width(std::u16string_view units, double fontSize) override {
    const std::lock_guard lock(mutex_);
    setSize(fontSize);
    double sum = 0;
    while (!units.empty()) {
      const std::size_t length = pieceLength(units);
      sum += widthOfPiece(units.substr(0, length));
      units.remove_prefix(length);
    }
    return sum;
  }

  // System fonts kern, and what else a font does to neighbours cannot be told from here.
  std::optional<std::vector<double>> widthsThatAddUp(std::u16string_view, double) override { return std::nullopt; }

 private:
  bool canLoad() {
    PangoFont* const font = pango_context_load_font(context_, description_);
    if (font == nullptr) return false;
    g_object_unref(font);
    return true;
  }

  void setSize(double points) {
    pango_font_description_set_size(description_, static_cast<int>(std::lround(points * PANGO_SCALE)));
    pango_layout_set_font_description(layout_, description_);
  }

  double widthOfPiece(std::u16string_view units) {
    const std::string text = toUTF8(units);
    pango_layout_set_text(layout_, text.data(), static_cast<int>(text.size()));
    PangoRectangle logical;
    pango_layout_get_extents(layout_, nullptr, &logical);
    return static_cast<double>(logical.width) / PANGO_SCALE;
  }

  std::mutex mutex_;
  SystemFont font_;
  PangoFontMap* map_;
  PangoContext* context_;
  PangoLayout* layout_;
  PangoFontDescription* description_;
  bool hasFont_;
};

}  // namespace

ZT_MODULE_ENTRY TextMeasurer* ZtFoundationTextMeasurer();
// Kept for good: threads may still measure while the process ends.
TextMeasurer* ZtFoundationTextMeasurer() {
  static TextMeasurer* const shared = new PangoMeasurer;
  return shared;
}

}  // namespace ZtFoundation
