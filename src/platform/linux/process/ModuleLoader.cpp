#include "platform/linux/process/ModuleLoader.h"

#include <dlfcn.h>

#include <string>

#include "platform/linux/process/OpenCode.h"

namespace ZtFoundation {

namespace {

// The folder of the shared object that this code is part of, with the final slash; empty when it has none.
std::string ownFolder() {
  Dl_info info;
  if (dladdr(reinterpret_cast<const void*>(&ownFolder), &info) == 0 || info.dli_fname == nullptr) return {};
  const std::string path = info.dli_fname;
  return path.substr(0, path.rfind('/') + 1);
}

}  // namespace

void* moduleFunction(const char* file, const char* entry) {
  void* const module = detail::openCode((ownFolder() + file).c_str()).handle;
  return module != nullptr ? dlsym(module, entry) : nullptr;
}

}  // namespace ZtFoundation
