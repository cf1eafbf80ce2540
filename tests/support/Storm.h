/// \file Storm.h
/// Doing something again and again while faults happen to it, and noting what came of it.
///
/// `ZT_STORM_SECONDS` in the environment is how long each storm lasts; without it a storm is over in a moment. Into the
/// file that `ZT_FAULTS_REPORT` names go the lines of the table in docs/faults.md.
#pragma once

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/time.h>
#include <time.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "support/Sanitizers.h"

namespace ZtFoundation::test {

/// `while (storm.goesOn()) ...`: the rounds of one storm.
class Storm {
 public:
  explicit Storm(double quickSeconds = kIsSanitized ? 0.1 : 0.15) : seconds_(quickSeconds) {
    if (const char* const wanted = std::getenv("ZT_STORM_SECONDS")) seconds_ = std::strtod(wanted, nullptr);
  }

  bool goesOn() {
    if (rounds_ > 0 && now() - start_ >= seconds_) return false;
    ++rounds_;
    return !testing::Test::HasFatalFailure();
  }
  int rounds() const { return rounds_; }

 private:
  static double now() {
    timespec time{};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
  }

  double seconds_;
  double start_ = now();
  int rounds_ = 0;
};

/// Whether the table is wanted, and so everything that it promises.
inline bool isReporting() { return std::getenv("ZT_FAULTS_REPORT") != nullptr; }

/// A line of the table: what was done to which operation how often, and how it went where no check failed.
inline void report(const std::string& kind, const std::string& operation, long tried, const std::string& outcome) {
  if (!isReporting()) return;
  const std::string result = testing::Test::HasFailure() ? "FAILED" : outcome;
  std::ofstream(std::getenv("ZT_FAULTS_REPORT"), std::ios::app)
      << kind << '\t' << operation << '\t' << tried << '\t' << result << '\n';
}

/// Signals that interrupt this process every few microseconds, with handlers that do not let system calls go on by
/// themselves.
class SignalStorm {
 public:
  explicit SignalStorm(suseconds_t microseconds = 100) {
    struct sigaction action {};
    action.sa_handler = [](int) { received = received + 1; };
    ::sigaction(SIGALRM, &action, &before_);
    received = 0;
    const itimerval timer{{0, microseconds}, {0, microseconds}};
    ::setitimer(ITIMER_REAL, &timer, nullptr);
  }
  SignalStorm(const SignalStorm&) = delete;
  SignalStorm& operator=(const SignalStorm&) = delete;
  ~SignalStorm() {
    const itimerval none{};
    ::setitimer(ITIMER_REAL, &none, nullptr);
    ::sigaction(SIGALRM, &before_, nullptr);
  }

  long count() const { return received; }

 private:
  static inline volatile sig_atomic_t received = 0;
  struct sigaction before_ {};
};

}  // namespace ZtFoundation::test
