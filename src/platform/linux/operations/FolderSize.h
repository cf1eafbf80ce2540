/// \file FolderSize.h
/// How much there is in an item.
#pragma once

#include <cstdint>

#include "platform/linux/files/PlaceInFolder.h"

namespace ZtFoundation::detail {

/// The bytes in a file, or in all the files in a folder, as far as one may look. `type` is that of a folder's entry.
std::uint64_t sizeOfItem(const PlaceInFolder& place, unsigned char type);

}  // namespace ZtFoundation::detail
