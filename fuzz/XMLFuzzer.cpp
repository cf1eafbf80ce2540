// Any bytes as an XML property list: a value or an error text, never both. What was read must be writable, read back
// equal, and be written the same again.

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/PropertyListSerialization.h>

using namespace ZtFoundation;

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

Ref<NSObject> readAs(const Ref<NSData>& data, NSUInteger option, NSUInteger& format) {
  Ref<NSString> error;
  Ref<NSObject> value = NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
      data, option, &format, &error);
  require(static_cast<bool>(value) != static_cast<bool>(error));
  require(!error || error->length() != 0);
  return value;
}

Ref<NSData> written(const Ref<NSObject>& value) {
  Ref<NSString> error;
  Ref<NSData> data = NSPropertyListSerialization::dataFromPropertyList_format_errorDescription(
      value, NSPropertyListXMLFormat_v1_0, &error);
  require(data && !error);
  return data;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  NSUInteger format = 0;
  const Ref<NSObject> value = readAs(NSData::dataWithBytes_length(bytes, size), size % 3, format);
  if (!value || format != NSPropertyListXMLFormat_v1_0) return 0;
  const Ref<NSData> text = written(value);
  const Ref<NSObject> again = readAs(text, NSPropertyListImmutable, format);
  require(isEqual(value, again));
  require(isEqual(text, written(again)));
  return 0;
}
