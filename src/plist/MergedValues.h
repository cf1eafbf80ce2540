/// \file MergedValues.h
/// Bringing together what two have made of the same value.
#pragma once

#include <ZtFoundation/platform/Object.h>

namespace ZtFoundation::detail {

/// Whether both are none, or both are there and equal.
bool isSame(const Ref<NSObject>& a, const Ref<NSObject>& b);

/// `mine` with all that `theirs` has otherwise than `base`; what both have changed stays as in `mine`. Dictionaries are
/// merged key by key, all else is one value. Each may be none, which stands for "not there". Mutable dictionaries of
/// `mine` are changed themselves, others are copied; what is taken from `theirs` is that very object. `theirs` is no
/// deeper than the limit of the codec.
Ref<NSObject> merged(const Ref<NSObject>& mine, const Ref<NSObject>& base, const Ref<NSObject>& theirs);

}  // namespace ZtFoundation::detail
