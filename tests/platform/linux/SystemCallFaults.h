/// \file SystemCallFaults.h
/// Makes chosen system calls of the library fail.
///
/// The test program defines the functions of the C library that the library's file code calls, so all these calls come
/// here first. They pass through unless a `FaultScript` is alive.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace ZtFoundation::test {

/// What happens instead of one call.
struct Fault {
  int at = -1;              ///< which call, counted from 0; negative for none
  int error = 0;            ///< it fails with this errno; 0: it does not fail
  bool writesHalf = false;  ///< if it is a write of several bytes, only half of them are written
  bool persists = false;    ///< all later calls fail as well
};

class FaultScript {
 public:
  explicit FaultScript(Fault fault);
  FaultScript(const FaultScript&) = delete;
  FaultScript& operator=(const FaultScript&) = delete;
  ~FaultScript();

  /// Runs `action` before the first call of the function `name`.
  void before(std::string name, std::function<void()> action);

  /// From now on listings of folders do not tell what the items are, as on some file systems.
  void hideTypes() { hidesTypes_ = true; }
  /// From now on no folder is told to be one at which something is mounted, as by kernels before 5.8.
  void hideMounts() { hidesMounts_ = true; }

  /// The functions called so far, in order.
  const std::vector<std::string>& calls() const { return calls_; }
  /// True when the call that was chosen was made.
  bool wasReached() const { return fault_.at < static_cast<int>(calls_.size()); }
  /// The function that was chosen, empty if it was not reached.
  std::string faulted() const;

  // For the functions that stand in for the C library's.
  bool fails(const char* name);
  bool hidesTypes() const { return hidesTypes_; }
  bool hidesMounts() const { return hidesMounts_; }
  bool isHalfWrite() const { return fault_.writesHalf && static_cast<int>(calls_.size()) - 1 == fault_.at; }

 private:
  Fault fault_;
  std::vector<std::string> calls_;
  std::string actionName_;
  std::function<void()> action_;
  bool hidesTypes_ = false;
  bool hidesMounts_ = false;
};

}  // namespace ZtFoundation::test
