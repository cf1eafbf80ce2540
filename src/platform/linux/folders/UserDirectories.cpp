#include "platform/linux/folders/UserDirectories.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <utility>

#include "platform/linux/files/FileContents.h"
#include "platform/linux/files/FileDescriptor.h"

namespace ZtFoundation::detail {

namespace {

constexpr std::string_view kHome = "$HOME";

bool take(std::string_view& line, std::string_view expected) {
  if (!line.starts_with(expected)) return false;
  line.remove_prefix(expected.size());
  return true;
}

void skipBlanks(std::string_view& line) { line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size())); }

// The text up to the closing quote; none when there is no such quote, or a U+0000, at which the system would end the
// path.
std::optional<std::string> unquoted(std::string_view rest) {
  std::string text;
  for (std::size_t at = 0; at < rest.size(); ++at) {
    if (rest[at] == '"') return text;
    if (rest[at] == '\\' && ++at == rest.size()) break;
    if (rest[at] == '\0') break;
    text.push_back(rest[at]);
  }
  return std::nullopt;
}

std::string withoutTrailingSlashes(std::string path) {
  path.resize(std::max(path.find_last_not_of('/') + 1, std::size_t{1}));
  return path;
}

// `rest` is what follows the opening quote.
Directory directory(std::string_view rest, const Directory& home) {
  const bool isInHome = take(rest, kHome);
  const std::optional<std::string> path = unquoted(rest);
  if (!path || (isInHome && !home)) return std::nullopt;
  if (!path->starts_with('/')) return isInHome && path->empty() ? home : std::nullopt;
  return withoutTrailingSlashes(isInHome && home != "/" ? *home + *path : *path);
}

Directory entry(std::string_view line, std::string_view key, const Directory& home) {
  skipBlanks(line);
  if (!take(line, key)) return std::nullopt;
  skipBlanks(line);
  if (!take(line, "=")) return std::nullopt;
  skipBlanks(line);
  if (!take(line, "\"")) return std::nullopt;
  return directory(line, home);
}

// Regular files only; others need not end.
std::optional<std::string> fileContents(const std::string& path) {
  constexpr int flags = O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
  const FileDescriptor file(retryInterrupted([&] { return ::open(path.c_str(), flags); }));
  struct stat status;
  if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  return readToEnd(file.get());
}

}  // namespace

Directory parsedUserDirectory(std::string_view text, std::string_view key, const Directory& home) {
  Directory found;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    if (Directory path = entry(text.substr(0, end), key, home)) found = std::move(path);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return found;
}

Directory chosenUserDirectory(std::string_view key) {
  const Directory settings = configHome();
  const std::optional<std::string> text =
      settings ? fileContents(inDirectory(*settings, "user-dirs.dirs")) : std::nullopt;
  return text ? parsedUserDirectory(*text, key, homeDirectory()) : std::nullopt;
}

}  // namespace ZtFoundation::detail
