#include "platform/desktop/SystemFont.h"

// What reads the settings.
#define G_SETTINGS_ENABLE_BACKEND
#include <gio/gio.h>
#include <gio/gsettingsbackend.h>
#include <pango/pango.h>

#include <memory>
#include <optional>

namespace ZtFoundation {

namespace {

constexpr char kSchema[] = "org.gnome.desktop.interface";
constexpr char kKey[] = "font-name";

SystemFont defaultFont() { return {"Sans", 13}; }

struct Unreference {
  void operator()(GSettingsBackend* backend) const { g_object_unref(backend); }
  void operator()(GSettingsSchema* schema) const { g_settings_schema_unref(schema); }
  void operator()(GSettingsSchemaKey* key) const { g_settings_schema_key_unref(key); }
  void operator()(GVariant* value) const { g_variant_unref(value); }
  void operator()(PangoFontDescription* description) const { pango_font_description_free(description); }
};

template <class Object>
using Owned = std::unique_ptr<Object, Unreference>;

bool isText(GVariant* value) { return g_variant_is_of_type(value, G_VARIANT_TYPE_STRING) != FALSE; }

// What the user chose. The toolkit's class for settings would also watch for changes, in threads that stay.
Owned<GVariant> chosenValue(GSettingsSchema* schema) {
  const char* const path = g_settings_schema_get_path(schema);
  if (path == nullptr) return nullptr;
  const Owned<GSettingsBackend> backend(g_settings_backend_get_default());
  const auto read = G_SETTINGS_BACKEND_GET_CLASS(backend.get())->read;
  Owned<GVariant> value(read(backend.get(), (std::string(path) + kKey).c_str(), G_VARIANT_TYPE_STRING, FALSE));
  if (value) value.reset(g_variant_take_ref(value.release()));
  return value && isText(value.get()) ? std::move(value) : nullptr;
}

Owned<GVariant> defaultValue(GSettingsSchema* schema) {
  const Owned<GSettingsSchemaKey> key(g_settings_schema_get_key(schema, kKey));
  return Owned<GVariant>(g_settings_schema_key_get_default_value(key.get()));
}

// The setting as "Cantarell 11". Asking for a key that is not installed would end the process, so that is looked up
// first.
std::optional<std::string> setting() {
  GSettingsSchemaSource* const source = g_settings_schema_source_get_default();
  if (source == nullptr) return std::nullopt;
  const Owned<GSettingsSchema> schema(g_settings_schema_source_lookup(source, kSchema, TRUE));
  if (!schema || !g_settings_schema_has_key(schema.get(), kKey)) return std::nullopt;
  Owned<GVariant> name = chosenValue(schema.get());
  if (!name) name = defaultValue(schema.get());
  return isText(name.get()) ? std::optional<std::string>(g_variant_get_string(name.get(), nullptr)) : std::nullopt;
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
