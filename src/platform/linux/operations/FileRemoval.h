/// \file FileRemoval.h
/// Removing an item with all that is in it.
#pragma once

#include <string>

#include "platform/linux/files/PlaceInFolder.h"
#include "platform/linux/operations/CopiedItems.h"
#include "platform/linux/operations/FileOperationObserver.h"
#include "platform/linux/operations/FolderDescent.h"
#include "platform/linux/operations/ItemKeys.h"

namespace ZtFoundation::detail {

/// Removes the item at `path`; FileManager.h says what hosts may rely on. Answers 0 or an errno; with a null observer
/// the first error ends it.
int removeItem(const std::string& path, FileOperationObserver* observer);

/// Removes the item at `place` that has been copied, and ends at the first thing in it that has not, or has changed
/// since. Answers 0 or an errno.
int removeCopied(const PlaceInFolder& place, CopiedItems copied);

/// Removes what a copy that failed has made at `place`, locked or not. What others have put there meanwhile stays, with
/// the folders around it, and so does everything if the item there is not `root`. Errors do not end it.
void removeMade(const PlaceInFolder& place, const FolderIdentity& root, ItemKeys made) noexcept;

}  // namespace ZtFoundation::detail
