#include "INILoss.h"

#include <string>

namespace ztplist {

using namespace ZtFoundation;

namespace {

std::string writtenText(const NSObject& value) {
  const auto* text = as<NSString>(&value);
  return text != nullptr ? text->utf8() : value.description()->utf8();
}

bool isSameText(const NSObject& written, const NSObject& read) {
  const std::string text = writtenText(written);
  const std::string found = writtenText(read);
  return found == text || found == '"' + text + '"';
}

// `lostWithin` tells what two values for the same key have lost.
template <class LostWithin>
std::optional<KeyPath> firstLost(const NSDictionary& written, const NSDictionary& read, LostWithin lostWithin) {
  auto found = read.begin();
  for (const auto& [key, value] : written) {
    KeyPath path{as<NSString>(key)};
    if (found == read.end() || !key->isEqual((*found).key)) return path;
    if (const std::optional<KeyPath> rest = lostWithin(*value, *(*found).value)) {
      path.insert(path.end(), rest->begin(), rest->end());
      return path;
    }
    ++found;
  }
  if (found == read.end()) return std::nullopt;
  return KeyPath{as<NSString>((*found).key)};
}

}  // namespace

std::optional<KeyPath> firstLostInINI(const NSDictionary& written, const NSDictionary& read) {
  const auto lostOfEntry = [](const NSObject& before, const NSObject& after) {
    return isSameText(before, after) ? std::nullopt : std::optional(KeyPath());
  };
  return firstLost(written, read, [&](const NSObject& before, const NSObject& after) {
    return firstLost(*as<NSDictionary>(&before), *as<NSDictionary>(&after), lostOfEntry);
  });
}

}  // namespace ztplist
