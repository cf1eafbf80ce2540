/// \file Collection.h
/// What arrays, dictionaries and sets have in common: they can be torn down at any depth.
#pragma once

#include <ZtFoundation/platform/Object.h>

namespace ZtFoundation {

namespace detail {
class Graveyard;
}

/// Base of the collections. Destroying one never recurses: collections whose last owner goes away while another
/// collection is being destroyed wait in a list that threads through them.
class ZT_EXPORT NSCollection : public NSObject {
 protected:
  NSCollection(ObjectKind kind, std::uint8_t flags) noexcept : NSObject(kind, flags) {}

 private:
  friend class detail::Graveyard;
  NSCollection* nextDead_ = nullptr;
};

namespace detail {

/// True for arrays, dictionaries and sets.
inline bool isCollection(const NSObject& object) noexcept { return object.kind() >= ObjectKind::Array; }

/// Equality of two values at any depth, without recursion through the collections of property lists. `a` is not null.
ZT_EXPORT bool deepEqual(const NSObject* a, const NSObject* b);

}  // namespace detail

}  // namespace ZtFoundation
