/// \file Set.h
/// `NSSet` and `NSMutableSet`: collections without duplicates, enumerated in the order in which members were added.
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

  static Ref<NSSet> set();
  static Ref<NSSet> setWithObjects(std::initializer_list<Ref<NSObject>> objects);
  static Ref<NSSet> setWithArray(const Ref<NSArray>& objects);
  static Ref<NSSet> setWithSet(const Ref<NSSet>& other);

  NSUInteger count() const noexcept { return members_->count(); }
  bool containsObject(const Ref<NSObject>& object) const { return members_->containsKey(object); }
  /// The member that is equal to `object`, else none.
  Ref<NSObject> member(const Ref<NSObject>& object) const { return members_->objectForKey(object); }
  Ref<NSObject> anyObject() const;
  Ref<NSArray> allObjects() const { return members_->allKeys(); }
  bool isSubsetOfSet(const Ref<NSSet>& other) const;
  Ref<NSMutableSet> mutableCopy() const;
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

  static Ref<NSMutableSet> set();
  static Ref<NSMutableSet> setWithSet(const Ref<NSSet>& other);

  /// Adding an equal object keeps the member that is there. Raises NSInvalidArgumentException for none.
  void addObject(const Ref<NSObject>& object);
  void removeObject(const Ref<NSObject>& object);
  void removeAllObjects();

 private:
  friend class NSSet;
  NSMutableSet() : NSSet(kMutableFlag) {}
};

}  // namespace ZtFoundation
