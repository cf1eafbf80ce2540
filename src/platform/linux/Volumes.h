/// \file Volumes.h
/// The volumes of the mounts module.
#pragma once

#include "platform/services/Volumes.h"

namespace ZtFoundation {

/// The volumes that the module `file` finds. Without such a module there are none: every call fails with nsvErr, nothing is on any volume,
/// and nothing is unmounted.
Volumes& volumesInModule(const char* file);

}  // namespace ZtFoundation
