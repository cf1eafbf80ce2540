#include "platform/services/BundleCode.h"

#include <dlfcn.h>
#include <link.h>
#include <sys/stat.h>

#include <cstdlib>
#include <memory>
#include <mutex>
#include <set>

namespace ZtFoundation {

namespace {

std::string resolved(const std::string& path) {
  struct Free {
    void operator()(char* text) const noexcept { std::free(text); }
  };
  const std::unique_ptr<char, Free> real(::realpath(path.c_str(), nullptr));
  return real != nullptr ? real.get() : std::string();
}

// Opening a pipe or a device would wait for it.
bool isRegularFile(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

// The system declares that loading never throws, which makes an exception of a static constructor fatal. Called
// through a pointer that does not say so, the exception arrives here. Afterwards the system's loader stays locked for other
// threads: they wait if they load code themselves.
void* open(const std::string& path) {
  void* (*volatile const load)(const char*, int) = &::dlopen;
  return load(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
}

CodeModule moduleOf(void* handle) {
  link_map* map = nullptr;
  return handle != nullptr && ::dlinfo(handle, RTLD_DI_LINKMAP, &map) == 0 ? map : nullptr;
}

class LinuxBundleCode final : public BundleCode {
 public:
  CodeModule load(const std::string& path) override {
    const std::string file = resolved(path);
    if (!isRegularFile(file) || isBroken(file)) return nullptr;
    try {
      return moduleOf(open(file));
    } catch (...) {
      markBroken(file);
      return nullptr;
    }
  }

  bool holds(CodeModule module, const void* address) override {
    Dl_info info{};
    void* map = nullptr;
    return ::dladdr1(address, &info, &map, RTLD_DL_LINKMAP) != 0 && map == module;
  }

 private:
  // What has failed half-way stays loaded, and loading it again would look like success.
  bool isBroken(const std::string& file) {
    const std::lock_guard guard(lock_);
    return broken_.contains(file);
  }
  void markBroken(const std::string& file) {
    const std::lock_guard guard(lock_);
    broken_.insert(file);
  }

  std::mutex lock_;
  std::set<std::string> broken_;
};

}  // namespace

BundleCode& BundleCode::production() {
  static BundleCode& code = *new LinuxBundleCode;
  return code;
}

}  // namespace ZtFoundation
