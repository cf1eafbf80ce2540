#include "platform/linux/operations/CopiedItems.h"

namespace ZtFoundation::detail {

namespace {

ItemKey withNumber(ItemKey key, std::int64_t number) noexcept {
  return key.with({reinterpret_cast<const char*>(&number), sizeof number});
}

ItemKey withTime(ItemKey key, const timespec& time) noexcept {
  return withNumber(withNumber(key, time.tv_sec), time.tv_nsec);
}

ItemKey withContents(ItemKey item, const struct stat& status) noexcept {
  return withTime(withNumber(item, status.st_size), status.st_mtim);
}

ItemKey withAll(ItemKey item, const struct stat& status) noexcept {
  return withTime(withContents(item, status), status.st_ctim);
}

}  // namespace

// The first of several names to be removed changes the file under the others.
void CopiedItems::note(ItemKey item, const struct stat& status) {
  keys_.note(status.st_nlink > 1 ? withContents(item, status) : withAll(item, status));
}

bool CopiedItems::contain(ItemKey item, const struct stat& status) const noexcept {
  return keys_.contain(withAll(item, status)) || keys_.contain(withContents(item, status));
}

}  // namespace ZtFoundation::detail
