/// \file UserLanguages.h
/// The languages that the user reads, best first.
#pragma once

#include <string>
#include <vector>

namespace ZtFoundation {

class UserLanguages {
 public:
  virtual ~UserLanguages() = default;
  static UserLanguages& production();

  /// Names such as "pt_BR" or "ja", without an encoding or modifier. Empty when the user has set none.
  virtual std::vector<std::string> inOrder() = 0;
};

}  // namespace ZtFoundation
