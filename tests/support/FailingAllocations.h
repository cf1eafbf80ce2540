/// \file FailingAllocations.h
/// Operations with one allocation failing, at every point where they allocate.
///
/// A program that uses this needs tests/faults/allocations/FailingAllocations.cpp, which takes the place of `operator new` and of `malloc` and
/// its kin. Only what the testing thread asks for during an operation is counted and fails: all of `operator new`, and `malloc` where the library, its
/// modules or the C library call it (third-party libraries may end the process when they get no memory, which is theirs).
/// \code
///   struct Receiver {                                   // made anew for each run
///     Ref<NSMutableArray> array = NSMutableArray::array();
///     std::string describe() const { return text(array); }   // optional: what must not change when the operation fails
///   };
///   forEachFailingAllocation<Receiver>("addObject:", [](Receiver& r) { r.array->addObject(1); });
///   forEachFailingAllocation<Files>("read", [](Files& f) { return f.read(); }, {.documented = {"(none)"}});
/// \endcode
#pragma once

#include <concepts>
#include <cstddef>
#include <functional>
#include <optional>
#include <source_location>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <ZtFoundation/platform/Object.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation::test {

/// Which allocations fail: the k-th only, or the k-th and all after it.
enum class Failing { One, AllFrom };

namespace allocations {

struct Count {
  std::size_t asked;   ///< allocations that were counted
  std::size_t failed;  ///< those of them that failed
};
struct Leak {
  std::size_t ordinal;  ///< which of the counted allocations made the block
  std::size_t size;
};

/// From now on the calling thread's allocations are counted from 1; those from `first` on fail as `mode` says. 0 lets none fail.
/// The stack of the allocation number `traced` is kept. `name` is told when the process ends meanwhile.
void start(const char* name, std::size_t first, Failing mode, std::size_t traced = 0) noexcept;
/// Nothing is counted any more and nothing fails.
Count stop() noexcept;
/// The earliest block made between the last start and stop that still lives.
std::optional<Leak> leak() noexcept;
/// The stack kept by the last run.
std::string trace();

/// While one lives the calling thread's allocations neither count nor fail: for what a test's stand-ins do.
class Unwatched {
 public:
  Unwatched() noexcept;
  ~Unwatched();
  Unwatched(const Unwatched&) = delete;
  Unwatched& operator=(const Unwatched&) = delete;
};

}  // namespace allocations

/// An answer as text, to compare answers.
template <class T>
std::string answerText(const Ref<T>& answer) {
  if (!answer) return "(none)";
  const Ref<NSString> text = answer->description();
  return text ? text->utf8() : "(no description)";
}
inline std::string answerText(const std::string& answer) { return answer; }
inline std::string answerText(const char* answer) { return answer != nullptr ? answer : "(null)"; }
template <class T>
requires std::is_arithmetic_v<T> || std::is_enum_v<T> std::string answerText(T answer) {
  if constexpr (std::is_enum_v<T>) {
    return std::to_string(static_cast<long long>(answer));
  } else {
    return std::to_string(answer);
  }
}
template <class T>
std::string answerText(const std::optional<T>& answer) {
  return answer ? answerText(*answer) : "(none)";
}
template <class T>
std::string answerText(const std::vector<T>& answer) {
  std::string text = "[";
  for (const T& each : answer) text.append(answerText(each)).append(",");
  return text.append("]");
}
template <class A, class B>
std::string answerText(const std::pair<A, B>& answer) {
  std::string text = answerText(answer.first);
  return text.append(" and ").append(answerText(answer.second));
}

/// What may be different from the rule of docs/faults.md, each with its reason beside the case.
struct AllocationRules {
  std::vector<std::string> documented{};  ///< further answers that lack of memory may give; "*" for any
  bool mayChange = false;                 ///< the receiver stays valid but need not stay as it was
  bool throwsAnyway = false;              ///< the operation ends in an exception of its own, with memory and without
  bool keepsMemory = false;               ///< what it allocates is kept for good: no leak
};

namespace allocations {

struct Run {
  enum class End { Returned, NoMemory, Exception } end;
  std::string answer;  // or what the exception says
  Count count;
};

std::string exceptionText();

template <class State, class Operation>
Run run(const char* name, State& state, Operation& operation, std::size_t first, Failing mode, std::size_t traced) {
  Count count{};
  try {
    start(name, first, mode, traced);
    if constexpr (std::is_void_v<std::invoke_result_t<Operation&, State&>>) {
      operation(state);
      count = stop();
      return {Run::End::Returned, "(done)", count};
    } else {
      const auto answer = operation(state);
      count = stop();
      return {Run::End::Returned, answerText(answer), count};
    }
  } catch (const std::bad_alloc&) {
    count = stop();
    return {Run::End::NoMemory, {}, count};
  } catch (...) {
    count = stop();
    return {Run::End::Exception, exceptionText(), count};
  }
}

template <class State>
std::string stateText(const State& state) {
  if constexpr (requires {
                  { state.describe() } -> std::convertible_to<std::string>;
                }) {
    return state.describe();
  } else {
    return {};
  }
}

/// The next point after `k`: every one at first, then ever fewer.
inline std::size_t following(std::size_t k) { return k < 200 ? k + 1 : k + 1 + (k - 200) / 8; }

template <class State, class Operation>
class Points {
 public:
  Points(const std::string& name, Operation& operation, const AllocationRules& rules)
      : name_(name), operation_(operation), rules_(rules) {}

  /// Runs the operation until nothing fails any more; answers how many points failed.
  std::size_t operator()() {
    if (!knowNormalRun()) return 0;
    for (const Failing mode : {Failing::One, Failing::AllFrom}) {
      for (std::size_t k = 1; !isWrong_ && tryPoint(k, mode); k = following(k)) ++points_;
    }
    return points_;
  }

 private:
  // Twice: the first may fill what is filled on first use.
  bool knowNormalRun() {
    for (int i = 0; i < 2; ++i) {
      State state;
      normal_ = run(name_.c_str(), state, operation_, 0, Failing::One, 0);
      normalState_ = stateText(state);
    }
    const Run::End wanted = rules_.throwsAnyway ? Run::End::Exception : Run::End::Returned;
    EXPECT_EQ(normal_.end, wanted) << name_ << " with enough memory: " << normal_.answer;
    return normal_.end == wanted;
  }

  bool tryPoint(std::size_t k, Failing mode) {
    bool goesOn = true;
    std::string complaint;
    {
      State state;
      const std::string before = stateText(state);
      const Run failed = run(name_.c_str(), state, operation_, k, mode, 0);
      goesOn = failed.count.failed > 0;
      complaint = complaintAbout(failed, before, stateText(state));
      if (complaint.empty() && failed.end == Run::End::NoMemory) complaint = complaintAboutRepetition(state);
    }
    if (const std::optional<Leak> left = leak(); left && !rules_.keepsMemory && complaint.empty()) {
      complaint.append("leak of ").append(std::to_string(left->size)).append(" bytes made at\n");
      complaint.append(traceOf(k, mode, left->ordinal));
    }
    if (!complaint.empty()) report(k, mode, complaint);
    isWrong_ = !complaint.empty();
    return goesOn && !isWrong_;
  }

  std::string complaintAbout(const Run& run, const std::string& before, const std::string& after) const {
    switch (run.end) {
      case Run::End::NoMemory:
        if (run.count.failed == 0) return "std::bad_alloc although nothing failed";
        return rules_.mayChange || before == after ? "" : changed("receiver before and after", before, after);
      case Run::End::Returned:
        if (run.answer == normal_.answer && !rules_.throwsAnyway) {
          return after == normalState_ ? "" : changed("state, rightly and now", normalState_, after);
        }
        return isDocumented(run.answer) ? "" : changed("answer, rightly and now", normal_.answer, run.answer);
      case Run::End::Exception:
        if (rules_.throwsAnyway && run.answer == normal_.answer) return "";
        return isDocumented(run.answer) ? "" : changed("exception", normal_.answer, run.answer);
    }
    return "";
  }

  // What failed for want of memory works on the same receiver when there is some again.
  std::string complaintAboutRepetition(State& state) {
    if (rules_.mayChange) return "";
    const Run again = run(name_.c_str(), state, operation_, 0, Failing::One, 0);
    if (again.end != normal_.end || again.answer != normal_.answer)
      return changed("repetition", normal_.answer, again.answer);
    const std::string after = stateText(state);
    return after == normalState_ ? "" : changed("state after repetition", normalState_, after);
  }

  bool isDocumented(const std::string& answer) const {
    for (const std::string& each : rules_.documented) {
      if (each == answer || each == "*") return true;
    }
    return false;
  }

  static std::string changed(const char* what, const std::string& a, const std::string& b) {
    return std::string(what).append(": <").append(a).append("> <").append(b).append(">");
  }

  std::string traceOf(std::size_t k, Failing mode, std::size_t ordinal) {
    State state;
    run(name_.c_str(), state, operation_, k, mode, ordinal);
    return trace();
  }

  void report(std::size_t k, Failing mode, const std::string& complaint) {
    ADD_FAILURE() << name_ << ", allocation " << k << (mode == Failing::One ? "" : " and all after it")
                  << " failing: " << complaint << "\nThe allocation that fails:\n"
                  << traceOf(k, mode, k);
  }

  const std::string& name_;
  Operation& operation_;
  const AllocationRules& rules_;
  Run normal_{Run::End::Returned, {}, {}};
  std::string normalState_;
  std::size_t points_ = 0;
  bool isWrong_ = false;  // one complaint about an operation is enough
};

}  // namespace allocations

/// Runs `operation` on a new State for each of its allocations, letting that one fail, and then that one and all after it. Each run must end in
/// std::bad_alloc with the state as it was, or in the right answer, or in a documented one; leave no memory behind; and the operation must then
/// succeed on the same state. Answers how many points failed.
template <class State, class Operation>
std::size_t forEachFailingAllocation(const std::string& name, Operation operation, const AllocationRules& rules = {}) {
  return allocations::Points<State, Operation>(name, operation, rules)();
}

}  // namespace ZtFoundation::test
