/// \file Values.h
/// Reading objects as the host's own types.
#pragma once

#include <concepts>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

namespace detail {

/// The integer, when `number` holds one (or a real without fraction) that a T can hold.
template <std::integral T>
std::optional<T> exactInteger(const NSNumber& number) {
  if (number.isBoolean()) return std::nullopt;
  if (number.type() == NumberType::Unsigned) {
    const unsigned long long value = number.unsignedLongLongValue();
    return std::in_range<T>(value) ? std::optional<T>(static_cast<T>(value)) : std::nullopt;
  }
  const long long value = number.longLongValue();
  if (number.isReal() && !number.isEqual(Ref<NSObject>(value))) return std::nullopt;
  return std::in_range<T>(value) ? std::optional<T>(static_cast<T>(value)) : std::nullopt;
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
      return number->isBoolean() ? std::nullopt : std::optional<T>(static_cast<T>(number->doubleValue()));
    }
  }
}

}  // namespace detail

/// `object` as a T: std::string, bool, an integer or floating type (a std::optional), or a class of objects (a `Ref`).
template <class T, class U>
auto valueAs(const Ref<U>& object) {
  return detail::readValue<T>(object.get());
}

template <class T>
auto NSDictionary::get(const Ref<NSObject>& key) const {
  return detail::readValue<T>(lookUp(key.get()));
}

}  // namespace ZtFoundation
