/// \file FileTree.h
/// A small tree of files, the same at the same paths each time that it is made, and whatever an operation may leave
/// behind in this process.
#pragma once

#include <dirent.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <map>
#include <string>

#include "support/ScratchFolder.h"

namespace ZtFoundation::test {

/// How many files this process has open.
inline std::size_t openDescriptors() {
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) count += !entry.path().empty();
  return count;
}

/// True when this process has no child, dead or alive.
inline bool hasNoChildren() {
  siginfo_t info{};
  return ::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) != 0 && errno == ECHILD;
}

/// What an operation may leave behind in this process beside memory.
inline std::string describeProcess() {
  return std::to_string(openDescriptors()).append(hasNoChildren() ? " open files" : " open files, and children");
}

/// Everything below `root` in a text: kinds, permissions, contents, locks, destinations of links.
inline std::string describeTree(const std::string& root) {
  std::map<std::string, std::string> items;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    const std::string path = entry.path();
    struct stat status {};
    ::lstat(path.c_str(), &status);
    std::string& text = items[path.substr(root.size())];
    text = std::to_string(status.st_mode);
    if (S_ISREG(status.st_mode)) text.append(" ").append(contentsOf(path).value_or("(unreadable)"));
    if (S_ISLNK(status.st_mode)) text.append(" to ").append(std::filesystem::read_symlink(path));
    if (::lgetxattr(path.c_str(), "user.ZtFoundation.locked", nullptr, 0) >= 0) text.append(" locked");
  }
  std::string all;
  for (const auto& [path, text] : items) all.append(path).append(" ").append(text).append("\n");
  return all;
}

/// Processes that are split off leave the folder to the one that has made the first tree.
class FileTree {
 public:
  FileTree() { make(); }

  /// The folder that holds the tree and nothing else, always the same.
  static const std::string& root() {
    static const std::string path = beside("a folder for the tree");
    return path;
  }
  /// Where something else that a test needs may lie.
  static std::string beside(const std::string& name) { return scratch() / name; }
  static Ref<NSString> path(const std::string& name) {
    return NSString::stringWithFileSystemRepresentation(root() + "/" + name);
  }

  /// The tree, the count of open files, and whether there are children.
  std::string describe() const { return describeTree(root()).append(describeProcess()); }

 private:
  static const ScratchFolder& scratch() {
    static const ScratchFolder folder;
    return folder;
  }

  static void make() {
    std::filesystem::remove_all(root());
    std::filesystem::create_directories(root() + "/folder/deeper");
    writeFile(root() + "/file.txt", "some contents of a file\n");
    writeFile(root() + "/locked.txt", "these contents are locked\n");
    writeFile(root() + "/folder/inner.txt", "inner contents\n");
    writeFile(root() + "/folder/deeper/leaf.txt", "");
    std::filesystem::create_symlink("file.txt", root() + "/link.txt");
    ::setxattr((root() + "/locked.txt").c_str(), "user.ZtFoundation.locked", "1", 1, 0);
  }
};

}  // namespace ZtFoundation::test
