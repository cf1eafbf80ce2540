#include "platform/linux/process/ModuleLoader.h"

#include <dlfcn.h>
#include <fcntl.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/files/FileContents.h"
#include "platform/linux/process/OpenCode.h"

namespace ZtFoundation {

namespace {

bool isIn(const std::string& mapping, const void* address) {
  std::uintmax_t first = 0, end = 0;
  const auto number = reinterpret_cast<std::uintptr_t>(address);
  return std::sscanf(mapping.c_str(), "%jx-%jx", &first, &end) == 2 && number >= first && number < end;
}

// The path of the file that is mapped at the address, as the system knows it; none when it cannot be told now.
std::optional<std::string> mappedPath(const void* address) {
  const detail::FileDescriptor file(
      detail::retryInterrupted([] { return ::open("/proc/self/maps", O_RDONLY | O_CLOEXEC); }));
  const std::optional<std::string> mappings = detail::readToEnd(file.get());
  if (!mappings) return std::nullopt;
  for (std::string_view rest = *mappings; !rest.empty();) {
    const std::string mapping(rest.substr(0, rest.find('\n')));
    if (isIn(mapping, address)) return mapping.substr(std::min(mapping.find('/'), mapping.size()));
    rest.remove_prefix(std::min(mapping.size() + 1, rest.size()));
  }
  return std::nullopt;
}

// The path of the shared object that this code is part of. The loader keeps it as it was found, which may be relative to
// what was the present folder then.
std::optional<std::string> ownPath() {
  const void* const here = reinterpret_cast<const void*>(&ownPath);
  Dl_info info;
  if (::dladdr(here, &info) != 0 && info.dli_fname != nullptr && info.dli_fname[0] == '/') return info.dli_fname;
  return mappedPath(here);
}

}  // namespace

ModuleFunction moduleFunction(const char* file, const char* entry) {
  const std::optional<std::string> own = ownPath();
  if (!own || own->empty()) return {nullptr, true};
  const detail::OpenedCode module = detail::openCode((own->substr(0, own->rfind('/') + 1) + file).c_str());
  if (module.handle == nullptr) return {nullptr, module.mayOpenLater};
  return {::dlvsym(module.handle, entry, "ZtFoundation_" ZT_VERSION), false};
}

}  // namespace ZtFoundation
