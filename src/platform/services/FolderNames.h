/// \file FolderNames.h
/// The names in a folder.
#pragma once

#include <string>
#include <vector>

#include "platform/services/Service.h"

namespace ZtFoundation {

class FolderNames {
 public:
  virtual ~FolderNames() = default;
  static FolderNames& production();

  /// The names of everything in the folder, links too, in the order of their
  /// bytes. Of a folder that cannot be read, what could be.
  virtual std::vector<std::string> sorted(const std::string& folder) = 0;
};

}  // namespace ZtFoundation
