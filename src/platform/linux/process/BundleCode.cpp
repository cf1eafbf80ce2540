#include "platform/services/BundleCode.h"

#include <dlfcn.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <set>
#include <string_view>

namespace ZtFoundation {

namespace {

std::string resolved(const std::string& path) {
  struct Free {
    void operator()(char* text) const noexcept { std::free(text); }
  };
  const std::unique_ptr<char, Free> real(::realpath(path.c_str(), nullptr));
  return real != nullptr ? real.get() : std::string();
}

bool isRegular(const std::string& path) {
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
    try {
      return moduleOf(open(file));
    } catch (...) {
      markBroken(file);
      return nullptr;
    }
  }

  CodeModule program() override {
    static const CodeModule program = moduleOf(::dlopen(nullptr, RTLD_NOW | RTLD_LOCAL));
    return program;
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

  bool isRegularFile(const std::string& path) override { return isRegular(path); }

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
