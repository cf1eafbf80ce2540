/// \file Notification.h
/// Notifications: telling whoever wants to know that something has happened.
/// \code
///   auto* center = NSNotificationCenter::defaultCenter();
///   Ref<NSObject> token = center->addObserverForName_object_usingBlock(
///       "SettingsSaved", store, [](const Ref<NSNotification>& note) { NSLog("%@ was saved", note->object()); });
///   center->postNotificationName_object("SettingsSaved", store);
///   center->removeObserver(token);
/// \endcode
///
/// Posting calls the observers at once, on the posting thread, in the order in which they were added, and returns after
/// the last. While a notification is delivered, observers may add and remove observers and post: one that is removed is
/// not called any more, one that is added is called from the next notification on. What an observer raises ends the
/// delivery and reaches the poster.
///
/// Threads: all operations may be called by any thread; no lock is held while observers are called. An observer that is
/// removed while another thread calls it may still be running afterwards.
#pragma once

#include <functional>
#include <memory>

#include <ZtFoundation/platform/Object.h>

namespace ZtFoundation {

class NSDictionary;

/// What happened, to which object, and what there is to say about it.
class ZT_EXPORT NSNotification : public NSObject {
  ZT_OBJECT(NSNotification, NSObject)
 public:
  /// A notification to post; any of the three may be none.
  static Ref<NSNotification> notificationWithName_object_userInfo(const Ref<NSString>& name,
                                                                  const Ref<NSObject>& object,
                                                                  const Ref<NSDictionary>& userInfo);
  ~NSNotification() override;

  /// What happened.
  const Ref<NSString>& name() const noexcept { return name_; }
  /// The sender; may be none.
  const Ref<NSObject>& object() const noexcept { return object_; }
  /// May be none.
  const Ref<NSDictionary>& userInfo() const noexcept { return userInfo_; }

 private:
  NSNotification(const Ref<NSString>& name, const Ref<NSObject>& object, const Ref<NSDictionary>& userInfo);

  Ref<NSString> name_;
  Ref<NSObject> object_;
  Ref<NSDictionary> userInfo_;
};

class ZT_EXPORT NSNotificationCenter : public NSObject {
  ZT_OBJECT(NSNotificationCenter, NSObject)
 public:
  using Block = std::function<void(const Ref<NSNotification>&)>;

  /// A center of one's own, without observers.
  NSNotificationCenter();
  ~NSNotificationCenter() override;

  /// The one center of the process.
  static NSNotificationCenter* defaultCenter();

  /// Has `block` called for notifications named `name` from `object`, each of which may be none for any. The object is
  /// compared by identity and not kept alive: remove the observer before it goes. The result names the observer when it
  /// is removed.
  Ref<NSObject> addObserverForName_object_usingBlock(const Ref<NSString>& name, const Ref<NSObject>& object,
                                                     Block block);
  /// Lets go of the block too, once it no longer runs. Does nothing for none and for what is no observer here.
  void removeObserver(const Ref<NSObject>& token);

  /// Does nothing without a notification or a name.
  void postNotification(const Ref<NSNotification>& notification);
  /// Posts a new notification without further information.
  void postNotificationName_object(const Ref<NSString>& name, const Ref<NSObject>& object);
  /// Posts a new notification.
  void postNotificationName_object_userInfo(const Ref<NSString>& name, const Ref<NSObject>& object,
                                            const Ref<NSDictionary>& userInfo);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace ZtFoundation
