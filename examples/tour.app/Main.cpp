// Runs one step of docs/tour.md in the current folder:  tour STEP
//
// The steps share a folder, in which each finds what those before it have left.
#include <array>
#include <iostream>
#include <string_view>
#include <utility>

#include "Steps.h"

namespace {

constexpr std::array<std::pair<std::string_view, void (*)()>, 15> kSteps{{
    {"values", tour::values},
    {"first-start", tour::firstStart},
    {"defaults", tour::defaults},
    {"save", tour::save},
    {"fail-to-save", tour::failToSave},
    {"read-broken", tour::readBroken},
    {"share", tour::share},
    {"ini-text", tour::iniText},
    {"convert", tour::convert},
    {"settings-folder", tour::settingsFolder},
    {"logging", tour::logging},
    {"sorting", tour::sorting},
    {"copy-to-free-name", tour::copyToFreeName},
    {"resources", tour::resources},
    {"package", tour::package},
}};

}  // namespace

int main(int count, char** arguments) {
  const std::string_view wanted = count > 1 ? arguments[1] : "";
  for (const auto& [name, step] : kSteps) {
    if (name == wanted) {
      step();
      return 0;
    }
  }
  std::cerr << "usage: tour STEP, where STEP is one of";
  for (const auto& entry : kSteps) std::cerr << ' ' << entry.first;
  std::cerr << '\n';
  return 2;
}
