// Desktop entries by GIO's rules. Only single files are read: GIO's own list of all entries starts a thread that stays.

#include "platform/services/DesktopEntries.h"

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>

#include <memory>

#define ZT_MODULE_ENTRY extern "C" __attribute__((visibility("default")))

namespace ZtFoundation {

namespace {

struct Release {
  void operator()(GDesktopAppInfo* info) const { g_object_unref(info); }
  void operator()(GKeyFile* file) const { g_key_file_unref(file); }
  void operator()(char* text) const { g_free(text); }
};

template <class Object>
using Owned = std::unique_ptr<Object, Release>;

std::string value(GDesktopAppInfo* info, const char* key) {
  const Owned<char> text(g_desktop_app_info_get_string(info, key));
  return text ? text.get() : "";
}

std::string valueInUsersLanguage(GDesktopAppInfo* info, const char* key) {
  const Owned<char> text(g_desktop_app_info_get_locale_string(info, key));
  return text ? text.get() : "";
}

bool isHidden(GKeyFile* file) {
  return g_key_file_get_boolean(file, G_KEY_FILE_DESKTOP_GROUP, G_KEY_FILE_DESKTOP_KEY_HIDDEN, nullptr) != FALSE;
}

class GIOEntries final : public DesktopEntries {
 public:
  std::optional<DesktopEntry> entryAtPath(const std::string& path) override {
    const Owned<GKeyFile> file(g_key_file_new());
    if (g_key_file_load_from_file(file.get(), path.c_str(), G_KEY_FILE_NONE, nullptr) == FALSE) return std::nullopt;
    DesktopEntry entry;
    entry.isHidden = isHidden(file.get());
    // Often such a file says nothing else, and to GIO it would be none.
    if (entry.isHidden) return entry;
    const Owned<GDesktopAppInfo> info(g_desktop_app_info_new_from_keyfile(file.get()));
    if (!info) return std::nullopt;
    entry.command = value(info.get(), G_KEY_FILE_DESKTOP_KEY_EXEC);
    entry.name = valueInUsersLanguage(info.get(), G_KEY_FILE_DESKTOP_KEY_NAME);
    entry.icon = valueInUsersLanguage(info.get(), G_KEY_FILE_DESKTOP_KEY_ICON);
    entry.workingFolder = value(info.get(), G_KEY_FILE_DESKTOP_KEY_PATH);
    entry.signature = value(info.get(), kSignatureKey);
    // One that is only reached over the session bus, which takes a thread that stays, has no command line.
    if (entry.command.find_first_not_of(" \t\n\r") == std::string::npos) return std::nullopt;
    entry.inTerminal = g_desktop_app_info_get_boolean(info.get(), G_KEY_FILE_DESKTOP_KEY_TERMINAL) != FALSE;
    return entry;
  }
};

}  // namespace

ZT_MODULE_ENTRY DesktopEntries* ZtFoundationDesktopEntries();
// Kept for good: threads may still read while the process ends.
DesktopEntries* ZtFoundationDesktopEntries() {
  static DesktopEntries* const shared = new GIOEntries;
  return shared;
}

}  // namespace ZtFoundation
