// The system's commands as peers.
#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "support/Timing.h"

extern char** environ;

namespace bench {

// To its end, which has to be a good one; what it prints is lost.
inline void runCommand(std::vector<std::string> words) {
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  require(::posix_spawn_file_actions_init(&actions) == 0 &&
              ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0) == 0,
          "preparing a command");
  pid_t child = 0;
  int status = 0;
  require(::posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ) == 0, arguments[0]);
  require(::waitpid(child, &status, 0) == child && status == 0, arguments[0]);
  ::posix_spawn_file_actions_destroy(&actions);
}

}  // namespace bench
