// A value is written as XML, read, written as binary, read and written as XML again. Each time it must be equal to what
// was there before, and both texts must be the same, byte by byte. The value is either what an input is a property list
// of, or made by the bytes of the input.

#include <cmath>

#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Number.h>

#include "PropertyLists.h"

using namespace ZtFoundation;
using namespace ZtFoundation::fuzz;

namespace {

Ref<NSObject> makeValue(Input& input, unsigned depth);

std::int64_t takeInteger(Input& input, unsigned bytes) {
  std::uint64_t value = 0;
  for (unsigned at = 0; at < bytes; ++at) value = value << 8 | input.takeByte();
  const unsigned unused = 64 - 8 * bytes;
  return static_cast<std::int64_t>(value << unused) >> unused;
}

double takeReal(Input& input) {
  const std::int64_t mantissa = takeInteger(input, 7);
  return std::ldexp(static_cast<double>(mantissa), static_cast<int>(input.takeByte()) * 8 - 1024);
}

Ref<NSString> makeText(Input& input) {
  const unsigned length = input.takeByte();
  if (length >= 128) return unitsIn(input.takeBytes(2 * (length - 128)));
  const std::string_view bytes = input.takeBytes(length);
  return NSString::stringWithUnits(UnitView(bytes.data(), bytes.size()));
}

Ref<NSObject> makeArray(Input& input, unsigned depth) {
  const Ref<NSMutableArray> array = NSMutableArray::array();
  for (unsigned count = input.takeByte() % 16; count > 0; --count) array->addObject(makeValue(input, depth + 1));
  return array;
}

Ref<NSObject> makeDictionary(Input& input, unsigned depth) {
  const Ref<NSMutableDictionary> dictionary = NSMutableDictionary::dictionary();
  for (unsigned count = input.takeByte() % 16; count > 0; --count) {
    const Ref<NSString> key = makeText(input);
    dictionary->setObject_forKey(makeValue(input, depth + 1), key);
  }
  return dictionary;
}

Ref<NSObject> makeValue(Input& input, unsigned depth) {
  constexpr unsigned kDeepest = 40;
  switch (input.takeByte() % (depth < kDeepest && !input.isAtEnd() ? 10 : 8)) {
    case 0:
      return NSNumber::numberWithBool(input.takeByte() % 2 == 1);
    case 1:
      return NSNumber::numberWithLongLong(takeInteger(input, 1));
    case 2:
      return NSNumber::numberWithLongLong(takeInteger(input, 8));
    case 3:
      return NSNumber::numberWithUnsignedLongLong(static_cast<std::uint64_t>(takeInteger(input, 8)));
    case 4:
      return NSNumber::numberWithDouble(takeReal(input));
    case 5:
      return NSDate::dateWithTimeIntervalSinceReferenceDate(static_cast<double>(takeInteger(input, 5)));
    case 6:
      return NSData::dataWithBytes(input.takeBytes(input.takeByte()));
    case 7:
      return makeText(input);
    case 8:
      return makeArray(input, depth);
    default:
      return makeDictionary(input, depth);
  }
}

void check(const Ref<NSObject>& value) {
  const Ref<NSData> text = write(value, NSPropertyListXMLFormat_v1_0);
  if (!text) return;  // some values have no text
  const Ref<NSObject> fromText = read(text);
  const Ref<NSData> binary = write(fromText, NSPropertyListBinaryFormat_v1_0);
  require(fromText && binary, "what was written as XML can be read, and be written as binary");
  const Ref<NSObject> fromBinary = read(binary);
  require(isEqual(fromBinary, fromText), "binary keeps the value");
  require(isEqual(write(fromBinary, NSPropertyListXMLFormat_v1_0), text), "the text is the same after binary");
  require(isEqual(write(fromBinary, NSPropertyListBinaryFormat_v1_0), binary), "binary is the same again");

  const Ref<NSData> direct = write(value, NSPropertyListBinaryFormat_v1_0);
  require(direct && isEqual(read(direct), value), "binary keeps what XML may round");
  require(isEqual(write(read(direct), NSPropertyListXMLFormat_v1_0), text), "and it is the same text then");
}

}  // namespace

// The first byte tells which.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const bool isGiven = input.takeByte() % 2 == 0;
  const Ref<NSObject> value = isGiven ? read(NSData::dataWithBytes(input.rest())) : makeValue(input, 0);
  if (value && !isLarge(value)) check(value);
  return 0;
}
