/// \file BundleCode.h
/// Loading the code of bundles.
#pragma once

#include <string>

#include "platform/services/Service.h"

namespace ZtFoundation {

/// A piece of loaded code; null for none.
using CodeModule = const void*;

class BundleCode {
 public:
  virtual ~BundleCode() = default;
  static BundleCode& production();

  /// Loads the shared object at `path` for as long as the process lives; once loaded, answers the same module again. Null when there is
  /// none, it cannot be loaded, or its static initialisation throws, now or earlier.
  virtual CodeModule load(const std::string& path) = 0;
  /// Whether what lies at `address` came with `module`.
  virtual bool holds(CodeModule module, const void* address) = 0;
};

}  // namespace ZtFoundation
