/// \file Task.h
/// `NSTask`: a program started beside the host.
/// \code
///   Ref<NSTask> task = NSTask::launchedTaskWithLaunchPath_arguments("/usr/bin/sort", NSArray::of("-u", "/tmp/list"));
///   if (task->isRunning()) task->waitUntilExit();
/// \endcode
/// The program has the environment, the working folder and the descriptors 0 to
/// 2 of the host and no other descriptors, default signal handling and no
/// signal blocked; it stays in the host's session and process group. It is not
/// the host's child: the system's first process (or the nearest subreaper) is
/// its parent and takes note of its end. So nothing is left of it when it has
/// ended, the host's `wait` never sees it and gets no SIGCHLD for it, and its
/// exit status is nobody's to read. A host that orphans are given to (process 1
/// of a container, a subreaper) has ended programs collected when it asks
/// `isRunning` or starts the next one.
///
/// Threads: operations may be called by any thread.
#pragma once

#include <cstdint>
#include <memory>

#include <ZtFoundation/platform/Object.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

class ChildProcess;
class NSArray;

class ZT_EXPORT NSTask : public NSObject {
  ZT_OBJECT(NSTask, NSObject)
 public:
  ~NSTask() override;

  /// Starts the program at `path`, links followed, relative to the working
  /// folder and not looked up anywhere else. `arguments` are strings that
  /// arrive as their bytes, behind the path itself; none is the same as an
  /// empty array. A script is started by the interpreter of its `#!` line.
  /// Returns as soon as the program runs.
  ///
  /// Raises NSInvalidArgumentException when there is no path; when the system
  /// does not start the file there (it is missing, a folder, not executable, no
  /// program for this machine, a script whose interpreter is missing ...), with
  /// the system's reason; and when an argument is no string or holds U+0000.
  static Ref<NSTask> launchedTaskWithLaunchPath_arguments(const Ref<NSString>& path, const Ref<NSArray>& arguments);

  /// Whether the program has not ended yet.
  bool isRunning();
  /// Blocks until it has ended.
  void waitUntilExit();
  /// The number of the process; another one may have it after the program's
  /// end.
  std::int32_t processIdentifier() const;

 private:
  NSTask() noexcept;

  std::unique_ptr<ChildProcess> process_;
};

}  // namespace ZtFoundation
