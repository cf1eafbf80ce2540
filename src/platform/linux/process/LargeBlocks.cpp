#include "platform/services/LargeBlocks.h"

#include <sys/mman.h>

#include <cerrno>
#include <cstdint>

namespace ZtFoundation {

namespace {

constexpr std::uintptr_t kLargePage = std::uintptr_t{2} << 20;
constexpr std::size_t kWorthwhile = 4 * kLargePage;

}  // namespace

void expectToFill(void* block, std::size_t size) noexcept {
  if (size < kWorthwhile) return;
  const auto start = reinterpret_cast<std::uintptr_t>(block);
  const std::uintptr_t first = (start + kLargePage - 1) & ~(kLargePage - 1);
  const std::uintptr_t last = (start + size) & ~(kLargePage - 1);
  const int error = errno;
  madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);  // advice: nothing is lost when it is refused
  errno = error;
}

}  // namespace ZtFoundation
