#include "platform/linux/applications/DesktopEntries.h"

#include "platform/linux/process/ModuleLoader.h"

namespace ZtFoundation {

namespace {

// Answers when the module is missing.
class NoEntries final : public DesktopEntries {
 public:
  std::optional<DesktopEntry> entryInText(const std::string&) override { return std::nullopt; }
};

using EntriesInModule = ServiceInModule<DesktopEntries, NoEntries>;

}  // namespace

DesktopEntries& desktopEntriesInModule(const char* file) { return EntriesInModule(file, kDesktopEntriesEntry).get(); }

DesktopEntries& DesktopEntries::production() {
  static constinit EntriesInModule module("libZtFoundationDesktop.so", kDesktopEntriesEntry);
  return module.get();
}

}  // namespace ZtFoundation
