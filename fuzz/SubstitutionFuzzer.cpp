// Templates and parameters from anywhere, compared with filling them in by searching from the beginning each time.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <ZtFoundation/Text.h>
#include <ZtFoundation/platform/Exception.h>

using namespace ZtFoundation;

namespace {

constexpr std::size_t kLongestTemplate = 64;
constexpr std::size_t kLongestText = 1 << 16;
constexpr std::size_t kMostWork = 1 << 18;

enum class Outcome { Filled, Refused, TooMuchToCompare };

struct Filled {
  Outcome outcome;
  std::string text;
};

// Refused is a parameter that is wanted and holds its own placeholder.
Filled filled(std::string text, const std::vector<std::string>& parameters) {
  std::size_t work = 0;
  for (std::size_t number = 1; number <= parameters.size(); ++number) {
    const std::string placeholder = "%" + std::to_string(number);
    const std::string& parameter = parameters[number - 1];
    std::size_t at = text.find(placeholder);
    if (at == std::string::npos) break;
    if (parameter.find(placeholder) != std::string::npos) return {Outcome::Refused, {}};
    for (; at != std::string::npos; at = text.find(placeholder)) {
      text.replace(at, placeholder.size(), parameter);
      work += text.size();
      if (text.size() > kLongestText || work > kMostWork) return {Outcome::TooMuchToCompare, {}};
    }
  }
  return {Outcome::Filled, std::move(text)};
}

// None when it is refused.
std::optional<std::string> filledByLibrary(const std::string& text, const std::vector<std::string>& parameters) {
  const Ref<NSMutableArray> array = NSMutableArray::array();
  for (const std::string& parameter : parameters) array->addObject(Ref<NSString>(parameter));
  try {
    return JxReplacementExtensions::stringWithParameterArray(text, array)->utf8();
  } catch (const NSException&) {
    return std::nullopt;
  }
}

}  // namespace

// Parts end with a newline: first the text, then the parameters. Bytes that are not ASCII are left out.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::string> parts(1);
  for (std::size_t at = 0; at < size; ++at) {
    if (data[at] == '\n') parts.emplace_back();
    if (data[at] != '\n' && data[at] < 0x80) parts.back() += static_cast<char>(data[at]);
  }
  const std::string text = parts.front();
  if (text.size() > kLongestTemplate) return 0;
  parts.erase(parts.begin());
  const Filled expected = filled(text, parts);
  if (expected.outcome == Outcome::TooMuchToCompare) return 0;
  const std::optional<std::string> made = filledByLibrary(text, parts);
  if (made.has_value() != (expected.outcome == Outcome::Filled)) std::abort();
  if (made && made != expected.text) std::abort();
  return 0;
}
