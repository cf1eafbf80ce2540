// Tells what a property list is made of: plist-report FILE
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/PropertyListSerialization.h>

#include <algorithm>
#include <iostream>
#include <map>
#include <string>

using namespace ZtFoundation;

namespace {

struct Report {
  std::map<std::string, std::size_t> kinds;
  std::map<std::string, std::size_t> keys;
  std::size_t depth = 0;
};

const char* nameOfKind(const NSObject& value) {
  switch (value.kind()) {
    case ObjectKind::Dictionary:
      return "dictionaries";
    case ObjectKind::Array:
      return "arrays";
    case ObjectKind::String:
      return "strings";
    case ObjectKind::Number:
      return as<NSNumber>(&value)->isBoolean() ? "booleans" : "numbers";
    case ObjectKind::Date:
      return "dates";
    case ObjectKind::Data:
      return "data";
    default:
      return "others";
  }
}

void examine(const Ref<NSObject>& value, std::size_t depth, Report& report) {
  ++report.kinds[nameOfKind(*value)];
  report.depth = std::max(report.depth, depth);
  if (const auto array = as<NSArray>(value)) {
    for (const auto& element : *array) examine(element, depth + 1, report);
  } else if (const auto dictionary = as<NSDictionary>(value)) {
    for (const auto& [key, entry] : *dictionary) {
      ++report.keys[as<NSString>(key)->utf8()];
      examine(entry, depth + 1, report);
    }
  }
}

void print(const Report& report) {
  for (const auto& [kind, count] : report.kinds) std::cout << count << " " << kind << "\n";
  std::cout << "depth " << report.depth << ", " << report.keys.size() << " different keys\n";
  for (const auto& [key, count] : report.keys) {
    if (count > 1) std::cout << "  " << key << " " << count << " times\n";
  }
}

}  // namespace

int main(int argc, char** argv) {
  const Ref<NSData> bytes = argc == 2 ? NSData::dataWithContentsOfFile(argv[1]) : nullptr;
  Ref<NSString> error = "usage: plist-report FILE, a property list that can be read";
  const Ref<NSObject> root =
      bytes ? NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
                  bytes, 0, nullptr, &error)
            : nullptr;
  if (!root) {
    std::cerr << "plist-report: " << error << "\n";
    return 1;
  }
  Report report;
  examine(root, 0, report);
  print(report);
}
