#include "platform/linux/process/ProcessStart.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <memory>

// Sanitizers keep accounts of functions that begin and end. Those here end in
// another process.
#if defined(__clang__)
#define ZT_IN_OTHER_PROCESS __attribute__((disable_sanitizer_instrumentation))
#else
#define ZT_IN_OTHER_PROCESS __attribute__((no_sanitize("address", "thread", "undefined")))
#endif

// `clone` by its other name: the thread sanitizer takes that one for a fork, after which a process has memory of its
// own.
extern "C" int __clone(int (*function)(void*), void* stack, int flags, void* argument, ...);

namespace ZtFoundation::detail {

namespace {

// Enough for the few system calls below.
struct alignas(16) Stack {
  char bytes[std::size_t{16} * 1024];

  void* top() noexcept { return bytes + sizeof bytes; }
};

/// What the three processes know of each other. All of it is made before the
/// first of them starts, since neither may allocate memory.
struct Start {
  const char* path;
  char* const* arguments;
  char* const* environment;
  const char* folder;  // null for that of this process
  bool isOnItsOwn;
  rlim_t descriptorLimit;
  Stack stackInBetween;
  Stack stackOfProgram;
  volatile int error;
  volatile pid_t id;
  int handle;
};

constexpr int kSignalCount = 64;
constexpr std::size_t kSignalSetSize = kSignalCount / 8;

// By the system's own calls: those of the C library leave out the signals that
// it uses itself, and sanitizers would note the changes as made in the host,
// whose memory this is.
ZT_IN_OTHER_PROCESS void restoreSignals() {
  static constexpr unsigned char kDefaults[64] = {};  // the action of default handling, and the empty set
  for (int signal = 1; signal <= kSignalCount; ++signal) {
    ::syscall(SYS_rt_sigaction, signal, kDefaults, nullptr, kSignalSetSize);
  }
  ::syscall(SYS_rt_sigprocmask, SIG_SETMASK, kDefaults, nullptr, kSignalSetSize);
}

ZT_IN_OTHER_PROCESS void closeDescriptors(rlim_t limit) {
  constexpr unsigned first = STDERR_FILENO + 1;
  if (::syscall(SYS_close_range, first, ~0U, 0) == 0) return;
  for (rlim_t each = first; each < limit; ++each) ::syscall(SYS_close, each);
}

// Open, and not to be closed when the program starts, as a file is that a library opened in the place of a closed one.
ZT_IN_OTHER_PROCESS bool isHandedOn(int descriptor) { return ::syscall(SYS_fcntl, descriptor, F_GETFD) == 0; }

ZT_IN_OTHER_PROCESS bool copyDescriptor(int from, int to) {
  return from == to || ::syscall(SYS_dup3, from, to, 0) >= 0;
}

// A standard descriptor that is closed would be given to the first file that the program opens.
ZT_IN_OTHER_PROCESS bool standOnItsOwn() {
  ::syscall(SYS_setsid);
  const int nothing = static_cast<int>(::syscall(SYS_openat, AT_FDCWD, "/dev/null", O_RDWR));
  if (nothing < 0 || !copyDescriptor(nothing, STDIN_FILENO)) return false;
  for (int output = STDOUT_FILENO; output <= STDERR_FILENO; ++output) {
    if (!isHandedOn(output) && !copyDescriptor(nothing, output)) return false;
  }
  if (nothing > STDERR_FILENO) ::syscall(SYS_close, nothing);
  return true;
}

ZT_IN_OTHER_PROCESS bool enterSurroundings(const Start& start) {
  if (start.isOnItsOwn && !standOnItsOwn()) return false;
  return start.folder == nullptr || ::syscall(SYS_chdir, start.folder) == 0;
}

ZT_IN_OTHER_PROCESS int becomeProgram(void* argument) {
  Start& start = *static_cast<Start*>(argument);
  closeDescriptors(start.descriptorLimit);
  restoreSignals();
  if (enterSurroundings(start)) ::execve(start.path, start.arguments, start.environment);
  start.error = errno;
  return 127;
}

// Shares the descriptors with us as well, so that the handle, which only a
// parent can ask for safely, is ours.
ZT_IN_OTHER_PROCESS int startInBetween(void* argument) {
  Start& start = *static_cast<Start*>(argument);
  constexpr int flags = CLONE_VM | CLONE_VFORK | CLONE_PIDFD | SIGCHLD;
  start.id = ::__clone(&becomeProgram, start.stackOfProgram.top(), flags, &start, &start.handle);
  if (start.id < 0) {
    start.error = errno;
    start.handle = -1;  // the system may have told one before it gave up
  } else if (start.error != 0) {
    ::syscall(SYS_wait4, static_cast<pid_t>(start.id), nullptr, 0, nullptr);
  }
  return 0;
}

/// Blocks all signals for the length of a scope: a handler of the host must not
/// run in a process that shares its memory.
class BlockedSignals {
 public:
  BlockedSignals() noexcept {
    sigset_t all;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;
  ~BlockedSignals() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_;
};

// Without a signal at its end, which also keeps it from the `wait` of other
// threads.
void runInBetween(Start& start) {
  const BlockedSignals blocked;
  constexpr int flags = CLONE_VM | CLONE_VFORK | CLONE_FILES;
  const pid_t between = ::__clone(&startInBetween, start.stackInBetween.top(), flags, &start);
  if (between < 0) {
    start.error = errno;
    return;
  }
  retryInterrupted([&] { return ::waitpid(between, nullptr, static_cast<int>(__WCLONE)); });
}

// True when somebody has killed the process in between before it could tell how things went. The program that it leaves
// behind uses our memory until it has begun.
bool isAbandoned(const Start& start) { return start.id < 0 && (start.error == 0 || start.handle >= 0); }

// Ends the program; where that cannot be done, its memory has to stay.
void endAbandoned(std::unique_ptr<Start> start, const FileDescriptor& handle) {
  pollfd end{handle.get(), POLLIN, 0};
  if (::syscall(SYS_pidfd_send_signal, handle.get(), SIGKILL, nullptr, 0) == 0) {
    retryInterrupted([&] { return ::poll(&end, 1, -1); });
  } else {
    static_cast<void>(start.release());
  }
}

// Where the system must be asked for each: no process has more in practice.
rlim_t descriptorLimit() {
  constexpr rlim_t most = 1 << 16;
  rlimit limit{};
  return ::getrlimit(RLIMIT_NOFILE, &limit) == 0 ? std::min(limit.rlim_max, most) : most;
}

std::vector<char*> pointersTo(const std::vector<std::string>& arguments) {
  std::vector<char*> pointers;
  for (const std::string& each : arguments) pointers.push_back(const_cast<char*>(each.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

StartedProcess startProcess(const std::string& path, const std::vector<std::string>& arguments,
                            const Surroundings& surroundings) {
  const std::vector<char*> pointers = pointersTo(arguments);
  auto start = std::make_unique_for_overwrite<Start>();
  start->path = path.c_str();
  start->arguments = pointers.data();
  start->environment = environ;
  start->folder = surroundings.folder.empty() ? nullptr : surroundings.folder.c_str();
  start->isOnItsOwn = surroundings.isOnItsOwn;
  start->descriptorLimit = descriptorLimit();
  start->error = 0;
  start->id = -1;
  start->handle = -1;
  runInBetween(*start);
  FileDescriptor handle(start->handle);
  if (isAbandoned(*start)) {
    endAbandoned(std::move(start), handle);
    return {ECANCELED, -1, FileDescriptor()};
  }
  if (start->error != 0) return {start->error, -1, FileDescriptor()};
  return {0, start->id, std::move(handle)};
}

}  // namespace ZtFoundation::detail
