/// \file ItemNames.h
/// Giving names: making a folder and renaming an item, without ever taking the
/// place of another item.
#pragma once

#include <ZtFoundation/platform/FileErrors.h>

#include <optional>
#include <string>

#include "platform/linux/references/ItemReference.h"

namespace ZtFoundation::detail {

/// The bytes of a name that an item can have; none for the empty name, ".",
/// "..", and whatever holds "/" or U+0000.
std::optional<std::string> nameForItem(const Ref<NSString>& name);

OSErr makeFolderIn(const ItemPlace& folder, const std::string& name);
/// On a file system that takes no heed of case an item's own name in other case
/// is no other item.
OSErr renameItem(const ItemPlace& item, const std::string& name);

}  // namespace ZtFoundation::detail
