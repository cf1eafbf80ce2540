/// \file FolderWalk.h
/// Going through everything in a folder.
#pragma once

#include <string>
#include <vector>

#include "platform/linux/files/FolderContents.h"
#include "platform/linux/operations/FolderDescent.h"
#include "platform/linux/operations/ItemKeys.h"

namespace ZtFoundation::detail {

/// What a walk meets. An open folder and a name in it say where; errors come in errno.
class FolderVisitor {
 public:
  enum class Step { GoOn, Skip, Stop };

  virtual ~FolderVisitor() = default;

  /// Anything but a folder; `type` as in a listing, DT_UNKNOWN for what cannot be looked at.
  virtual Step item(int folder, const char* name, unsigned char type) = 0;
  /// A folder that this process may not open. True when that has been changed, so that it is tried once more.
  virtual bool opensUp(int /*parent*/, const char* /*name*/) { return false; }
  /// The folder before what is in it: where it is, and the folder itself. Skip passes over it.
  virtual Step entered(int parent, const char* name, int folder) = 0;
  /// The folder after what is in it, while it is open and afterwards.
  virtual Step leaving(int /*folder*/) { return Step::GoOn; }
  virtual Step left(int /*parent*/, const char* /*name*/) { return Step::GoOn; }
  /// The folder cannot be opened or read.
  virtual Step failed(int parent, const char* name) = 0;
  /// The folder around `name` cannot be found again, so the walk stops.
  virtual void lost(const char* name) = 0;
};

/// Walks depth first, without recursion, in few descriptors and without following links.
class FolderWalk {
 public:
  explicit FolderWalk(FolderVisitor& visitor) : visitor_(visitor) {}

  /// From the folder `name` in the open folder `at`. False when the visitor stopped it.
  bool run(int at, const char* name);

  /// Where the walk is, from the first folder: the names of the folders below it, each followed by "/".
  const std::string& path() const noexcept { return path_; }
  /// Whether the walk is in the first folder, not just before or after it.
  bool isInside() const noexcept { return !levels_.empty(); }
  /// The keys of an item where the walk is, by its path from the first folder; of a folder it is another.
  ItemKey keyOf(const char* name) const noexcept { return isInside() ? levels_.back().key.with(name) : ItemKey(); }
  ItemKey keyOfFolder(const char* name) const noexcept { return keyOf(name).with("/"); }
  const FolderDescent& descent() const noexcept { return descent_; }

 private:
  using Step = FolderVisitor::Step;

  struct Level {
    FolderContents contents;
    std::size_t nameAt;  // in path_
    ItemKey key;
  };

  int current() const noexcept { return descent_.isEmpty() ? at_ : descent_.folder(); }
  Step enter(const char* name);
  bool descend(int parent, const char* name);
  bool open(int parent, const char* name, FolderContents& contents);
  Step leave();
  Step goOn();

  FolderVisitor& visitor_;
  int at_ = -1;
  const char* name_ = nullptr;
  FolderDescent descent_;
  std::vector<Level> levels_;
  std::string path_;
};

}  // namespace ZtFoundation::detail
