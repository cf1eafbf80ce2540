#include "platform/services/OpenFiles.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/files/FileContents.h"
#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/volumes/MountTable.h"

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

// The number of the mount that the item was opened on; -1 where it is not told.
int mountOf(int descriptor) {
  constexpr std::string_view kKey = "mnt_id:";
  const detail::FileDescriptor file(detail::retryInterrupted(
      [&] { return ::open(detail::PathOfDescriptor(descriptor, "fdinfo").get(), O_RDONLY | O_CLOEXEC); }));
  const std::string text = detail::readToEnd(file.get()).value_or(std::string());
  const std::size_t at = text.find(kKey);
  return at == std::string::npos ? -1 : static_cast<int>(std::strtol(text.c_str() + at + kKey.size(), nullptr, 10));
}

// The kernel's name of an item counts from the mount: when that is gone, or another one hides it, the same path leads
// elsewhere. The table of mounts tells without asking a file system; the mount of the root is not in each.
bool isWhereItsNameSays(const std::string& name, int descriptor) {
  const auto mounts = detail::mountTable();
  const detail::MountedFileSystem* mount = detail::mountHolding(mounts, name);
  return (mount != nullptr && mount->number == mountOf(descriptor)) || isItemAt(name, descriptor);
}

class LinuxOpenFiles final : public OpenFiles {
 public:
  Ref<NSString> pathForFileDescriptor(std::int32_t descriptor) override {
    const auto name = kernelName(descriptor);
    if (!name || !name->starts_with('/') || isLost(*name, descriptor) || !isWhereItsNameSays(*name, descriptor)) {
      return nullptr;
    }
    return NSString::stringWithFileSystemRepresentation(*name);
  }
};

}  // namespace

OpenFiles& OpenFiles::production() {
  static OpenFiles& files = *new LinuxOpenFiles;
  return files;
}

}  // namespace ZtFoundation
