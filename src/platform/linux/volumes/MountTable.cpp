#include "platform/linux/volumes/MountTable.h"

#include <fcntl.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <unordered_map>
#include <unordered_set>

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

// -1 for what is no number.
int numberIn(std::string_view text) {
  int number = -1;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

struct Mount {
  MountedFileSystem what;
  int parent;
};

// ID, parent, device, root, mount point, options, any number of optional
// fields, "-", type, source, options.
std::optional<Mount> parseLine(std::string_view line) {
  constexpr std::ptrdiff_t kMountPoint = 4;
  constexpr std::ptrdiff_t kFirstOptional = 6;
  const auto fields = split(line, ' ');
  if (fields.size() < kFirstOptional) return std::nullopt;
  const auto dash = std::find(fields.begin() + kFirstOptional, fields.end(), "-");
  if (fields.end() - dash < 3) return std::nullopt;
  return Mount{{unescaped(fields[kMountPoint]), unescaped(dash[1]), unescaped(dash[2]), numberIn(fields[0])},
               numberIn(fields[1])};
}

std::vector<Mount> parseLines(std::string_view table) {
  std::vector<Mount> mounts;
  for (const std::string_view line : split(table, '\n')) {
    if (auto mount = parseLine(line)) mounts.push_back(std::move(*mount));
  }
  return mounts;
}

// What lies where, as the kernel finds it: from mount to mount, each time at
// the first of the mounts on the present one that is on the way.
class MountTree {
 public:
  explicit MountTree(const std::vector<Mount>& mounts) : mounts_(mounts) {
    for (const Mount& mount : mounts) numbers_.insert(mount.what.number);
    for (const Mount& mount : mounts) children_[isTop(mount) ? kTop : mount.parent].push_back(&mount);
  }

  bool shows(const Mount& mount) const { return holding(mount.what.mountPoint) == &mount; }

 private:
  static constexpr int kTop = -1;

  // The process's root may be a folder of a mount that is not told.
  bool isTop(const Mount& mount) const { return mount.parent == mount.what.number || !numbers_.contains(mount.parent); }

  const Mount* holding(const std::string& path) const {
    const Mount* found = nullptr;
    for (std::size_t depth = 0; depth <= mounts_.size(); ++depth) {
      const Mount* next = nextOnTheWay(found, path);
      if (next == nullptr) break;
      found = next;
    }
    return found;
  }

  // The way begins in the root, under what may be mounted over it.
  const Mount* nextOnTheWay(const Mount* from, const std::string& path) const {
    const auto children = children_.find(from == nullptr ? kTop : from->what.number);
    if (children == children_.end()) return nullptr;
    const Mount* first = nullptr;
    for (const Mount* mount : children->second) {
      const std::string& place = mount->what.mountPoint;
      if (!isInFolder(path, place) || (from != nullptr && place == "/")) continue;
      if (first == nullptr || place.size() <= first->what.mountPoint.size()) first = mount;
    }
    return first;
  }

  const std::vector<Mount>& mounts_;
  std::unordered_set<int> numbers_;
  std::unordered_map<int, std::vector<const Mount*>> children_;
};

}  // namespace

std::vector<MountedFileSystem> parseMountTable(std::string_view table) {
  const std::vector<Mount> all = parseLines(table);
  const MountTree tree(all);
  std::vector<MountedFileSystem> mounts;
  for (const Mount& mount : all) {
    if (tree.shows(mount)) mounts.push_back(mount.what);
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
