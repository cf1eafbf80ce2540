/// \file EnoughMemory.h
/// Operations on contents of any size, which may need more memory than there is.
#pragma once

#include <new>
#include <stdexcept>

namespace ZtFoundation {

/// What `operation` answers. Contents longer than a standard container can ever be, which 32-bit builds meet, are
/// std::bad_alloc like all others that memory has no room for.
template <class Operation>
auto withEnoughMemory(Operation operation) -> decltype(operation()) {
  try {
    return operation();
  } catch (const std::length_error&) {
    throw std::bad_alloc();
  }
}

}  // namespace ZtFoundation
