/// \file MergedValues.h
/// Bringing together what two have made of the same value.
#pragma once

#include <ZtFoundation/platform/Object.h>

namespace ZtFoundation::detail {

/// Whether both are none, or both are there and equal.
bool isSame(const Ref<NSObject>& a, const Ref<NSObject>& b);

/// `mine` with all that `theirs` has otherwise than `base`; what both have changed stays as in `mine`. Dictionaries are
/// merged key by key, all else is one value. Each may be none, which stands for "not there". `written` is what `mine`
/// would be in the file, none if that is not known: what is there as in `base` is no change of mine. Mutable
/// dictionaries of `mine` are changed themselves, all or (without memory) none; others are copied. What is taken from
/// `theirs` is that very object. `theirs` is no deeper than the limit of the codec.
Ref<NSObject> merged(Ref<NSObject> mine, const Ref<NSObject>& written, const Ref<NSObject>& base,
                     const Ref<NSObject>& theirs);

}  // namespace ZtFoundation::detail
