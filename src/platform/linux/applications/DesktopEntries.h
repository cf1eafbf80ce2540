/// \file DesktopEntries.h
/// The entries that the desktop module reads.
#pragma once

#include "platform/services/DesktopEntries.h"

namespace ZtFoundation {

/// The reader of the module `file`; one that finds none when there is no such module.
DesktopEntries& desktopEntriesInModule(const char* file);

}  // namespace ZtFoundation
