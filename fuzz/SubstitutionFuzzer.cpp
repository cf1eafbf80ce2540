// Templates and parameters from anywhere, compared with filling them in by searching from the beginning each time.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include <ZtFoundation/Text.h>
#include <ZtFoundation/platform/Exception.h>

using namespace ZtFoundation;

namespace {

constexpr std::size_t kLongestTemplate = 64;
constexpr std::size_t kLongestText = 1 << 16;

// None when a parameter that is wanted holds its own placeholder, or when the text grows too long for this test.
std::optional<std::string> filled(std::string text, const std::vector<std::string>& parameters) {
  for (std::size_t number = 1; number <= parameters.size(); ++number) {
    const std::string placeholder = "%" + std::to_string(number);
    const std::string& parameter = parameters[number - 1];
    std::size_t at = text.find(placeholder);
    if (at == std::string::npos) break;
    if (parameter.find(placeholder) != std::string::npos) return std::nullopt;
    for (; at != std::string::npos; at = text.find(placeholder)) {
      text.replace(at, placeholder.size(), parameter);
      if (text.size() > kLongestText) return std::nullopt;
    }
  }
  return text;
}

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
  const std::optional<std::string> expected = filled(text, parts);
  if (expected && filledByLibrary(text, parts) != expected) std::abort();
  return 0;
}
