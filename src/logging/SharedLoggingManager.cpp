#include <atomic>
#include <cstddef>
#include <mutex>
#include <new>
#include <thread>
#include <utility>

#include <ZtFoundation/Logging.h>

namespace ZtFoundation {

namespace {

/// Held for the few instructions that copy a pointer, so a mutex would cost more than what it guards.
class SpinLock {
 public:
  void lock() noexcept {
    while (taken_.test_and_set(std::memory_order_acquire)) std::this_thread::yield();
  }
  void unlock() noexcept { taken_.clear(std::memory_order_release); }

 private:
  std::atomic_flag taken_;
};

struct SharedSlot {
  SpinLock lock;  // never held while a manager works or dies
  Ref<ZtLoggingManager> manager;
};

/// Never destroyed, because static objects log while they are.
SharedSlot& sharedSlot() noexcept {
  alignas(SharedSlot) static std::byte memory[sizeof(SharedSlot)];
  static SharedSlot& slot = *new (memory) SharedSlot;
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
