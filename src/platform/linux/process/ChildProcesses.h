/// \file ChildProcesses.h
/// Looking at processes that were started.
#pragma once

#include <sys/types.h>

#include <list>

#include "platform/linux/files/FileDescriptor.h"
#include "platform/services/ChildProcesses.h"

namespace ZtFoundation::detail {

/// A process that was started. It is made before the process, so that nothing is left that could fail once that runs.
///
/// Where orphans are given to this process, one that is forgotten is collected after its end, when the next one is
/// made.
class WatchedProcess final : public ChildProcess {
 public:
  WatchedProcess();
  ~WatchedProcess() override;

  /// From now on this is the process with that number and handle (pidfd; nothing where the system has none).
  void watch(pid_t id, FileDescriptor handle) noexcept;

  std::int32_t identifier() const override { return id_; }
  bool isRunning() override;
  void waitUntilExit() override;

 private:
  FileDescriptor& handle() noexcept { return handle_.front(); }
  bool isThere();

  pid_t id_ = -1;
  bool hasBeenReaped_ = false;
  std::list<FileDescriptor> handle_;  // one, which can become part of another list without asking for memory
};

}  // namespace ZtFoundation::detail
