#include "platform/services/OpenFiles.h"

#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <optional>
#include <string>

#include "platform/linux/files/FileDescriptor.h"

namespace ZtFoundation {

namespace {

// What the kernel writes for the descriptor.
std::optional<std::string> kernelName(int descriptor) {
  const detail::PathOfDescriptor link(descriptor);
  std::array<char, PATH_MAX> buffer;
  const ssize_t length = ::readlink(link.get(), buffer.data(), buffer.size());
  if (length < 0) return std::nullopt;
  return std::string(buffer.data(), static_cast<std::size_t>(length));
}

bool isItemAt(const std::string& path, int descriptor) {
  struct stat there, open;
  return ::lstat(path.c_str(), &there) == 0 && ::fstat(descriptor, &open) == 0 && there.st_dev == open.st_dev &&
         there.st_ino == open.st_ino;
}

// The kernel marks a lost name with words that a name may end in as well.
bool isLost(const std::string& name, int descriptor) {
  return name.ends_with(" (deleted)") && !isItemAt(name, descriptor);
}

class LinuxOpenFiles final : public OpenFiles {
 public:
  Ref<NSString> pathForFileDescriptor(std::int32_t descriptor) override {
    const auto name = kernelName(descriptor);
    if (!name || !name->starts_with('/') || isLost(*name, descriptor)) return nullptr;
    return NSString::stringWithFileSystemRepresentation(*name);
  }
};

}  // namespace

OpenFiles& OpenFiles::production() {
  static OpenFiles& files = *new LinuxOpenFiles;
  return files;
}

}  // namespace ZtFoundation
