#include <ZtFoundation/PropertyLists.h>

namespace ZtFoundation::QvFoundationExtensions {

Ref<NSObject> propertyListFromPropertyList_mutabilityOption_errorDescription(const Ref<NSObject>& propertyList,
                                                                             NSUInteger mutabilityOption,
                                                                             Ref<NSString>* errorDescription) {
  const Ref<NSData> data = NSPropertyListSerialization::dataFromPropertyList_format_errorDescription(
      propertyList, NSPropertyListBinaryFormat_v1_0, errorDescription);
  if (!data) return nullptr;
  return NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
      data, mutabilityOption, nullptr, errorDescription);
}

}  // namespace ZtFoundation::QvFoundationExtensions
