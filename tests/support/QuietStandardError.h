/// \file QuietStandardError.h
/// Nothing comes out on standard error for the length of a scope.
#pragma once

#include <fcntl.h>
#include <unistd.h>

namespace ZtFoundation::test {

class QuietStandardError {
 public:
  QuietStandardError() : before_(::dup(STDERR_FILENO)) {
    const int nothing = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    ::dup2(nothing, STDERR_FILENO);
    ::close(nothing);
  }
  QuietStandardError(const QuietStandardError&) = delete;
  QuietStandardError& operator=(const QuietStandardError&) = delete;
  ~QuietStandardError() {
    ::dup2(before_, STDERR_FILENO);
    ::close(before_);
  }

 private:
  int before_;
};

}  // namespace ZtFoundation::test
