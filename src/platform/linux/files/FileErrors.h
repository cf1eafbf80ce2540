/// \file FileErrors.h
/// The system's error numbers as those of the platform.
#pragma once

#include <ZtFoundation/platform/FileErrors.h>

namespace ZtFoundation::detail {

/// By the table of <ZtFoundation/platform/FileErrors.h>; 0 for 0.
OSErr fileError(int systemError) noexcept;

}  // namespace ZtFoundation::detail
