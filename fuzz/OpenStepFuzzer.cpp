// Any text as an OpenStep property list. What can be read must be the same value with each option, and survive a round
// trip through binary.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include <ZtFoundation/platform/PropertyListSerialization.h>

#include "TextMutator.h"

using namespace ZtFoundation;

namespace {

void require(bool good) {
  if (!good) std::abort();
}

Ref<NSObject> read(const Ref<NSData>& data, NSUInteger option, NSUInteger& format) {
  Ref<NSString> error;
  Ref<NSObject> value = NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
      data, option, &format, &error);
  require(static_cast<bool>(value) != static_cast<bool>(error));
  return value;
}

constexpr fuzz::Enclosure kEnclosures[] = {
    {"(", ")"}, {"{k=", ";}"}, {"{", "}"},  {"(a,", ",)"}, {"\"", "\""},
    {"<", ">"}, {"/*", "*/"},  {"k=", ";"}, {"", ","},
};
constexpr std::string_view kPieces[] = {
    "a",      "\"\\341\\U20ac\"",
    "'b'",    "<0fbd77>",
    "<*I5>",  "<*R1.5>",
    "<*BY>",  "<*D2001-01-01 00:00:00 +0000>",
    "()",     "{}",
    "k;",     "// c\n",
    "k = v;", "\"\"=\"\";",
};
constexpr fuzz::Grammar kGrammar = {"(){}=;,<\"'", "(){}=;,>\"'", kEnclosures, kPieces};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Ref<NSData> input = NSData::dataWithBytes({reinterpret_cast<const char*>(data), size});
  NSUInteger format = 0;
  const Ref<NSObject> value = read(input, NSPropertyListImmutable, format);
  for (const NSUInteger option : {NSPropertyListMutableContainers, NSPropertyListMutableContainersAndLeaves}) {
    const Ref<NSObject> other = read(input, option, format);
    require(static_cast<bool>(other) == static_cast<bool>(value));
    require(!other || isEqual(other, value));
  }
  if (!value || format != NSPropertyListOpenStepFormat) return 0;

  const Ref<NSData> binary = NSPropertyListSerialization::dataFromPropertyList_format_errorDescription(
      value, NSPropertyListBinaryFormat_v1_0, nullptr);
  require(static_cast<bool>(binary));
  require(isEqual(read(binary, NSPropertyListImmutable, format), value));
  return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t largest,
                                               unsigned seed) {
  return fuzz::TextMutator(kGrammar, seed).mutate(data, size, largest);
}
