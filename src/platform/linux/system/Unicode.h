/// \file Unicode.h
/// Where the Unicode service comes from.
#pragma once

#include "platform/services/Unicode.h"

namespace ZtFoundation {

/// The service in the module `file`, which lies beside the library; the one that answers for a missing module if there
/// is none.
Unicode& unicodeInModule(const char* file);

}  // namespace ZtFoundation
