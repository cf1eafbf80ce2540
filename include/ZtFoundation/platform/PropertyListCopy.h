/// \file PropertyListCopy.h
/// Deep copies of property lists and of containers.
///
/// Depth is no matter. A container that several places share is copied for each of them where the copy can be changed; what such repeated
/// copies hold is limited to kMaximumRepeatedElements altogether, so that a few objects cannot fill the memory. Nobody may change
/// a value while it is copied.
#pragma once

#include <ZtFoundation/platform/Object.h>

namespace ZtFoundation {

/// How many elements the second and further copies of shared containers may hold altogether.
inline constexpr NSUInteger kMaximumRepeatedElements = NSUInteger{1} << 20;

/// A copy of `propertyList` in which every object is new but the keys and the two booleans. `mutabilityOption` is one of
/// NSPropertyListMutabilityOptions; other numbers mean mutable containers.
/// \returns none for none, for what is no property list (another kind of object, a key that is no string, a container inside itself), and when
/// shared containers expand beyond the limit.
ZT_EXPORT Ref<NSObject> CFPropertyListCreateDeepCopy(const Ref<NSObject>& propertyList, NSUInteger mutabilityOption);

namespace detail {

/// A copy of `value`, an array or a dictionary, in which all arrays and dictionaries are new and mutable and everything else is shared.
/// \returns none for none, for a container inside itself, and when shared containers expand beyond the limit.
ZT_EXPORT Ref<NSObject> copyContainers(const Ref<NSObject>& value);

}  // namespace detail

}  // namespace ZtFoundation
