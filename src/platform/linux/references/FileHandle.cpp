#include "platform/linux/references/FileHandle.h"

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>

namespace ZtFoundation::detail {

namespace {

static_assert(kLongestHandle == MAX_HANDLE_SZ);

// The system's record, with room for the longest handle behind it.
class Buffer {
 public:
  Buffer() { header()->handle_bytes = kLongestHandle; }
  explicit Buffer(const FileHandle& handle) {
    header()->handle_type = handle.type;
    header()->handle_bytes = static_cast<unsigned>(std::min(handle.bytes.size(), kLongestHandle));
    std::memcpy(bytes(), handle.bytes.data(), header()->handle_bytes);
  }

  struct file_handle* header() {
    return reinterpret_cast<struct file_handle*>(storage_.data());
  }
  FileHandle handle() { return {header()->handle_type, std::string(bytes(), header()->handle_bytes)}; }

 private:
  char* bytes() { return storage_.data() + sizeof(struct file_handle); }

  alignas(struct file_handle) std::array<char, sizeof(struct file_handle) + kLongestHandle> storage_{};
};

}  // namespace

std::optional<FileHandle> handleOfItem(const std::string& path) {
  Buffer buffer;
  int mount = 0;
  if (::name_to_handle_at(AT_FDCWD, path.c_str(), buffer.header(), &mount, 0) != 0) return std::nullopt;
  return buffer.handle();
}

FileDescriptor openHandle(int volume, const FileHandle& handle) {
  Buffer buffer(handle);
  return FileDescriptor(
      retryInterrupted([&] { return ::open_by_handle_at(volume, buffer.header(), O_PATH | O_NOFOLLOW | O_CLOEXEC); }));
}

std::optional<std::string> rememberedPath(int item) {
  const PathOfDescriptor link(item);
  std::array<char, PATH_MAX> buffer;
  const ssize_t length = ::readlink(link.get(), buffer.data(), buffer.size());
  if (length <= 0 || buffer[0] != '/') return std::nullopt;
  return std::string(buffer.data(), static_cast<std::size_t>(length));
}

}  // namespace ZtFoundation::detail
