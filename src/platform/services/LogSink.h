/// \file LogSink.h
/// Where lines of the platform log go.
#pragma once

#include <string_view>

#include "platform/services/Service.h"

namespace ZtFoundation {

class LogSink {
 public:
  virtual ~LogSink() = default;

  /// Takes one line, as UTF-8 without the newline at its end, and adds what tells when and where it comes from. Called
  /// from any thread; never raises, and drops what cannot be written.
  virtual void write(std::string_view text) noexcept = 0;

  /// Standard error.
  static LogSink& production();
};

}  // namespace ZtFoundation
