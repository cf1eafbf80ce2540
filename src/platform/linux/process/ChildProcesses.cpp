#include "platform/linux/process/ChildProcesses.h"

#include <poll.h>
#include <signal.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <mutex>

#include "platform/linux/process/ProcessStart.h"

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
  void add(FileDescriptor handle) {
    const std::lock_guard guard(lock_);
    handles_.push_back(std::move(handle));
  }
  void reapEnded() {
    const std::lock_guard guard(lock_);
    std::erase_if(handles_, [](const FileDescriptor& each) { return reap(each.get()); });
  }

 private:
  std::mutex lock_;
  std::vector<FileDescriptor> handles_;
};

class LinuxChildProcess final : public ChildProcess {
 public:
  LinuxChildProcess(pid_t id, FileDescriptor handle) : id_(id), handle_(std::move(handle)) {}
  ~LinuxChildProcess() override {
    if (handle_ && !reap(handle_.get()) && areOrphansOurs()) Forgotten::shared().add(std::move(handle_));
  }

  std::int32_t identifier() const override { return id_; }
  bool isRunning() override { return handle_ ? !reap(handle_.get()) : isThere(); }
  void waitUntilExit() override {
    if (handle_) hasEnded(handle_.get(), -1);
    while (isRunning()) ::poll(nullptr, 0, 10);
  }

 private:
  // Where there are no handles: a little later another process may have the
  // number.
  bool isThere() const { return ::kill(id_, 0) == 0 || errno == EPERM; }

  const pid_t id_;
  FileDescriptor handle_;
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
    detail::reapForgotten();
    std::vector<std::string> all{path};
    all.insert(all.end(), arguments.begin(), arguments.end());
    detail::StartedProcess started = detail::startProcess(path, all);
    if (started.error == 0) return detail::watchProcess(started.id, std::move(started.handle));
    *failure = textOf(started.error);
    return nullptr;
  }
};

}  // namespace

std::unique_ptr<ChildProcess> detail::watchProcess(pid_t id, FileDescriptor handle) {
  return std::make_unique<LinuxChildProcess>(id, std::move(handle));
}

void detail::reapForgotten() { Forgotten::shared().reapEnded(); }

ChildProcesses& ChildProcesses::production() {
  static ChildProcesses& processes = *new LinuxChildProcesses;
  return processes;
}

}  // namespace ZtFoundation
