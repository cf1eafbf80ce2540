#include <ZtFoundation/platform/Object.h>

#include <cstdio>
#include <ostream>

#include <ZtFoundation/platform/Collection.h>
#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

namespace detail {

void throwMessageToNone() { raiseInvalidArgument("message sent to none"); }

// Collections that die while another is being torn down queue up here, so that depth costs no stack.
class Graveyard {
 public:
  void bury(NSCollection* collection) noexcept {
    collection->nextDead_ = head_;
    head_ = collection;
    if (!digging_) dig();
  }

 private:
  void dig() noexcept {
    digging_ = true;
    while (head_ != nullptr) {
      NSCollection* collection = head_;
      head_ = collection->nextDead_;
      delete collection;
    }
    digging_ = false;
  }

  NSCollection* head_ = nullptr;
  bool digging_ = false;
};

namespace {

// In memory that each thread has from its beginning, also where a program loads the library later: releasing must not
// need any.
[[gnu::tls_model("initial-exec")]] constinit thread_local Graveyard graveyard;

}  // namespace

}  // namespace detail

void NSObject::destroy() const noexcept {
  NSObject* self = const_cast<NSObject*>(this);
  // Who shares the object while it is torn down must not be its last owner once more.
  references_.store(1, std::memory_order_relaxed);
  if (detail::isCollection(*self)) {
    detail::graveyard.bury(static_cast<NSCollection*>(self));
  } else {
    delete self;
  }
}

NSUInteger NSObject::hash() const {
  // Blocks are aligned to 16 bytes, so the low bits tell nothing.
  return reinterpret_cast<NSUInteger>(this) >> 4;
}

Ref<NSString> NSObject::description() const {
  char address[2 + 2 * sizeof(void*) + 1];
  std::snprintf(address, sizeof address, "%p", static_cast<const void*>(this));
  return "<" + std::string(isa()->name()) + ": " + address + ">";
}

std::ostream& operator<<(std::ostream& stream, const NSObject* object) {
  return object != nullptr ? stream << detail::describe(object)->utf8() : stream << "(null)";
}

}  // namespace ZtFoundation
