/// \file Array.h
/// `NSArray` and `NSMutableArray`: ordered lists of objects.
/// \code
///   Ref<NSMutableArray> names = NSMutableArray::array();
///   names->addObject("Alice");
///   for (const Ref<NSObject>& name : *names) std::cout << name << "\n";
///   Ref<NSArray> mixed = NSArray::of(1, "two", true);
/// \endcode
/// An array never holds none: adding it raises NSInvalidArgumentException. Indexes outside raise NSRangeException. An
/// array must not change while it is iterated.
///
/// Threads: an immutable array may be used by many threads at once, a mutable one by one at a time.
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

  /// An empty array.
  static Ref<NSArray> array();
  /// An array of one element. Raises NSInvalidArgumentException for none, as all makers of arrays do.
  static Ref<NSArray> arrayWithObject(const Ref<NSObject>& object);
  /// The objects in that order.
  static Ref<NSArray> arrayWithObjects(std::initializer_list<Ref<NSObject>> objects);
  /// An immutable array with the same elements; `other` itself when it is immutable, none for none.
  static Ref<NSArray> arrayWithArray(const Ref<NSArray>& other);
  /// The same, for values of any kind: `NSArray::of("a", 1, true)`.
  template <class... Values>
  static Ref<NSArray> of(const Values&... values) {
    return arrayWithObjects({Ref<NSObject>(values)...});
  }
  /// Takes the elements out of `objects`, which are left empty; for producers that know all elements. None among them
  /// raises.
  static Ref<NSArray> arrayByTaking(std::span<Ref<NSObject>> objects);

  /// How many elements there are.
  NSUInteger count() const noexcept { return count_; }
  /// The element; the reference is good until the array changes. Raises NSRangeException past the end.
  const Ref<NSObject>& objectAtIndex(NSUInteger index) const;
  /// The same.
  const Ref<NSObject>& operator[](NSUInteger index) const { return objectAtIndex(index); }
  /// The first element, none in an empty array.
  Ref<NSObject> firstObject() const;
  /// The last element, none in an empty array.
  Ref<NSObject> lastObject() const;
  /// True when an element is equal to `object`; false for none.
  bool containsObject(const Ref<NSObject>& object) const { return indexOfObject(object) != NSNotFound; }
  /// The first index whose element is equal, else NSNotFound.
  NSUInteger indexOfObject(const Ref<NSObject>& object) const;
  /// The first index that holds this very object, else NSNotFound.
  NSUInteger indexOfObjectIdenticalTo(const Ref<NSObject>& object) const;
  /// The first element of the receiver that `other` holds too, else none.
  Ref<NSObject> firstObjectCommonWithArray(const Ref<NSArray>& other) const;
  /// A new array with `object` behind the receiver's elements. Raises NSInvalidArgumentException for none.
  Ref<NSArray> arrayByAddingObject(const Ref<NSObject>& object) const;
  /// A new array of the elements in `range`. Raises NSRangeException when it does not lie inside.
  Ref<NSArray> subarrayWithRange(NSRange range) const;
  /// The descriptions of the elements with `separator` between them.
  Ref<NSString> componentsJoinedByString(const Ref<NSString>& separator) const;
  /// A mutable array with the same elements.
  Ref<NSMutableArray> mutableCopy() const;
  /// An immutable array with the same elements: the receiver itself when it is immutable.
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

  /// An empty array.
  static Ref<NSMutableArray> array();
  /// An empty array with room for that many elements.
  static Ref<NSMutableArray> arrayWithCapacity(NSUInteger capacity);
  /// A mutable array with the same elements, none for none.
  static Ref<NSMutableArray> arrayWithArray(const Ref<NSArray>& other);
  /// As for NSArray.
  static Ref<NSMutableArray> arrayByTaking(std::span<Ref<NSObject>> objects);
  /// As for NSArray.
  template <class... Values>
  static Ref<NSMutableArray> of(const Values&... values) {
    return NSArray::of(values...)->mutableCopy();
  }

  /// Puts `object` behind the last element. Raises NSInvalidArgumentException for none.
  void addObject(Ref<NSObject> object);
  /// Adds the elements of `other`, which may be this very array; nothing for none.
  void addObjectsFromArray(const Ref<NSArray>& other);
  /// Makes `object` the element at `index`, which may be the count. Raises NSRangeException past that,
  /// NSInvalidArgumentException for none.
  void insertObject_atIndex(Ref<NSObject> object, NSUInteger index);
  /// Raises NSRangeException past the end, NSInvalidArgumentException for none.
  void replaceObjectAtIndex_withObject(NSUInteger index, Ref<NSObject> object);
  /// Raises NSRangeException past the end.
  void removeObjectAtIndex(NSUInteger index);
  /// Raises NSRangeException when the array is empty.
  void removeLastObject();
  /// Removes every element equal to `object`.
  void removeObject(const Ref<NSObject>& object);
  /// Leaves the array empty.
  void removeAllObjects();

 private:
  friend class NSArray;
  NSMutableArray() noexcept : NSArray(kMutableFlag) {}
  void reserve(NSUInteger capacity);

  NSUInteger capacity_ = 0;
};

}  // namespace ZtFoundation
