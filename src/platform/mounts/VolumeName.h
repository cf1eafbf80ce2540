/// \file VolumeName.h
/// What a volume is called.
#pragma once

#include <string>

#include "platform/mounts/VolumeTable.h"

namespace ZtFoundation::mounts {

/// Thrown for want of descriptors.
struct TooManyFiles {};

/// The label for which the system made a link of this name, in which it writes bytes as "\x20".
std::string labelInLink(const std::string& name);

/// The label of the file system, for which no server is asked, else the last component of the mount point. For "/": the
/// label, else the name of the machine, else "/". `labels` is the folder in which the system lists devices by label
/// ("/dev/disk/by-label"). Throws TooManyFiles rather than to take a label for none.
std::string nameOf(const Volume& volume, const std::string& labels);

}  // namespace ZtFoundation::mounts
