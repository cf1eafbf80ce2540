/// \file Runtime.h
/// Run-time classes and messages: names, superclasses, instances by name, methods by selector.
///
/// A class of a host becomes known by its name, and answers messages, with one line in its source:
/// \code
///   class Camera : public NSObject {
///     ZT_OBJECT(Camera, NSObject)
///    public:
///     Ref<NSString> model() const;
///     void setZoom_animated(double zoom, bool animated);
///     static Ref<Camera> cameraWithModel(const Ref<NSString>& model);
///   };
///
///   ZT_REGISTER_CLASS(Camera,
///                     ZT_METHOD("model", &Camera::model),
///                     ZT_METHOD("setZoom:animated:", &Camera::setZoom_animated),
///                     ZT_CLASS_METHOD("cameraWithModel:", &Camera::cameraWithModel));
///
///   Ref<NSObject> camera = class_createInstance(NSClassFromString("Camera"));
///   send<void>(camera, ZT_SELECTOR("setZoom:animated:"), 2.0, true);
///   Ref<NSString> model = send<Ref<NSString>>(camera, ZT_SELECTOR("model"));
/// \endcode
///
/// Sending checks what a virtual call has the compiler check: a receiver without the method, arguments or a result of
/// other types than the method has (nothing is converted but object classes, which are tested), each raise
/// NSInvalidArgumentException. A message to none does nothing and answers none, 0 or false.
///
/// A method made from a virtual member function calls the override, so overriding in C++ and replacing at run time both
/// work. A subclass that overrides in C++ and should keep its override when the method is replaced for its superclass
/// lists the method too.
///
/// Threads: everything here may be called by any thread at any time. Sending takes no lock once the method is in the
/// cache of the receiver's class. A replaced method is in force for every message sent after the replacement.
#pragma once

#include <atomic>
#include <span>
#include <tuple>
#include <type_traits>
#include <vector>

#include <ZtFoundation/platform/Object.h>
#include <ZtFoundation/platform/Signature.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

namespace detail {

/// What a message runs into: the function to call for a selector and the types that it really has.
struct Binding {
  SEL selector;
  IMP implementation;
  const char* encoding;
};

/// Bindings by selector, open addressing; never more than half full. Entries are added and cleared under the lock of
/// the runtime and read without it.
struct MethodCache {
  using Slot = std::atomic<const Binding*>;

  std::size_t mask;
  std::size_t used;
  MethodCache* outgrown;  // a reader may still be in it
  Slot* slots;

  const Binding* find(SEL selector) const noexcept {
    for (std::size_t at = reinterpret_cast<std::uintptr_t>(selector) >> 4;; ++at) {
      const Binding* found = slots[at & mask].load(std::memory_order_acquire);
      if (found == nullptr || found->selector == selector) return found;
    }
  }
};

/// A method as a class declares it, before anybody asks for it.
struct MethodDescription {
  const char* selector;
  const char* encoding;
  IMP (*implementation)();
  Class (*receiver)();  // the class that the implementation is written for; null when any will do
  bool ofClass;
};

class Runtime;
struct MethodTable;

}  // namespace detail

/// An entry of one class's method table. Entries live as long as the process; the entry that a lookup answers is the
/// same for every class that inherits the method.
struct MethodEntry;
using Method = MethodEntry*;

/// A run-time class. Those of compiled code are constants of that code; all of them live as long as the process.
class ZT_EXPORT RuntimeClass {
 public:
  /// Makes an instance whose class is `isa`.
  using Factory = NSObject* (*)(Class isa);
  using Parent = Class (*)();

  /// Made by ZT_IMPLEMENT_CLASS and ZT_REGISTER_CLASS.
  constexpr RuntimeClass(const char* className, Parent parent, Factory factory, RuntimeClass* meta,
                         std::span<const detail::MethodDescription> methods) noexcept
      : name_(className), parent_(parent), factory_(factory), metaclass_(meta), methods_(methods) {}
  RuntimeClass(const RuntimeClass&) = delete;
  RuntimeClass& operator=(const RuntimeClass&) = delete;

  /// The name, good as long as the process lives.
  const char* name() const noexcept { return name_; }
  /// Null for a root class.
  Class superclass() const { return parent_ != nullptr ? parent_() : madeFrom_; }
  /// The class whose instance methods are this class's own class methods; null for such a class itself.
  Class metaclass() const noexcept { return metaclass_; }
  /// True for `ancestor` itself and every class below it; false for null.
  bool isSubclassOfClass(Class ancestor) const;
  /// A new instance; none when the class has no default constructor. What the constructor throws passes through.
  Ref<NSObject> createInstance();

  /// What a message with `selector` runs into. Raises NSInvalidArgumentException when instances do not respond to it.
  const detail::Binding& bind(SEL selector) {
    if (const detail::MethodCache* cache = cache_.load(std::memory_order_acquire)) {
      if (const detail::Binding* found = cache->find(selector)) [[likely]]
        return *found;
    }
    return bindSlowly(selector);
  }

 private:
  friend class detail::Runtime;

  const detail::Binding& bindSlowly(SEL selector);

  const char* name_;
  Parent parent_;
  Class madeFrom_ = nullptr;  // the superclass, for a class made at run time
  Factory factory_;
  RuntimeClass* metaclass_;
  std::span<const detail::MethodDescription> methods_;
  detail::MethodTable* table_ = nullptr;  // from methods_, made when first asked for
  std::atomic<detail::MethodCache*> cache_ = nullptr;
  RuntimeClass* registeredNext_ = nullptr;
};

// --- Names

/// The class of that name; null when there is none. Classes of hosts are found when their code is loaded and registers
/// them.
ZT_EXPORT Class NSClassFromString(const Ref<NSString>& name);
/// None for no class.
ZT_EXPORT Ref<NSString> NSStringFromClass(Class one);
/// The selector of that name, made when needed; null for none.
ZT_EXPORT SEL NSSelectorFromString(const Ref<NSString>& name);
/// None for no selector.
ZT_EXPORT Ref<NSString> NSStringFromSelector(SEL selector);
/// Null for no class.
ZT_EXPORT const char* class_getName(Class one);

// --- Classes

/// Null for a root class and for no class.
ZT_EXPORT Class class_getSuperclass(Class one);
/// None for no class and for a class without a default constructor; what the constructor throws passes through.
ZT_EXPORT Ref<NSObject> class_createInstance(Class one);
/// Makes a class at run time, with the instances of `superclass` and no methods of its own, for as long as the process
/// lives. Null when there is no superclass, no name, or the name is taken or holds U+0000.
ZT_EXPORT Class registerSubclass(Class superclass, const Ref<NSString>& name);

// --- Methods. Null arguments are allowed and answer null, none or false.

/// The entry of the nearest class, from `one` up, that defines `selector`.
ZT_EXPORT Method class_getInstanceMethod(Class one, SEL selector);
/// The same for a class method.
ZT_EXPORT Method class_getClassMethod(Class one, SEL selector);
/// Adds a method to `one` alone. False, and nothing changes, when `one` itself (not a superclass) has the selector.
/// `types` is the type encoding; the caller vouches that `implementation` has these types, unless it comes from
/// `methodImplementation`.
ZT_EXPORT bool class_addMethod(Class one, SEL selector, IMP implementation, const char* types);
/// The implementation in force now.
ZT_EXPORT IMP method_getImplementation(Method method);
/// The types of the method, good as long as the process lives.
ZT_EXPORT const char* method_getTypeEncoding(Method method);
/// The selector of the method.
ZT_EXPORT SEL method_getName(Method method);
/// Answers the implementation that was in force before.
ZT_EXPORT IMP method_setImplementation(Method method, IMP implementation);
/// Empties the method caches of `one` and its subclasses; of all classes for null.
ZT_EXPORT void _objc_flush_caches(Class one);

/// True when messages with `selector` to an instance of `one` find an implementation.
ZT_EXPORT bool instancesRespondToSelector(Class one, SEL selector);
ZT_EXPORT bool respondsToSelector(const Ref<NSObject>& receiver, SEL selector);
/// The same for messages to the class itself.
ZT_EXPORT bool respondsToSelector(Class receiver, SEL selector);

/// Sends a message with no, one or two objects, and answers the object, or boxes the number, that comes back. None for
/// a method without a result. Raises NSInvalidArgumentException when the method takes anything else or answers anything
/// but an object or a number: a class, a selector, a pointer, a record.
ZT_EXPORT Ref<NSObject> performSelector(const Ref<NSObject>& receiver, SEL selector);
ZT_EXPORT Ref<NSObject> performSelector_withObject(const Ref<NSObject>& receiver, SEL selector,
                                                   const Ref<NSObject>& object);
ZT_EXPORT Ref<NSObject> performSelector_withObject_withObject(const Ref<NSObject>& receiver, SEL selector,
                                                              const Ref<NSObject>& first, const Ref<NSObject>& second);

namespace detail {

// The root class's own operations as the library uses them: a message for classes that hosts may derive from, a plain
// call for values and collections. `object` is not null.
ZT_EXPORT Ref<NSString> describe(const NSObject* object);
ZT_EXPORT NSUInteger hashOf(const NSObject* object);
ZT_EXPORT bool areEqual(const NSObject* object, const NSObject* other);
ZT_EXPORT bool areEqualTo(const NSObject* object, const NSObject* other);

ZT_EXPORT SEL internSelector(std::string_view name);
ZT_EXPORT bool registerClass(Class one) noexcept;
/// The classes that hosts registered, in that order.
ZT_EXPORT std::vector<Class> registeredClasses();
/// Remembers what `implementation` really takes, whatever entry it is put in.
ZT_EXPORT IMP knowImplementation(IMP implementation, const char* encoding, Class receiver);
/// Raises NSInvalidArgumentException when `implementation` is not known to take `encoding` and instances of `receiver`.
ZT_EXPORT void requireImplementation(IMP implementation, Class receiver, const char* encoding);
/// `binding.encoding` when it reads the same as `sent`, else raises NSInvalidArgumentException.
ZT_EXPORT const char* requireSameEncoding(const Binding& binding, const char* sent);

// ---- Making methods of C++ functions

template <class... P>
struct Parameters {
  static constexpr std::size_t count = sizeof...(P);
};

template <class F>
struct Callable;
template <class R, class C, class... P>
struct Callable<R (C::*)(P...)> {
  using Receiver = C;
  using Result = R;
  using Declared = Parameters<P...>;
};
template <class R, class C, class... P>
struct Callable<R (C::*)(P...) const> : Callable<R (C::*)(P...)> {};
template <class R, class C, class... P>
struct Callable<R (C::*)(P...) noexcept> : Callable<R (C::*)(P...)> {};
template <class R, class C, class... P>
struct Callable<R (C::*)(P...) const noexcept> : Callable<R (C::*)(P...)> {};
template <class R, class... P>
struct Callable<R (*)(P...)> {
  using Receiver = void;
  using Result = R;
  using Declared = Parameters<P...>;
};
template <class R, class... P>
struct Callable<R (*)(P...) noexcept> : Callable<R (*)(P...)> {};

template <class R, class Call>
typename Wire<R>::Result giveResult(const Call& call) {
  if constexpr (std::is_void_v<R>) {
    call();
  } else {
    return Wire<R>::give(call());
  }
}

/// The class of objects that a parameter declared as a receiver stands for.
template <class P>
struct ReceiverClass : std::remove_pointer<Plain<P>> {};
template <class P>
requires isRef<std::remove_cvref_t<P>>
struct ReceiverClass<P> : std::type_identity<typename std::remove_cvref_t<P>::Element> {
};
template <class P>
requires std::derived_from<std::remove_cvref_t<P>, NSObject>
struct ReceiverClass<P> : std::type_identity<std::remove_cvref_t<P>> {
};
template <class P>
using ReceiverOf = std::remove_cv_t<typename ReceiverClass<P>::type>;

template <class P>
decltype(auto) asReceiver(NSObject* self) {
  auto* receiver = static_cast<ReceiverOf<P>*>(self);
  if constexpr (std::derived_from<std::remove_cvref_t<P>, NSObject>) {
    return *receiver;
  } else {
    return std::remove_cvref_t<P>(receiver);
  }
}

template <class T>
Class classOf() {
  return T::classObject();
}

/// A method of instances that is a member function.
template <auto function, class C, class R, class Declared>
struct MemberMethod;
template <auto function, class C, class R, class... P>
struct MemberMethod<function, C, R, Parameters<P...>> {
  static constexpr std::size_t arity = sizeof...(P);
  static constexpr const char* encoding = signature<'@', Plain<R>, Plain<P>...>;
  static constexpr RuntimeClass::Parent receiver = &classOf<C>;
  static typename Wire<Plain<R>>::Result call(NSObject* self, SEL, typename Wire<Plain<P>>::Argument... arguments) {
    return giveResult<Plain<R>>(
        [&]() -> R { return (static_cast<C*>(self)->*function)(Wire<Plain<P>>::take(arguments)...); });
  }
};

/// A method of instances that is a plain function whose first parameter is the receiver.
template <auto function, class R, class Declared>
struct FunctionMethod;
template <auto function, class R, class Self, class... P>
struct FunctionMethod<function, R, Parameters<Self, P...>> {
  static constexpr std::size_t arity = sizeof...(P);
  static constexpr const char* encoding = signature<'@', Plain<R>, Plain<P>...>;
  static constexpr RuntimeClass::Parent receiver = &classOf<ReceiverOf<Self>>;
  static typename Wire<Plain<R>>::Result call(NSObject* self, SEL, typename Wire<Plain<P>>::Argument... arguments) {
    return giveResult<Plain<R>>(
        [&]() -> R { return function(asReceiver<Self>(self), Wire<Plain<P>>::take(arguments)...); });
  }
};

/// A method of a class that does not ask which class it was sent to.
template <auto function, class R, class Declared>
struct StaticMethod;
template <auto function, class R, class... P>
struct StaticMethod<function, R, Parameters<P...>> {
  static constexpr std::size_t arity = sizeof...(P);
  static constexpr const char* encoding = signature<'#', Plain<R>, Plain<P>...>;
  static constexpr RuntimeClass::Parent receiver = nullptr;
  static typename Wire<Plain<R>>::Result call(Class, SEL, typename Wire<Plain<P>>::Argument... arguments) {
    return giveResult<Plain<R>>([&]() -> R { return function(Wire<Plain<P>>::take(arguments)...); });
  }
};

/// A method of a class whose first parameter is the class that it was sent to.
template <auto function, class R, class Declared>
struct ClassMethod;
template <auto function, class R, class... P>
struct ClassMethod<function, R, Parameters<Class, P...>> {
  static constexpr std::size_t arity = sizeof...(P);
  static constexpr const char* encoding = signature<'#', Plain<R>, Plain<P>...>;
  static constexpr RuntimeClass::Parent receiver = nullptr;
  static typename Wire<Plain<R>>::Result call(Class self, SEL, typename Wire<Plain<P>>::Argument... arguments) {
    return giveResult<Plain<R>>([&]() -> R { return function(self, Wire<Plain<P>>::take(arguments)...); });
  }
};

template <auto function>
constexpr auto instanceMethodOf() {
  using Shape = Callable<decltype(function)>;
  if constexpr (std::is_member_function_pointer_v<decltype(function)>) {
    return MemberMethod<function, typename Shape::Receiver, typename Shape::Result, typename Shape::Declared>();
  } else {
    return FunctionMethod<function, typename Shape::Result, typename Shape::Declared>();
  }
}

template <auto function, std::size_t argumentCount>
constexpr auto classMethodOf() {
  using Shape = Callable<decltype(function)>;
  if constexpr (Shape::Declared::count == argumentCount) {
    return StaticMethod<function, typename Shape::Result, typename Shape::Declared>();
  } else {
    return ClassMethod<function, typename Shape::Result, typename Shape::Declared>();
  }
}

template <class Shape>
IMP implementationOf() {
  return reinterpret_cast<IMP>(&Shape::call);
}

/// A name that a template can be made for.
template <std::size_t size>
struct Name {
  char text[size];

  consteval Name(const char (&literal)[size]) {
    for (std::size_t i = 0; i < size; ++i) text[i] = literal[i];
  }
  constexpr std::size_t argumentCount() const {
    std::size_t count = 0;
    for (const char one : text) count += one == ':' ? 1U : 0U;
    return count;
  }
  constexpr std::string_view view() const { return {text, size - 1}; }
};

template <Name name, class Shape>
constexpr MethodDescription describe(Shape, bool ofClass) {
  static_assert(name.argumentCount() == Shape::arity, "a selector has one ':' for each argument");
  return {name.text, Shape::encoding, &implementationOf<Shape>, Shape::receiver, ofClass};
}

// ---- Classes of compiled code

/// An instance of a class that was made at run time below T.
template <class T>
class InstanceOf final : public T {
 public:
  explicit InstanceOf(Class isa) : isa_(isa) {}
  Class isa() const override { return isa_; }

 private:
  Class isa_;
};

template <class T>
NSObject* makeInstance(Class isa) {
  if constexpr (!std::is_final_v<T>) {
    if (isa != T::classObject()) return new InstanceOf<T>(isa);
  }
  return new T();
}

template <class T>
constexpr RuntimeClass::Factory factoryOf() {
  if constexpr (std::is_default_constructible_v<T>) {
    return &makeInstance<T>;
  } else {
    return nullptr;
  }
}

template <class T>
Class metaclassOf() {
  return T::classObject()->metaclass();
}

/// A class and the class of its class methods.
struct ClassPair {
  RuntimeClass own;
  RuntimeClass meta;

  constexpr ClassPair(const char* name, RuntimeClass::Parent parent, RuntimeClass::Parent metaParent,
                      RuntimeClass::Factory factory, std::span<const MethodDescription> methods) noexcept
      : own(name, parent, factory, &meta, methods), meta(name, metaParent, nullptr, nullptr, methods) {}
};

template <class... Descriptions>
constexpr std::array<MethodDescription, sizeof...(Descriptions)> methodList(Descriptions... descriptions) {
  return {descriptions...};
}

template <Name name>
SEL selectorNamed() {
  static const SEL selector = internSelector(name.view());
  return selector;
}

// ---- Sending

template <class A>
struct SentAs : std::type_identity<A> {};
template <Text A>
requires(!std::is_pointer_v<A>) struct SentAs<A> : std::type_identity<Ref<NSString>> {
};
template <>
struct SentAs<std::nullptr_t> : std::type_identity<Ref<NSObject>> {};
/// What an argument of a message is sent as: text that is no pointer as a string, `nullptr` as no object, all else as
/// it is.
template <class A>
using Sent = typename SentAs<A>::type;

/// Raises NSInvalidArgumentException unless `binding` has the types that are sent.
template <char receiver, class R, class... A>
void checkEncoding(const Binding& binding) {
  static constinit std::atomic<const char*> agreed =
      signature<receiver, R, A...>;  // the same text may lie at several addresses
  if (binding.encoding != agreed.load(std::memory_order_relaxed)) [[unlikely]]
    agreed.store(requireSameEncoding(binding, signature<receiver, R, A...>), std::memory_order_relaxed);
}

template <class R, class Self, class... A>
R callImplementation(IMP implementation, Self self, SEL selector, const A&... arguments) {
  static_assert(!ObjectPointer<R>, "ask for a Ref, so that the result stays alive");
  using Function = typename Wire<R>::Result (*)(Self, SEL, typename Wire<Sent<A>>::Argument...);
  const auto function = reinterpret_cast<Function>(implementation);
  if constexpr (std::is_void_v<R>) {
    function(self, selector, Wire<Sent<A>>::pass(static_cast<const Sent<A>&>(arguments))...);
  } else {
    return Wire<R>::receive(function(self, selector, Wire<Sent<A>>::pass(static_cast<const Sent<A>&>(arguments))...));
  }
}

template <char kind, class R, class Self, class... A>
R sendMessage(Class dispatch, Self self, SEL selector, const A&... arguments) {
  const Binding& binding = dispatch->bind(selector);
  checkEncoding<kind, R, Sent<A>...>(binding);
  return callImplementation<R>(binding.implementation, self, selector, arguments...);
}

}  // namespace detail

/// Sends `selector` with `arguments` to an object, and answers what the method answers. R is the result's type as the
/// method declares it, any class of objects that it may be for an object. Literals and other text are sent as strings.
template <class R = void, class... A>
R send(NSObject* receiver, SEL selector, const A&... arguments) {
  if (receiver == nullptr) return R();
  return detail::sendMessage<'@', R>(receiver->isa(), receiver, selector, arguments...);
}
template <class R = void, class T, class... A>
R send(const Ref<T>& receiver, SEL selector, const A&... arguments) {
  return send<R>(static_cast<NSObject*>(receiver.get()), selector, arguments...);
}
/// The same to a class.
template <class R = void, class... A>
R send(Class receiver, SEL selector, const A&... arguments) {
  if (receiver == nullptr || receiver->metaclass() == nullptr) return R();
  return detail::sendMessage<'#', R>(receiver->metaclass(), receiver, selector, arguments...);
}

/// Calls an implementation that the library knows the types of (from a class's method list or `methodImplementation`),
/// for instance the one that a replacement answered. Raises NSInvalidArgumentException for any other, and when the
/// types differ.
template <class R = void, class T, class... A>
R callMethod(IMP implementation, const Ref<T>& receiver, SEL selector, const A&... arguments) {
  if (!receiver) return R();
  detail::requireImplementation(implementation, receiver->isa(), detail::signature<'@', R, detail::Sent<A>...>);
  return detail::callImplementation<R>(implementation, static_cast<NSObject*>(receiver.get()), selector, arguments...);
}

/// The implementation of an instance method made from a member function, or from a function whose first parameter is
/// the receiver (`Camera&`, `const Ref<Camera>&` ...).
template <auto function>
IMP methodImplementation() {
  using Shape = decltype(detail::instanceMethodOf<function>());
  return detail::knowImplementation(detail::implementationOf<Shape>(), Shape::encoding, Shape::receiver());
}

/// `class_addMethod` with such an implementation and its own types.
template <auto function>
bool class_addMethod(Class one, SEL selector) {
  using Shape = decltype(detail::instanceMethodOf<function>());
  return class_addMethod(one, selector, methodImplementation<function>(), Shape::encoding);
}

}  // namespace ZtFoundation

/// The selector with that name, a literal; looked up once.
#define ZT_SELECTOR(name) (::ZtFoundation::detail::selectorNamed<name>())

/// An entry of the list of methods of a class: selector, then a pointer to a member function or to a function whose
/// first parameter is the receiver.
#define ZT_METHOD(selector, ...) \
  ::ZtFoundation::detail::describe<selector>(::ZtFoundation::detail::instanceMethodOf<(__VA_ARGS__)>(), false)

/// The same for a method of the class itself: a pointer to a static function, which may take the receiving class first.
#define ZT_CLASS_METHOD(selector, ...)                                                                                \
  ::ZtFoundation::detail::describe<selector>(                                                                         \
      ::ZtFoundation::detail::classMethodOf<(__VA_ARGS__), ::ZtFoundation::detail::Name(selector).argumentCount()>(), \
      true)

/// Defines the run-time class of `Name`, which bears ZT_OBJECT, with a list of its methods; at namespace scope in one
/// source. Only the library's own classes are found by name this way. The code that holds it must stay loaded.
#define ZT_IMPLEMENT_CLASS(Name, ...)                                                                               \
  ::ZtFoundation::Class Name::classObject() {                                                                       \
    ZT_LIST_CLASS(Name);                                                                                            \
    static constexpr auto methods = ::ZtFoundation::detail::methodList(__VA_ARGS__);                                \
    static constinit ::ZtFoundation::detail::ClassPair pair(#Name, &Name::Superclass::classObject,                  \
                                                            &::ZtFoundation::detail::metaclassOf<Name::Superclass>, \
                                                            ::ZtFoundation::detail::factoryOf<Name>(), methods);    \
    return &pair.own;                                                                                               \
  }                                                                                                                 \
  static_assert(true)

// The linker gathers these into one array, so that the library finds its classes by name without running anything at
// start-up.
#define ZT_LIST_CLASS(Name) \
  [[gnu::used, gnu::section("zt_classes")]] static ::ZtFoundation::RuntimeClass::Parent listed = &Name::classObject

/// The same, and the class can be found by its name as soon as the code that holds it is loaded. That code is never
/// unloaded again. A name that is taken already stays with the class that had it first.
#define ZT_REGISTER_CLASS(Name, ...)                                                                          \
  ZT_IMPLEMENT_CLASS(Name, __VA_ARGS__);                                                                      \
  namespace {                                                                                                 \
  [[maybe_unused]] const bool ZT_JOIN(ztClassRegistered,                                                      \
                                      __LINE__) = ::ZtFoundation::detail::registerClass(Name::classObject()); \
  }                                                                                                           \
  static_assert(true)

#define ZT_JOIN(a, b) ZT_JOIN_EXPANDED(a, b)
#define ZT_JOIN_EXPANDED(a, b) a##b
