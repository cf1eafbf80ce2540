#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Log.h>

namespace ZtFoundation {

namespace JxResourcesExtensions {

namespace {

constexpr NSUInteger kImmutable = 0;
constexpr NSUInteger kMutableContainersAndLeaves = 2;

Ref<NSObject> valueOfResource(const Ref<NSBundle>& bundle, const Ref<NSString>& name, NSUInteger mutabilityOption) {
  if (!bundle || !name) return nullptr;
  return _plistWithPath_mutabilityOption(bundle, bundle->pathForResource_ofType(name, ""), mutabilityOption);
}

}  // namespace

Ref<NSObject> propertyListWithResourceNamed(const Ref<NSBundle>& self, const Ref<NSString>& name) {
  return valueOfResource(self, name, kImmutable);
}

Ref<NSObject> mutablePropertyListWithResourceNamed(const Ref<NSBundle>& self, const Ref<NSString>& name) {
  return valueOfResource(self, name, kMutableContainersAndLeaves);
}

Ref<NSObject> propertyListWithResourceNamed_bundleForClass(const Ref<NSString>& name, Class one) {
  return propertyListWithResourceNamed(NSBundle::bundleForClass(one), name);
}

Ref<NSObject> mutablePropertyListWithResourceNamed_bundleForClass(const Ref<NSString>& name, Class one) {
  return mutablePropertyListWithResourceNamed(NSBundle::bundleForClass(one), name);
}

Ref<NSObject> _plistWithPath_mutabilityOption(const Ref<NSBundle>& self, const Ref<NSString>& path,
                                              NSUInteger mutabilityOption) {
  const Ref<NSData> bytes = self ? NSData::dataWithContentsOfFile(path) : nullptr;
  if (!bytes) return nullptr;
  Ref<NSString> error;
  const Ref<NSObject> value =
      NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
          bytes, mutabilityOption, nullptr, &error);
  if (!error) return value;
  NSLog("%@", error);
  return nullptr;
}

}  // namespace JxResourcesExtensions

namespace QvPropertyListExtensions {

namespace {

Ref<QvPropertyList> storeOn(const Ref<NSString>& path) { return path ? QvPropertyList::initWithPath(path) : nullptr; }

}  // namespace

Ref<QvPropertyList> propertyListForResourceNamed_ofType(const Ref<NSBundle>& self, const Ref<NSString>& name,
                                                        const Ref<NSString>& type) {
  return self ? storeOn(self->pathForResource_ofType(name, type)) : nullptr;
}

Ref<QvPropertyList> propertyListForResourceNamed_ofType_inDirectory(const Ref<NSBundle>& self,
                                                                    const Ref<NSString>& name,
                                                                    const Ref<NSString>& type,
                                                                    const Ref<NSString>& subfolder) {
  return self ? storeOn(self->pathForResource_ofType_inDirectory(name, type, subfolder)) : nullptr;
}

Ref<QvPropertyList> propertyListForResourceNamed_ofType_inDirectory_forLocalization(const Ref<NSBundle>& self,
                                                                                    const Ref<NSString>& name,
                                                                                    const Ref<NSString>& type,
                                                                                    const Ref<NSString>& subfolder,
                                                                                    const Ref<NSString>& localization) {
  if (!self) return nullptr;
  return storeOn(self->pathForResource_ofType_inDirectory_forLocalization(name, type, subfolder, localization));
}

}  // namespace QvPropertyListExtensions

}  // namespace ZtFoundation
