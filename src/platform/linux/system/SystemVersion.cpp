#include "platform/linux/system/SystemVersion.h"

#include <algorithm>

namespace ZtFoundation {

namespace {

bool startsWithDigit(std::string_view text) { return !text.empty() && text.front() >= '0' && text.front() <= '9'; }

std::string_view takeLine(std::string_view& text) {
  const std::size_t end = std::min(text.find('\n'), text.size());
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return line;
}

std::string_view trimmed(std::string_view text) {
  const auto isBlank = [](char character) { return character == ' ' || character == '\t' || character == '\r'; };
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

std::string_view unquoted(std::string_view value) {
  const bool quoted =
      value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front();
  return quoted ? value.substr(1, value.size() - 2) : value;
}

// The number at the start, at most `largest`; the dot behind it is taken too.
std::int32_t takePart(std::string_view& version, std::int32_t largest) {
  std::int32_t value = 0;
  while (startsWithDigit(version)) {
    value = std::min(value * 10 + (version.front() - '0'), largest);
    version.remove_prefix(1);
  }
  const bool more = version.starts_with('.') && startsWithDigit(version.substr(1));
  version.remove_prefix(more ? 1 : version.size());
  return value;
}

}  // namespace

std::optional<std::string> versionInOSRelease(std::string_view text) {
  constexpr std::string_view kKey = "VERSION_ID=";
  std::string_view version;
  while (!text.empty()) {
    const std::string_view line = trimmed(takeLine(text));
    if (line.starts_with(kKey)) version = trimmed(unquoted(line.substr(kKey.size())));
  }
  if (!startsWithDigit(version)) return std::nullopt;
  return std::string(version);
}

std::optional<std::int32_t> packedVersion(std::string_view version) {
  if (!startsWithDigit(version)) return std::nullopt;
  const std::int32_t major = takePart(version, 99);
  const std::int32_t minor = takePart(version, 9);
  const std::int32_t patch = takePart(version, 9);
  return (major / 10) << 12 | (major % 10) << 8 | minor << 4 | patch;
}

}  // namespace ZtFoundation
