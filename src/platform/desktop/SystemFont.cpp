#include "platform/desktop/SystemFont.h"

#include <gio/gio.h>
#include <pango/pango.h>

#include <memory>
#include <optional>

namespace ZtFoundation {

namespace {

constexpr char kSchema[] = "org.gnome.desktop.interface";
constexpr char kKey[] = "font-name";

SystemFont defaultFont() { return {"Sans", 13}; }

struct Unreference {
  void operator()(GSettings* settings) const { g_object_unref(settings); }
  void operator()(GSettingsSchema* schema) const { g_settings_schema_unref(schema); }
  void operator()(PangoFontDescription* description) const { pango_font_description_free(description); }
  void operator()(char* text) const { g_free(text); }
};

template <class Object>
using Owned = std::unique_ptr<Object, Unreference>;

// The setting as "Cantarell 11". Asking for a schema that is not installed would end the process, so that is looked up
// first.
std::optional<std::string> setting() {
  GSettingsSchemaSource* const source = g_settings_schema_source_get_default();
  if (source == nullptr) return std::nullopt;
  const Owned<GSettingsSchema> schema(g_settings_schema_source_lookup(source, kSchema, TRUE));
  if (!schema || !g_settings_schema_has_key(schema.get(), kKey)) return std::nullopt;
  const Owned<GSettings> settings(g_settings_new_full(schema.get(), nullptr, nullptr));
  const Owned<char> name(g_settings_get_string(settings.get(), kKey));
  return std::string(name.get());
}

SystemFont fontNamed(const std::string& name) {
  SystemFont font = defaultFont();
  const Owned<PangoFontDescription> description(pango_font_description_from_string(name.c_str()));
  if (const char* const family = pango_font_description_get_family(description.get())) font.family = family;
  if (const int size = pango_font_description_get_size(description.get()); size > 0) {
    font.size = static_cast<double>(size) / PANGO_SCALE;
  }
  return font;
}

}  // namespace

SystemFont systemFont() {
  const std::optional<std::string> name = setting();
  return name ? fontNamed(*name) : defaultFont();
}

}  // namespace ZtFoundation
