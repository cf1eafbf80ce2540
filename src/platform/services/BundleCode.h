/// \file BundleCode.h
/// The code of the running program and of bundles.
#pragma once

#include <optional>
#include <string>

#include "platform/services/Service.h"

namespace ZtFoundation {

/// A piece of loaded code; null for none.
using CodeModule = const void*;

class BundleCode {
 public:
  virtual ~BundleCode() = default;
  static BundleCode& production();

  /// Loads the shared object at `path` for as long as the process lives; once loaded, answers the same module again.
  /// Null when there is none, it cannot be loaded, or its static initialisation throws, now or earlier.
  virtual CodeModule load(const std::string& path) = 0;
  /// The running program itself.
  virtual CodeModule program() = 0;
  /// The module that what lies at `address` came with; null for memory that came with none.
  virtual CodeModule moduleAt(const void* address) = 0;
  /// The absolute path of the file that the module was loaded from, links resolved; empty when nobody knows.
  virtual std::string fileOf(CodeModule module) = 0;
  /// The bytes of the regular file at `path`, links followed; empty when there is none, and for one that is longer than
  /// 1 MiB. None when it cannot be read now.
  virtual std::optional<std::string> contentsOfSmallFile(const std::string& path) = 0;
};

}  // namespace ZtFoundation
