/// \file OpenFiles.h
/// What the process has open.
#pragma once

#include <cstdint>

#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

class OpenFiles {
 public:
  virtual ~OpenFiles() = default;
  static OpenFiles& production();

  /// Where the file or folder behind the descriptor is now. None when the descriptor is not open, stands for no item of
  /// a file system, or the item has lost the name that it was opened by.
  virtual Ref<NSString> pathForFileDescriptor(std::int32_t descriptor) = 0;
};

}  // namespace ZtFoundation
