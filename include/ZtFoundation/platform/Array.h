/// \file Array.h
/// `NSArray` and `NSMutableArray`: ordered lists of objects.
/// \code
///   Ref<NSMutableArray> names = NSMutableArray::array();
///   names->addObject("Alice");
///   for (const Ref<NSObject>& name : *names) std::cout << name << "\n";
///   Ref<NSArray> mixed = NSArray::of(1, "two", true);
/// \endcode
/// An array never holds none: adding it raises NSInvalidArgumentException. Indexes outside raise NSRangeException. An array
/// must not change while it is iterated.
#pragma once

#include <initializer_list>
#include <span>

#include <ZtFoundation/platform/Collection.h>

namespace ZtFoundation {

class NSMutableArray;

class ZT_EXPORT NSArray : public NSCollection {
  ZT_OBJECT(NSArray, NSObject)
 public:
  static constexpr ObjectKind kKind = ObjectKind::Array;

  ~NSArray() override;

  static Ref<NSArray> array();
  static Ref<NSArray> arrayWithObject(const Ref<NSObject>& object);
  static Ref<NSArray> arrayWithObjects(std::initializer_list<Ref<NSObject>> objects);
  /// An immutable array with the same elements; `other` itself when it is immutable, none for none.
  static Ref<NSArray> arrayWithArray(const Ref<NSArray>& other);
  template <class... Values>
  static Ref<NSArray> of(const Values&... values) {
    return arrayWithObjects({Ref<NSObject>(values)...});
  }
  /// Takes the elements out of `objects`, which are left empty; for producers that know all elements. None among them raises.
  static Ref<NSArray> arrayByTaking(std::span<Ref<NSObject>> objects);

  NSUInteger count() const noexcept { return count_; }
  const Ref<NSObject>& objectAtIndex(NSUInteger index) const;
  const Ref<NSObject>& operator[](NSUInteger index) const { return objectAtIndex(index); }
  Ref<NSObject> firstObject() const;
  Ref<NSObject> lastObject() const;
  bool containsObject(const Ref<NSObject>& object) const { return indexOfObject(object) != NSNotFound; }
  /// The first index whose element is equal, else NSNotFound.
  NSUInteger indexOfObject(const Ref<NSObject>& object) const;
  NSUInteger indexOfObjectIdenticalTo(const Ref<NSObject>& object) const;
  /// The first element of the receiver that `other` holds too, else none.
  Ref<NSObject> firstObjectCommonWithArray(const Ref<NSArray>& other) const;
  Ref<NSArray> arrayByAddingObject(const Ref<NSObject>& object) const;
  Ref<NSArray> subarrayWithRange(NSRange range) const;
  /// The descriptions of the elements with `separator` between them.
  Ref<NSString> componentsJoinedByString(const Ref<NSString>& separator) const;
  /// A mutable array with the same elements.
  Ref<NSMutableArray> mutableCopy() const;
  Ref<NSArray> copy() const;

  const Ref<NSObject>* begin() const noexcept { return items_; }
  const Ref<NSObject>* end() const noexcept { return items_ + count_; }

  bool isEqual(const NSObject* other) const override;
  using NSObject::isEqual;
  NSUInteger hash() const override;
  Ref<NSString> description() const override;

 protected:
  explicit NSArray(std::uint8_t flags) noexcept : NSCollection(ObjectKind::Array, flags) {}

  Ref<NSObject>* items_ = nullptr;
  NSUInteger count_ = 0;
};

class ZT_EXPORT NSMutableArray : public NSArray {
  ZT_OBJECT(NSMutableArray, NSArray)
 public:
  static constexpr bool kIsMutable = true;

  static Ref<NSMutableArray> array();
  static Ref<NSMutableArray> arrayWithCapacity(NSUInteger capacity);
  static Ref<NSMutableArray> arrayWithArray(const Ref<NSArray>& other);
  static Ref<NSMutableArray> arrayByTaking(std::span<Ref<NSObject>> objects);
  template <class... Values>
  static Ref<NSMutableArray> of(const Values&... values) {
    return NSArray::of(values...)->mutableCopy();
  }

  void addObject(Ref<NSObject> object);
  void addObjectsFromArray(const Ref<NSArray>& other);
  void insertObject_atIndex(Ref<NSObject> object, NSUInteger index);
  void replaceObjectAtIndex_withObject(NSUInteger index, Ref<NSObject> object);
  void removeObjectAtIndex(NSUInteger index);
  void removeLastObject();
  /// Removes every element equal to `object`.
  void removeObject(const Ref<NSObject>& object);
  void removeAllObjects();

 private:
  friend class NSArray;
  NSMutableArray() noexcept : NSArray(kMutableFlag) {}
  void reserve(NSUInteger capacity);

  NSUInteger capacity_ = 0;
};

}  // namespace ZtFoundation
