#include <ZtFoundation/platform/Runtime.h>

#include <cstring>

#include <ZtFoundation/platform/Exception.h>

#include "platform/objects/RuntimeState.h"

namespace ZtFoundation {

using detail::Runtime;

// ---- Classes

bool RuntimeClass::isSubclassOfClass(Class ancestor) const {
  for (const RuntimeClass* one = this; one != nullptr; one = one->superclass()) {
    if (one == ancestor) return true;
  }
  return false;
}

Ref<NSObject> RuntimeClass::createInstance() {
  return Ref<NSObject>::adopt(factory_ != nullptr ? factory_(this) : nullptr);
}

const detail::Binding& RuntimeClass::bindSlowly(SEL selector) {
  if (const detail::Binding* found = Runtime::shared().bind(this, selector)) return *found;
  const std::string name = selector != nullptr ? selector->name : "(null)";
  const char sign = metaclass_ != nullptr ? '-' : '+';
  detail::raiseInvalidArgument((sign + ("[" + std::string(name_) + " ") + name + "]: unrecognized selector").c_str());
}

Class class_getSuperclass(Class one) { return one != nullptr ? one->superclass() : nullptr; }
const char* class_getName(Class one) { return one != nullptr ? one->name() : nullptr; }
Ref<NSObject> class_createInstance(Class one) { return one != nullptr ? one->createInstance() : nullptr; }

Class registerSubclass(Class superclass, const Ref<NSString>& name) {
  return superclass != nullptr && name ? Runtime::shared().makeSubclass(superclass, name->utf8()) : nullptr;
}

Class NSClassFromString(const Ref<NSString>& name) {
  return name ? Runtime::shared().classNamed(name->utf8()) : nullptr;
}
Ref<NSString> NSStringFromClass(Class one) { return class_getName(one); }
SEL NSSelectorFromString(const Ref<NSString>& name) { return name ? detail::internSelector(name->utf8()) : nullptr; }
Ref<NSString> NSStringFromSelector(SEL selector) { return selector != nullptr ? selector->name.c_str() : nullptr; }

// ---- Methods

Method class_getInstanceMethod(Class one, SEL selector) { return Runtime::shared().lookUp(one, selector); }

Method class_getClassMethod(Class one, SEL selector) {
  return one != nullptr ? class_getInstanceMethod(one->metaclass(), selector) : nullptr;
}

bool class_addMethod(Class one, SEL selector, IMP implementation, const char* types) {
  return one != nullptr && selector != nullptr && types != nullptr &&
         Runtime::shared().addMethod(one, selector, implementation, types);
}

IMP method_getImplementation(Method method) {
  return method != nullptr ? Runtime::shared().implementationOf(method) : nullptr;
}

const char* method_getTypeEncoding(Method method) { return method != nullptr ? method->types : nullptr; }
SEL method_getName(Method method) { return method != nullptr ? method->name : nullptr; }

IMP method_setImplementation(Method method, IMP implementation) {
  return method != nullptr ? Runtime::shared().setImplementation(method, implementation) : nullptr;
}

void _objc_flush_caches(Class one) { Runtime::shared().flush(one); }

bool instancesRespondToSelector(Class one, SEL selector) { return Runtime::shared().responds(one, selector); }

bool respondsToSelector(const Ref<NSObject>& receiver, SEL selector) {
  return receiver && instancesRespondToSelector(receiver->isa(), selector);
}

bool respondsToSelector(Class receiver, SEL selector) {
  return receiver != nullptr && instancesRespondToSelector(receiver->metaclass(), selector);
}

// ---- What the templates of the header call

namespace detail {

SEL internSelector(std::string_view name) { return Runtime::shared().intern(name); }

bool registerClass(Class one) noexcept {
  Runtime::shared().registerClass(one);
  return true;
}

std::vector<Class> registeredClasses() { return Runtime::shared().registeredClasses(); }

IMP knowImplementation(IMP implementation, const char* encoding, Class receiver) {
  Runtime::shared().know(implementation, {encoding, receiver});
  return implementation;
}

const char* requireSameEncoding(const Binding& binding, const char* sent) {
  if (std::strcmp(binding.encoding, sent) == 0) return binding.encoding;
  raiseInvalidArgument(
      ("[" + binding.selector->name + "]: has the types " + binding.encoding + ", sent as " + sent).c_str());
}

void requireImplementation(IMP implementation, Class receiver, const char* encoding) {
  const ImplementationTypes* types = Runtime::shared().typesOf(implementation);
  if (types == nullptr) raiseInvalidArgument("the types of the implementation are not known");
  if (std::strcmp(types->encoding, encoding) != 0) raiseInvalidArgument("the implementation has other types");
  if (types->receiver != nullptr && !receiver->isSubclassOfClass(types->receiver)) {
    raiseInvalidArgument("the implementation is written for another class");
  }
}

void raiseWrongObject(const NSObject* object, Class wanted) {
  raiseInvalidArgument((std::string("a ") + wanted->name() + " is wanted, not a " + object->isa()->name()).c_str());
}

}  // namespace detail

}  // namespace ZtFoundation
