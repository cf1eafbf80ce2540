/// \file Status.h
/// What ICU tells of its success.
#pragma once

#include <unicode/utypes.h>

#include <new>

namespace ZtFoundation {

/// True unless it failed. Raises std::bad_alloc when it had no memory, for that says nothing of what was asked.
inline bool succeeded(UErrorCode status) {
  if (status == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
  return U_SUCCESS(status);
}

}  // namespace ZtFoundation
