/// \file ItemSearch.h
/// Looking for an item by its number, starting near where it was and going
/// outwards.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "platform/linux/volumes/MountTable.h"

namespace ZtFoundation::detail {

struct SearchOrder {
  std::uint64_t number = 0;
  /// Asked of each item that has the number: whether it is the right one.
  std::function<bool(const std::string& path)> isRight;
  std::string nearest;  ///< the folder to begin in
  std::string top;      ///< a folder above, or the same: nothing beyond it is looked at
  /// Folders that are not entered: other file systems, which may keep the
  /// process waiting.
  std::unordered_set<std::string> barred;
  std::chrono::milliseconds limit{};
};

/// All of one of the mounted file systems, and none of the others.
SearchOrder orderForVolume(const std::vector<MountedFileSystem>& mounts, const MountedFileSystem& volume);

struct SearchResult {
  std::optional<std::string> path;
  /// Without a path: everything that the process may read has been looked at.
  bool isComplete = false;
};

/// Looks into the folder `nearest`, what is in it, then into the folder around
/// it and what else is in that, up to `top`. Links are not followed. Numbers
/// are taken from the folders' own entries; no item is asked for its status
/// unless its number is right.
SearchResult searchOutwards(const SearchOrder& order);

}  // namespace ZtFoundation::detail
