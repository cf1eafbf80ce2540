/// \file Owned.h
/// What C libraries hand out, released when its scope ends, however it ends.
#pragma once

#include <dirent.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <utility>

namespace ZtFoundation::mounts {

/// Passes on what was made; std::bad_alloc for nothing, where that means no memory.
template <class Object>
Object* made(Object* object) {
  if (object == nullptr) throw std::bad_alloc();
  return object;
}

/// Closes the file that it holds; negative stands for none.
class OwnedFile {
 public:
  explicit OwnedFile(int file = -1) noexcept : file_(file) {}
  OwnedFile(const OwnedFile&) = delete;
  OwnedFile& operator=(const OwnedFile&) = delete;
  ~OwnedFile() { close(); }

  int get() const noexcept { return file_; }
  void close() noexcept {
    if (file_ >= 0) ::close(file_);
    file_ = -1;
  }

 private:
  int file_;
};

struct CloseFolder {
  void operator()(DIR* folder) const noexcept { ::closedir(folder); }
};
using OwnedFolder = std::unique_ptr<DIR, CloseFolder>;

/// Null when it cannot be opened; std::bad_alloc when memory is all that was missing.
inline OwnedFolder openFolder(const char* path) {
  OwnedFolder folder(::opendir(path));
  if (!folder && errno == ENOMEM) throw std::bad_alloc();
  return folder;
}

/// The path without links; empty when there is no such item.
inline std::string realPath(const std::string& path) {
  std::string real(PATH_MAX, '\0');
  if (::realpath(path.c_str(), real.data()) == nullptr) {
    if (errno == ENOMEM) throw std::bad_alloc();
    return {};
  }
  real.resize(real.find('\0'));
  return real;
}

}  // namespace ZtFoundation::mounts
