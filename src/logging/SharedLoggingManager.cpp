#include <mutex>
#include <utility>

#include <ZtFoundation/Logging.h>

#include "platform/services/ForkSafeLocks.h"

namespace ZtFoundation {

namespace {

// Never held while a manager works or dies.
std::mutex& lock() noexcept { return lockOf(ForkSafe::LoggingManager); }

// One of its owners, and never given up at exit, because static objects log while they are destroyed.
constinit ZtLoggingManager* shared = nullptr;

}  // namespace

Ref<ZtLoggingManager> ZtLoggingManager::sharedLoggingManager() {
  const std::lock_guard guard(lock());
  return shared;
}

void ZtLoggingManager::setSharedLoggingManager(const Ref<ZtLoggingManager>& manager) {
  Ref<ZtLoggingManager> replaced = manager;
  const std::lock_guard guard(lock());
  replaced = Ref<ZtLoggingManager>::adopt(std::exchange(shared, replaced.leak()));
}

}  // namespace ZtFoundation
