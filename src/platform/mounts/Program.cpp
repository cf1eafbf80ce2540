#include "platform/mounts/Program.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

#include "platform/mounts/Owned.h"

namespace ZtFoundation::mounts {

namespace {

std::vector<char*> argumentsOf(const std::vector<std::string>& command) {
  std::vector<char*> arguments;
  for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  return arguments;
}

std::vector<char*> environmentInEnglish() {
  static char language[] = "LC_ALL=C";
  std::vector<char*> environment{language};
  for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
    if (!std::string_view(*entry).starts_with("LC_ALL=")) environment.push_back(*entry);
  }
  environment.push_back(nullptr);
  return environment;
}

// Standard streams of its own, no other files, and none of what the host has done to its signals.
class Surroundings {
 public:
  explicit Surroundings(int errors) {
    posix_spawn_file_actions_init(&files_);
    posix_spawnattr_init(&attributes_);
    // This first: where the host has closed its streams, `errors` may be 1.
    isComplete_ = posix_spawn_file_actions_adddup2(&files_, errors, 2) == 0 &&
                  posix_spawn_file_actions_addopen(&files_, 0, "/dev/null", O_RDONLY, 0) == 0 &&
                  posix_spawn_file_actions_addopen(&files_, 1, "/dev/null", O_WRONLY, 0) == 0 &&
                  posix_spawn_file_actions_addclosefrom_np(&files_, 3) == 0;
    sigset_t none, all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setsigdefault(&attributes_, &all);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  Surroundings(const Surroundings&) = delete;
  Surroundings& operator=(const Surroundings&) = delete;
  ~Surroundings() {
    posix_spawnattr_destroy(&attributes_);
    posix_spawn_file_actions_destroy(&files_);
  }

  // 0 when it does not start.
  pid_t start(const std::vector<std::string>& command) const {
    if (!isComplete_) throw std::bad_alloc();
    const std::vector<char*> arguments = argumentsOf(command);
    const std::vector<char*> environment = environmentInEnglish();
    pid_t child = 0;
    const int error = posix_spawnp(&child, arguments[0], &files_, &attributes_, arguments.data(), environment.data());
    if (error == ENOMEM) throw std::bad_alloc();
    return error == 0 ? child : 0;
  }

 private:
  posix_spawn_file_actions_t files_;
  posix_spawnattr_t attributes_;
  bool isComplete_;
};

// Waits for the program when it goes, by when nobody reads any more what it says.
class Child {
 public:
  Child(pid_t id, OwnedFile& output) noexcept : id_(id), output_(output) {}
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  ~Child() {
    output_.close();
    int status;
    while (id_ != 0 && ::waitpid(id_, &status, 0) < 0 && errno == EINTR) continue;
  }

 private:
  pid_t id_;
  OwnedFile& output_;
};

std::string readAll(int from) {
  std::string text;
  char piece[1024];
  for (;;) {
    const ssize_t count = ::read(from, piece, sizeof(piece));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return text;
    text.append(piece, static_cast<std::size_t>(count));
  }
}

}  // namespace

std::string complaintOf(const std::vector<std::string>& command) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return {};
  OwnedFile reading(ends[0]);
  OwnedFile writing(ends[1]);
  const Child child(Surroundings(ends[1]).start(command), reading);
  writing.close();
  return readAll(reading.get());
}

}  // namespace ZtFoundation::mounts
