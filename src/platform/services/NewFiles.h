/// \file NewFiles.h
/// Files that did not exist before.
#pragma once

#include <string_view>

#include <ZtFoundation/platform/String.h>

#include "platform/services/Service.h"

namespace ZtFoundation {

class NewFiles {
 public:
  virtual ~NewFiles() = default;
  static NewFiles& production();

  enum class Answer { Made, Taken, Impossible };

  /// Makes a file with these contents and the permissions that the umask leaves. Taken: something has this name, be it
  /// a link that leads nowhere. Impossible, and nothing is left: it cannot be made or written, or its folder is locked.
  virtual Answer make(const Ref<NSString>& path, std::string_view contents) = 0;
};

}  // namespace ZtFoundation
