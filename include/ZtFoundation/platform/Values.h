/// \file Values.h
/// Reading objects as the host's own types.
/// \code
///   int port = valueAt<int>(settings, "Servers", 0, "Port").value_or(8080);
///   for (const Ref<NSDictionary>& server : each<NSDictionary>(settings->get<NSArray>("Servers"))) { ... }
/// \endcode
/// Threads: as for the objects that are read.
#pragma once

#include <cmath>
#include <concepts>
#include <limits>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

namespace detail {

/// The real as an integer, when it has no fraction and a T can hold it.
template <std::integral T>
std::optional<T> wholeValue(double value) {
  using Limits = std::numeric_limits<T>;
  const bool fits = value >= static_cast<double>(Limits::min()) && value < std::ldexp(1.0, Limits::digits);
  return fits && value == std::trunc(value) ? std::optional<T>(static_cast<T>(value)) : std::nullopt;
}

/// The integer, when `number` holds one (or a real without fraction) that a T can hold.
template <std::integral T>
std::optional<T> exactInteger(const NSNumber& number) {
  const auto fitting = [](std::integral auto value) {
    return std::in_range<T>(value) ? std::optional<T>(static_cast<T>(value)) : std::nullopt;
  };
  if (number.isBoolean()) return std::nullopt;
  if (number.isReal()) return wholeValue<T>(number.doubleValue());
  return number.type() == NumberType::Unsigned ? fitting(number.unsignedLongLongValue())
                                               : fitting(number.longLongValue());
}

/// The number as a T, rounded, unless it is too large for one.
template <std::floating_point T>
std::optional<T> roundedReal(const NSNumber& number) {
  const auto value = static_cast<T>(number.doubleValue());
  const bool fits = std::isinf(value) == std::isinf(number.doubleValue());
  return fits && !number.isBoolean() ? std::optional<T>(value) : std::nullopt;
}

template <class T>
auto readValue(NSObject* object) {
  if constexpr (std::derived_from<T, NSObject>) {
    return Ref<T>(as<T>(object));
  } else if constexpr (std::same_as<T, std::string>) {
    const NSString* text = as<NSString>(object);
    return text != nullptr ? std::optional<std::string>(text->utf8()) : std::nullopt;
  } else {
    static_assert(std::is_arithmetic_v<T>,
                  "read as std::string, bool, an integer, a floating type or a class of objects");
    const NSNumber* number = as<NSNumber>(object);
    if (number == nullptr) return std::optional<T>();
    if constexpr (std::same_as<T, bool>) {
      return number->isBoolean() ? std::optional<bool>(number->boolValue()) : std::nullopt;
    } else if constexpr (std::integral<T>) {
      return exactInteger<T>(*number);
    } else {
      return roundedReal<T>(*number);
    }
  }
}

template <std::integral Index>
NSObject* childAt(const NSObject* parent, Index index) {
  const NSArray* array = as<NSArray>(parent);
  return array != nullptr && std::cmp_greater_equal(index, 0) && std::cmp_less(index, array->count())
             ? (*array)[static_cast<NSUInteger>(index)].get()
             : nullptr;
}

inline NSObject* childAt(const NSObject* parent, const Ref<NSString>& key) {
  const NSDictionary* dictionary = as<NSDictionary>(parent);
  return dictionary != nullptr ? dictionary->lookUp(key.get()) : nullptr;
}

}  // namespace detail

/// `object` as a T: std::string, bool, an integer or floating type (a std::optional), or a class of objects (a `Ref`).
template <class T, class U>
auto valueAs(const Ref<U>& object) {
  return detail::readValue<T>(object.get());
}

/// The value that `steps` lead to from `root`, as `valueAs` gives it: text is a key of a dictionary, an integer an
/// index of an array. Empty when a step leads nowhere.
template <class T, class U, class... Steps>
auto valueAt(const Ref<U>& root, const Steps&... steps) {
  NSObject* at = root.get();
  ((at = detail::childAt(at, steps)), ...);
  return detail::readValue<T>(at);
}

/// The elements of an array that are of class T, in order; see `each`.
template <std::derived_from<NSObject> T>
class ElementsOf {
 public:
  /// The elements of `array`, which is kept alive; nothing for none.
  explicit ElementsOf(const Ref<NSArray>& array) : array_(array) {}

  class Iterator {
   public:
    Iterator(const Ref<NSObject>* at, const Ref<NSObject>* end) : at_(at), end_(end) { skipOthers(); }
    Ref<T> operator*() const { return as<T>(*at_); }
    Iterator& operator++() {
      ++at_;
      skipOthers();
      return *this;
    }
    friend bool operator==(const Iterator& a, const Iterator& b) noexcept { return a.at_ == b.at_; }

   private:
    void skipOthers() {
      while (at_ != end_ && as<T>(at_->get()) == nullptr) ++at_;
    }
    const Ref<NSObject>* at_;
    const Ref<NSObject>* end_;
  };
  Iterator begin() const { return array_ ? Iterator(array_->begin(), array_->end()) : end(); }
  Iterator end() const { return array_ ? Iterator(array_->end(), array_->end()) : Iterator(nullptr, nullptr); }

 private:
  Ref<NSArray> array_;
};

/// Walks the elements of `array` that are of class T and passes over others; walks nothing when there is no array.
template <std::derived_from<NSObject> T>
ElementsOf<T> each(const Ref<NSArray>& array) {
  return ElementsOf<T>(array);
}

template <class T>
auto NSDictionary::get(const Ref<NSObject>& key) const {
  return detail::readValue<T>(lookUp(key.get()));
}

}  // namespace ZtFoundation
