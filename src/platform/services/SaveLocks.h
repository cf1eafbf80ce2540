/// \file SaveLocks.h
/// Keeps those who save a file one after another from doing so at once.
#pragma once

#include <memory>

#include <ZtFoundation/platform/String.h>

#include "platform/services/Service.h"

namespace ZtFoundation {

class SaveLocks {
 public:
  virtual ~SaveLocks() = default;
  static SaveLocks& production();

  /// Is held until it is destroyed.
  class Lock {
   public:
    virtual ~Lock() = default;
  };

  /// Waits until nobody else, in this process or another one of the machine, holds the lock for the file at `path`,
  /// which need not exist; links are followed. Several files may share a lock, so a thread holds one at a time. None
  /// when the folder cannot be opened, its file system has no locks, or somebody else holds it for ten seconds.
  virtual std::unique_ptr<Lock> lock(const Ref<NSString>& path) = 0;

  /// True only when it is certain that there is no file at `path`, links followed. An error is no answer.
  virtual bool isFileMissing(const Ref<NSString>& path) = 0;
};

}  // namespace ZtFoundation
