/// \file Format.h
/// Text made from a format and arguments that are checked.
///
/// The format language is printf's plus `%@`, which takes an object (its description) or anything else:
/// \code
///   Ref<NSString> line = NSString::stringWithFormat("%@ has %d of %5.1f%%", name, count, share);
///   Ref<NSString> swapped = NSString::stringWithFormat("%2$@ %1$@", first, last);
///   text->appendFormat("%-10s|%08lx", "UTF-8 text", address);
/// \endcode
/// - Conversions: `d i D u U x X o O c C s S p e E f F g G a A @ %`; `D U O` are `d u o`. `%s` takes UTF-8, `%S`
///   UTF-16, either also a string object. There is no `%n`.
/// - Flags `- + blank # 0` and the apostrophe (no digits are grouped), width, `.precision`, `*`, and numbered arguments
///   (`%1$@`, `%2$*1$d`). Widths and precisions above kMaximumFormatWidth count as that. Those of `%@` and `%s`, and
///   the width of `%c`, whose precision changes nothing, count UTF-16 units; a surrogate pair is not cut apart.
/// - Length modifiers `h hh l ll q z t j L` are understood. Every argument knows its own size, so only `h` and `hh`
///   change anything: they keep the low bits. A `long double` is read as a double.
/// - What is no conversion is printed as it stands. An argument that does not fit prints the conversion and the value,
///   `%d(abc)`; one that is not there prints `%d(missing)`. Null objects and texts print `(null)`.
///
/// Nothing depends on the process's locale. Arguments are borrowed for the length of the call.
///
/// Threads: any; the objects that are described, and text that is appended to, as for those objects.
#pragma once

#include <array>
#include <concepts>
#include <cstdint>
#include <span>
#include <string_view>
#include <type_traits>

#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

/// The largest width and the largest precision.
inline constexpr NSUInteger kMaximumFormatWidth = NSUInteger{1} << 20;

/// One argument of a format: a scalar, a pointer, an object or text, and which of these it is. Borrows what it refers
/// to.
class FormatArgument {
 public:
  enum class Kind : std::uint8_t { Signed, Unsigned, Character, Real, Pointer, Object, UTF8, UTF16 };

  template <class T>
  requires std::integral<T> || std::is_enum_v<T>
  constexpr FormatArgument(T value) noexcept
      : bits_(static_cast<std::uint64_t>(value)), kind_(integerKind<T>()), size_(sizeof(T)) {
    static_assert(sizeof(T) <= sizeof(std::uint64_t));
  }
  template <std::floating_point T>
  constexpr FormatArgument(T value) noexcept : real_(static_cast<double>(value)), kind_(Kind::Real) {}
  constexpr FormatArgument(std::nullptr_t) noexcept : FormatArgument(static_cast<const void*>(nullptr)) {}
  constexpr FormatArgument(const void* pointer) noexcept : pointer_(pointer), kind_(Kind::Pointer) {}
  constexpr FormatArgument(const NSObject* object) noexcept : pointer_(object), kind_(Kind::Object) {}
  template <class T>
  constexpr FormatArgument(const Ref<T>& object) noexcept
      : FormatArgument(static_cast<const NSObject*>(object.get())) {}
  constexpr FormatArgument(std::string_view utf8) noexcept
      : pointer_(utf8.data()), length_(utf8.size()), kind_(Kind::UTF8) {}
  constexpr FormatArgument(std::u16string_view units) noexcept
      : pointer_(units.data()), length_(units.size()), kind_(Kind::UTF16) {}
  /// Text up to the NUL that a pointer promises. (Templates, so that arrays do not come here.)
  template <class Pointer>
  requires(std::is_pointer_v<Pointer>&& std::convertible_to<Pointer, const char*>) constexpr FormatArgument(
      const Pointer& utf8) noexcept
      : FormatArgument(textAt<std::string_view>(utf8)) {}
  template <class Pointer>
  requires(std::is_pointer_v<Pointer>&& std::convertible_to<Pointer, const char16_t*>) constexpr FormatArgument(
      const Pointer& units) noexcept
      : FormatArgument(textAt<std::u16string_view>(units)) {}
  /// Text up to the first NUL, or the whole array.
  template <std::size_t N>
  constexpr FormatArgument(const char (&utf8)[N]) noexcept : FormatArgument(upToZero(std::string_view(utf8, N))) {}
  template <std::size_t N>
  constexpr FormatArgument(const char16_t (&units)[N]) noexcept
      : FormatArgument(upToZero(std::u16string_view(units, N))) {}
  /// std::string and whatever else gives a view of its text.
  template <class Text>
  requires(std::is_class_v<Text>&& std::convertible_to<const Text&, std::string_view>) constexpr FormatArgument(
      const Text& utf8) noexcept
      : FormatArgument(std::string_view(utf8)) {}
  template <class Text>
  requires(std::is_class_v<Text>&& std::convertible_to<const Text&, std::u16string_view>) constexpr FormatArgument(
      const Text& units) noexcept
      : FormatArgument(std::u16string_view(units)) {}

  /// What was passed.
  constexpr Kind kind() const noexcept { return kind_; }
  /// True for integers, enumerations and characters.
  constexpr bool isInteger() const noexcept { return kind_ <= Kind::Character; }
  /// The value of an integer; an unsigned one above the signed range keeps its bits.
  constexpr std::int64_t signedValue() const noexcept { return static_cast<std::int64_t>(bits_); }
  /// The bits of an integer, as many as its type has.
  constexpr std::uint64_t unsignedValue() const noexcept {
    return size_ < sizeof bits_ ? bits_ & ((std::uint64_t{1} << (8 * size_)) - 1) : bits_;
  }
  /// How many bytes the type of an integer has.
  constexpr unsigned size() const noexcept { return size_; }
  /// The value of a floating argument.
  constexpr double real() const noexcept { return real_; }
  /// The address of an object, a text or whatever a pointer points to.
  constexpr const void* pointer() const noexcept { return pointer_; }
  /// The object, null for none.
  const NSObject* object() const noexcept { return static_cast<const NSObject*>(pointer_); }
  /// The bytes of text passed as UTF-8.
  std::string_view utf8() const noexcept { return {static_cast<const char*>(pointer_), length_}; }
  /// The units of text passed as UTF-16.
  std::u16string_view utf16() const noexcept { return {static_cast<const char16_t*>(pointer_), length_}; }

 private:
  template <class T>
  static constexpr Kind integerKind() {
    constexpr bool character = std::same_as<T, char> || std::same_as<T, char8_t> || std::same_as<T, char16_t> ||
                               std::same_as<T, char32_t> || std::same_as<T, wchar_t>;
    return character ? Kind::Character : std::is_signed_v<T> || std::is_enum_v<T> ? Kind::Signed : Kind::Unsigned;
  }
  template <class View>
  static constexpr FormatArgument textAt(const typename View::value_type* text) {
    return text != nullptr ? FormatArgument(View(text)) : FormatArgument(nullptr);
  }
  template <class View>
  static constexpr View upToZero(View text) {
    return text.substr(0, text.find(typename View::value_type{}));
  }

  union {
    std::uint64_t bits_;
    double real_;
    const void* pointer_;
  };
  std::size_t length_ = 0;
  Kind kind_;
  std::uint8_t size_ = 0;
};

/// The arguments of a format, in order.
using FormatArguments = std::span<const FormatArgument>;

/// The text that `format` makes of `arguments`; none for no format.
ZT_EXPORT Ref<NSString> formatText(const Ref<NSString>& format, FormatArguments arguments);

template <class... Arguments>
Ref<NSString> NSString::stringWithFormat(const Ref<NSString>& format, const Arguments&... arguments) {
  const std::array<FormatArgument, sizeof...(Arguments)> list{FormatArgument(arguments)...};
  return formatText(format, list);
}

template <class... Arguments>
void NSMutableString::appendFormat(const Ref<NSString>& format, const Arguments&... arguments) {
  const std::array<FormatArgument, sizeof...(Arguments)> list{FormatArgument(arguments)...};
  appendString(formatText(format, list));
}

}  // namespace ZtFoundation
