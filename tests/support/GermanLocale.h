// Makes a locale whose decimal point is a comma be the process's own for the length of a scope. The locale is built on
// the spot, so that no machine needs to have it.
#pragma once

#include <stdlib.h>

#include <clocale>
#include <string>

#include "support/ScratchFolder.h"

namespace ZtFoundation::test {

class GermanLocale {
 public:
  GermanLocale() {
    const std::string command = "localedef -i de_DE -f UTF-8 '" + folder_ / "zt_DE.UTF-8" + "' >/dev/null 2>&1";
    if (std::system(command.c_str()) != 0) return;
    ::setenv("LOCPATH", folder_.path().c_str(), 1);
    isSet_ = std::setlocale(LC_ALL, "zt_DE.UTF-8") != nullptr && std::localeconv()->decimal_point == std::string(",");
  }
  GermanLocale(const GermanLocale&) = delete;
  GermanLocale& operator=(const GermanLocale&) = delete;
  ~GermanLocale() {
    ::unsetenv("LOCPATH");
    std::setlocale(LC_ALL, "C");
  }

  bool isSet() const { return isSet_; }

 private:
  ScratchFolder folder_;
  bool isSet_ = false;
};

}  // namespace ZtFoundation::test
