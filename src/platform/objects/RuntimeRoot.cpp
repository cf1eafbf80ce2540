#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/Runtime.h>

namespace ZtFoundation {

namespace {

using ObjectRef = Ref<NSObject>;

Class superclassOf(const NSObject& self) { return self.isa()->superclass(); }
bool responds(NSObject& self, SEL selector) { return instancesRespondToSelector(self.isa(), selector); }
ObjectRef initialise(NSObject& self) { return ObjectRef(&self); }
ObjectRef allocate(Class self) { return self->createInstance(); }
ObjectRef newInstance(Class self) {
  const ObjectRef instance = send<ObjectRef>(self, ZT_SELECTOR("alloc"));
  return send<ObjectRef>(instance, ZT_SELECTOR("init"));
}
bool isSubclass(Class self, Class ancestor) { return self->isSubclassOfClass(ancestor); }

}  // namespace

Class NSObject::classObject() {
  ZT_LIST_CLASS(NSObject);
  static constexpr auto methods = detail::methodList(
      ZT_METHOD("init", &initialise),
      ZT_METHOD("isEqual:", static_cast<bool (NSObject::*)(const NSObject*) const>(&NSObject::isEqual)),
      ZT_METHOD("isEqualTo:", &NSObject::isEqualTo), ZT_METHOD("hash", &NSObject::hash),
      ZT_METHOD("description", &NSObject::description), ZT_METHOD("class", &NSObject::isa),
      ZT_METHOD("superclass", &superclassOf), ZT_METHOD("isKindOfClass:", &NSObject::isKindOfClass),
      ZT_METHOD("isMemberOfClass:", &NSObject::isMemberOfClass), ZT_METHOD("respondsToSelector:", &responds),
      ZT_METHOD("performSelector:", &performSelector),
      ZT_METHOD("performSelector:withObject:", &performSelector_withObject),
      ZT_METHOD("performSelector:withObject:withObject:", &performSelector_withObject_withObject),
      ZT_CLASS_METHOD("alloc", &allocate), ZT_CLASS_METHOD("new", &newInstance),
      ZT_CLASS_METHOD("isSubclassOfClass:", &isSubclass),
      ZT_CLASS_METHOD("instancesRespondToSelector:", &instancesRespondToSelector));
  static constinit detail::ClassPair pair("NSObject", nullptr, nullptr, detail::factoryOf<NSObject>(), methods);
  return &pair.own;
}

bool NSObject::isKindOfClass(Class wanted) const { return isa()->isSubclassOfClass(wanted); }

bool NSObject::isEqualTo(const NSObject* other) const { return detail::areEqual(this, other); }

namespace {

bool isOfHost(const NSObject* object) { return object->kind() == ObjectKind::Other; }
NSObject* receiver(const NSObject* object) { return const_cast<NSObject*>(object); }

// ---- Whatever number a method answers comes back as an object

template <class R, class... Objects>
ObjectRef boxed(NSObject* self, SEL selector, const Objects&... objects) {
  return ObjectRef(send<R>(self, selector, objects...));
}

template <class... Objects>
ObjectRef perform(const ObjectRef& target, SEL selector, const Objects&... objects) {
  NSObject* self = target.get();
  if (self == nullptr) return nullptr;
  switch (self->isa()->bind(selector).encoding[0]) {
    case 'v':
      return send<void>(self, selector, objects...), nullptr;
    case 'B':
      return boxed<bool>(self, selector, objects...);
    case 'c':
      return boxed<std::int8_t>(self, selector, objects...);
    case 'C':
      return boxed<std::uint8_t>(self, selector, objects...);
    case 's':
      return boxed<std::int16_t>(self, selector, objects...);
    case 'S':
      return boxed<std::uint16_t>(self, selector, objects...);
    case 'i':
      return boxed<std::int32_t>(self, selector, objects...);
    case 'I':
      return boxed<std::uint32_t>(self, selector, objects...);
    case 'q':
      return boxed<std::int64_t>(self, selector, objects...);
    case 'Q':
      return boxed<std::uint64_t>(self, selector, objects...);
    case 'f':
      return NSNumber::numberWithFloat(send<float>(self, selector, objects...));
    case 'd':
      return boxed<double>(self, selector, objects...);
    default:
      return send<ObjectRef>(self, selector, objects...);
  }
}

}  // namespace

ObjectRef performSelector(const ObjectRef& target, SEL selector) { return perform(target, selector); }

ObjectRef performSelector_withObject(const ObjectRef& target, SEL selector, const ObjectRef& object) {
  return perform(target, selector, object);
}

ObjectRef performSelector_withObject_withObject(const ObjectRef& target, SEL selector, const ObjectRef& first,
                                                const ObjectRef& second) {
  return perform(target, selector, first, second);
}

namespace detail {

// A description that is none shows as any none does.
Ref<NSString> describe(const NSObject* object) {
  if (!isOfHost(object)) return object->description();
  const Ref<NSString> description = send<Ref<NSString>>(receiver(object), ZT_SELECTOR("description"));
  return description ? description : Ref<NSString>("(null)");
}

NSUInteger hashOf(const NSObject* object) {
  return isOfHost(object) ? send<NSUInteger>(receiver(object), ZT_SELECTOR("hash")) : object->hash();
}

bool areEqual(const NSObject* object, const NSObject* other) {
  return isOfHost(object) ? send<bool>(receiver(object), ZT_SELECTOR("isEqual:"), other) : object->isEqual(other);
}

bool areEqualTo(const NSObject* object, const NSObject* other) {
  return isOfHost(object) ? send<bool>(receiver(object), ZT_SELECTOR("isEqualTo:"), other) : object->isEqualTo(other);
}

}  // namespace detail

}  // namespace ZtFoundation
