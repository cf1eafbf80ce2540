/// \file StatusOperations.h
/// Operations that answer a status code, and so raise nothing.
#pragma once

#include <ZtFoundation/platform/FileErrors.h>
#include <ZtFoundation/platform/Types.h>

#include <new>

namespace ZtFoundation::detail {

/// What `operation` answers; memFullErr when there is no memory for it.
template <class Operation>
OSStatus statusOf(Operation operation) {
  try {
    return operation();
  } catch (const std::bad_alloc&) {
    return memFullErr;
  }
}

}  // namespace ZtFoundation::detail
