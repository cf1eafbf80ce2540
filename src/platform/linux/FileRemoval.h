/// \file FileRemoval.h
/// Removing an item with all that is in it.
#pragma once

#include <string>

#include "platform/linux/FileOperationObserver.h"
#include "platform/linux/FolderDescent.h"
#include "platform/linux/PlaceInFolder.h"

namespace ZtFoundation::detail {

/// Removes the item at `path`; FileManager.h says what hosts may rely on. Answers 0 or an errno; with a null observer the first error ends it.
int removeItem(const std::string& path, FileOperationObserver* observer);

/// Removes the folder `place.name` if it is still `identity`, and locked items too: what a copy that failed has made.
void removeOwnFolder(const PlaceInFolder& place, const FolderIdentity& identity) noexcept;

}  // namespace ZtFoundation::detail
