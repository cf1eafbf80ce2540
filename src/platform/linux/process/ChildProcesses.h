/// \file ChildProcesses.h
/// Looking at processes that were started.
#pragma once

#include <sys/types.h>

#include <memory>

#include "platform/linux/files/FileDescriptor.h"
#include "platform/services/ChildProcesses.h"

namespace ZtFoundation::detail {

/// The process with this number and handle (pidfd; nothing where the system has none). Where orphans are given to this process, one that
/// is forgotten is collected after its end, by the next `reapForgotten`.
std::unique_ptr<ChildProcess> watchProcess(pid_t id, FileDescriptor handle);

/// Collects those of the forgotten processes that have ended. To be called before another one is started.
void reapForgotten();

}  // namespace ZtFoundation::detail
