#include "platform/services/UserLanguages.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace ZtFoundation {

namespace {

std::string_view variable(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

// The first that is set and not empty decides, as in setlocale(3).
std::string_view messageLocale() {
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    if (const std::string_view value = variable(name); !value.empty()) return value;
  }
  return {};
}

// "ja_JP.UTF-8@modifier" without what follows the name; empty for the locale of no language.
std::string languageOf(std::string_view locale) {
  const std::string_view name = locale.substr(0, locale.find_first_of(".@"));
  return name == "C" || name == "POSIX" ? std::string() : std::string(name);
}

void add(std::vector<std::string>& languages, std::string_view locale) {
  if (std::string language = languageOf(locale); !language.empty()) languages.push_back(std::move(language));
}

class EnvironmentLanguages final : public UserLanguages {
 public:
  // LANGUAGE holds several, separated by colons, and counts only for a user whose locale has a language at all.
  std::vector<std::string> inOrder() override {
    std::vector<std::string> languages;
    const std::string_view locale = messageLocale();
    if (languageOf(locale).empty()) return languages;
    for (std::string_view rest = variable("LANGUAGE"); !rest.empty();) {
      const std::size_t end = std::min(rest.find(':'), rest.size());
      add(languages, rest.substr(0, end));
      rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    add(languages, locale);
    return languages;
  }
};

}  // namespace

UserLanguages& UserLanguages::production() {
  static UserLanguages& shared = *new EnvironmentLanguages;
  return shared;
}

}  // namespace ZtFoundation
