#include "platform/linux/DesktopEntries.h"

#include "platform/linux/ModuleLoader.h"

namespace ZtFoundation {

namespace {

// Answers when the module is missing.
class NoEntries final : public DesktopEntries {
 public:
  std::optional<DesktopEntry> entryAtPath(const std::string&) override { return std::nullopt; }
};

}  // namespace

DesktopEntries& desktopEntriesInModule(const char* file) {
  void* const entry = moduleFunction(file, kDesktopEntriesEntry);
  if (entry != nullptr) return *reinterpret_cast<DesktopEntriesEntry>(entry)();
  static NoEntries& none = *new NoEntries;
  return none;
}

DesktopEntries& DesktopEntries::production() {
  static DesktopEntries& loaded = desktopEntriesInModule("libZtFoundationDesktop.so");
  return loaded;
}

}  // namespace ZtFoundation
