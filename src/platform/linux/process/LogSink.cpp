#include "platform/services/LogSink.h"

#include <errno.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <type_traits>

#include "platform/linux/process/LocalFields.h"
#include "platform/linux/process/LogSink.h"

namespace ZtFoundation {

namespace {

// What the lines of a thread begin with for one second. Plain data, so that a thread may still log while its other
// thread-local objects are being destroyed.
struct LineContext {
  time_t second = -1;
  std::array<char, 160> prefix{};  // "date.000 name[process:thread] "
  std::size_t length = 0;
  std::size_t milliseconds = 0;  // where their three digits go
  bool mayRaiseSignal = true;
};
constinit thread_local LineContext context;

// Objects that are destroyed at exit may log.
constinit std::mutex writing;
static_assert(std::is_trivially_destructible_v<std::mutex>);

// Standard error may be a pipe or a socket, which a look at its position tells sooner than a look at its kind, or a file
// that must not grow beyond a limit.
bool mayRaiseSignal() {
  rlimit size{};
  return lseek(STDERR_FILENO, 0, SEEK_CUR) < 0 || getrlimit(RLIMIT_FSIZE, &size) != 0 || size.rlim_cur != RLIM_INFINITY;
}

void putDate(time_t second) {
  const tm fields = detail::localFields(second);
  context.milliseconds = strftime(context.prefix.data(), context.prefix.size(), "%Y-%m-%d %H:%M:%S.", &fields);
}

void putOrigin() {
  char* const out = context.prefix.data() + context.milliseconds;
  const int length =
      std::snprintf(out, context.prefix.size() - context.milliseconds, "000 %.32s[%ld:%ld] ",
                    program_invocation_short_name, static_cast<long>(getpid()), static_cast<long>(gettid()));
  // The name is whatever the program was started as.
  std::replace_if(
      out, out + length,
      [](char character) { return static_cast<unsigned char>(character) < 0x20 || character == 0x7F; }, '?');
  context.length = context.milliseconds + static_cast<std::size_t>(length);
}

// The host may put another file in the place of standard error at any time; asking for every line would cost a fifth of
// the line.
void refresh(time_t second) {
  context.second = second;
  context.mayRaiseSignal = mayRaiseSignal();
  putDate(second);
  putOrigin();
}

char* copy(char* out, const char* bytes, std::size_t length) {
  std::memcpy(out, bytes, length);
  return out + length;
}

char* putPrefix(char* out, long milliseconds) {
  copy(out, context.prefix.data(), context.length);
  char* digit = out + context.milliseconds;
  for (const long unit : {100L, 10L, 1L}) *digit++ = static_cast<char>('0' + milliseconds / unit % 10);
  return out + context.length;
}

// False when nothing more can be written.
bool waitUntilWritable() {
  pollfd stream{STDERR_FILENO, POLLOUT, 0};
  const int ready = poll(&stream, 1, -1);
  return ready > 0 ? (stream.revents & (POLLERR | POLLNVAL)) == 0 : errno == EINTR;
}

void writeAll(const char* bytes, std::size_t length) {
  while (length != 0) {
    const ssize_t written = ::write(STDERR_FILENO, bytes, length);
    if (written > 0) {
      bytes += written;
      length -= static_cast<std::size_t>(written);
    } else if (written == 0) {
      return;
    } else if (errno == EAGAIN ? !waitUntilWritable() : errno != EINTR) {
      return;
    }
  }
}

// While this lives, a write raises neither SIGPIPE nor SIGXFSZ in this thread.
class WithoutSignals {
 public:
  WithoutSignals() {
    sigset_t pending;
    sigpending(&pending);
    sigemptyset(&own_);
    for (const int each : {SIGPIPE, SIGXFSZ}) {
      if (sigismember(&pending, each) == 0) sigaddset(&own_, each);
    }
    pthread_sigmask(SIG_BLOCK, &own_, &before_);
  }
  WithoutSignals(const WithoutSignals&) = delete;
  WithoutSignals& operator=(const WithoutSignals&) = delete;
  ~WithoutSignals() {
    constexpr timespec kAtOnce{};
    sigtimedwait(&own_, nullptr, &kAtOnce);
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }

 private:
  sigset_t own_;  // those that are not pending, and so not blocked by the host, already
  sigset_t before_;
};

void writeSafely(const char* bytes, std::size_t length) {
  std::optional<WithoutSignals> guard;
  if (context.mayRaiseSignal) guard.emplace();
  writeAll(bytes, length);
}

// A thread that is cancelled ends by an exception, which must not leave the middle of a line.
class WithoutCancellation {
 public:
  WithoutCancellation() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
  WithoutCancellation(const WithoutCancellation&) = delete;
  WithoutCancellation& operator=(const WithoutCancellation&) = delete;
  ~WithoutCancellation() { pthread_setcancelstate(before_, nullptr); }

 private:
  int before_;
};

class StandardError final : public LogSink {
 public:
  void write(std::string_view text) noexcept override {
    const WithoutCancellation whole;
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (now.tv_sec != context.second) refresh(now.tv_sec);

    std::array<char, 512> small;
    std::unique_ptr<char[]> large;
    char* line = small.data();
    const std::size_t length = context.length + text.size() + 1;
    if (length > small.size()) {
      large.reset(new (std::nothrow) char[length]);
      if (!large) return;
      line = large.get();
    }
    char* const end = copy(putPrefix(line, now.tv_nsec / 1'000'000), text.data(), text.size());
    *end = '\n';
    const std::lock_guard lock(writing);
    writeSafely(line, length);
  }
};

}  // namespace

void detail::restartLogging() noexcept {
  new (&writing) std::mutex;
  context.second = -1;
}

LogSink& LogSink::production() {
  static LogSink& sink = *new StandardError;
  return sink;
}

}  // namespace ZtFoundation
