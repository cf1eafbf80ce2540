// Reads INI text with each mutability option and compares with reading it step by step; what was read can be written.

#include <cstdlib>
#include <iostream>

#include "../tests/plist/INIReference.h"

namespace {

using namespace ZtFoundation;

void expect(bool isTrue, const char* what) {
  if (isTrue) return;
  std::cerr << what << '\n';
  std::abort();
}

Ref<NSObject> readINI(const Ref<NSData>& data, int option) {
  QvPropertyListFormat format = QvPropertyListINIFormat;
  return QvPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(data, option,
                                                                                                    &format, nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const Ref<NSData> data = NSData::dataWithBytes_length(bytes, size);
  for (const int option : {0, 1, 2}) {
    const Ref<NSObject> read = readINI(data, option);
    const Ref<NSObject> expected = test::INIReference(data, option).read();
    expect(test::outlineOf(read) == test::outlineOf(expected), "read differently");
  }
  const Ref<NSData> written = QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(
      readINI(data, 0), QvPropertyListINIFormat, nullptr);
  expect(static_cast<bool>(written), "what was read cannot be written");
  return 0;
}
