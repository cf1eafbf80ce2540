/// \file Runtime.h
/// Run-time classes: names, superclasses and making instances by name.
///
/// A class of the library implements its run-time class with `ZT_IMPLEMENT_CLASS(Name)` in its source. A host writes
/// `ZT_REGISTER_CLASS(Name)` instead, which also lets the class be found by name.
#pragma once

#include <type_traits>

#include <ZtFoundation/platform/Object.h>

namespace ZtFoundation {

/// A run-time class. All of them are constants of the code that declares them and live as long as the process.
class ZT_EXPORT RuntimeClass {
 public:
  using Factory = NSObject* (*)();

  constexpr RuntimeClass(const char* className, Class (*parent)(), Factory maker) noexcept
      : name_(className), parent_(parent), factory_(maker) {}
  RuntimeClass(const RuntimeClass&) = delete;
  RuntimeClass& operator=(const RuntimeClass&) = delete;

  const char* name() const noexcept { return name_; }
  Class superclass() const { return parent_ == nullptr ? nullptr : parent_(); }
  /// A new instance made by the default constructor; none when there is no such constructor.
  Ref<NSObject> createInstance() const;
  /// True for `ancestor` itself and every class below it; false for null.
  bool isSubclassOfClass(Class ancestor) const;

 private:
  const char* name_;
  Class (*parent_)();
  Factory factory_;
};

namespace detail {

template <class T>
NSObject* makeInstance() {
  return new T();
}

template <class T>
constexpr RuntimeClass::Factory factoryOf() {
  if constexpr (std::is_default_constructible_v<T>) {
    return &makeInstance<T>;
  } else {
    return nullptr;
  }
}

}  // namespace detail

}  // namespace ZtFoundation

#define ZT_IMPLEMENT_CLASS(Name, ...)                                                                   \
  ::ZtFoundation::Class Name::classObject() {                                                           \
    static constinit ::ZtFoundation::RuntimeClass shared(#Name, &Name::Superclass::classObject,         \
                                                         ::ZtFoundation::detail::factoryOf<Name>());    \
    return &shared;                                                                                     \
  }                                                                                                     \
  static_assert(true)
