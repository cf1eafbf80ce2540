#include "platform/services/ModuleKeeper.h"

#include <dlfcn.h>
#include <link.h>

#include <atomic>
#include <cstddef>
#include <new>

namespace ZtFoundation {

namespace {

const link_map* moduleAt(const void* address) noexcept {
  dl_find_object found{};
  return ::_dl_find_object(const_cast<void*>(address), &found) == 0 ? found.dlfo_link_map : nullptr;
}

// The program itself has no name. This library goes when nobody needs it, with all that it knows of classes.
bool needsNoKeeping(const link_map& module) noexcept {
  static const char here = 0;
  return module.l_name[0] == '\0' || &module == moduleAt(&here);
}

// Finds it by the name under which it is loaded; no file is opened.
bool markAsKept(const link_map& module) noexcept {
  return ::dlopen(module.l_name, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE) != nullptr;
}

// A module asks once for each of its classes, one after the other.
class LinuxModuleKeeper final : public ModuleKeeper {
 public:
  void keep(const void* address) noexcept override {
    const link_map* const module = moduleAt(address);
    if (module == nullptr || needsNoKeeping(*module) || module == lastKept_.load(std::memory_order_relaxed)) return;
    if (markAsKept(*module)) lastKept_.store(module, std::memory_order_relaxed);
  }

 private:
  std::atomic<const link_map*> lastKept_ = nullptr;
};

}  // namespace

ModuleKeeper& ModuleKeeper::production() {
  // Asked also where there is no memory.
  alignas(LinuxModuleKeeper) static std::byte storage[sizeof(LinuxModuleKeeper)];
  static ModuleKeeper& keeper = *new (storage) LinuxModuleKeeper;
  return keeper;
}

}  // namespace ZtFoundation
