// Bytes are read as Shift-JIS and written back; the same bytes taken as UTF-16 are written, with loss, and read back.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <ZtFoundation/Text.h>
#include <ZtFoundation/platform/Data.h>

using namespace ZtFoundation;
using namespace JxOldConversionExtensions;

namespace {

void expect(bool isTrue) {
  if (!isTrue) std::abort();
}

// Every text that was read has a form, of the same meaning.
void readAndWrite(const std::uint8_t* bytes, std::uint32_t size) {
  const Ref<NSString> text = stringWithSJISDataBytes_length(bytes, size);
  if (!text) return;
  const Ref<NSData> form = text->dataUsingEncoding(NSShiftJISStringEncoding);
  expect(form && isEqual(text, NSString::stringWithData_encoding(form, NSShiftJISStringEncoding)));
}

void writeAndCut(const std::u16string& units, std::uint32_t limit) {
  const Ref<NSString> text = units;
  const std::uint32_t length = sjisStringLength(text);
  std::vector<char> buffer(limit + std::size_t{1}, '#');
  expect(getSJISData_maxBufferSize(text, buffer.data(), limit) == buffer.data() && buffer[limit] == '#');
  expect(getSJISString_maxLength(text, buffer.data(), limit + 1) == buffer.data() && buffer[limit] == '\0');
  const Ref<NSString> whole = stringWithSJISSizeLimitation(text, length);
  expect(whole && sjisStringLength(whole) == length);
  const Ref<NSString> cut = stringWithSJISSizeLimitation(text, limit);
  expect(!cut || units.empty() || sjisStringLength(cut) == limit);
}

}  // namespace

// The first byte is a limit.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  readAndWrite(data + 1, static_cast<std::uint32_t>(size - 1));
  std::u16string units;
  for (std::size_t at = 1; at + 1 < size; at += 2) units += static_cast<char16_t>(data[at] << 8 | data[at + 1]);
  writeAndCut(units, data[0]);
  return 0;
}
