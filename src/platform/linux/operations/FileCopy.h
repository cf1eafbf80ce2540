/// \file FileCopy.h
/// Copying an item with all that is in it.
#pragma once

#include <string>

#include "platform/linux/files/PlaceInFolder.h"
#include "platform/linux/operations/CopiedItems.h"
#include "platform/linux/operations/FileOperationObserver.h"

namespace ZtFoundation::detail {

enum class CopyKind {
  Copy,
  Link  ///< new folders with hard links to everything else
};

struct CopyResult {
  int error = 0;           ///< an errno; then nothing has been made
  bool isComplete = true;  ///< false when the observer let it go on without something
};

/// Where a path led when this was made, and the path itself for the observer.
struct OpenPath {
  explicit OpenPath(std::string itemPath);

  explicit operator bool() const noexcept { return static_cast<bool>(place); }

  std::string path;
  PlaceInFolder place;
  int error;  ///< why there is no place
};

/// Copies the item at `from` to `to`, where nothing may be; FileManager.h says what hosts may rely on. With a null
/// observer the first error ends it. What is thrown, by the observer or for want of memory, passes through, and nothing
/// has been made then. `copied`, if not null, gets what has been copied.
CopyResult copyItem(const OpenPath& from, const OpenPath& to, CopyKind kind, FileOperationObserver* observer,
                    CopiedItems* copied = nullptr);

}  // namespace ZtFoundation::detail
