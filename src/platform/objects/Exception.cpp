#include <ZtFoundation/platform/Exception.h>

#include <utility>

#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

namespace {

std::string textOrEmpty(const Ref<NSString>& text) { return text ? text->utf8() : std::string(); }

}  // namespace

NSException::NSException(Ref<NSString> name, Ref<NSString> reason)
    : name_(std::move(name)),
      reason_(std::move(reason)),
      what_(std::make_shared<const std::string>(textOrEmpty(name_) + ": " + textOrEmpty(reason_))) {}

NSException::NSException(const NSException&) noexcept = default;
NSException::~NSException() = default;

// The names outlive everything, because exceptions may be raised while static objects are destroyed.
const Ref<NSString>& NSInvalidArgumentException() {
  static const Ref<NSString>& name = *new Ref<NSString>("NSInvalidArgumentException");
  return name;
}

const Ref<NSString>& NSRangeException() {
  static const Ref<NSString>& name = *new Ref<NSString>("NSRangeException");
  return name;
}

namespace detail {

void raiseInvalidArgument(const char* reason) { throw NSException(NSInvalidArgumentException(), reason); }
void raiseRange(const char* reason) { throw NSException(NSRangeException(), reason); }

}  // namespace detail

}  // namespace ZtFoundation
