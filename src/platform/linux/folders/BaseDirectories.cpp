#include "platform/linux/folders/BaseDirectories.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <string_view>

#include "platform/linux/files/Accounts.h"
#include "platform/linux/files/FileErrors.h"

namespace ZtFoundation::detail {

namespace {

// None for a value that is no absolute path.
Directory absolute(std::string_view value) {
  if (!value.starts_with('/')) return std::nullopt;
  return std::string(value.substr(0, std::max(value.find_last_not_of('/') + 1, std::size_t{1})));
}

std::string_view variable(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

int findHomeInUserDatabase(Directory* home) {
  return withAccount(::getpwuid_r, ::geteuid(), [&](const passwd& entry) {
    if (entry.pw_dir != nullptr) *home = absolute(entry.pw_dir);
  });
}

Directory orInHome(const char* name, const char* inHome) {
  if (Directory directory = absolute(variable(name))) return directory;
  const Directory home = homeDirectory();
  return home ? Directory(inDirectory(*home, inHome)) : std::nullopt;
}

std::vector<std::string> list(std::string_view text) {
  std::vector<std::string> directories;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(':'), text.size());
    if (Directory directory = absolute(text.substr(0, end))) directories.push_back(*std::move(directory));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return directories;
}

std::vector<std::string> listOr(const char* name, std::string_view defaults) {
  std::vector<std::string> directories = list(variable(name));
  return directories.empty() ? list(defaults) : directories;
}

}  // namespace

std::string inDirectory(const std::string& directory, std::string_view name) {
  std::string path = directory == "/" ? std::string() : directory;
  return path.append("/").append(name);
}

Directory homeDirectory() {
  Directory home = absolute(variable("HOME"));
  if (!home) findHomeInUserDatabase(&home);
  return home;
}

// The first of these are what systems tell of a user that there is not.
OSErr errorOfHomeDirectory() {
  Directory home;
  const int error = findHomeInUserDatabase(&home);
  const bool isNone = error == ENOENT || error == ESRCH || error == EBADF || error == EPERM;
  return isNone ? OSErr{noErr} : fileError(error);
}

Directory configHome() { return orInHome("XDG_CONFIG_HOME", ".config"); }
Directory dataHome() { return orInHome("XDG_DATA_HOME", ".local/share"); }
Directory cacheHome() { return orInHome("XDG_CACHE_HOME", ".cache"); }

std::vector<std::string> configDirectories() { return listOr("XDG_CONFIG_DIRS", "/etc/xdg"); }
std::vector<std::string> dataDirectories() { return listOr("XDG_DATA_DIRS", "/usr/local/share:/usr/share"); }

Directory temporaryDirectory() {
  const Directory directory = absolute(variable("TMPDIR"));
  return directory ? directory : "/tmp";
}

}  // namespace ZtFoundation::detail
