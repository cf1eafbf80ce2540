/// \file ScratchFolder.h
/// A folder of the test's own that goes away with it, and files in it seen from outside of the library.
#pragma once

#include <ZtFoundation/platform/String.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>

namespace ZtFoundation::test {

class ScratchFolder {
 public:
  ScratchFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "zt-test-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make " + name);
    path_ = name;
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  const std::string& path() const { return path_; }
  /// The path of an item in the folder.
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }
  Ref<NSString> string(const std::string& name) const {
    return NSString::stringWithFileSystemRepresentation(*this / name);
  }

  /// The names of everything in the folder itself.
  std::set<std::string> names() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path_)) names.insert(entry.path().filename());
    return names;
  }

 private:
  std::string path_;
};

inline std::optional<std::string> contentsOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  std::ostringstream contents;
  contents << file.rdbuf();
  return std::move(contents).str();
}

inline void writeFile(const std::string& path, const std::string& contents) {
  std::ofstream(path, std::ios::binary) << contents;
}

}  // namespace ZtFoundation::test
