/// \file FileDescriptor.h
/// Ownership of an open file, system calls that are repeated when a signal breaks into them, and paths as the system
/// takes them.
#pragma once

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <ZtFoundation/platform/String.h>

namespace ZtFoundation::detail {

/// Closes what it holds. Negative stands for nothing.
class FileDescriptor {
 public:
  FileDescriptor() noexcept = default;
  explicit FileDescriptor(int descriptor) noexcept : descriptor_(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  ~FileDescriptor() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }

  int get() const noexcept { return descriptor_; }
  /// Gives the file up without closing it.
  int release() noexcept { return std::exchange(descriptor_, -1); }
  explicit operator bool() const noexcept { return descriptor_ >= 0; }

 private:
  int descriptor_ = -1;
};

/// Names an open item, also one opened with O_PATH, whatever becomes of its path, or what the kernel tells of it in the
/// folder "fdinfo"; needs "/proc".
class PathOfDescriptor {
 public:
  explicit PathOfDescriptor(int descriptor, const char* folder = "fd") noexcept {
    std::snprintf(path_.data(), path_.size(), "/proc/self/%s/%d", folder, descriptor);
  }
  const char* get() const noexcept { return path_.data(); }

 private:
  std::array<char, 32> path_;
};

/// Calls until no signal breaks in; answers what the call answers.
template <class Call>
auto retryInterrupted(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

/// The bytes that name `path`, none for none and for a path that no system call can take.
inline std::optional<std::string> systemPath(const Ref<NSString>& path) {
  if (!path) return std::nullopt;
  std::string bytes = path->fileSystemRepresentation();
  if (bytes.find('\0') != std::string::npos) return std::nullopt;
  return bytes;
}

}  // namespace ZtFoundation::detail
