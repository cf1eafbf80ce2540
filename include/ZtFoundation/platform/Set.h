/// \file Set.h
/// `NSSet` and `NSMutableSet`: collections without duplicates, enumerated in the order in which members were added. Of a
/// mutable string a set keeps an immutable copy. A member may be any object but a collection and none.
/// \code
///   Ref<NSMutableSet> seen = NSMutableSet::set();
///   seen->addObject("Alice");
///   seen->containsObject("Bob");                        // false
/// \endcode
/// Threads: an immutable set may be used by many threads at once, a mutable one by one at a time.
#pragma once

#include <initializer_list>

#include <ZtFoundation/platform/Collection.h>
#include <ZtFoundation/platform/Dictionary.h>

namespace ZtFoundation {

class NSMutableSet;

class ZT_EXPORT NSSet : public NSCollection {
  ZT_OBJECT(NSSet, NSObject)
 public:
  static constexpr ObjectKind kKind = ObjectKind::Set;

  /// An empty set.
  static Ref<NSSet> set();
  /// Of equal objects the first is kept. Raises NSInvalidArgumentException for none or a collection among them.
  static Ref<NSSet> setWithObjects(std::initializer_list<Ref<NSObject>> objects);
  /// The elements of the array; of equal ones the first is kept. None for none. Raises NSInvalidArgumentException for a
  /// collection among them.
  static Ref<NSSet> setWithArray(const Ref<NSArray>& objects);
  /// An immutable set with the same members; `other` itself when it is immutable, none for none.
  static Ref<NSSet> setWithSet(const Ref<NSSet>& other);

  /// How many members there are.
  NSUInteger count() const noexcept { return members_->count(); }
  /// True when a member is equal to `object`; false for none.
  bool containsObject(const Ref<NSObject>& object) const { return members_->containsKey(object); }
  /// The member that is equal to `object`, else none.
  Ref<NSObject> member(const Ref<NSObject>& object) const { return members_->objectForKey(object); }
  /// The member that was added first, none in an empty set.
  Ref<NSObject> anyObject() const;
  /// The members in the order in which they were added.
  Ref<NSArray> allObjects() const { return members_->allKeys(); }
  /// True when `other` has every member of the receiver; false for none.
  bool isSubsetOfSet(const Ref<NSSet>& other) const;
  /// A mutable set with the same members.
  Ref<NSMutableSet> mutableCopy() const;
  /// An immutable set with the same members: the receiver itself when it is immutable.
  Ref<NSSet> copy() const;

  /// Entries whose key is the member.
  NSDictionary::Iterator begin() const noexcept { return members_->begin(); }
  NSDictionary::Iterator end() const noexcept { return members_->end(); }

  bool isEqual(const NSObject* other) const override;
  using NSObject::isEqual;
  NSUInteger hash() const override;
  Ref<NSString> description() const override;

 protected:
  explicit NSSet(std::uint8_t flags);

  // Each member is filed under itself.
  Ref<NSMutableDictionary> members_;
};

class ZT_EXPORT NSMutableSet : public NSSet {
  ZT_OBJECT(NSMutableSet, NSSet)
 public:
  static constexpr bool kIsMutable = true;

  /// An empty set.
  static Ref<NSMutableSet> set();
  /// A mutable set with the same members, none for none.
  static Ref<NSMutableSet> setWithSet(const Ref<NSSet>& other);

  /// Adding an equal object keeps the member that is there. Raises NSInvalidArgumentException for none and for a
  /// collection.
  void addObject(const Ref<NSObject>& object);
  /// Removing what is no member does nothing.
  void removeObject(const Ref<NSObject>& object);
  /// Leaves the set empty.
  void removeAllObjects();

 private:
  friend class NSSet;
  NSMutableSet() : NSSet(kMutableFlag) {}
};

}  // namespace ZtFoundation
