#include <ZtFoundation/platform/StringEncoding.h>

#include <string>
#include <vector>

#include "platform/services/Service.h"
#include "platform/services/UserLanguages.h"

namespace ZtFoundation {

namespace {

constexpr CFStringEncoding kRoman = 0;
constexpr CFStringEncoding kJapanese = 1;

bool isJapanese(const std::string& language) { return language == "ja" || language.starts_with("ja_"); }

}  // namespace

CFStringEncoding CFStringGetSystemEncoding() {
  const std::vector<std::string> languages = service<UserLanguages>().inOrder();
  return !languages.empty() && isJapanese(languages.front()) ? kJapanese : kRoman;
}

}  // namespace ZtFoundation
