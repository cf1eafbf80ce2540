#include <ZtFoundation/Text.h>

namespace ZtFoundation {

namespace {

// A byte from 0x80 on sets every bit above it, as a signed character does.
OSType signExtended(char byte) { return static_cast<OSType>(static_cast<signed char>(byte)); }

}  // namespace

NSUInteger JxOSExtensions::osType(const Ref<NSString>& self) {
  char bytes[5] = {};
  JxOldConversionExtensions::getSJISString_maxLength(self, bytes, sizeof bytes);
  if (bytes[0] == 0) return 0;
  const OSType first = static_cast<unsigned char>(bytes[0]);
  return first << 24 | signExtended(bytes[1]) << 16 | signExtended(bytes[2]) << 8 | signExtended(bytes[3]);
}

}  // namespace ZtFoundation
