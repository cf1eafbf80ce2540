#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Runtime.h>

#include <algorithm>

namespace ZtFoundation {

using ValidityTest = bool (*)(const Ref<NSObject>&, QvPropertyListFormat);

ZT_REGISTER_CLASS(
    QvPropertyListSerialization,
    ZT_CLASS_METHOD("propertyList:isValidForFormat:",
                    static_cast<ValidityTest>(&QvPropertyListSerialization::propertyList_isValidForFormat)),
    ZT_CLASS_METHOD("dataFromPropertyList:format:errorDescription:", &QvPropertyListSerialization::write),
    ZT_CLASS_METHOD("propertyListFromData:mutabilityOption:format:errorDescription:",
                    &QvPropertyListSerialization::read));

namespace {

bool isEntryValue(const DictionaryEntry& entry) {
  switch (entry.value->kind()) {
    case ObjectKind::String:
    case ObjectKind::Number:
    case ObjectKind::Date:
    case ObjectKind::Data:
      return true;
    default:
      return false;
  }
}

bool isSection(const DictionaryEntry& entry) {
  const NSDictionary* section = as<NSDictionary>(entry.value.get());
  return section != nullptr && std::all_of(section->begin(), section->end(), isEntryValue);
}

}  // namespace

bool QvPropertyListSerialization::propertyList_isValidForFormat(const Ref<NSObject>& propertyList,
                                                                QvPropertyListFormat format) {
  if (format != QvPropertyListINIFormat) {
    return NSPropertyListSerialization::propertyList_isValidForFormat(propertyList, static_cast<NSUInteger>(format));
  }
  const NSDictionary* file = as<NSDictionary>(propertyList.get());
  return file != nullptr && std::all_of(file->begin(), file->end(), isSection);
}

bool QvPropertyListSerialization::propertyList_isValidForFormat(Class receiver, const Ref<NSObject>& propertyList,
                                                                QvPropertyListFormat format) {
  return send<bool>(receiver, ZT_SELECTOR("propertyList:isValidForFormat:"), propertyList, format);
}

Ref<NSData> QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(Class receiver,
                                                                                      const Ref<NSObject>& propertyList,
                                                                                      QvPropertyListFormat format,
                                                                                      Ref<NSString>* errorDescription) {
  return send<Ref<NSData>>(receiver, ZT_SELECTOR("dataFromPropertyList:format:errorDescription:"), propertyList, format,
                           errorDescription);
}

Ref<NSObject> QvPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
    Class receiver, const Ref<NSData>& data, std::int32_t mutabilityOption, QvPropertyListFormat* format,
    Ref<NSString>* errorDescription) {
  return send<Ref<NSObject>>(receiver, ZT_SELECTOR("propertyListFromData:mutabilityOption:format:errorDescription:"),
                             data, mutabilityOption, format, errorDescription);
}

}  // namespace ZtFoundation
