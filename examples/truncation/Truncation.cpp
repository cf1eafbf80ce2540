// Draws names as they are and shortened to a width, each in a frame of that width, to see that nothing sticks out and
// that no room is given away:
//
//   truncation [picture.png]
//
// Without a font for a character, the box that is drawn for it may be wider than the one that was measured.

#include <gio/gio.h>
#include <pango/pangocairo.h>

#include <iostream>
#include <iterator>
#include <string>

#include <ZtFoundation/Text.h>

namespace {

using namespace ZtFoundation;

constexpr double kScale = 2;  // pixels a point
constexpr double kMargin = 16, kLine = 24, kFrame = 20, kFirstFrame = 90, kGap = 24;
constexpr float kWidths[] = {80, 130, 220};
constexpr int kPictureWidth = 610;

const char* const kNames[] = {
    "Quarterly report of the northern branch 2023.txt",
    "Übersicht über die größten Änderungen.pdf",
    "東京タワーから見た夜景の写真 2023年12月.jpg",
    "AVAVAVAVAVAVAVAVAVAVAVAVAVAVAVAV.wav",
    "short.txt",
};
constexpr double kNameHeight = 4 * kLine + 18;
constexpr int kPictureHeight = static_cast<int>(std::size(kNames) * kNameHeight + 2 * kMargin);

struct Place {
  const char* name;
  std::int16_t code;
};
constexpr Place kPlaces[] = {
    {"at the end", kTruncateAtEnd}, {"in the middle", kTruncateInMiddle}, {"at the start", kTruncateAtStart}};

// The desktop's setting, as the library reads it.
std::string systemFontName() {
  std::string name = "Sans 13";
  GSettingsSchemaSource* const source = g_settings_schema_source_get_default();
  if (source == nullptr) return name;
  GSettingsSchema* const schema = g_settings_schema_source_lookup(source, "org.gnome.desktop.interface", TRUE);
  if (schema == nullptr) return name;
  GSettings* const settings = g_settings_new_full(schema, nullptr, nullptr);
  char* const setting = g_settings_get_string(settings, "font-name");
  name = setting;
  g_free(setting);
  g_object_unref(settings);
  g_settings_schema_unref(schema);
  return name;
}

class Picture {
 public:
  Picture()
      : surface_(cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(kPictureWidth * kScale),
                                            static_cast<int>(kPictureHeight * kScale))),
        cairo_(cairo_create(surface_)),
        layout_(pango_cairo_create_layout(cairo_)) {
    cairo_scale(cairo_, kScale, kScale);
    setColor(1, 1, 1);
    cairo_paint(cairo_);
    PangoContext* const context = pango_layout_get_context(layout_);
    pango_cairo_context_set_resolution(context, 72);
    pango_context_set_round_glyph_positions(context, FALSE);
    pango_context_set_language(context, pango_language_from_string("en"));
    PangoFontDescription* const font = pango_font_description_from_string(systemFontName().c_str());
    pango_layout_set_font_description(layout_, font);
    pango_font_description_free(font);
    withoutHinting(context);
  }
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;
  ~Picture() {
    g_object_unref(layout_);
    cairo_destroy(cairo_);
    cairo_surface_destroy(surface_);
  }

  void setColor(double red, double green, double blue) { cairo_set_source_rgb(cairo_, red, green, blue); }

  // Half way between `y` and the bottom of a frame there.
  void drawText(double x, double y, const std::string& text) {
    pango_layout_set_text(layout_, text.c_str(), static_cast<int>(text.size()));
    int height = 0;
    pango_layout_get_size(layout_, nullptr, &height);
    cairo_move_to(cairo_, x, y + (kFrame - static_cast<double>(height) / PANGO_SCALE) / 2);
    pango_cairo_show_layout(cairo_, layout_);
  }

  void drawFrame(double x, double y, double width) {
    cairo_set_line_width(cairo_, 1 / kScale);
    cairo_rectangle(cairo_, x, y, width, kFrame);
    cairo_stroke(cairo_);
  }

  bool write(const char* path) { return cairo_surface_write_to_png(surface_, path) == CAIRO_STATUS_SUCCESS; }

 private:
  static void withoutHinting(PangoContext* context) {
    cairo_font_options_t* const options = cairo_font_options_create();
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
    cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
    pango_cairo_context_set_font_options(context, options);
    cairo_font_options_destroy(options);
  }

  cairo_surface_t* surface_;
  cairo_t* cairo_;
  PangoLayout* layout_;
};

void drawShortened(Picture& picture, const Ref<NSString>& name, float width, std::int16_t code, double x, double y) {
  picture.setColor(0.85, 0.3, 0.3);
  picture.drawFrame(x, y, double{width});
  const Ref<NSString> shortened =
      JxTruncateExtensions::truncateControlStringWithDrawingWidth_truncCode(name, width, code);
  picture.setColor(0, 0, 0);
  if (shortened) picture.drawText(x, y, shortened->utf8());
}

void drawName(Picture& picture, const char* name, double y) {
  picture.setColor(0, 0, 0.6);
  picture.drawText(kMargin, y, name);
  for (const Place& place : kPlaces) {
    y += kLine;
    picture.setColor(0.5, 0.5, 0.5);
    picture.drawText(kMargin, y, place.name);
    double x = kMargin + kFirstFrame;
    for (const float width : kWidths) {
      drawShortened(picture, name, width, place.code, x, y);
      x += double{width} + kGap;
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  const char* const path = argc > 1 ? argv[1] : "truncation.png";
  Picture picture;
  double y = kMargin;
  for (const char* name : kNames) {
    drawName(picture, name, y);
    y += kNameHeight;
  }
  if (!picture.write(path)) {
    std::cerr << "cannot write " << path << '\n';
    return 1;
  }
  return 0;
}
