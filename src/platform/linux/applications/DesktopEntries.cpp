#include "platform/linux/applications/DesktopEntries.h"

#include "platform/linux/process/ModuleLoader.h"

namespace ZtFoundation {

namespace {

// Answers when the module is missing.
class NoEntries final : public DesktopEntries {
 public:
  std::optional<DesktopEntry> entryInText(const std::string&) override { return std::nullopt; }
};

}  // namespace

DesktopEntries& desktopEntriesInModule(const char* file) {
  return serviceInModule<DesktopEntries, NoEntries>(file, kDesktopEntriesEntry);
}

DesktopEntries& DesktopEntries::production() {
  static DesktopEntries& loaded = desktopEntriesInModule("libZtFoundationDesktop.so");
  return loaded;
}

}  // namespace ZtFoundation
