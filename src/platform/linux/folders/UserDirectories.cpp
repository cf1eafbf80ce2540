#include "platform/linux/folders/UserDirectories.h"

#include <algorithm>
#include <utility>

#include "platform/linux/files/SmallFile.h"

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

OSErr findChosenUserDirectory(std::string_view key, Directory* chosen) {
  const Directory settings = configHome();
  if (!settings) return noErr;
  std::string text;
  const OSErr error = readSmallFile(inDirectory(*settings, "user-dirs.dirs"), &text);
  if (error == noErr) *chosen = parsedUserDirectory(text, key, homeDirectory());
  return error != fnfErr ? error : OSErr{noErr};
}

}  // namespace ZtFoundation::detail
