/// \file LargeBlocks.h
/// Memory for contents of many megabytes.
#pragma once

#include <cstddef>

namespace ZtFoundation {

/// Tells the system that a fresh block will be filled from end to end, so that it comes in large pages where there are
/// any. Small blocks are left alone.
void expectToFill(void* block, std::size_t size) noexcept;

}  // namespace ZtFoundation
