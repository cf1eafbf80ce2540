/// \file Ref.h
/// `Ref<T>`: a pointer that shares ownership of an object, or holds none.
///
/// Every operation of the library that answers an object answers a `Ref`; the object lives as long as one `Ref` to
/// it does. Copying a `Ref` retains, destroying it releases, moving does neither. Two `Ref`s compare equal
/// when they hold the very same object; use `isEqual` to compare contents.
///
/// Values convert without ceremony:
/// \code
///   Ref<NSString> name = "Alice";              // UTF-8 text
///   Ref<NSObject> age = 42;                    // a boxed number
///   Ref<NSObject> flag = true;                 // a boolean
///   if (name) std::cout << name << "\n";       // prints as UTF-8
/// \endcode
///
/// Threads: a `Ref` itself is not synchronised, the count inside the object is; an immutable object may be shared
/// between threads through a `Ref` of their own each.
#pragma once

#include <concepts>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include <ZtFoundation/platform/Export.h>

namespace ZtFoundation {

class NSObject;
class NSString;

namespace detail {

void retainObject(const NSObject* object) noexcept;
void releaseObject(const NSObject* object) noexcept;
[[noreturn]] ZT_EXPORT void throwMessageToNone();
/// Each answers an object that the caller owns.
ZT_EXPORT NSString* newString(std::string_view utf8);
ZT_EXPORT NSString* newString(std::u16string_view units);
ZT_EXPORT NSObject* newStringObject(std::string_view utf8);
ZT_EXPORT NSObject* newStringObject(std::u16string_view units);
ZT_EXPORT NSObject* newNumber(bool value);
ZT_EXPORT NSObject* newNumber(long long value);
ZT_EXPORT NSObject* newNumber(unsigned long long value);
ZT_EXPORT NSObject* newNumber(double value);

template <class Text>
concept Utf8Text =
    std::convertible_to<const Text&, std::string_view> && !std::same_as<std::decay_t<Text>, std::nullptr_t>;
template <class Text>
concept Utf16Text = std::convertible_to<const Text&, std::u16string_view>;
template <class Scalar>
concept Boxable = std::is_arithmetic_v<Scalar>;

template <class T>
concept HoldsString = std::same_as<T, NSString> || std::same_as<T, NSObject>;

template <HoldsString T, class Text>
T* newText(Text text) {
  if constexpr (std::same_as<T, NSString>) {
    return newString(text);
  } else {
    return newStringObject(text);
  }
}

template <Boxable Scalar>
NSObject* box(Scalar value) {
  if constexpr (std::same_as<Scalar, bool>) {
    return newNumber(value);
  } else if constexpr (std::floating_point<Scalar>) {
    return newNumber(static_cast<double>(value));
  } else if constexpr (std::unsigned_integral<Scalar>) {
    return newNumber(static_cast<unsigned long long>(value));
  } else {
    return newNumber(static_cast<long long>(value));
  }
}

}  // namespace detail

template <class T>
class Ref {
 public:
  using Element = T;

  constexpr Ref() noexcept = default;
  constexpr Ref(std::nullptr_t) noexcept {}
  /// Shares `object`, which some `Ref` already owns (typically `this`).
  Ref(T* object) noexcept : object_(object) { retain(); }
  Ref(const Ref& other) noexcept : object_(other.object_) { retain(); }
  Ref(Ref&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  template <class U>
  requires std::convertible_to<U*, T*> Ref(const Ref<U>& other)
  noexcept : object_(other.get()) { retain(); }
  template <class U>
  requires std::convertible_to<U*, T*> Ref(Ref<U>&& other)
  noexcept : object_(other.leak()) {}

  /// A new string with the text, which is UTF-8; bytes that are not valid become U+FFFD, one each.
  /// A null `const char*` gives none.
  template <detail::Utf8Text Text>
  requires detail::HoldsString<T> Ref(const Text& text) {
    if constexpr (std::is_pointer_v<Text>) {
      if (text == nullptr) return;
    }
    object_ = detail::newText<T>(std::string_view(text));
  }
  /// A new string with the UTF-16 units as they are.
  template <detail::Utf16Text Text>
  requires detail::HoldsString<T> Ref(const Text& units) : object_(detail::newText<T>(std::u16string_view(units))) {}
  /// A new number; `bool` gives a boolean.
  template <detail::Boxable Scalar>
  requires std::same_as<T, NSObject> Ref(Scalar value) : object_(detail::box(value)) {}

  ~Ref() { reset(); }

  Ref& operator=(Ref other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }

  /// Takes over an object that the caller owns, without retaining it.
  static Ref adopt(T* owned) noexcept {
    Ref ref;
    ref.object_ = owned;
    return ref;
  }

  /// Gives the object up without releasing it; the caller owns it then.
  [[nodiscard]] T* leak() noexcept { return std::exchange(object_, nullptr); }

  /// Releases the object and holds none.
  void reset() noexcept {
    if (T* object = std::exchange(object_, nullptr)) detail::releaseObject(object);
  }

  /// The object without sharing ownership, null for none.
  T* get() const noexcept { return object_; }
  /// True unless this is none.
  explicit operator bool() const noexcept { return object_ != nullptr; }

  /// The object. Using an empty `Ref` this way raises NSInvalidArgumentException instead of crashing.
  T* operator->() const {
    if (object_ == nullptr) [[unlikely]]
      detail::throwMessageToNone();
    return object_;
  }
  /// The same as a reference.
  T& operator*() const { return *operator->(); }

  friend bool operator==(const Ref& a, const Ref& b) noexcept { return a.object_ == b.object_; }
  friend bool operator==(const Ref& a, std::nullptr_t) noexcept { return a.object_ == nullptr; }

 private:
  void retain() const noexcept {
    if (object_ != nullptr) detail::retainObject(object_);
  }

  T* object_ = nullptr;
};

/// Identity of objects held by differently typed `Ref`s.
template <class T, class U>
requires(!std::same_as<T, U> && (std::convertible_to<T*, U*> || std::convertible_to<U*, T*>)) bool operator==(
    const Ref<T>& a, const Ref<U>& b) noexcept {
  return static_cast<const void*>(a.get()) == static_cast<const void*>(b.get());
}

/// A new object of class T, made by its constructor and owned by the result.
template <class T, class... Arguments>
Ref<T> make(Arguments&&... arguments) {
  return Ref<T>::adopt(new T(std::forward<Arguments>(arguments)...));
}

}  // namespace ZtFoundation

/// \cond
/// Hashes by identity, as `==` compares.
template <class T>
struct std::hash<ZtFoundation::Ref<T>> {
  std::size_t operator()(const ZtFoundation::Ref<T>& ref) const noexcept { return std::hash<const void*>{}(ref.get()); }
};
/// \endcond
