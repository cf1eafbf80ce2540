#include <algorithm>
#include <cstring>
#include <new>
#include <string>

#include <ZtFoundation/Text.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/StringEncoding.h>

#include "platform/services/EnoughMemory.h"

namespace ZtFoundation {

namespace {

Ref<NSData> lossyForm(const Ref<NSString>& text) {
  return text ? text->dataUsingEncoding_allowLossyConversion(NSShiftJISStringEncoding, true) : nullptr;
}

NSStringEncoding systemEncoding() { return CFStringConvertEncodingToNSStringEncoding(CFStringGetSystemEncoding()); }

std::uint32_t byteCount(const NSData& data) { return static_cast<std::uint32_t>(data.length()); }

// The first `limit` bytes, filled up with zeros where there are fewer.
std::string cutOrFilled(const NSData& form, std::uint32_t limit) {
  std::string bytes(form.view().substr(0, limit));
  bytes.resize(limit, '\0');
  return bytes;
}

Ref<NSString> decoded(std::string_view bytes) {
  return NSString::stringWithBytes_length_encoding(bytes.data(), bytes.size(), NSShiftJISStringEncoding);
}

}  // namespace

Ref<NSString> detail::decodePascalString(const unsigned char* pascalString) {
  if (pascalString == nullptr) return nullptr;
  return NSString::stringWithBytes_length_encoding(pascalString + 1, pascalString[0], systemEncoding());
}

Ref<NSString> detail::decodeSJIS(const void* bytes, std::uint32_t length) {
  if (bytes == nullptr) return nullptr;
  return decoded({static_cast<const char*>(bytes), length});
}

namespace JxOldConversionExtensions {

std::uint32_t sjisStringLength(const Ref<NSString>& self) {
  const Ref<NSData> form = lossyForm(self);
  return form ? byteCount(*form) : 0;
}

char* getSJISString_maxLength(const Ref<NSString>& self, char* buffer, std::uint32_t maxLength) {
  if (buffer == nullptr) return nullptr;
  std::memset(buffer, 0, maxLength);
  const Ref<NSData> form = lossyForm(self);
  if (!form) return nullptr;
  const std::uint32_t count = std::min(maxLength - 1, byteCount(*form));
  std::memcpy(buffer, form->bytes(), count);
  buffer[count] = '\0';
  return buffer;
}

char* getSJISData_maxBufferSize(const Ref<NSString>& self, char* buffer, std::uint32_t maxBufferSize) {
  if (buffer == nullptr) return nullptr;
  std::memset(buffer, 0, maxBufferSize);
  const Ref<NSData> form = lossyForm(self);
  if (!form) return nullptr;
  std::memcpy(buffer, form->bytes(), std::min(maxBufferSize, byteCount(*form)));
  return buffer;
}

Ref<NSString> stringWithSJISSizeLimitation(const Ref<NSString>& self, std::uint32_t limit) {
  if (!self) return nullptr;
  if (self->length() == 0 || limit == 0) return NSString::string();
  try {
    const Ref<NSData> form = lossyForm(self);
    return form ? decoded(withEnoughMemory([&] { return cutOrFilled(*form, limit); })) : nullptr;
  } catch (const std::bad_alloc&) {
    return NSString::string();
  }
}

}  // namespace JxOldConversionExtensions

}  // namespace ZtFoundation
