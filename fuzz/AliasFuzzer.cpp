// Any bytes as the record of an alias. Only the record is read: what it claims about volumes and items would start a
// search of real ones.

#include <cstdint>
#include <cstdlib>
#include <string>

#include "platform/linux/references/AliasRecord.h"

namespace {

using namespace ZtFoundation::detail;

// Each alias has one form.
void readAndWrite(const std::string& bytes) {
  const auto contents = decodeAlias(bytes);
  if (contents && encodeAlias(*contents) != bytes) std::abort();
}

void putNumber(std::string& bytes, std::size_t at, std::size_t size, std::size_t value) {
  for (std::size_t i = 0; i < size; ++i) bytes[at + i] = static_cast<char>(value >> (8 * i) & 0xFF);
}

// The same with a header that is right, so that what is behind it gets read.
std::string withGoodHeader(std::string bytes) {
  constexpr std::size_t kHeaderSize = 16;
  if (bytes.size() < kHeaderSize) return bytes;
  putNumber(bytes, 4, 2, bytes.size() <= 0xFFFF ? bytes.size() : 0);
  putNumber(bytes, 6, 2, 1);
  bytes.replace(8, 4, "ZtAl");
  putNumber(bytes, 12, 4, bytes.size());
  return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(data, data + size);
  readAndWrite(bytes);
  readAndWrite(withGoodHeader(bytes));
  return 0;
}
