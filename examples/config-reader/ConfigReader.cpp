// Reads typed settings, with defaults, from a property list in any format: config-reader [FILE]
#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/PropertyListSerialization.h>

#include <iostream>
#include <optional>
#include <string>

using namespace ZtFoundation;

namespace {

struct Settings {
  std::string host = "localhost";
  int port = 8080;
  bool secure = true;
  double timeout = 2.5;
};

constexpr std::string_view kSample = R"(
{ Server = { Host = "příklad.example"; Port = 8443; }; }
)";

template <class Value>
void read(Value& setting, const std::optional<Value>& value) {
  if (value) setting = *value;
}

// Text formats other than XML know no numbers, so a number may also come as text.
std::optional<int> integerAt(const Ref<NSDictionary>& root, const char* section, const char* key) {
  if (auto number = valueAt<int>(root, section, key)) return number;
  const auto text = valueAt<NSString>(root, section, key);
  return text ? std::optional(text->intValue()) : std::nullopt;
}

Settings readSettings(const Ref<NSDictionary>& root) {
  Settings settings;
  read(settings.host, valueAt<std::string>(root, "Server", "Host"));
  read(settings.port, integerAt(root, "Server", "Port"));
  read(settings.secure, valueAt<bool>(root, "Server", "Secure"));
  read(settings.timeout, valueAt<double>(root, "Server", "Timeout"));
  return settings;
}

Ref<NSDictionary> parse(const Ref<NSData>& bytes) {
  Ref<NSString> error;
  const Ref<NSObject> root = NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
      bytes, 0, nullptr, &error);
  if (!root) std::cerr << "config-reader: " << error << "\n";
  return as<NSDictionary>(root);
}

}  // namespace

int main(int argc, char** argv) {
  const Ref<NSData> bytes = argc > 1 ? NSData::dataWithContentsOfFile(argv[1]) : NSData::dataWithBytes(kSample);
  if (!bytes) {
    std::cerr << "config-reader: cannot read " << argv[1] << "\n";
    return 1;
  }
  const Settings settings = readSettings(parse(bytes));
  std::cout << "host     " << settings.host << "\nport     " << settings.port << "\nsecure   " << std::boolalpha
            << settings.secure << "\ntimeout  " << settings.timeout << " s\n";
}
