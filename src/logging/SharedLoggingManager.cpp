#include <mutex>
#include <utility>

#include <ZtFoundation/Logging.h>

namespace ZtFoundation {

namespace {

/// Never destroyed, because static objects log while they are.
struct SharedSlot {
  std::mutex lock;  // held only while the pointer is copied, never while a manager works or dies
  Ref<ZtLoggingManager> manager;
};

SharedSlot& sharedSlot() {
  static SharedSlot& slot = *new SharedSlot;
  return slot;
}

}  // namespace

Ref<ZtLoggingManager> ZtLoggingManager::sharedLoggingManager() {
  SharedSlot& slot = sharedSlot();
  const std::lock_guard guard(slot.lock);
  return slot.manager;
}

void ZtLoggingManager::setSharedLoggingManager(const Ref<ZtLoggingManager>& manager) {
  SharedSlot& slot = sharedSlot();
  Ref<ZtLoggingManager> replaced = manager;
  const std::lock_guard guard(slot.lock);
  std::swap(slot.manager, replaced);
}

}  // namespace ZtFoundation
