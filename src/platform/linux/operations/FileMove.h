/// \file FileMove.h
/// Moving an item to another place.
#pragma once

#include <string>

#include "platform/linux/operations/FileOperationObserver.h"

namespace ZtFoundation::detail {

/// Moves the item at `from` to `to`, where nothing may be; FileManager.h says what hosts may rely on. Answers 0 or an
/// errno.
int moveItem(const std::string& from, const std::string& to, FileOperationObserver* observer);

}  // namespace ZtFoundation::detail
