#include <ZtFoundation/platform/Log.h>

#include <algorithm>
#include <cerrno>
#include <string>

#include "platform/services/LogSink.h"

namespace ZtFoundation {

namespace {

bool isShownEscaped(char character) {
  const auto byte = static_cast<unsigned char>(character);
  return (byte < 0x20 && character != '\n' && character != '\t') || byte == 0x7F;
}

std::string escaped(const std::string& text) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string result;
  for (const char character : text) {
    if (isShownEscaped(character)) {
      result.append("\\x").append(1, kDigits[character >> 4]).append(1, kDigits[character & 15]);
    } else {
      result += character;
    }
  }
  return result;
}

}  // namespace

void NSLogv(const Ref<NSString>& format, FormatArguments arguments) {
  const int errorNumber = errno;
  const Ref<NSString> text = formatText(format, arguments);
  const std::string bytes = text ? text->utf8() : "(null)";
  const bool harmless = std::none_of(bytes.begin(), bytes.end(), isShownEscaped);
  service<LogSink>().write(harmless ? bytes : escaped(bytes));
  errno = errorNumber;
}

}  // namespace ZtFoundation
