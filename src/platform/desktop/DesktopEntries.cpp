// Desktop entries by the rules of freedesktop.org. GIO's class for them is of no use here: making one looks through the
// folders of all applications, and starts a thread that stays to watch them.

#include "platform/services/DesktopEntries.h"

#include <glib.h>

#include <memory>

#define ZT_MODULE_ENTRY extern "C" __attribute__((visibility("default")))

namespace ZtFoundation {

namespace {

struct Release {
  void operator()(GKeyFile* file) const { g_key_file_unref(file); }
  void operator()(char* text) const { g_free(text); }
  void operator()(char** texts) const { g_strfreev(texts); }
};

using Text = std::unique_ptr<char, Release>;
using Texts = std::unique_ptr<char*, Release>;

bool isProgram(const char* name) { return Text(g_find_program_in_path(name)) != nullptr; }

std::string withoutDoubledPercents(std::string text) {
  for (std::size_t at = text.find("%%"); at != std::string::npos; at = text.find("%%", at + 1)) text.erase(at, 1);
  return text;
}

// What Exec says, with quotes as a shell has them, begins with a program that can be started. Outside of quotes, which
// do not show any more, "%%" is a percent sign.
bool startsProgram(const std::string& command) {
  char** words = nullptr;
  if (g_shell_parse_argv(command.c_str(), nullptr, &words, nullptr) == FALSE) return false;
  const Texts all(words);
  const std::string name = all.get()[0];
  return isProgram(name.c_str()) || isProgram(withoutDoubledPercents(name).c_str());
}

class EntryFile {
 public:
  bool load(const std::string& text) {
    return g_key_file_load_from_data(file_.get(), text.data(), text.size(), G_KEY_FILE_NONE, nullptr) != FALSE;
  }

  bool isHidden() const { return isTrue(G_KEY_FILE_DESKTOP_KEY_HIDDEN); }

  std::optional<DesktopEntry> application() const {
    DesktopEntry entry;
    entry.command = text(G_KEY_FILE_DESKTOP_KEY_EXEC);
    if (!isOfApplication() || !isInstalled() || !startsProgram(entry.command)) return std::nullopt;
    entry.name = textInUsersLanguage(G_KEY_FILE_DESKTOP_KEY_NAME);
    entry.icon = textInUsersLanguage(G_KEY_FILE_DESKTOP_KEY_ICON);
    entry.workingFolder = text(G_KEY_FILE_DESKTOP_KEY_PATH);
    entry.signature = text(kSignatureKey);
    entry.inTerminal = isTrue(G_KEY_FILE_DESKTOP_KEY_TERMINAL);
    return entry;
  }

 private:
  bool isOfApplication() const {
    const Text group(g_key_file_get_start_group(file_.get()));
    return g_strcmp0(group.get(), kGroup) == 0 &&
           text(G_KEY_FILE_DESKTOP_KEY_TYPE) == G_KEY_FILE_DESKTOP_TYPE_APPLICATION;
  }
  bool isInstalled() const {
    const std::string program = text(G_KEY_FILE_DESKTOP_KEY_TRY_EXEC);
    return program.empty() || isProgram(program.c_str());
  }

  std::string text(const char* key) const {
    const Text value(g_key_file_get_string(file_.get(), kGroup, key, nullptr));
    return value ? value.get() : "";
  }
  std::string textInUsersLanguage(const char* key) const {
    const Text value(g_key_file_get_locale_string(file_.get(), kGroup, key, nullptr, nullptr));
    return value ? value.get() : "";
  }
  bool isTrue(const char* key) const { return g_key_file_get_boolean(file_.get(), kGroup, key, nullptr) != FALSE; }

  static constexpr const char* kGroup = G_KEY_FILE_DESKTOP_GROUP;

  std::unique_ptr<GKeyFile, Release> file_{g_key_file_new()};
};

class EntriesOfFiles final : public DesktopEntries {
 public:
  std::optional<DesktopEntry> entryInText(const std::string& text) override {
    EntryFile file;
    if (!file.load(text)) return std::nullopt;
    if (!file.isHidden()) return file.application();
    DesktopEntry hidden;  // often says nothing else
    hidden.isHidden = true;
    return hidden;
  }
};

}  // namespace

ZT_MODULE_ENTRY DesktopEntries* ZtFoundationDesktopEntries();
// Kept for good: threads may still read while the process ends.
DesktopEntries* ZtFoundationDesktopEntries() {
  static DesktopEntries* const shared = new EntriesOfFiles;
  return shared;
}

}  // namespace ZtFoundation
