#include <ZtFoundation/platform/PropertyListSerialization.h>

#include "platform/codec/Codec.h"
#include "platform/codec/Detection.h"
#include "platform/services/EnoughMemory.h"

namespace ZtFoundation {

namespace {

using codec::CodecError;

void report(const CodecError& failure, Ref<NSString>* error) {
  if (error != nullptr) *error = failure.text;
}

void reportSuccess(Ref<NSString>* error) {
  if (error != nullptr) *error = nullptr;
}

codec::Mutability mutabilityOf(NSUInteger option) {
  switch (option) {
    case NSPropertyListImmutable:
      return codec::Mutability::Immutable;
    case NSPropertyListMutableContainersAndLeaves:
      return codec::Mutability::ContainersAndLeaves;
    default:
      return codec::Mutability::Containers;
  }
}

NSUInteger numberOf(codec::Format format) {
  switch (format) {
    case codec::Format::XML:
      return NSPropertyListXMLFormat_v1_0;
    case codec::Format::Binary:
      return NSPropertyListBinaryFormat_v1_0;
    default:
      return NSPropertyListOpenStepFormat;
  }
}

Ref<NSData> write(const NSObject* value, NSUInteger format, CodecError& failure) {
  switch (format) {
    case NSPropertyListXMLFormat_v1_0:
      return codec::writeXML(value, failure);
    case NSPropertyListBinaryFormat_v1_0:
      return codec::writeBinary(value, failure);
    case NSPropertyListOpenStepFormat:
      failure.text = "OpenStep text can be read but not written.";
      return nullptr;
    default:
      failure.text = "There is no property-list format with the number " + std::to_string(format) + ".";
      return nullptr;
  }
}

/// OpenStep text as such says little to somebody whose bytes were meant to be something else.
Ref<NSObject> readText(std::string_view bytes, codec::Mutability mutability, CodecError& failure) {
  Ref<NSObject> value = codec::readOpenStep(bytes, mutability, failure);
  if (!value) failure.text = "This is neither a binary nor an XML property list, and as OpenStep text: " + failure.text;
  return value;
}

Ref<NSObject> read(std::string_view bytes, codec::Format format, codec::Mutability mutability, CodecError& failure) {
  switch (format) {
    case codec::Format::XML:
      return codec::readXML(bytes, mutability, failure);
    case codec::Format::Binary:
      return codec::readBinary(bytes, mutability, failure);
    default:
      return readText(bytes, mutability, failure);
  }
}

}  // namespace

bool NSPropertyListSerialization::propertyList_isValidForFormat(const Ref<NSObject>& propertyList, NSUInteger format) {
  CodecError failure;
  return static_cast<bool>(withEnoughMemory([&] { return write(propertyList.get(), format, failure); }));
}

Ref<NSData> NSPropertyListSerialization::dataFromPropertyList_format_errorDescription(const Ref<NSObject>& propertyList,
                                                                                      NSUInteger format,
                                                                                      Ref<NSString>* error) {
  CodecError failure;
  Ref<NSData> data = withEnoughMemory([&] { return write(propertyList.get(), format, failure); });
  data ? reportSuccess(error) : report(failure, error);
  return data;
}

Ref<NSObject> NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
    const Ref<NSData>& data, NSUInteger mutabilityOption, NSUInteger* format, Ref<NSString>* error) {
  if (!data || data->length() == 0) {
    report({"There are no bytes that could hold a property list."}, error);
    return nullptr;
  }
  CodecError failure;
  const codec::Format detected = codec::detectFormat(data->view());
  Ref<NSObject> value =
      withEnoughMemory([&] { return read(data->view(), detected, mutabilityOf(mutabilityOption), failure); });
  if (!value) {
    report(failure, error);
    return nullptr;
  }
  if (format != nullptr) *format = numberOf(detected);
  reportSuccess(error);
  return value;
}

}  // namespace ZtFoundation
