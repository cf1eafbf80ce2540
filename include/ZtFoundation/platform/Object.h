/// \file Object.h
/// `NSObject`, the root of every object of the library, and checked casts between object types.
///
/// An object counts its owners inside itself; `Ref<T>` does the counting. A class of a host derives from `NSObject` (or
/// from one of the classes meant for it) and bears `ZT_OBJECT`; `ZtFoundation/platform/Runtime.h` says how it is
/// registered so that it can be found by name and sent messages by selector.
/// \code
///   class Camera : public NSObject {
///     ZT_OBJECT(Camera, NSObject)
///    public:
///     Ref<NSString> description() const override { return "camera"; }
///   };
///   Ref<Camera> camera = make<Camera>();
///   Ref<NSObject> any = camera;
///   if (Ref<NSString> text = as<NSString>(any)) { ... }   // empty here
/// \endcode
///
/// Threads: counts are atomic. Immutable objects may be used by many threads at once, mutable ones by one at a time.
#pragma once

#include <atomic>
#include <cstdint>
#include <iosfwd>
#include <new>

#include <ZtFoundation/platform/Export.h>
#include <ZtFoundation/platform/Ref.h>
#include <ZtFoundation/platform/Types.h>

namespace ZtFoundation {

class RuntimeClass;
/// A run-time class; null stands for no class.
using Class = RuntimeClass*;

/// What an object is, for a switch without a virtual call. Classes of hosts are `Other`.
enum class ObjectKind : std::uint8_t { Other, String, Number, Date, Data, URL, Array, Dictionary, Set };

class ZT_EXPORT NSObject {
 public:
  static constexpr ObjectKind kKind = ObjectKind::Other;

  NSObject() noexcept = default;
  NSObject(const NSObject&) = delete;
  NSObject& operator=(const NSObject&) = delete;
  virtual ~NSObject() = default;

  /// The run-time class of NSObject itself; every class has a `classObject` of its own.
  static Class classObject();
  /// The run-time class of this object.
  virtual Class isa() const { return classObject(); }

  /// True when this object is of `wanted` or of a class derived from it; false for a null class.
  bool isKindOfClass(Class wanted) const;
  /// True when this object is of exactly `wanted`.
  bool isMemberOfClass(Class wanted) const { return wanted != nullptr && isa() == wanted; }

  /// Equality of contents; for a class that says nothing else, identity. Comparing with none is never equal.
  virtual bool isEqual(const NSObject* other) const { return other == this; }
  bool isEqual(const Ref<NSObject>& other) const { return isEqual(other.get()); }
  /// Equality as scripts see it: `isEqual`, unless a class says otherwise.
  virtual bool isEqualTo(const NSObject* other) const;
  /// Equal objects have equal hashes.
  virtual NSUInteger hash() const;
  /// The text that "%@" prints. The default names class and address.
  virtual Ref<NSString> description() const;

  /// What the object is, without a virtual call.
  ObjectKind kind() const noexcept { return kind_; }
  /// True for the mutable flavours of strings, data and collections.
  bool isMutable() const noexcept { return (flags_ & kMutableFlag) != 0; }
  /// How many owners there are now; for tests and diagnosis only.
  NSUInteger retainCount() const noexcept { return references_.load(std::memory_order_relaxed); }

  // An object may be followed by its contents in the same block, so its size is not what its class says.
  static void* operator new(std::size_t size) { return ::operator new(size); }
  static void* operator new(std::size_t size, std::size_t contents) { return ::operator new(size + contents); }
  static void operator delete(void* block) noexcept { ::operator delete(block); }
  static void operator delete(void* block, std::size_t) noexcept { ::operator delete(block); }
  // A class of a host may ask for more alignment than blocks have by themselves.
  static void* operator new(std::size_t size, std::align_val_t alignment) { return ::operator new(size, alignment); }
  static void operator delete(void* block, std::align_val_t alignment) noexcept { ::operator delete(block, alignment); }

 protected:
  static constexpr std::uint8_t kMutableFlag = 1;

  explicit NSObject(ObjectKind kind, std::uint8_t flags = 0) noexcept : kind_(kind), flags_(flags) {}

  std::uint8_t flags() const noexcept { return flags_; }
  void setFlags(std::uint8_t flags) noexcept { flags_ = flags; }

 private:
  friend void detail::retainObject(const NSObject*) noexcept;
  friend void detail::releaseObject(const NSObject*) noexcept;

  bool dropReference() const noexcept;
  void destroy() const noexcept;

  mutable std::atomic<std::uint32_t> references_{1};
  ObjectKind kind_ = ObjectKind::Other;
  std::uint8_t flags_ = 0;
};

// A sole owner has nobody to race with, so the last release needs no locked instruction.
inline bool NSObject::dropReference() const noexcept {
  return references_.load(std::memory_order_acquire) == 1 || references_.fetch_sub(1, std::memory_order_acq_rel) == 1;
}

namespace detail {

inline void retainObject(const NSObject* object) noexcept {
  object->references_.fetch_add(1, std::memory_order_relaxed);
}

inline void releaseObject(const NSObject* object) noexcept {
  if (object->dropReference()) object->destroy();
}

template <class T>
concept HasKind = T::kKind != ObjectKind::Other;
template <class T>
concept MutableFlavour = requires {
  requires T::kIsMutable;
};

}  // namespace detail

/// `object` as a T when it is one, else null. No ownership changes hands.
template <class T>
T* as(const NSObject* object) {
  if (object == nullptr) return nullptr;
  bool matches;
  if constexpr (detail::HasKind<T>) {
    matches = object->kind() == T::kKind && (!detail::MutableFlavour<T> || object->isMutable());
  } else {
    matches = object->isKindOfClass(T::classObject());
  }
  return matches ? const_cast<T*>(static_cast<const T*>(object)) : nullptr;
}

/// `object` as a T when it is one, else none.
template <class T, class U>
Ref<T> as(const Ref<U>& object) {
  return Ref<T>(as<T>(static_cast<const NSObject*>(object.get())));
}

/// True when both are the same object or have equal contents. None equals nothing, not even none.
template <class T, class U>
bool isEqual(const Ref<T>& a, const Ref<U>& b) {
  return a && b && a->isEqual(static_cast<const NSObject*>(b.get()));
}

/// Prints the description as UTF-8, "(null)" for none.
ZT_EXPORT std::ostream& operator<<(std::ostream& stream, const NSObject* object);
inline std::ostream& operator<<(std::ostream& stream, const NSObject& object) { return stream << &object; }
template <class T>
std::ostream& operator<<(std::ostream& stream, const Ref<T>& object) {
  return stream << static_cast<const NSObject*>(object.get());
}

}  // namespace ZtFoundation

/// Stands first in the body of a class that derives from NSObject, directly or not.
#define ZT_OBJECT(Name, Super)                                         \
 public:                                                               \
  using Superclass = Super;                                            \
  static ::ZtFoundation::Class classObject();                          \
  ::ZtFoundation::Class isa() const override { return classObject(); } \
                                                                       \
 private:
