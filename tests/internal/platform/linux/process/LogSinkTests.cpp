#include "platform/services/LogSink.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation {
namespace {

// Standard error goes into a pipe as long as this lives.
class CapturedStandardError {
 public:
  explicit CapturedStandardError(int flags = 0) : saved_(dup(STDERR_FILENO)) {
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    reading_ = ends[0];
    EXPECT_EQ(dup2(ends[1], STDERR_FILENO), STDERR_FILENO);
    EXPECT_EQ(fcntl(STDERR_FILENO, F_SETFL, flags), 0);
    close(ends[1]);
    reader_ = std::thread([this] { readAll(); });
  }
  ~CapturedStandardError() { finish(); }

  void restore() {
    if (saved_ < 0) return;
    dup2(saved_, STDERR_FILENO);
    close(saved_);
    saved_ = -1;
  }

  std::string finish() {
    restore();
    if (reader_.joinable()) reader_.join();
    if (reading_ >= 0) close(reading_);
    reading_ = -1;
    return text_;
  }

 private:
  // Small bites keep the pipe full, so that writers have to wait.
  void readAll() {
    char bytes[1000];
    ssize_t length;
    while ((length = read(reading_, bytes, sizeof bytes)) != 0) {
      if (length > 0) text_.append(bytes, static_cast<std::size_t>(length));
    }
  }

  int saved_;
  int reading_ = -1;
  std::thread reader_;
  std::string text_;
};

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    lines.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return lines;
}

std::string logged(std::string_view text) {
  CapturedStandardError capture;
  LogSink::production().write(text);
  return capture.finish();
}

TEST(LogSink, WritesTimeProcessThreadAndText) {
  const std::string line = logged("the text");
  constexpr std::size_t kTimeEnd = 24;
  EXPECT_THAT(line.substr(0, kTimeEnd),
              ::testing::MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} "));
  std::string rest = std::string(program_invocation_short_name).substr(0, 32);
  rest.append("[").append(std::to_string(getpid())).append(":").append(std::to_string(gettid()));
  EXPECT_EQ(line.substr(kTimeEnd), rest.append("] the text\n"));
}

// A thread looks at the name before its first line.
TEST(LogSink, ANameThatWouldDisturbTheLineIsMadeHarmless) {
  char name[] = "a\nb\x1B\x7F\x1F \xC3\xA4";
  char* const saved = program_invocation_short_name;
  CapturedStandardError capture;
  program_invocation_short_name = name;
  std::thread([] { LogSink::production().write("text"); }).join();
  program_invocation_short_name = saved;
  EXPECT_NE(capture.finish().find(" a?b??? \xC3\xA4["), std::string::npos);
}

std::int64_t millisecondsNow() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}

TEST(LogSink, TellsTheTimeInMilliseconds) {
  const std::int64_t before = millisecondsNow();
  const std::string line = logged("x");
  const std::int64_t after = millisecondsNow();
  tm fields{};
  const char* const rest = strptime(line.c_str(), "%Y-%m-%d %H:%M:%S.", &fields);
  ASSERT_NE(rest, nullptr);
  fields.tm_isdst = -1;
  const std::int64_t told = std::int64_t{mktime(&fields)} * 1000 + std::stoi(rest);
  EXPECT_GE(told, before);
  EXPECT_LE(told, after);
}

TEST(LogSink, TellsLocalTime) {
  const time_t before = time(nullptr);
  const std::string line = logged("x");
  tm fields{};
  ASSERT_NE(strptime(line.c_str(), "%Y-%m-%d %H:%M:%S", &fields), nullptr);
  fields.tm_isdst = -1;
  EXPECT_GE(mktime(&fields), before);
  EXPECT_LE(mktime(&fields), time(nullptr));
}

TEST(LogSink, WritesLongLinesWhole) {
  const std::string text(300'000, 'x');
  EXPECT_NE(logged(text).find("] " + text + "\n"), std::string::npos);
}

TEST(LogSink, EmptyTextEndsInABlank) { EXPECT_TRUE(logged("").ends_with("] \n")); }

void expectWholeLines(const std::string& text, std::size_t count) {
  const std::vector<std::string> lines = linesOf(text);
  EXPECT_EQ(lines.size(), count);
  for (const std::string& line : lines) {
    const std::size_t start = line.find("] ");
    ASSERT_NE(start, std::string::npos);
    const std::string_view rest = std::string_view(line).substr(start + 2);
    EXPECT_EQ(rest.find_first_not_of(rest[0]), std::string_view::npos) << "a torn line";
  }
}

void logFromManyThreads(int rounds, std::size_t length) {
  std::vector<std::thread> threads;
  for (const char letter : {'a', 'b', 'c', 'd'}) {
    threads.emplace_back([=] {
      const std::string text(length, letter);
      for (int round = 0; round < rounds; ++round) LogSink::production().write(text);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(LogSink, ConcurrentLinesStayWhole) {
  CapturedStandardError capture;
  logFromManyThreads(200, 100);
  expectWholeLines(capture.finish(), 800);
}

TEST(LogSink, LinesStayWholeOverShortWrites) {
  CapturedStandardError capture;
  logFromManyThreads(5, 200'000);  // more than a pipe takes at once
  expectWholeLines(capture.finish(), 20);
}

TEST(LogSink, LinesStayWholeWhileTheProcessForks) {
  CapturedStandardError capture;
  LogSink::production().write("a");
  std::thread writers([] { logFromManyThreads(5, 200'000); });
  for (int i = 0; i < 5; ++i) {
    const pid_t child = fork();
    if (child == 0) _exit(0);
    waitpid(child, nullptr, 0);
  }
  writers.join();
  expectWholeLines(capture.finish(), 21);
}

TEST(LogSink, LinesStayWholeOnAStreamThatDoesNotBlock) {
  CapturedStandardError capture(O_NONBLOCK);
  logFromManyThreads(5, 200'000);
  expectWholeLines(capture.finish(), 20);
}

TEST(LogSink, LinesStayWholeOverInterruptions) {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  struct sigaction previous {};
  ASSERT_EQ(sigaction(SIGUSR1, &action, &previous), 0);
  CapturedStandardError capture;
  std::atomic<bool> done = false;
  const pthread_t writer = pthread_self();
  std::thread interrupter([&] {
    while (!done) {
      pthread_kill(writer, SIGUSR1);
      usleep(100);
    }
  });
  for (int round = 0; round < 5; ++round) LogSink::production().write(std::string(300'000, 'a'));
  done = true;
  interrupter.join();
  expectWholeLines(capture.finish(), 5);
  sigaction(SIGUSR1, &previous, nullptr);
}

TEST(LogSink, AChildHasItsOwnNumbers) {
  CapturedStandardError capture;
  LogSink::production().write("parent");
  const pid_t child = fork();
  if (child == 0) {
    LogSink::production().write("child");
    _exit(0);
  }
  ASSERT_EQ(waitpid(child, nullptr, 0), child);
  const std::string numbers = "[" + std::to_string(child) + ":" + std::to_string(child) + "] child\n";
  EXPECT_NE(capture.finish().find(numbers), std::string::npos);
}

// A thread waits in the middle of a line, as nobody reads.
void stallStandardError() {
  int ends[2];
  EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
  EXPECT_EQ(dup2(ends[1], STDERR_FILENO), STDERR_FILENO);
  std::thread([] { LogSink::production().write(std::string(300'000, 'a')); }).detach();
  pollfd room{STDERR_FILENO, POLLOUT, 0};
  while (poll(&room, 1, 0) == 1) std::this_thread::yield();
}

int logToNobody() {
  alarm(20);
  const int nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (dup2(nothing, STDERR_FILENO) < 0) return 1;
  LogSink::production().write("child");
  return 0;
}

TEST(LogSink, AForkDoesNotWaitForAStreamThatStalls) {
  EXPECT_EQ(test::inChild([] {
              alarm(20);
              stallStandardError();
              return test::inChild(logToNobody);
            }),
            0);
}

// Standard error is what nobody reads as long as this lives.
class UnreadStandardError {
 public:
  explicit UnreadStandardError(int (*makeEnds)(int*)) : saved_(dup(STDERR_FILENO)) {
    int ends[2];
    EXPECT_EQ(makeEnds(ends), 0);
    dup2(ends[1], STDERR_FILENO);
    close(ends[0]);
    close(ends[1]);
  }
  ~UnreadStandardError() {
    dup2(saved_, STDERR_FILENO);
    close(saved_);
  }

 private:
  int saved_;
};

int makePipe(int* ends) { return pipe(ends); }
int makeSockets(int* ends) { return socketpair(AF_UNIX, SOCK_STREAM, 0, ends); }

bool isSIGPIPEPending() {
  sigset_t pending;
  sigpending(&pending);
  return sigismember(&pending, SIGPIPE) == 1;
}

bool isSIGPIPEBlocked() {
  sigset_t mask;
  pthread_sigmask(SIG_SETMASK, nullptr, &mask);
  return sigismember(&mask, SIGPIPE) == 1;
}

// A thread looks at standard error anew at its first line.
template <class Work>
void inNewThread(Work work) {
  std::thread(work).join();
}

TEST(LogSink, AReaderThatIsGoneDoesNotEndTheProcess) {
  signal(SIGPIPE, SIG_DFL);
  for (auto* const makeEnds : {makePipe, makeSockets}) {
    const UnreadStandardError unread(makeEnds);
    inNewThread([] {
      LogSink::production().write("nobody reads this");
      LogSink::production().write(std::string(300'000, 'a'));
      EXPECT_FALSE(isSIGPIPEPending());
      EXPECT_FALSE(isSIGPIPEBlocked());
    });
  }
}

TEST(LogSink, StandardErrorIsLookedAtEverySecond) {
  signal(SIGPIPE, SIG_DFL);
  CapturedStandardError capture;
  LogSink::production().write("read");
  const UnreadStandardError unread(makePipe);
  std::this_thread::sleep_for(std::chrono::milliseconds(1100));
  LogSink::production().write("nobody reads this");
}

TEST(LogSink, ASignalOfTheHostsOwnStaysPending) {
  sigset_t only, before;
  sigemptyset(&only);
  sigaddset(&only, SIGPIPE);
  const UnreadStandardError unread(makePipe);
  inNewThread([&] {
    pthread_sigmask(SIG_BLOCK, &only, &before);
    pthread_kill(pthread_self(), SIGPIPE);
    LogSink::production().write("nobody reads this");
    EXPECT_TRUE(isSIGPIPEPending());
    EXPECT_TRUE(isSIGPIPEBlocked());
    constexpr timespec kAtOnce{};
    sigtimedwait(&only, nullptr, &kAtOnce);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
  });
}

// Standard error is a file, which a child must not let grow beyond a limit.
int logBeyondLimit(const std::string& path) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  const rlimit limit{100, RLIM_INFINITY};
  if (dup2(file, STDERR_FILENO) < 0 || setrlimit(RLIMIT_FSIZE, &limit) != 0) return 1;
  signal(SIGXFSZ, SIG_DFL);
  inNewThread([] {
    for (int i = 0; i < 5; ++i) LogSink::production().write("a line of some length");
  });
  sigset_t pending;
  sigpending(&pending);
  return sigismember(&pending, SIGXFSZ);
}

TEST(LogSink, AFileThatMustNotGrowSwallowsLines) {
  const test::ScratchFolder folder;
  EXPECT_EQ(test::inChild([&] { return logBeyondLimit(folder / "log"); }), 0);
  EXPECT_EQ(std::filesystem::file_size(folder / "log"), 100U);
}

void* logWhenCancelled(void*) {
  pthread_cancel(pthread_self());
  LogSink::production().write("whole");
  pthread_testcancel();
  return nullptr;
}

TEST(LogSink, AThreadThatIsCancelledEndsAfterTheLine) {
  CapturedStandardError capture;
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, nullptr, logWhenCancelled, nullptr), 0);
  void* result = nullptr;
  pthread_join(thread, &result);
  EXPECT_EQ(result, PTHREAD_CANCELED);
  EXPECT_TRUE(capture.finish().ends_with("] whole\n"));
}

TEST(LogSink, AStreamThatIsClosedSwallowsLines) {
  CapturedStandardError capture;
  close(STDERR_FILENO);
  LogSink::production().write("nobody reads this");
  EXPECT_EQ(capture.finish(), "");
}

}  // namespace
}  // namespace ZtFoundation
