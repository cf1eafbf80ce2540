// Keeps the lines of the platform log for the length of a scope, instead of printing them.
#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/services/LogSink.h"
#include "platform/services/Service.h"

namespace ZtFoundation::test {

class RecordingLog : public LogSink {
 public:
  void write(std::string_view text) noexcept override {
    const std::lock_guard guard(mutex_);
    lines_.emplace_back(text);
  }

  std::vector<std::string> lines() const {
    const std::lock_guard guard(mutex_);
    return lines_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
  ScopedService<LogSink> scope_{*this};
};

}  // namespace ZtFoundation::test
