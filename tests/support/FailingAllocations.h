/// \file FailingAllocations.h
/// Operations with one allocation failing, at every point where they allocate.
///
/// A program that uses this needs tests/faults/allocations/FailingAllocations.cpp, which takes the place of `operator
/// new` and of `malloc` and its kin. Only what the testing thread asks for during an operation is counted and fails:
/// all of `operator new`, and `malloc` where the library, its modules, ICU, libmount, libblkid or the C library call it
/// (other libraries end the process when they get no memory).
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
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <ZtFoundation/platform/Object.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/String.h>
#include <ZtFoundation/platform/Types.h>

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

/// From now on the calling thread's allocations are counted from 1; those from `first` on fail as `mode` says. 0 lets
/// none fail. The stack of the allocation number `traced` is kept. `name` is told when the process ends meanwhile.
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

inline std::string answerText(NSRange answer) {
  return answerText(answer.location).append("+").append(answerText(answer.length));
}
inline std::string answerText(const std::u16string& answer) {
  return answerText(NSString::stringWithUnits({answer.data(), answer.size()}));
}
inline std::string answerText(Class answer) { return answerText(class_getName(answer)); }
inline std::string answerText(SEL answer) { return answerText(NSStringFromSelector(answer)); }

/// What an operation that got no memory leaves, and what the same call then does when there is some again.
enum class Leaves {
  Nothing,    ///< the receiver as it was; the same call succeeds
  Part,       ///< what is done is done; the same call goes on from there
  PartOrAll,  ///< the same, but once all is done the same call may answer something else, and changes nothing
  Rest,       ///< nothing, if there was memory to take it back; else something that may be in the way of the same call
  Anything    ///< the test itself looks at it
};

/// What may be different from the rule of docs/faults.md, each with its reason beside the case.
struct AllocationRules {
  std::vector<std::string> documented{};  ///< further answers that lack of memory may give; "*" for any
  Leaves leaves = Leaves::Nothing;
  bool throwsAnyway = false;  ///< the operation ends in an exception of its own, with memory and without
  bool keepsMemory = false;   ///< what it allocates is kept for good: no leak
  std::size_t dense = 200;    ///< so many points are tried one by one, then ever fewer unless reported
};
inline const AllocationRules kNoException;

namespace allocations {

struct Run {
  enum class End { Returned, NoMemory, Exception } end = End::Returned;
  std::string answer = "(done)";  // or what the exception says
  Count count{};
};

/// An operation on a state, whatever their types: each brings this one function with it, so that the many operations are
/// compiled quickly.
using Call = void (*)(const void* operation, void* state, Run& run);

template <class State, class Operation>
void call(const void* operation, void* state, Run& run) {
  const Operation& perform = *static_cast<const Operation*>(operation);
  if constexpr (std::is_void_v<std::invoke_result_t<const Operation&, State&>>) {
    perform(*static_cast<State*>(state));
    run.count = stop();
  } else {
    const auto answer = perform(*static_cast<State*>(state));
    run.count = stop();
    run.answer = answerText(answer);
  }
}

Run runCall(const char* name, Call call, const void* operation, void* state, std::size_t first, Failing mode,
            std::size_t traced);

template <class State, class Operation>
Run run(const char* name, State& state, const Operation& operation, std::size_t first, Failing mode,
        std::size_t traced) {
  return runCall(name, &call<State, Operation>, &operation, &state, first, mode, traced);
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

struct StateKind {
  std::shared_ptr<void> (*make)();
  std::string (*text)(const void*);
};

template <class State>
inline constexpr StateKind kStatesOf{[] { return std::shared_ptr<void>(std::make_shared<State>()); },
                                     [](const void* state) { return stateText(*static_cast<const State*>(state)); }};

/// An operation and the states that it runs on.
struct Trial {
  std::string name;
  const StateKind& states;
  Call call;
  const void* operation;

  std::shared_ptr<void> makeState() const { return states.make(); }
  std::string stateText(const void* state) const { return states.text(state); }
  Run run(void* state, std::size_t first, Failing mode, std::size_t traced) const {
    return runCall(name.c_str(), call, operation, state, first, mode, traced);
  }
};

/// Set in the environment, it has operations tried in processes that have not used the library yet.
inline constexpr char kFirstUseVariable[] = "ZT_FIRST_USE";

/// For the table of docs/faults.md: how many points of a case failed, all of them as they may. The case belongs to the
/// family that its test is named for.
void reportPoints(const std::string& kind, const std::string& name, std::size_t points);

/// Answers how many points failed.
std::size_t tryAllPoints(const Trial& trial, const AllocationRules& rules);

}  // namespace allocations

/// Runs `operation` on a new State for each of its allocations, letting that one fail, and then that one and all after
/// it. Each run must leave no memory behind and end in the right answer; or in std::bad_alloc or a documented answer,
/// with the state as it was, and then the operation must succeed on it. Answers how many points failed.
template <class State, class Operation>
std::size_t forEachFailingAllocation(std::string_view name, const Operation& operation,
                                     const AllocationRules& rules = kNoException) {
  using namespace allocations;
  return tryAllPoints({std::string(name), kStatesOf<State>, &call<State, Operation>, &operation}, rules);
}

/// A table of operations on States of one kind; each line is checked as it is reached.
/// tests/faults/allocations/Completeness.py reads the names.
/// \code
///   const EachOf<Texts> each;
///   each("NSString::copy", [](Texts& t) { return t.ascii->copy(); });
///   each("NSString::compare (wide)", [](Texts& t) { return t.wide->compare(t.ascii); });
/// \endcode
template <class State>
struct EachOf {
  template <class Operation>
  void operator()(std::string_view name, const Operation& operation,
                  const AllocationRules& rules = kNoException) const {
    forEachFailingAllocation<State>(name, operation, rules);
  }
};

}  // namespace ZtFoundation::test
