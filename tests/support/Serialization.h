// Short forms of reading and writing property lists.
#pragma once

#include <string>
#include <string_view>

#include <ZtFoundation/platform/PropertyListSerialization.h>

namespace ZtFoundation::support {

struct ReadResult {
  Ref<NSObject> value;
  std::string error;  // empty on success
  NSUInteger format = 0;
};

inline ReadResult read(std::string_view bytes, NSUInteger option = NSPropertyListImmutable) {
  ReadResult result;
  Ref<NSString> error;
  result.value = NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
      NSData::dataWithBytes(bytes), option, &result.format, &error);
  if (error) result.error = error->utf8();
  return result;
}

struct WriteResult {
  Ref<NSData> data;
  std::string error;  // empty on success

  std::string bytes() const { return data ? std::string(data->view()) : std::string(); }
};

inline WriteResult write(const Ref<NSObject>& value, NSUInteger format = NSPropertyListBinaryFormat_v1_0) {
  WriteResult result;
  Ref<NSString> error;
  result.data = NSPropertyListSerialization::dataFromPropertyList_format_errorDescription(value, format, &error);
  if (error) result.error = error->utf8();
  return result;
}

}  // namespace ZtFoundation::support
