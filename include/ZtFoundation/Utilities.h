/// \file Utilities.h
/// Small utilities: replacing methods at run time.
#pragma once

#include <ZtFoundation/platform/Export.h>
#include <ZtFoundation/platform/Runtime.h>

namespace ZtFoundation {

// --- Method replacement
//
// To patch a method and still reach the old behaviour, keep the old implementation under a new selector, then replace:
//
//   Ref<NSString> patched(const Ref<Camera>& self) {
//     return send<Ref<NSString>>(self, ZT_SELECTOR("originalModel"))->stringByAppendingString(" (patched)");
//   }
//   QvDuplicateInstanceMethodWithSelector(Camera::classObject(), ZT_SELECTOR("model"), ZT_SELECTOR("originalModel"));
//   QvReplaceMethodImplementation(Camera::classObject(), ZT_SELECTOR("model"), methodImplementation<&patched>());
//
// The replacement takes effect for messages: every `send`, and the calls that the library itself makes on objects of classes that hosts may
// derive from. To change class methods, pass the class's `metaclass()`. An implementation must take what the method's callers send: a message
// whose types it does not have raises NSInvalidArgumentException. Threads: safe at any time; meant for start-up.

/// Gives `one` a method `copy` with the implementation that instances of `one` have for `existing`, inherited ones included. A method
/// `copy` that `one` itself defines already stays as it is.
/// \returns that implementation; null, and nothing changes, when instances of `one` do not respond to `existing`.
ZT_EXPORT IMP QvDuplicateInstanceMethodWithSelector(Class one, SEL existing, SEL copy);

/// Has instances of `one`, and of subclasses without a method of their own, answer `selector` with `implementation`. The superclass of `one`
/// keeps its behaviour, also when `one` has only inherited the method. With a null implementation they stop responding.
/// \returns the implementation that was in force for `one`; null, and nothing changes, when there was no such method.
ZT_EXPORT IMP QvReplaceMethodImplementation(Class one, SEL selector, IMP implementation);

/// The same with the implementation that `one` has for `source`, which must exist: else instances stop responding to `selector`.
ZT_EXPORT IMP QvReplaceMethodImplementationWithSelector(Class one, SEL selector, SEL source);

/// The same with the implementation that `sourceClass` has for `source`, which must exist: else instances stop responding to `selector`.
ZT_EXPORT IMP QvReplaceMethodImplementationWithSelectorOnClass(Class one, SEL selector, Class sourceClass, SEL source);

/// The class that defines the method that instances of `one` have for `selector`: `one` or the ancestor it is inherited from.
/// \returns null when there is no such method.
ZT_EXPORT Class QvClassImplementingMethod(Class one, SEL selector);

}  // namespace ZtFoundation
