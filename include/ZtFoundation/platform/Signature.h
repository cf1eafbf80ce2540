/// \file Signature.h
/// How values travel in a message, and the text that describes it.
///
/// A method is called through a plain function pointer, so both sides must agree on every type. Each C++ type therefore
/// travels in one fixed form, described by a short code; the codes of a method joined together are its type encoding:
///
/// | C++ type | travels as | code |
/// |---|---|---|
/// | `Ref<T>`, `T*` for classes of objects | `NSObject*`; results as `Ref<NSObject>` | `@` |
/// | `Class` | itself | `#` |
/// | `SEL` | itself | `:` |
/// | `bool` | itself | `B` |
/// | integers and enumerations, by size | `std::int8_t` ... `std::uint64_t` | `c s i q`, unsigned `C S I Q` |
/// | `float`, `double`, `long double` | itself | `f d D` |
/// | `void` results | | `v` |
/// | other pointers | itself | `^`, `r` when constant, then the code or `{name}` of what it points to |
/// | other values | `const T&`; results by value | `{name}` |
///
/// The order is result, receiver (`@`, for a class `#`), selector (`:`), arguments: `"v@:@i"`.
#pragma once

#include <array>
#include <string_view>
#include <type_traits>

#include <ZtFoundation/platform/Object.h>

namespace ZtFoundation {

/// What a selector points to; selectors with equal names are equal pointers.
struct Selector;
/// The name of a method; null is no selector.
using SEL = const Selector*;
/// The implementation of a method: a function that takes the receiver, the selector and the arguments as they travel.
/// Cast to that type to be called; null is no implementation.
using IMP = void (*)();

namespace detail {

[[noreturn]] ZT_EXPORT void raiseWrongObject(const NSObject* object, Class wanted);

/// `object` as a T. Raises NSInvalidArgumentException when it is something else; none stays none.
template <class T>
T* requireKind(NSObject* object) {
  if constexpr (std::is_same_v<std::remove_const_t<T>, NSObject>) {
    return object;
  } else {
    T* wanted = as<std::remove_const_t<T>>(object);
    if (wanted == nullptr && object != nullptr) raiseWrongObject(object, T::classObject());
    return wanted;
  }
}

/// Counts the characters of an encoding, and writes them when there is room.
struct EncodingWriter {
  char* out = nullptr;
  std::size_t length = 0;

  constexpr void put(char code) {
    if (out != nullptr) out[length] = code;
    ++length;
  }
  constexpr void put(std::string_view text) {
    for (const char code : text) put(code);
  }
};

template <class T>
constexpr const char* functionName() {
  return __PRETTY_FUNCTION__;
}

/// The name of T as the compiler spells it. Specialised for a type that compilers spell differently.
template <class T>
struct TypeName {
  static constexpr std::string_view text() {
    const std::string_view function = functionName<T>();  // "... [with T = name]"
    const std::size_t start = function.find("T = ") + 4;
    return function.substr(start, function.size() - 1 - start);
  }
};

// Two types without linkage may bear one name and must not pass for each other.
constexpr bool isUnique(std::string_view name) {
  return name.find_first_of("({") == std::string_view::npos && name.find("<unnamed") == std::string_view::npos;
}

template <class T>
constexpr void putName(EncodingWriter& writer) {
  constexpr std::string_view name = TypeName<T>::text();
  static_assert(isUnique(name), "types of anonymous namespaces and of functions cannot travel in a message");
  writer.put('{');
  writer.put(name);
  writer.put('}');
}

template <class T>
inline constexpr bool isRef = false;
template <class T>
inline constexpr bool isRef<Ref<T>> = true;
template <class T>
concept ObjectPointer = std::is_pointer_v<T> && std::is_convertible_v<T, const NSObject*>;
template <class T>
concept WholeNumber = (std::is_integral_v<T> && !std::is_same_v<T, bool>) || std::is_enum_v<T>;
template <class T>
concept Inline =
    std::is_same_v<T, bool> || std::is_floating_point_v<T> || std::is_same_v<T, SEL> || std::is_same_v<T, Class>;
template <class T>
concept Text = Utf8Text<T> || Utf16Text<T>;

/// How a T travels. `pass` and `take` are the two ends for an argument, `give` and `receive` those for a result.
template <class T>
struct Wire {
  static_assert(!Text<T>, "text travels as a Ref<NSString>");
  using Argument = const T&;
  using Result = T;
  static constexpr void encode(EncodingWriter& writer) { putName<T>(writer); }
  static const T& pass(const T& value) { return value; }
  static const T& take(const T& value) { return value; }
  static T give(T value) { return value; }
  static T receive(T value) { return value; }
};

template <>
struct Wire<void> {
  using Result = void;
  static constexpr void encode(EncodingWriter& writer) { writer.put('v'); }
};

/// An argument in the shape that a method declares, without owning it: the caller of the method does.
template <class T>
class Borrowed {
 public:
  explicit Borrowed(T* object) noexcept : ref_(Ref<T>::adopt(object)) {}
  Borrowed(const Borrowed&) = delete;
  Borrowed& operator=(const Borrowed&) = delete;
  ~Borrowed() { static_cast<void>(ref_.leak()); }
  operator const Ref<T>&() const noexcept { return ref_; }

 private:
  Ref<T> ref_;
};

template <class T>
requires isRef<T>
struct Wire<T> {
  using Argument = NSObject*;
  using Result = Ref<NSObject>;
  static constexpr void encode(EncodingWriter& writer) { writer.put('@'); }
  static NSObject* pass(const T& value) { return value.get(); }
  static Borrowed<typename T::Element> take(NSObject* object) {
    return Borrowed<typename T::Element>(requireKind<typename T::Element>(object));
  }
  static Ref<NSObject> give(T value) { return value; }
  static T receive(const Ref<NSObject>& object) { return T(requireKind<typename T::Element>(object.get())); }
};

template <ObjectPointer T>
struct Wire<T> {
  using Argument = NSObject*;
  using Result = Ref<NSObject>;
  static constexpr void encode(EncodingWriter& writer) { writer.put('@'); }
  static NSObject* pass(T object) { return const_cast<NSObject*>(static_cast<const NSObject*>(object)); }
  static T take(NSObject* object) { return requireKind<std::remove_pointer_t<T>>(object); }
  static Ref<NSObject> give(T object) { return Ref<NSObject>(pass(object)); }
};

constexpr char wholeNumberCode(std::size_t size, bool isSigned) {
  const std::string_view codes = isSigned ? "cs-i---q" : "CS-I---Q";
  return codes[size - 1];
}

template <std::size_t size, bool isSigned>
struct SizedInteger;
template <>
struct SizedInteger<1, true> : std::type_identity<std::int8_t> {};
template <>
struct SizedInteger<2, true> : std::type_identity<std::int16_t> {};
template <>
struct SizedInteger<4, true> : std::type_identity<std::int32_t> {};
template <>
struct SizedInteger<8, true> : std::type_identity<std::int64_t> {};
template <>
struct SizedInteger<1, false> : std::type_identity<std::uint8_t> {};
template <>
struct SizedInteger<2, false> : std::type_identity<std::uint16_t> {};
template <>
struct SizedInteger<4, false> : std::type_identity<std::uint32_t> {};
template <>
struct SizedInteger<8, false> : std::type_identity<std::uint64_t> {};

template <class T>
constexpr bool isSignedNumber() {
  if constexpr (std::is_enum_v<T>) {
    return std::is_signed_v<std::underlying_type_t<T>>;
  } else {
    return std::is_signed_v<T>;
  }
}

template <WholeNumber T>
struct Wire<T> {
  using Argument = typename SizedInteger<sizeof(T), isSignedNumber<T>()>::type;
  using Result = Argument;
  static constexpr void encode(EncodingWriter& writer) { writer.put(wholeNumberCode(sizeof(T), isSignedNumber<T>())); }
  static Argument pass(T value) { return static_cast<Argument>(value); }
  static T take(Argument value) { return static_cast<T>(value); }
  static Result give(T value) { return static_cast<Result>(value); }
  static T receive(Result value) { return static_cast<T>(value); }
};

template <class T>
struct WireAsItself {
  using Argument = T;
  using Result = T;
  static T pass(T value) { return value; }
  static T take(T value) { return value; }
  static T give(T value) { return value; }
  static T receive(T value) { return value; }
};

template <Inline T>
struct Wire<T> : WireAsItself<T> {
  static constexpr void encode(EncodingWriter& writer) {
    if constexpr (std::is_same_v<T, bool>) {
      writer.put('B');
    } else if constexpr (std::is_same_v<T, SEL>) {
      writer.put(':');
    } else if constexpr (std::is_same_v<T, Class>) {
      writer.put('#');
    } else {
      writer.put(std::is_same_v<T, float> ? 'f' : std::is_same_v<T, double> ? 'd' : 'D');
    }
  }
};

template <class T>
requires(std::is_pointer_v<T> && !ObjectPointer<T> && !Inline<T>) struct Wire<T> : WireAsItself<T> {
  static constexpr void encode(EncodingWriter& writer) {
    using Target = std::remove_pointer_t<T>;
    writer.put('^');
    if constexpr (std::is_const_v<Target>) writer.put('r');
    if constexpr (std::is_void_v<Target> || std::is_arithmetic_v<Target>) {
      Wire<std::remove_cv_t<Target>>::encode(writer);
    } else {
      putName<std::remove_cv_t<Target>>(writer);
    }
  }
};

/// The plain type that a declared parameter or result travels as.
template <class T>
struct PlainType : std::type_identity<std::remove_cvref_t<T>> {
  static_assert(!std::is_lvalue_reference_v<T> || std::is_const_v<std::remove_reference_t<T>>,
                "a message cannot carry a reference to a variable; use a pointer");
};
template <class T>
using Plain = typename PlainType<T>::type;

template <char receiver, class Result, class... Arguments>
constexpr std::size_t writeSignature(char* out) {
  EncodingWriter writer{out};
  Wire<Result>::encode(writer);
  writer.put(receiver);
  writer.put(':');
  (Wire<Arguments>::encode(writer), ...);
  return writer.length;
}

template <char receiver, class Result, class... Arguments>
constexpr auto makeSignature() {
  std::array<char, writeSignature<receiver, Result, Arguments...>(nullptr) + 1> text{};
  writeSignature<receiver, Result, Arguments...>(text.data());
  return text;
}

template <char receiver, class Result, class... Arguments>
inline constexpr auto signatureText = makeSignature<receiver, Result, Arguments...>();

/// The type encoding of a method with these plain types; `receiver` is '@' or '#'.
template <char receiver, class Result, class... Arguments>
inline constexpr const char* signature = signatureText<receiver, Result, Arguments...>.data();

}  // namespace detail

}  // namespace ZtFoundation
