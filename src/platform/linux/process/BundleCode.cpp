#include "platform/services/BundleCode.h"

#include <dlfcn.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <set>
#include <string_view>

#include "platform/linux/files/ItemPath.h"
#include "platform/linux/files/SmallFile.h"
#include "platform/linux/process/OpenCode.h"
#include "platform/services/ForkSafeLocks.h"

namespace ZtFoundation {

namespace {

std::string resolved(const std::string& path) { return detail::canonicalPath(path).value_or(""); }

bool isRegular(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

// Of a file that has been removed or replaced since the start the system tells the name with a remark behind it.
std::string programFile() {
  static constexpr std::string_view kRemark = " (deleted)";
  std::string name(PATH_MAX, '\0');
  const ssize_t length = ::readlink("/proc/self/exe", name.data(), name.size());
  name.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
  if (name.ends_with(kRemark) && !isRegular(name)) name.resize(name.size() - kRemark.size());
  return name;
}

CodeModule moduleOf(void* handle) {
  link_map* map = nullptr;
  return handle != nullptr && ::dlinfo(handle, RTLD_DI_LINKMAP, &map) == 0 ? map : nullptr;
}

class LinuxBundleCode final : public BundleCode {
 public:
  CodeModule load(const std::string& path) override {
    const std::string file = resolved(path);
    if (!isRegular(file) || isBroken(file)) return nullptr;
    std::set<std::string> marked{file};
    const detail::OpenedCode opened = detail::openCode(file.c_str());
    if (opened.hasThrown) markBroken(marked);
    return moduleOf(opened.handle);
  }

  CodeModule program() override {
    CodeModule known = program_.load(std::memory_order_relaxed);
    if (known == nullptr) program_.store(known = moduleOf(detail::openCode(nullptr).handle), std::memory_order_relaxed);
    return known;
  }

  CodeModule moduleAt(const void* address) override {
    Dl_info info{};
    void* map = nullptr;
    return ::dladdr1(address, &info, &map, RTLD_DL_LINKMAP) != 0 ? map : nullptr;
  }

  std::string fileOf(CodeModule module) override {
    if (module == nullptr) return {};
    return module == program() ? programFile() : resolved(static_cast<const link_map*>(module)->l_name);
  }

  std::optional<std::string> contentsOfSmallFile(const std::string& path) override {
    std::string bytes;
    const OSErr error = detail::readSmallFile(path, &bytes);
    return error == noErr || error == fnfErr ? std::optional(bytes) : std::nullopt;
  }

 private:
  // What has failed half-way stays loaded, and loading it again would look like success.
  bool isBroken(const std::string& file) {
    const std::lock_guard guard(lockOf(ForkSafe::BrokenCode));
    return broken_.contains(file);
  }
  // Without asking for memory: the mark must not get lost.
  void markBroken(std::set<std::string>& files) {
    const std::lock_guard guard(lockOf(ForkSafe::BrokenCode));
    broken_.merge(files);
  }

  std::atomic<CodeModule> program_ = nullptr;  // under no lock, as the system's loader has one
  std::set<std::string> broken_;
};

}  // namespace

BundleCode& BundleCode::production() {
  static BundleCode& code = *new LinuxBundleCode;
  return code;
}

}  // namespace ZtFoundation
