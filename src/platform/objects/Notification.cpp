#include <ZtFoundation/platform/Notification.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/String.h>

#include "platform/services/ForkSafeLocks.h"

namespace ZtFoundation {

ZT_IMPLEMENT_CLASS(NSNotification);
ZT_IMPLEMENT_CLASS(NSNotificationCenter);

namespace {

// One for all: it is held for a few instructions.
std::mutex& lock() { return lockOf(ForkSafe::Observers); }

class Observer final : public NSObject {
 public:
  Observer(const Ref<NSString>& name, const NSObject* sender, NSNotificationCenter::Block block)
      : name_(NSString::stringWithString(name)),
        sender_(sender),
        block_(std::make_shared<const NSNotificationCenter::Block>(std::move(block))) {}

  bool wants(const NSNotification& notification) const {
    return (!name_ || name_->isEqual(notification.name())) &&
           (sender_ == nullptr || sender_ == notification.object().get());
  }
  void tell(const Ref<NSNotification>& notification) const {
    if (const SharedBlock block = currentBlock()) (*block)(notification);
  }
  // Whoever keeps the token keeps nothing of what the block holds. A block that is running lives until it returns.
  void remove() {
    SharedBlock block;  // destroyed when nothing is locked
    const std::lock_guard guard(lock());
    block.swap(block_);
  }

 private:
  using SharedBlock = std::shared_ptr<const NSNotificationCenter::Block>;

  SharedBlock currentBlock() const {
    const std::lock_guard guard(lock());
    return block_;
  }

  Ref<NSString> name_;
  const NSObject* sender_;
  SharedBlock block_;
};

}  // namespace

struct NSNotificationCenter::State {
  std::vector<Ref<Observer>> observers;

  std::vector<Ref<Observer>> observersOf(const NSNotification& notification) {
    std::vector<Ref<Observer>> wanted;
    const std::lock_guard guard(lock());
    std::copy_if(observers.begin(), observers.end(), std::back_inserter(wanted),
                 [&](const Ref<Observer>& observer) { return observer->wants(notification); });
    return wanted;
  }

  Ref<Observer> take(const Ref<NSObject>& token) {
    const std::lock_guard guard(lock());
    const auto found = std::find(observers.begin(), observers.end(), token);
    if (found == observers.end()) return nullptr;
    Ref<Observer> observer = std::move(*found);
    observers.erase(found);
    return observer;
  }
};

NSNotification::NSNotification(const Ref<NSString>& name, const Ref<NSObject>& object,
                               const Ref<NSDictionary>& userInfo)
    : name_(NSString::stringWithString(name)), object_(object), userInfo_(userInfo) {}

NSNotification::~NSNotification() = default;

Ref<NSNotification> NSNotification::notificationWithName_object_userInfo(const Ref<NSString>& name,
                                                                         const Ref<NSObject>& object,
                                                                         const Ref<NSDictionary>& userInfo) {
  return Ref<NSNotification>::adopt(new NSNotification(name, object, userInfo));
}

NSNotificationCenter::NSNotificationCenter() : state_(std::make_unique<State>()) {}
NSNotificationCenter::~NSNotificationCenter() = default;

NSNotificationCenter* NSNotificationCenter::defaultCenter() {
  static NSNotificationCenter* const center = new NSNotificationCenter;  // Objects that are destroyed at exit may post.
  return center;
}

Ref<NSObject> NSNotificationCenter::addObserverForName_object_usingBlock(const Ref<NSString>& name,
                                                                         const Ref<NSObject>& object, Block block) {
  if (!block) return nullptr;
  Ref<Observer> observer = make<Observer>(name, object.get(), std::move(block));
  const std::lock_guard guard(lock());
  state_->observers.push_back(observer);
  return observer;
}

void NSNotificationCenter::removeObserver(const Ref<NSObject>& token) {
  if (const Ref<Observer> observer = state_->take(token)) observer->remove();
}

void NSNotificationCenter::postNotification(const Ref<NSNotification>& notification) {
  if (!notification || !notification->name()) return;
  const Ref<NSNotification> kept = notification;
  for (const Ref<Observer>& observer : state_->observersOf(*kept)) observer->tell(kept);
}

void NSNotificationCenter::postNotificationName_object(const Ref<NSString>& name, const Ref<NSObject>& object) {
  postNotificationName_object_userInfo(name, object, nullptr);
}

void NSNotificationCenter::postNotificationName_object_userInfo(const Ref<NSString>& name, const Ref<NSObject>& object,
                                                                const Ref<NSDictionary>& userInfo) {
  postNotification(NSNotification::notificationWithName_object_userInfo(name, object, userInfo));
}

}  // namespace ZtFoundation
