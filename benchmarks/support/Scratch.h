// A folder for the length of a scope, in memory where the work of a device would only blur what is measured.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <string>
#include <system_error>

#include "support/Timing.h"

namespace bench {

class Scratch {
 public:
  explicit Scratch(const std::string& parent = std::filesystem::temp_directory_path().string()) {
    std::string name = parent + "/zt-bench-XXXXXX";
    require(::mkdtemp(name.data()) != nullptr, "making a folder");
    path_ = name;
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace bench
