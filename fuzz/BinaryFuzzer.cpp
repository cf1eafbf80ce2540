// Any bytes as a binary property list. What can be read at all must be the same value with each option, and survive
// being written and read again, with the same bytes written the second time.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/PropertyListSerialization.h>

#include "BinaryMutator.h"
#include "PropertyLists.h"

using namespace ZtFoundation;
using fuzz::isLarge;

namespace {

constexpr NSUInteger kFormats[] = {NSPropertyListBinaryFormat_v1_0, NSPropertyListXMLFormat_v1_0};

void require(bool good) {
  if (!good) std::abort();
}

Ref<NSObject> read(const Ref<NSData>& data, NSUInteger option, Ref<NSString>& error) {
  Ref<NSObject> value = NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
      data, option, nullptr, &error);
  require(static_cast<bool>(value) != static_cast<bool>(error));
  return value;
}

Ref<NSData> write(const Ref<NSObject>& value, NSUInteger format) {
  Ref<NSString> error;
  Ref<NSData> data = NSPropertyListSerialization::dataFromPropertyList_format_errorDescription(value, format, &error);
  require(static_cast<bool>(data) != static_cast<bool>(error));
  return data;
}

void checkRoundTrip(const Ref<NSObject>& value) {
  const Ref<NSData> binary = write(value, NSPropertyListBinaryFormat_v1_0);
  if (!binary) return;  // sharing may be too much for what is left of the bytes
  Ref<NSString> error;
  const Ref<NSObject> back = read(binary, NSPropertyListImmutable, error);
  require(isEqual(back, value));
  require(isEqual(write(back, NSPropertyListBinaryFormat_v1_0), binary));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string bytes(reinterpret_cast<const char*>(data), size);
  if (!bytes.starts_with("bplist00")) bytes.insert(0, "bplist00");
  const Ref<NSData> input = NSData::dataWithString(std::move(bytes));

  Ref<NSString> error;
  const Ref<NSObject> immutable = read(input, NSPropertyListImmutable, error);
  if (immutable ? isLarge(immutable) : error->rangeOfString("expand").location != NSNotFound) return 0;
  for (const NSUInteger option : {NSPropertyListMutableContainers, NSPropertyListMutableContainersAndLeaves}) {
    const Ref<NSObject> value = read(input, option, error);
    require(static_cast<bool>(value) == static_cast<bool>(immutable));
    require(!value || isEqual(value, immutable));
  }
  if (!immutable) return 0;
  checkRoundTrip(immutable);
  for (const NSUInteger format : kFormats) {
    require(static_cast<bool>(write(immutable, format)) ==
            NSPropertyListSerialization::propertyList_isValidForFormat(immutable, format));
  }
  return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t largest,
                                               unsigned seed) {
  return fuzz::BinaryMutator(seed).mutate(data, size, largest);
}
