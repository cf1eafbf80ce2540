// Any text as a number, compared with what the C library reads; any number as text and back; any text as a date.

#include <locale.h>
#include <stdlib.h>

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include <ZtFoundation/platform/String.h>

#include "Input.h"
#include "platform/codec/DateText.h"
#include "platform/objects/NumberText.h"

using namespace ZtFoundation;
using namespace ZtFoundation::fuzz;

namespace {

// The text up to what the C library reads as a number and the library does not: hexadecimal, names, zero bytes and what
// it takes for blanks.
std::string decimalIn(std::string_view text) {
  const std::size_t start = std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size());
  std::size_t end = std::min(text.find_first_not_of("+-0123456789.eE", start), text.size());
  return std::string(text.substr(start, end - start));
}

bool isSame(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

void readNumber(std::string_view bytes) {
  const Ref<NSString> text = NSString::stringWithUnits(UnitView(bytes.data(), bytes.size()));
  if (bytes.find_first_of("\x85\xA0") != std::string_view::npos) return;  // blanks in Unicode
  const std::string decimal = decimalIn(bytes);
  static const locale_t plain = ::newlocale(LC_ALL_MASK, "C", nullptr);
  require(text->doubleValue() == ::strtod_l(decimal.c_str(), nullptr, plain), "a real number");
  const long long expected = ::strtoll(decimal.c_str(), nullptr, 10);
  require(text->longLongValue() == expected, "an integer");
  const auto small = std::min<long long>(std::max<long long>(expected, std::numeric_limits<int>::min()),
                                         std::numeric_limits<int>::max());
  require(text->intValue() == static_cast<int>(small), "a small integer");
}

void writeNumber(double value) {
  if (std::isnan(value)) return;
  const std::string text = detail::realText(value);
  require(text.size() <= 25, "few digits");
  if (std::isinf(value)) return;
  require(isSame(Ref<NSString>(text)->doubleValue(), value), "a number that was written reads as the same");
}

std::string dateText(NSTimeInterval date) {
  char buffer[codec::kLongestDateText];
  char* const end = codec::writeDateText(date, buffer);
  return end != nullptr ? std::string(&buffer[0], end) : std::string();
}

void readDate(std::string_view text) {
  const auto date = codec::dateFromText(text);
  if (!date) return;
  require(std::floor(*date) == *date, "a date is a whole second");
  const auto again = codec::dateFromText(dateText(*date));
  require(again && isSame(*again, *date), "a date that was written reads as the same");
}

void writeDate(double date) {
  const std::string text = dateText(date);
  require(text.empty() == !(std::fabs(std::floor(date)) < 0x1p63), "each date up to 2^63 seconds has a text");
  if (text.empty()) return;
  const auto read = codec::dateFromText(text);
  require(read && *read == std::floor(date), "which reads as the second that holds the date");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = Input(data, size).rest();
  readNumber(bytes);
  readDate(bytes);
  double value = 0;
  if (bytes.size() < sizeof value) return 0;
  std::memcpy(&value, bytes.data(), sizeof value);
  writeNumber(value);
  writeDate(value);
  return 0;
}
