/// \file IndexSet.h
/// `NSIndexSet` and `NSMutableIndexSet`: sets of unsigned machine words, kept as ranges.
/// \code
///   Ref<NSMutableIndexSet> rows = NSMutableIndexSet::indexSet();
///   rows->addIndexesInRange({10, 5});
///   rows->addIndex(3);
///   for (NSUInteger row = rows->firstIndex(); row != NSNotFound; row = rows->indexGreaterThanIndex(row)) ...
/// \endcode
/// Every machine word may be a member. NSNotFound is one of them: where it is a member, such a loop ends before it. A
/// range that would run past the largest word is cut there. Adding and removing take logarithmic time in the number
/// of ranges, in any order of indexes.
///
/// Threads: an immutable set may be used by many threads at once, a mutable one by one at a time.
#pragma once

#include <map>

#include <ZtFoundation/platform/Object.h>

namespace ZtFoundation {

class NSMutableIndexSet;

class ZT_EXPORT NSIndexSet : public NSObject {
  ZT_OBJECT(NSIndexSet, NSObject)
 public:
  /// An empty set.
  NSIndexSet() = default;

  /// An empty set.
  static Ref<NSIndexSet> indexSet();
  /// The set of that index.
  static Ref<NSIndexSet> indexSetWithIndex(NSUInteger index);
  /// The indexes of the range, as many as a machine word can tell.
  static Ref<NSIndexSet> indexSetWithIndexesInRange(NSRange range);

  /// How many indexes there are; the largest machine word when they are more than it can tell.
  NSUInteger count() const noexcept;
  /// How many ranges they form.
  NSUInteger numberOfRanges() const noexcept { return ranges_.size(); }
  /// True when `index` is in here.
  bool containsIndex(NSUInteger index) const;
  /// True when all of `other` is in here; false for none.
  bool containsIndexes(const Ref<NSIndexSet>& other) const;
  /// NSNotFound when there is none.
  NSUInteger firstIndex() const noexcept;
  /// NSNotFound when there is none.
  NSUInteger lastIndex() const noexcept;
  /// The next index above `index`; NSNotFound when there is none.
  NSUInteger indexGreaterThanIndex(NSUInteger index) const;

  /// A mutable set with the same indexes.
  Ref<NSMutableIndexSet> mutableCopy() const;

  bool isEqual(const NSObject* other) const override;
  using NSObject::isEqual;
  NSUInteger hash() const override;
  /// "(3, 10-14)".
  Ref<NSString> description() const override;

 protected:
  friend class NSMutableIndexSet;
  explicit NSIndexSet(std::uint8_t flags) noexcept : NSObject(ObjectKind::Other, flags) {}

  // The last index of each range under its first; ranges neither overlap nor touch.
  using Ranges = std::map<NSUInteger, NSUInteger>;
  Ranges::const_iterator rangeWith(NSUInteger index) const;

  Ranges ranges_;
  NSUInteger count_ = 0;  // 0 also for the set of all indexes
};

class ZT_EXPORT NSMutableIndexSet : public NSIndexSet {
  ZT_OBJECT(NSMutableIndexSet, NSIndexSet)
 public:
  /// An empty set.
  NSMutableIndexSet() noexcept : NSIndexSet(kMutableFlag) {}

  /// An empty set.
  static Ref<NSMutableIndexSet> indexSet();

  /// An immutable set with the same indexes.
  Ref<NSIndexSet> copy() const;

  /// Adding an index that is in here does nothing.
  void addIndex(NSUInteger index) { addIndexesInRange({index, 1}); }
  /// Adds all of `other`; nothing for none.
  void addIndexes(const Ref<NSIndexSet>& other);
  /// Adds the indexes of the range; nothing for an empty one.
  void addIndexesInRange(NSRange range);
  /// Removing an index that is not in here does nothing.
  void removeIndex(NSUInteger index) { removeIndexesInRange({index, 1}); }
  /// Removes all of `other`; nothing for none.
  void removeIndexes(const Ref<NSIndexSet>& other);
  /// Removes the indexes of the range; nothing for an empty one.
  void removeIndexesInRange(NSRange range);
  /// Leaves the set empty.
  void removeAllIndexes() noexcept;

 private:
  // The new range, and ranges that are split, take their memory from `nodes` as long as there is any.
  void add(NSUInteger first, NSUInteger last, Ranges& nodes);
  void remove(NSUInteger first, NSUInteger last, Ranges& nodes);
  void put(Ranges::iterator next, NSUInteger first, NSUInteger last, Ranges& nodes);
  Ranges::iterator cut(Ranges::iterator range, NSUInteger first, NSUInteger last, Ranges& nodes);
};

}  // namespace ZtFoundation
