#include <ZtFoundation/platform/Runtime.h>

namespace ZtFoundation {

Class NSObject::classObject() {
  static constinit RuntimeClass shared("NSObject", nullptr, detail::factoryOf<NSObject>());
  return &shared;
}

bool NSObject::isKindOfClass(Class wanted) const { return isa()->isSubclassOfClass(wanted); }

Ref<NSObject> RuntimeClass::createInstance() const {
  return Ref<NSObject>::adopt(factory_ == nullptr ? nullptr : factory_());
}

bool RuntimeClass::isSubclassOfClass(Class ancestor) const {
  if (ancestor == nullptr) return false;
  for (const RuntimeClass* one = this; one != nullptr; one = one->superclass()) {
    if (one == ancestor) return true;
  }
  return false;
}

}  // namespace ZtFoundation
