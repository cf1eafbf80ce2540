#include "platform/linux/operations/MadeItems.h"

#include <algorithm>

namespace ZtFoundation::detail {

namespace {

// FNV-1a.
std::uint64_t continued(std::uint64_t key, std::string_view bytes) noexcept {
  for (const char byte : bytes) key = (key ^ static_cast<unsigned char>(byte)) * 0x100000001b3U;
  return key;
}

std::uint64_t keyOf(std::string_view folder, std::string_view name) noexcept {
  return continued(continued(0xcbf29ce484222325U, folder), name);
}

}  // namespace

void MadeItems::note(std::string_view folder, std::string_view name) noexcept { keys_.push_back(keyOf(folder, name)); }

bool MadeItems::contain(std::string_view folder, std::string_view name) const noexcept {
  return std::ranges::binary_search(keys_, keyOf(folder, name));
}

void MadeItems::sort() noexcept { std::ranges::sort(keys_); }

}  // namespace ZtFoundation::detail
