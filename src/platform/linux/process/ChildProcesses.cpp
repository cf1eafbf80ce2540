#include "platform/linux/process/ChildProcesses.h"

#include <poll.h>
#include <signal.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>

#include "platform/linux/process/ProcessStart.h"
#include "platform/services/ForkSafeLocks.h"

namespace ZtFoundation {

namespace {

using detail::FileDescriptor;

#ifndef P_PIDFD
constexpr idtype_t P_PIDFD = static_cast<idtype_t>(3);
#endif

// True after the end; a negative time waits for it.
bool hasEnded(int handle, int milliseconds) {
  pollfd poll{handle, POLLIN, 0};
  return detail::retryInterrupted([&] { return ::poll(&poll, 1, milliseconds); }) == 1;
}

// Programs are ours to reap only where we are what orphans are given to.
bool areOrphansOurs() {
  int isReaper = 0;
  return ::getpid() == 1 || (::prctl(PR_GET_CHILD_SUBREAPER, &isReaper) == 0 && isReaper != 0);
}

// True when the program has ended. Where it is not ours to reap, this only
// looks.
bool reap(int handle) {
  if (!hasEnded(handle, 0)) return false;
  siginfo_t ignored;
  ::waitid(P_PIDFD, static_cast<id_t>(handle), &ignored, WEXITED | WNOHANG);
  return true;
}

/// Programs of a host that orphans are given to, which nobody looks at any
/// more. They are reaped when the next one starts.
class Forgotten {
 public:
  static Forgotten& shared() {
    static Forgotten& shared = *new Forgotten;
    return shared;
  }
  void add(std::list<FileDescriptor>& handle) noexcept {
    const std::lock_guard guard(lockOf(ForkSafe::EndedPrograms));
    handles_.splice(handles_.end(), handle);
  }
  void reapEnded() {
    const std::lock_guard guard(lockOf(ForkSafe::EndedPrograms));
    std::erase_if(handles_, [](const FileDescriptor& each) { return reap(each.get()); });
  }

 private:
  std::list<FileDescriptor> handles_;
};

// Servers behind file systems may make up numbers that nobody knows.
std::string textOf(int error) {
  const char* text = ::strerrordesc_np(error);
  return text != nullptr ? text : "error " + std::to_string(error);
}

class LinuxChildProcesses final : public ChildProcesses {
 public:
  std::unique_ptr<ChildProcess> start(const std::string& path, const std::vector<std::string>& arguments,
                                      std::string* failure) override {
    auto process = std::make_unique<detail::WatchedProcess>();
    std::vector<std::string> all{path};
    all.insert(all.end(), arguments.begin(), arguments.end());
    detail::StartedProcess started = detail::startProcess(path, all);
    if (started.error != 0) {
      *failure = textOf(started.error);
      return nullptr;
    }
    process->watch(started.id, std::move(started.handle));
    return process;
  }
};

}  // namespace

namespace detail {

WatchedProcess::WatchedProcess() : handle_(1) { Forgotten::shared().reapEnded(); }

WatchedProcess::~WatchedProcess() {
  if (handle() && !reap(handle().get()) && areOrphansOurs()) Forgotten::shared().add(handle_);
}

void WatchedProcess::watch(pid_t id, FileDescriptor handle) noexcept {
  id_ = id;
  handle_.front() = std::move(handle);
}

bool WatchedProcess::isRunning() { return handle() ? !reap(handle().get()) : isThere(); }

void WatchedProcess::waitUntilExit() {
  if (handle()) hasEnded(handle().get(), -1);
  while (isRunning()) ::poll(nullptr, 0, 10);
}

// Where there are no handles: a little later another process may have the
// number, except where the program is ours to reap and keeps it until then.
bool WatchedProcess::isThere() {
  hasBeenReaped_ = hasBeenReaped_ || (areOrphansOurs() && ::waitpid(id_, nullptr, WNOHANG) == id_);
  return !hasBeenReaped_ && (::kill(id_, 0) == 0 || errno == EPERM);
}

}  // namespace detail

ChildProcesses& ChildProcesses::production() {
  static ChildProcesses& processes = *new LinuxChildProcesses;
  return processes;
}

}  // namespace ZtFoundation
