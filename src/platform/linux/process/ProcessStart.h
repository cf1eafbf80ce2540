/// \file ProcessStart.h
/// Starting programs that neither disturb their starter nor leave anything
/// behind.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "platform/linux/files/FileDescriptor.h"

namespace ZtFoundation::detail {

/// In what a program finds itself.
struct Surroundings {
  std::string folder;  ///< the one to work in; empty for that of this process
  bool isOnItsOwn =
      false;  ///< a session of its own, nothing on standard input, and nothing to write to where output is not handed on from here
};

struct StartedProcess {
  int error = 0;  ///< errno of what failed, and nothing runs; ECANCELED when somebody killed the process in between
  pid_t id = -1;
  FileDescriptor handle;  ///< of the process (pidfd); nothing where the system
                          ///< has no such handles
};

/// Starts the program at `path` with `arguments`, the first of which is what it
/// is called, and the environment of this process. It has the descriptors 0 to
/// 2 of this process and no others, default signal handling and no signal
/// blocked.
///
/// A process in between starts the program and ends at once, so that the
/// program is no child of ours: the system's first process (or the nearest
/// subreaper) takes care of it when it ends. We need no handler of SIGCHLD and
/// no thread for that, `wait` in the host never sees it, and no zombie stays.
/// Both share our memory until they end or become the program, as with vfork:
/// that costs the same however large the host is, and tells why the program
/// could not be started without a pipe.
///
/// Any thread may call this at any time, whatever other threads do.
StartedProcess startProcess(const std::string& path, const std::vector<std::string>& arguments,
                            const Surroundings& surroundings = {});

}  // namespace ZtFoundation::detail
