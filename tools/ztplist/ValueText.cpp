#include "ValueText.h"

#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/String.h>

#include <array>
#include <charconv>
#include <optional>
#include <string>

#include "Display.h"
#include "Documents.h"
#include "Failure.h"

namespace ztplist {

using namespace ZtFoundation;

namespace {

template <class Number, class... Base>
std::optional<Number> wholly(std::string_view text, Base... base) {
  Number value{};
  const char* const end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data(), end, value, base...);
  return parsed.ptr == end && parsed.ec == std::errc() ? std::optional(value) : std::nullopt;
}

Ref<NSObject> stringFrom(std::string_view text) { return NSString::stringWithValidUTF8(text); }

Ref<NSObject> integerFrom(std::string_view text) {
  const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
  if (isHexadecimal) {
    const auto value = wholly<unsigned long long>(text.substr(2), 16);
    return value ? Ref<NSObject>(*value) : nullptr;
  }
  if (const auto value = wholly<long long>(text)) return *value;
  const auto value = wholly<unsigned long long>(text);
  return value ? Ref<NSObject>(*value) : nullptr;
}

Ref<NSObject> realFrom(std::string_view text) {
  const auto value = wholly<double>(text);
  return value ? Ref<NSObject>(*value) : nullptr;
}

Ref<NSObject> booleanFrom(std::string_view text) {
  if (text == "true" || text == "yes") return true;
  if (text == "false" || text == "no") return false;
  return nullptr;
}

// Dates are the reader's to understand, so that the same are understood here as in files.
Ref<NSObject> dateFrom(std::string_view text) {
  if (text.find_first_not_of("0123456789-+:TZ") != std::string_view::npos) return nullptr;
  std::string xml = "<plist version=\"1.0\"><date>" + std::string(text);
  if (text.find('T') == std::string_view::npos) xml += "T00:00:00Z";
  try {
    return parse(NSData::dataWithString(xml + "</date></plist>"), kXML, "date").root;
  } catch (const Failure&) {
    return nullptr;
  }
}

Ref<NSObject> dataFrom(std::string_view text) {
  std::string bytes;
  while (!text.empty()) {
    if (text.front() == ' ') {
      text.remove_prefix(1);
      continue;
    }
    const auto byte = text.size() < 2 ? std::nullopt : wholly<unsigned char>(text.substr(0, 2), 16);
    if (!byte) return nullptr;
    bytes += static_cast<char>(*byte);
    text.remove_prefix(2);
  }
  return NSData::dataWithString(std::move(bytes));
}

Ref<NSObject> containerFrom(std::string_view text) { return parse(NSData::dataWithBytes(text), kDetect, "VALUE").root; }

struct NamedType {
  std::string_view name;
  Ref<NSObject> (*make)(std::string_view text);
};

constexpr std::array<NamedType, 8> kTypes{{{"string", stringFrom},
                                           {"integer", integerFrom},
                                           {"real", realFrom},
                                           {"boolean", booleanFrom},
                                           {"date", dateFrom},
                                           {"data", dataFrom},
                                           {"array", containerFrom},
                                           {"dictionary", containerFrom}}};

const NamedType& typeNamed(std::string_view name) {
  for (const auto& type : kTypes) {
    if (type.name == name) return type;
  }
  throw Failure(Exit::Usage, "no type is called '" + std::string(name) +
                                 "'; there are string, integer, real, boolean, date, data, array and dictionary");
}

}  // namespace

Ref<NSObject> valueFromText(std::string_view type, std::string_view text) {
  Ref<NSObject> value = typeNamed(type).make(text);
  if (value && typeName(*value) == type) return value;
  throw Failure(Exit::Usage, "'" + std::string(text) + "' does not tell a value of the type " + std::string(type));
}

}  // namespace ztplist
