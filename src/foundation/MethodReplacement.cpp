#include <ZtFoundation/Utilities.h>

namespace ZtFoundation {

namespace {

bool isInherited(Class one, SEL selector, Method method) {
  return class_getInstanceMethod(class_getSuperclass(one), selector) == method;
}

}  // namespace

IMP QvDuplicateInstanceMethodWithSelector(Class one, SEL existing, SEL copy) {
  const Method method = class_getInstanceMethod(one, existing);
  if (method == nullptr) return nullptr;
  const IMP implementation = method_getImplementation(method);
  if (implementation != nullptr) class_addMethod(one, copy, implementation, method_getTypeEncoding(method));
  return implementation;
}

IMP QvReplaceMethodImplementation(Class one, SEL selector, IMP implementation) {
  const Method method = class_getInstanceMethod(one, selector);
  if (method == nullptr) return nullptr;
  const IMP previous = method_getImplementation(method);
  if (isInherited(one, selector, method)) {
    class_addMethod(one, selector, implementation, method_getTypeEncoding(method));
  } else {
    method_setImplementation(method, implementation);
  }
  _objc_flush_caches(one);
  return previous;
}

IMP QvReplaceMethodImplementationWithSelector(Class one, SEL selector, SEL source) {
  return QvReplaceMethodImplementationWithSelectorOnClass(one, selector, one, source);
}

IMP QvReplaceMethodImplementationWithSelectorOnClass(Class one, SEL selector, Class sourceClass, SEL source) {
  const Method method = class_getInstanceMethod(sourceClass, source);
  return QvReplaceMethodImplementation(one, selector, method_getImplementation(method));
}

Class QvClassImplementingMethod(Class one, SEL selector) {
  const Method method = class_getInstanceMethod(one, selector);
  if (method == nullptr) return nullptr;
  while (isInherited(one, selector, method)) one = class_getSuperclass(one);
  return one;
}

}  // namespace ZtFoundation
