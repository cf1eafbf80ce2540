/// \file FileCopy.h
/// Copying an item with all that is in it.
#pragma once

#include <string>

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

/// Copies the item at `from` to `to`, where nothing may be; FileManager.h says what hosts may rely on. With a null
/// observer the first error ends it. What is thrown, by the observer or for want of memory, passes through, and nothing
/// has been made then.
CopyResult copyItem(const std::string& from, const std::string& to, CopyKind kind, FileOperationObserver* observer);

}  // namespace ZtFoundation::detail
