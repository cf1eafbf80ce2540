/// \file Limits.h
/// Cases at the limits of what can be asked, in two sizes: a small one that every test run does, and with
/// `ZT_LIMITS_FULL` in the environment the real one, for which `scripts/limits` starts a process each.
#pragma once

#include <ZtFoundation/PropertyLists.h>
#include <gtest/gtest.h>
#include <time.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>

namespace ZtFoundation::limits {

inline bool isFull() { return std::getenv("ZT_LIMITS_FULL") != nullptr; }

/// The real size or a small one.
inline std::size_t sized(std::size_t full, std::size_t small) { return isFull() ? full : small; }

inline constexpr bool kIsWide = sizeof(void*) == 8;

/// Beyond what 32 bits with a sign count, where that fits the address space.
inline std::size_t huge() {
  return sized(kIsWide ? (std::size_t{1} << 31) + (std::size_t{100} << 20) : 0x10000000, 3 << 20);
}

inline std::string inUnits(std::size_t bytes) {
  char text[64];
  const double value = static_cast<double>(bytes);
  bytes >= std::size_t{1} << 30 ? std::snprintf(text, sizeof text, "%.2f GiB", value / (1 << 30))
                                : std::snprintf(text, sizeof text, "%.2f MiB", value / (1 << 20));
  return text;
}

/// One line of the table in docs/limits.md, written when it goes.
class Case {
 public:
  Case(std::string name, std::string size) : name_(std::move(name)), size_(std::move(size)) {}
  Case(const Case&) = delete;
  Case& operator=(const Case&) = delete;
  ~Case() {
    const char* const file = std::getenv("ZT_LIMITS_REPORT");
    if (file == nullptr || testing::Test::IsSkipped()) return;
    std::ofstream(file, std::ios::app) << name_ << '\t' << size_ << '\t' << seconds_ << '\t'
                                       << (testing::Test::HasFailure() ? "FAILED" : answer_) << '\n';
  }

  /// Adds the processor's time for `work` to that of the case; answers what it answers.
  template <class Work>
  auto measure(Work work) {
    const Clock clock(seconds_);
    return work();
  }

  void answer(std::string answer) { answer_ = std::move(answer); }

 private:
  class Clock {
   public:
    explicit Clock(double& seconds) : seconds_(seconds) {}
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;
    ~Clock() { seconds_ += now() - start_; }

   private:
    static double now() {
      timespec time{};
      ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
      return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
    }
    double& seconds_;
    double start_ = now();
  };

  std::string name_;
  std::string size_;
  std::string answer_ = "works";
  double seconds_ = 0;
};

/// A number as binary property lists have it, the highest byte first.
inline void append(std::string& bytes, std::uint64_t number, int size) {
  for (int at = size - 1; at >= 0; --at) bytes += static_cast<char>(number >> (8 * at));
}

struct Answer {
  Ref<NSObject> value;
  std::string error;
};

inline Answer read(const Ref<NSData>& bytes) {
  Ref<NSString> error;
  Answer answer;
  answer.value = NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
      bytes, NSPropertyListImmutable, nullptr, &error);
  if (error) answer.error = error->utf8();
  return answer;
}
inline Answer read(std::string_view bytes) { return read(NSData::dataWithBytes(bytes)); }

struct Written {
  Ref<NSData> bytes;
  std::string error;
};

inline Written write(const Ref<NSObject>& value, NSUInteger format) {
  Ref<NSString> error;
  Written written;
  written.bytes = NSPropertyListSerialization::dataFromPropertyList_format_errorDescription(value, format, &error);
  if (error) written.error = error->utf8();
  return written;
}

inline Ref<NSObject> readINI(const Ref<NSData>& bytes) {
  QvPropertyListFormat format = QvPropertyListINIFormat;
  return QvPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(bytes, 0, &format,
                                                                                                    nullptr);
}

inline Ref<NSData> writeINI(const Ref<NSDictionary>& settings) {
  return QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(settings, QvPropertyListINIFormat,
                                                                                   nullptr);
}

}  // namespace ZtFoundation::limits
