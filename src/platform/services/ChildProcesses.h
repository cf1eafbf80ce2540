/// \file ChildProcesses.h
/// Programs started beside the host.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/services/Service.h"

namespace ZtFoundation {

/// A program that was started. Forgetting it does not end it.
class ChildProcess {
 public:
  virtual ~ChildProcess() = default;

  virtual std::int32_t identifier() const = 0;
  virtual bool isRunning() = 0;
  /// Blocks until it has ended.
  virtual void waitUntilExit() = 0;
};

class ChildProcesses {
 public:
  virtual ~ChildProcesses() = default;
  static ChildProcesses& production();

  /// Starts the program at `path`, which no search path completes, with these
  /// arguments behind its path. It has the environment, the working folder and
  /// the descriptors 0 to 2 of this process and no others, default signal
  /// handling and no signal blocked. Null, with the reason in `failure`, when
  /// the system cannot start it.
  virtual std::unique_ptr<ChildProcess> start(const std::string& path, const std::vector<std::string>& arguments,
                                              std::string* failure) = 0;
};

}  // namespace ZtFoundation
