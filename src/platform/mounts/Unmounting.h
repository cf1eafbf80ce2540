/// \file Unmounting.h
/// Unmounting as the process may.
#pragma once

#include <functional>
#include <string>

#include <ZtFoundation/platform/FileErrors.h>

#include "platform/mounts/MountTable.h"

namespace ZtFoundation::mounts {

/// Unmounts what is reachable at the mount point of `mount`, waits, and asks `isGone` whether that was it. "/" is
/// always busy.
///
/// Root does so itself. Other users, and everybody for what a program serves or a helper unmounts, ask the system's
/// programs, which know what a user may: umount (the lines of fstab, and the helper that a mount names), fusermount,
/// and udisksctl for `device`, unless that is empty. Nobody is asked for a password.
OSErr unmount(const Mount& mount, const std::string& device, const std::function<bool()>& isGone);

}  // namespace ZtFoundation::mounts
