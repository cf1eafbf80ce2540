#include "platform/linux/operations/ItemKeys.h"

#include <algorithm>

namespace ZtFoundation::detail {

bool ItemKeys::contain(ItemKey key) const noexcept { return std::ranges::binary_search(keys_, key); }

void ItemKeys::sort() noexcept { std::ranges::sort(keys_); }

}  // namespace ZtFoundation::detail
