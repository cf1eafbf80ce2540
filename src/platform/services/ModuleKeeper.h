/// \file ModuleKeeper.h
/// Code that is never unloaded.
#pragma once

#include "platform/services/Service.h"

namespace ZtFoundation {

class ModuleKeeper {
 public:
  virtual ~ModuleKeeper() = default;
  static ModuleKeeper& production();

  /// Has the code that `address` came with stay loaded as long as the process lives, whoever unloads it. May be called
  /// while that code is being loaded. Does nothing for memory that came with no code, and where there is no memory.
  virtual void keep(const void* address) noexcept = 0;
};

}  // namespace ZtFoundation
