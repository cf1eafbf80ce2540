#include "platform/linux/files/ItemPath.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <new>
#include <string_view>
#include <utility>

#include "platform/linux/files/ItemStatus.h"

namespace ZtFoundation::detail {

namespace {

std::optional<std::string> currentFolder() {
  std::array<char, PATH_MAX> buffer;
  if (::getcwd(buffer.data(), buffer.size()) == nullptr) return std::nullopt;
  return std::string(buffer.data());
}

// Calls for each component that is neither empty nor ".".
template <class Visit>
void visitComponents(std::string_view path, Visit visit) {
  while (!path.empty()) {
    const std::size_t end = std::min(path.find('/'), path.size());
    const std::string_view component = path.substr(0, end);
    if (!component.empty() && component != ".") visit(component);
    path.remove_prefix(std::min(end + 1, path.size()));
  }
}

void appendComponents(std::string& path, std::string_view more) {
  visitComponents(more, [&](std::string_view component) { path.append("/").append(component); });
}

// Where the last ".." of an absolute path without "." ends; 0 for none.
std::size_t endOfParentComponents(std::string_view path) {
  constexpr std::string_view kParent = "/..";
  if (path.ends_with(kParent)) return path.size();
  const std::size_t at = path.rfind("/../");
  return at == std::string_view::npos ? 0 : at + kParent.size();
}

std::optional<std::string> withoutParentComponents(std::string path) {
  const std::size_t end = endOfParentComponents(path);
  if (end == 0) return path;
  auto result = canonicalPath(path.substr(0, end));
  if (result && *result == "/" && end < path.size()) result->clear();
  if (result) result->append(path, end);
  return result;
}

// "link/." is the folder that the link leads to.
bool isFolderItself(std::string_view path) {
  path = path.substr(0, path.find_last_not_of('/') + 1);
  return path == "." || path.ends_with("/.");
}

bool isLinkAt(const std::string& path) {
  const auto status = statusOfItem(path);
  return status && isLink(*status);
}

}  // namespace

std::optional<std::string> absolutePath(const std::string& path) {
  std::string result;
  if (path.empty()) errno = ENOENT;
  if (path.empty()) return std::nullopt;
  if (path.front() != '/') {
    const auto start = currentFolder();
    if (!start) return std::nullopt;
    appendComponents(result, *start);
  }
  appendComponents(result, path);
  if (result.empty()) result += '/';
  auto absolute = withoutParentComponents(std::move(result));
  return absolute && isFolderItself(path) && isLinkAt(*absolute) ? canonicalPath(*absolute) : absolute;
}

std::optional<std::string> canonicalPath(const std::string& path) {
  std::array<char, PATH_MAX> buffer;
  if (::realpath(path.c_str(), buffer.data()) == nullptr) {
    if (errno == ENOMEM) throw std::bad_alloc();
    return std::nullopt;
  }
  return std::string(buffer.data());
}

std::optional<std::string> canonicalItemPath(const std::string& path) {
  if (path == "/") return path;
  const auto folder = canonicalPath(parentOfPath(path));
  if (!folder) return std::nullopt;
  return pathInFolder(*folder, nameOfPath(path));
}

std::string parentOfPath(const std::string& path) { return path.substr(0, std::max<std::size_t>(path.rfind('/'), 1)); }

std::string nameOfPath(const std::string& path) { return path == "/" ? path : path.substr(path.rfind('/') + 1); }

std::string pathInFolder(const std::string& folder, const std::string& name) {
  std::string path(folder);
  if (path != "/") path += '/';
  return path += name;
}

bool isInFolder(const std::string& path, const std::string& folder) {
  if (folder == "/" || path == folder) return true;
  return path.starts_with(folder) && path[folder.size()] == '/';
}

}  // namespace ZtFoundation::detail
