/// \file ReplacedMethod.h
/// Another implementation of an instance method for the length of a scope.
#pragma once

#include <ZtFoundation/platform/Runtime.h>

#include <stdexcept>

namespace ZtFoundation::test {

/// Puts `function`, whose first parameter is the receiver, in the place of the method that the class itself lists.
template <auto function>
class ReplacedMethod {
 public:
  ReplacedMethod(Class one, SEL selector) : method_(class_getInstanceMethod(one, selector)) {
    if (method_ == nullptr) throw std::invalid_argument("no such method");
    before_ = method_setImplementation(method_, methodImplementation<function>());
  }
  ReplacedMethod(const ReplacedMethod&) = delete;
  ReplacedMethod& operator=(const ReplacedMethod&) = delete;
  ~ReplacedMethod() { method_setImplementation(method_, before_); }

 private:
  Method method_;
  IMP before_;
};

}  // namespace ZtFoundation::test
