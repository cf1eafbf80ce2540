/// \file ScopedEnvironment.h
/// Environment variables that are put back at the end of a scope.
#pragma once

#include <cstdlib>
#include <map>
#include <optional>
#include <string>

namespace ZtFoundation::test {

class ScopedEnvironment {
 public:
  ScopedEnvironment() = default;
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;
  ~ScopedEnvironment() {
    for (const auto& [name, value] : before_) put(name, value);
  }

  /// No value takes the variable out of the environment.
  void set(const std::string& name, const std::optional<std::string>& value) {
    const char* const present = std::getenv(name.c_str());
    before_.try_emplace(name, present != nullptr ? std::optional<std::string>(present) : std::nullopt);
    put(name, value);
  }

 private:
  static void put(const std::string& name, const std::optional<std::string>& value) {
    value ? ::setenv(name.c_str(), value->c_str(), 1) : ::unsetenv(name.c_str());
  }

  std::map<std::string, std::optional<std::string>> before_;
};

}  // namespace ZtFoundation::test
