/// \file PropertyListCopy.h
/// Deep copies of property lists and of containers.
///
/// Depth is no matter. A container that several places share is copied for each of them where the copy can be changed;
/// what such repeated copies hold is limited altogether: to kRepeatedElements, or kRepeatedElementsPerElement for each
/// element and each container of the value, shared ones counted once, when that is more. So a long list of references
/// to one dictionary is copied, and a few objects that share each other level by level cannot fill the memory. Nobody
/// may change a value while it is copied.
/// \code
///   Ref<NSObject> own = CFPropertyListCreateDeepCopy(settings, NSPropertyListMutableContainersAndLeaves);
///   Ref<NSObject> sorted = propertyListWithSortedKeys(own);
/// \endcode
/// Threads: may be called by any thread.
#pragma once

#include <ZtFoundation/platform/Object.h>

namespace ZtFoundation {

/// How many elements the second and further copies of shared containers may hold altogether, whatever the size of the
/// value.
inline constexpr NSUInteger kRepeatedElements = NSUInteger{1} << 20;
/// How many they may hold for each element of the value.
inline constexpr NSUInteger kRepeatedElementsPerElement = 16;

/// A copy of `propertyList` in which every object is new but the keys and the two booleans. `mutabilityOption` is one
/// of NSPropertyListMutabilityOptions; other numbers mean mutable containers.
/// \returns none for none, for what is no property list (another kind of object, a key that is no string, a container
/// inside itself), and when shared containers expand beyond the limit.
ZT_EXPORT Ref<NSObject> CFPropertyListCreateDeepCopy(const Ref<NSObject>& propertyList, NSUInteger mutabilityOption);

/// The same value with the keys of all its dictionaries in the order of their UTF-16 units, so that equal values are
/// written as equal bytes, and versions of a file differ where their values do. Arrays and dictionaries are new and
/// immutable, all else is shared.
/// \returns none for none, for a key that is no string, and for a container inside itself.
ZT_EXPORT Ref<NSObject> propertyListWithSortedKeys(const Ref<NSObject>& propertyList);

namespace detail {

/// A copy of `value`, an array or a dictionary, in which all arrays and dictionaries are new and mutable and everything
/// else is shared.
/// \returns none for none, for a container inside itself, and when shared containers expand beyond the limit.
ZT_EXPORT Ref<NSObject> copyContainers(const Ref<NSObject>& value);

/// What repeated visits to shared containers of `root` may still cost.
class RepetitionBudget {
 public:
  explicit RepetitionBudget(const NSObject& root) noexcept : root_(root) {}

  /// False when this and what was spent before exceed the limit. `root` is measured when the fixed limit is reached,
  /// not before.
  ZT_EXPORT bool spend(NSUInteger elements);

 private:
  const NSObject& root_;
  NSUInteger spent_ = 0;
  NSUInteger limit_ = kRepeatedElements;
};

}  // namespace detail

}  // namespace ZtFoundation
