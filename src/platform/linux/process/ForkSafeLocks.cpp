#include "platform/services/ForkSafeLocks.h"

#include <pthread.h>

#include <type_traits>

#include "platform/linux/process/LogSink.h"

namespace ZtFoundation {

namespace detail {

// Static objects of any program use them while they are made and destroyed.
constinit std::array<std::mutex, static_cast<std::size_t>(ForkSafe::Count)> forkSafeLocks;
static_assert(std::is_trivially_destructible_v<std::mutex>);

}  // namespace detail

namespace {

void takeAll() {
  for (std::mutex& lock : detail::forkSafeLocks) lock.lock();
}

void releaseAll() {
  for (std::mutex& lock : detail::forkSafeLocks) lock.unlock();
}

void beginChild() {
  releaseAll();
  detail::restartLogging();
}

// As soon as the library is there: whoever uses it in handlers of their own adds them later, and the system calls those
// before it forks first, and those after it last.
[[gnu::constructor]] void watchForks() { pthread_atfork(takeAll, releaseAll, beginChild); }

}  // namespace

}  // namespace ZtFoundation
