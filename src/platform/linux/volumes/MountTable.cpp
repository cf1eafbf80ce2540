#include "platform/linux/volumes/MountTable.h"

#include <fcntl.h>

#include <algorithm>
#include <optional>

#include "platform/linux/files/FileContents.h"
#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/files/ItemPath.h"

namespace ZtFoundation::detail {

namespace {

bool isOctalDigit(char c) { return c >= '0' && c <= '7'; }

bool isEscape(std::string_view text) {
  return text.size() >= 4 && text[0] == '\\' && std::ranges::all_of(text.substr(1, 3), isOctalDigit);
}

// The table writes blanks, newlines and backslashes as a backslash and three
// octal digits.
std::string unescaped(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const bool escape = isEscape(text);
    result += escape ? static_cast<char>((text[1] - '0') * 64 + (text[2] - '0') * 8 + (text[3] - '0')) : text[0];
    text.remove_prefix(escape ? 4 : 1);
  }
  return result;
}

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(separator), text.size());
    parts.push_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return parts;
}

// ID, parent, device, root, mount point, options, any number of optional
// fields, "-", type, source, options.
std::optional<MountedFileSystem> parseLine(std::string_view line) {
  constexpr std::ptrdiff_t kMountPoint = 4;
  constexpr std::ptrdiff_t kFirstOptional = 6;
  const auto fields = split(line, ' ');
  if (fields.size() < kFirstOptional) return std::nullopt;
  const auto dash = std::find(fields.begin() + kFirstOptional, fields.end(), "-");
  if (fields.end() - dash < 3) return std::nullopt;
  return MountedFileSystem{unescaped(fields[kMountPoint]), unescaped(dash[1]), unescaped(dash[2])};
}

}  // namespace

std::vector<MountedFileSystem> parseMountTable(std::string_view table) {
  std::vector<MountedFileSystem> mounts;
  for (const std::string_view line : split(table, '\n')) {
    if (auto mount = parseLine(line)) mounts.push_back(std::move(*mount));
  }
  return mounts;
}

std::vector<MountedFileSystem> mountTable() {
  const FileDescriptor file(retryInterrupted([&] { return ::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC); }));
  return parseMountTable(readToEnd(file.get()).value_or(std::string()));
}

const MountedFileSystem* mountHolding(const std::vector<MountedFileSystem>& mounts, const std::string& path) {
  const MountedFileSystem* best = nullptr;
  for (const MountedFileSystem& mount : mounts) {
    if (!isInFolder(path, mount.mountPoint)) continue;
    if (best == nullptr || mount.mountPoint.size() >= best->mountPoint.size()) best = &mount;
  }
  return best;
}

}  // namespace ZtFoundation::detail
