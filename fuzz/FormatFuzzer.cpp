// Formats from anywhere meet arguments of every kind. Whatever they are, the text must stay within what widths and
// arguments allow, and be the same when it is made again.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Format.h>
#include <ZtFoundation/platform/Number.h>

using namespace ZtFoundation;

namespace {

constexpr std::size_t kMaximumFormatLength = 200;
// The longest text that any of the arguments below makes by itself.
constexpr std::size_t kLongestArgument = 400;

// A field that is as wide as can be takes thousands of times as long as what it is about, so one input of this many has
// such fields. In all others, what could be a width is narrow.
constexpr std::size_t kInputsForAWideOne = 64;
constexpr std::size_t kDigitsOfANarrowWidth = 3;
constexpr long long kNarrowWidth = 999;

const FormatArgument& argument(std::uint8_t choice) {
  static const Ref<NSObject> array = NSArray::of(1, "two");
  static const Ref<NSObject> none;
  static const char open[4] = {'o', 'p', 'e', 'n'};
  static const std::vector<FormatArgument> all = {
      0,
      -1,
      std::numeric_limits<long long>::min(),
      std::numeric_limits<unsigned long long>::max(),
      true,
      'c',
      char16_t{0xD800},
      char32_t{0x1F600},
      1.5,
      -0.0,
      std::numeric_limits<double>::max(),
      std::numeric_limits<double>::denorm_min(),
      std::numeric_limits<double>::quiet_NaN(),
      -std::numeric_limits<double>::infinity(),
      "utf-8 \xC3\xBC \xFF",
      u"utf-16 \x20AC",
      open,
      nullptr,
      static_cast<const void*>(open),
      array,
      none,
  };
  return all[choice % all.size()];
}

bool isWide(const FormatArgument& argument) {
  return argument.isInteger() && (argument.signedValue() > kNarrowWidth || argument.signedValue() < -kNarrowWidth);
}

void makeNarrow(std::string& format, std::vector<FormatArgument>& arguments) {
  std::size_t digits = 0;
  std::erase_if(format, [&digits](char c) {
    digits = c >= '0' && c <= '9' ? digits + 1 : 0;
    return digits > kDigitsOfANarrowWidth;
  });
  if (format.find('*') == std::string::npos) return;
  std::replace_if(arguments.begin(), arguments.end(), isWide, FormatArgument(kNarrowWidth));
}

}  // namespace

// The first byte says how many arguments there are, then comes one byte for each; the rest is the format.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::size_t count = data[0] % 6;
  if (size < 1 + count || size - 1 - count > kMaximumFormatLength) return 0;
  std::vector<FormatArgument> arguments;
  for (std::size_t index = 0; index < count; ++index) arguments.push_back(argument(data[1 + index]));
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  std::string text(input.substr(1 + count));
  if (std::hash<std::string_view>()(input) % kInputsForAWideOne != 0) makeNarrow(text, arguments);

  const Ref<NSString> format = text;
  const Ref<NSString> made = formatText(format, arguments);
  if (!made || !isEqual(made, formatText(format, arguments))) std::abort();

  std::size_t percents = 0;
  for (const char c : text) percents += c == '%' ? 1U : 0U;
  if (made->length() > text.size() + percents * (kMaximumFormatWidth + kLongestArgument)) std::abort();
  return 0;
}
