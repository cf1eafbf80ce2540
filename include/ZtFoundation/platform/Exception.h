/// \file Exception.h
/// `NSException`: what the library raises when a host breaks a rule of the interface.
/// \code
///   try {
///     NSArray::of("only", "two")->objectAtIndex(2);
///   } catch (const NSException& exception) {
///     if (exception.name()->isEqual(NSRangeException())) NSLog("%@", exception.reason());
///   }
/// \endcode
/// Threads: one exception may be used by many threads at once.
#pragma once

#include <exception>
#include <memory>
#include <string>

#include <ZtFoundation/platform/Object.h>

namespace ZtFoundation {

/// Raised by value; carries a name that programs test and a reason for people.
class ZT_EXPORT NSException : public std::exception {
 public:
  /// An exception to be thrown by value; either may be none.
  NSException(Ref<NSString> name, Ref<NSString> reason);
  NSException(const NSException&) noexcept;
  NSException& operator=(const NSException&) = delete;
  ~NSException() override;

  /// What programs test, such as "NSRangeException".
  const Ref<NSString>& name() const noexcept { return name_; }
  /// What people read; may be none.
  const Ref<NSString>& reason() const noexcept { return reason_; }
  /// "name: reason" as UTF-8.
  const char* what() const noexcept override { return what_->c_str(); }

 private:
  Ref<NSString> name_;
  Ref<NSString> reason_;
  std::shared_ptr<const std::string> what_;  // copies of an exception must not need memory
};

/// The name of the exception for an argument that is not allowed.
ZT_EXPORT const Ref<NSString>& NSInvalidArgumentException();
/// The name of the exception for an index or range outside of its sequence.
ZT_EXPORT const Ref<NSString>& NSRangeException();

namespace detail {
[[noreturn]] ZT_EXPORT void raiseInvalidArgument(const char* reason);
[[noreturn]] ZT_EXPORT void raiseRange(const char* reason);
}  // namespace detail

}  // namespace ZtFoundation
