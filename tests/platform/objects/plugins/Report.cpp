// A tool that tells what it was started with: Report FILE ARGUMENT... Each fact is followed by U+0000. The file appears
// under its name when all of it is there. An argument "--linger" has it wait for a signal.

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

extern char** environ;

namespace {

constexpr int kMostDescriptors = 4096;

void tell(std::FILE* file, const char* what, const std::string& value) {
  std::fprintf(file, "%s=%s%c", what, value.c_str(), '\0');
}

std::string descriptors() {
  std::string open;
  for (int each = 0; each < kMostDescriptors; ++each) {
    if (::fcntl(each, F_GETFD) >= 0) open.append(std::to_string(each)).append(" ");
  }
  return open;
}

std::string unusualSignals() {
  std::string unusual;
  sigset_t blocked;
  ::sigprocmask(SIG_SETMASK, nullptr, &blocked);
  for (int each = 1; each <= SIGRTMAX; ++each) {
    struct sigaction action {};
    if (::sigaction(each, nullptr, &action) == 0 && action.sa_handler != SIG_DFL) unusual.append("handled:");
    if (::sigismember(&blocked, each) == 1) unusual.append("blocked:");
    if (!unusual.empty() && unusual.back() == ':') unusual.append(std::to_string(each)).append(" ");
  }
  return unusual;
}

std::string workingFolder() {
  char* const path = ::getcwd(nullptr, 0);
  std::string result = path != nullptr ? path : "";
  std::free(path);
  return result;
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 2) return 2;
  const std::string open = descriptors();
  const std::string path = arguments[1];
  const std::string draft = path + ".draft";
  std::FILE* const file = std::fopen(draft.c_str(), "wb");
  if (file == nullptr) return 1;
  tell(file, "descriptors", open);
  tell(file, "signals", unusualSignals());
  tell(file, "folder", workingFolder());
  tell(file, "session", std::to_string(::getsid(0)) + " " + std::to_string(::getpgrp()));
  tell(file, "process", std::to_string(::getpid()));
  for (char** each = environ; *each != nullptr; ++each) {
    if (std::strncmp(*each, "ZT_", 3) == 0) tell(file, "variable", *each);
  }
  for (int i = 0; i < count; ++i) tell(file, "argument", arguments[i]);
  std::fclose(file);
  std::rename(draft.c_str(), path.c_str());
  if (std::strcmp(arguments[count - 1], "--linger") == 0) ::pause();
}
