// Takes the place of `operator new` and `malloc` in this program, so that allocations can be made to fail.
#include <support/FailingAllocations.h>

#include <cxxabi.h>
#include <dlfcn.h>
#include <execinfo.h>
#include <link.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include <gtest/gtest.h>

#include <ZtFoundation/platform/Exception.h>

#include <support/Sanitizers.h>
#include <support/Storm.h>

// What lies below: the sanitizers' allocator where there is one, else the C library's.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZT_BELOW(name) __interceptor_##name
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ZT_BELOW(name) __interceptor_##name
#endif
#endif
#ifndef ZT_BELOW
#define ZT_BELOW(name) __libc_##name
#endif

extern "C" {
void* ZT_BELOW(malloc)(std::size_t);
void* ZT_BELOW(calloc)(std::size_t, std::size_t);
void* ZT_BELOW(realloc)(void*, std::size_t);
void* ZT_BELOW(memalign)(std::size_t, std::size_t);
void ZT_BELOW(free)(void*);
}

namespace ZtFoundation::test::allocations {
namespace {

// Blocks made while an operation ran, by their addresses. Slots in use are listed, so forgetting all is quick.
class LiveBlocks {
 public:
  void clear() noexcept {
    const Lock lock(*this);
    for (std::size_t i = 0; i < used_; ++i) slots_[usedSlots_[i]] = {};
    used_ = 0;
  }

  void add(const void* block, std::size_t ordinal, std::size_t size) noexcept {
    const Lock lock(*this);
    std::size_t at = home(block);
    while (slots_[at].block != nullptr && slots_[at].block != gone()) at = (at + 1) % kSlots;
    if (slots_[at].block == nullptr) noteUsed(at);
    slots_[at] = {block, ordinal, size};
  }

  void remove(const void* block) noexcept {
    if (block == nullptr || used_.load(std::memory_order_relaxed) == 0) return;
    const Lock lock(*this);
    for (std::size_t at = home(block); slots_[at].block != nullptr; at = (at + 1) % kSlots) {
      if (slots_[at].block == block) {
        slots_[at].block = gone();
        return;
      }
    }
  }

  std::optional<Leak> earliest() noexcept {
    const Lock lock(*this);
    std::optional<Leak> found;
    for (std::size_t i = 0; i < used_; ++i) {
      const Slot& slot = slots_[usedSlots_[i]];
      if (slot.block == gone() || (found && found->ordinal < slot.ordinal)) continue;
      found = Leak{slot.ordinal, slot.size};
    }
    return found;
  }

 private:
  static constexpr std::size_t kSlots = std::size_t{1} << 18;
  struct Slot {
    const void* block = nullptr;
    std::size_t ordinal = 0;
    std::size_t size = 0;
  };
  class Lock {
   public:
    explicit Lock(LiveBlocks& blocks) noexcept : blocks_(blocks) {
      while (blocks_.busy_.test_and_set(std::memory_order_acquire)) continue;
    }
    ~Lock() { blocks_.busy_.clear(std::memory_order_release); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

   private:
    LiveBlocks& blocks_;
  };

  static const void* gone() noexcept { return &instance; }
  static std::size_t home(const void* block) noexcept {
    return (reinterpret_cast<std::uintptr_t>(block) >> 4) * std::size_t{2654435761u} % kSlots;
  }
  void noteUsed(std::size_t at) noexcept {
    if (used_ >= kSlots / 4 * 3) {
      std::fputs("FailingAllocations: an operation allocates more than can be followed\n", stderr);
      std::_Exit(1);
    }
    usedSlots_[used_++] = static_cast<std::uint32_t>(at);
  }

  std::array<Slot, kSlots> slots_{};
  std::array<std::uint32_t, kSlots> usedSlots_{};
  std::atomic<std::size_t> used_{0};
  std::atomic_flag busy_{};

 public:
  static LiveBlocks instance;
};
constinit LiveBlocks LiveBlocks::instance{};

// The testing thread alone has this on.
struct Watch {
  const char* name = nullptr;
  bool isOn = false;
  int pauses = 0;
  Failing mode = Failing::One;
  std::size_t first = 0;
  std::size_t traced = 0;
  std::size_t asked = 0;
  std::size_t failed = 0;
};
constinit thread_local Watch watch;

constinit std::array<void*, 40> frames{};
constinit int frameCount = 0;

// Where code lies whose calls of malloc count.
struct CodeRanges {
  struct Range {
    std::uintptr_t begin, end;
  };
  std::array<Range, 64> ranges{};
  std::size_t count = 0;

  static bool isIn(const dl_phdr_info* info, const char* name) { return std::strstr(info->dlpi_name, name) != nullptr; }
  static int visit(dl_phdr_info* info, std::size_t, void* self) {
    CodeRanges& all = *static_cast<CodeRanges*>(self);
    const bool isProgram = info->dlpi_name[0] == '\0';
    // Without memory on first use, ICU does not try again and the C library (reading who the users are) ends the
    // process.
    const bool isLateOnly = isIn(info, "/libc.so") || isIn(info, "/libicu");
    const bool isCounted = isProgram || isIn(info, "libZtFoundation") || isIn(info, "/libmount") ||
                           isIn(info, "/libblkid") || (isLateOnly && std::getenv(kFirstUseVariable) == nullptr);
    for (int i = 0; isCounted && i < info->dlpi_phnum && all.count < all.ranges.size(); ++i) {
      const auto& part = info->dlpi_phdr[i];
      if (part.p_type != PT_LOAD || (part.p_flags & PF_X) == 0) continue;
      const std::uintptr_t begin = info->dlpi_addr + part.p_vaddr;
      all.ranges[all.count++] = {begin, begin + part.p_memsz};
    }
    return 0;
  }
  void find() noexcept {
    count = 0;
    ::dl_iterate_phdr(&visit, this);
  }
  bool contains(const void* code) const noexcept {
    const auto at = reinterpret_cast<std::uintptr_t>(code);
    for (std::size_t i = 0; i < count; ++i) {
      if (at >= ranges[i].begin && at < ranges[i].end) return true;
    }
    return false;
  }
};
constinit CodeRanges countedCode{};

void keepTrace() noexcept {
  ++watch.pauses;
  frameCount = ::backtrace(frames.data(), static_cast<int>(frames.size()));
  --watch.pauses;
}

// Counts an allocation; false when it must fail.
bool isAllowed() noexcept {
  if (!watch.isOn || watch.pauses > 0) return true;
  ++watch.asked;
  if (watch.asked == watch.traced) keepTrace();
  const bool fails =
      watch.first != 0 && (watch.mode == Failing::One ? watch.asked == watch.first : watch.asked >= watch.first);
  if (fails) ++watch.failed;
  return !fails;
}

// Whether the C library asks on behalf of GLib, which ends the process when it gets no memory.
bool isForGLib() noexcept {
  ++watch.pauses;
  std::array<void*, 12> callers{};
  const int count = ::backtrace(callers.data(), static_cast<int>(callers.size()));
  const bool isFound = std::any_of(callers.begin(), callers.begin() + count, [](const void* caller) {
    Dl_info info{};
    return ::dladdr(caller, &info) != 0 && info.dli_fname != nullptr && std::strstr(info.dli_fname, "/libglib-2.0.so");
  });
  --watch.pauses;
  return isFound;
}

bool isWatched() noexcept { return watch.isOn && watch.pauses == 0; }

void* noted(void* block, std::size_t size) noexcept {
  if (block != nullptr && isWatched()) LiveBlocks::instance.add(block, watch.asked, size);
  return block;
}

// Says what was running when the process ends for want of memory in a place that cannot tell.
void tellWhatRan() noexcept {
  ++watch.pauses;
  std::fprintf(stderr, "The process ends in %s%s with allocation %zu%s failing\n", watch.isOn ? "" : "or after ",
               watch.name != nullptr ? watch.name : "what comes first", watch.first,
               watch.mode == Failing::One ? "" : " and all after it");
  frameCount = ::backtrace(frames.data(), static_cast<int>(frames.size()));
  ::backtrace_symbols_fd(frames.data(), frameCount, STDERR_FILENO);
}

[[noreturn]] void tellAndAbort() {
  tellWhatRan();
  std::signal(SIGABRT, SIG_DFL);  // told already
  std::abort();
}

void tellAndDie(int signal) {
  tellWhatRan();
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

// The first stack walk loads what it needs. Not constant, so that it is false until then.
bool isPrepared = [] {
  frameCount = ::backtrace(frames.data(), static_cast<int>(frames.size()));
  std::set_terminate(&tellAndAbort);
  if (!kIsSanitized) {
    std::signal(SIGSEGV, &tellAndDie);
    std::signal(SIGABRT, &tellAndDie);
  }
  return true;
}();

std::string readable(void* address) {
  Dl_info info{};
  if (::dladdr(address, &info) == 0 || info.dli_sname == nullptr) {
    std::array<char, 300> text{};
    std::snprintf(text.data(), text.size(), "%s+0x%zx", info.dli_fname != nullptr ? info.dli_fname : "?",
                  static_cast<std::size_t>(static_cast<char*>(address) - static_cast<char*>(info.dli_fbase)));
    return text.data();
  }
  int status = 0;
  char* const plain = abi::__cxa_demangle(info.dli_sname, nullptr, nullptr, &status);
  std::string text = plain != nullptr ? plain : info.dli_sname;
  std::free(plain);
  return text;
}

}  // namespace

void start(const char* name, std::size_t first, Failing mode, std::size_t traced) noexcept {
  if (watch.pauses == 0) LiveBlocks::instance.clear();
  countedCode.find();
  frameCount = 0;
  watch = {name, true, watch.pauses, mode, first, traced, 0, 0};
}

Count stop() noexcept {
  watch.isOn = false;
  return {watch.asked, watch.failed};
}

std::optional<Leak> leak() noexcept { return LiveBlocks::instance.earliest(); }

std::string trace() {
  std::string text;
  for (int i = 2; i < frameCount; ++i) {
    text.append("  ").append(readable(frames[static_cast<std::size_t>(i)])).append("\n");
  }
  return text;
}

std::string exceptionText() {
  try {
    throw;
  } catch (const NSException& exception) {
    return answerText(exception.name()).append(": ").append(answerText(exception.reason()));
  } catch (const std::exception& exception) {
    return exception.what();
  } catch (...) {
    return "an exception of another kind";
  }
}

Unwatched::Unwatched() noexcept { ++watch.pauses; }
Unwatched::~Unwatched() { --watch.pauses; }

void reportPoints(const std::string& kind, const std::string& name, std::size_t points) {
  const std::string suite = testing::UnitTest::GetInstance()->current_test_info()->test_suite_name();
  const std::string start = "AllocationFailure";
  if (!suite.starts_with(start)) return;  // a test of the harness
  test::report(kind, suite.substr(start.size()).append(": ").append(name), static_cast<long>(points),
               "as the rule says");
}

namespace {

/// The next point after `k`: every one at first, then ever fewer, but for the table of docs/faults.md.
std::size_t following(std::size_t k, std::size_t dense) {
  const bool isEachTried = k < dense || isReporting();
  return isEachTried ? k + 1 : k + 1 + (k - dense) / 8;
}

class Points {
 public:
  Points(const Trial& trial, const AllocationRules& rules) : trial_(trial), rules_(rules) {}

  std::size_t operator()() {
    if (!knowNormalRun()) return 0;
    for (const Failing mode : {Failing::One, Failing::AllFrom}) {
      for (std::size_t k = 1; !isWrong_ && tryPoint(k, mode); k = following(k, rules_.dense)) ++points_;
    }
    return points_;
  }

 private:
  // Twice: the first may fill what is filled on first use.
  bool knowNormalRun() {
    for (int i = 0; i < 2; ++i) {
      const auto state = trial_.makeState();
      normal_ = trial_.run(state.get(), 0, Failing::One, 0);
      normalState_ = trial_.stateText(state.get());
    }
    const Run::End wanted = rules_.throwsAnyway ? Run::End::Exception : Run::End::Returned;
    EXPECT_EQ(normal_.end, wanted) << trial_.name << " with enough memory: " << normal_.answer;
    return normal_.end == wanted;
  }

  bool tryPoint(std::size_t k, Failing mode) {
    bool goesOn = true;
    std::string complaint = complaintAbout(k, mode, goesOn);
    if (complaint.empty() && !rules_.keepsMemory) complaint = complaintAboutLeak(k, mode);
    isWrong_ = !complaint.empty();
    if (isWrong_) report(k, mode, complaint);
    return goesOn && !isWrong_;
  }

  std::string complaintAbout(std::size_t k, Failing mode, bool& goesOn) {
    const auto state = trial_.makeState();
    const std::string before = trial_.stateText(state.get());
    const Run run = trial_.run(state.get(), k, mode, 0);
    const std::string after = trial_.stateText(state.get());
    goesOn = run.count.failed > 0;
    if (isRight(run)) return after == normalState_ ? "" : changed("state, rightly and now", normalState_, after);
    const std::string complaint = complaintAbout(run);
    return complaint.empty() ? complaintAboutRest(state.get(), leavesAt(mode), before, after) : complaint;
  }

  // Looks twice: the first failure may fill what is filled on first use.
  std::string complaintAboutLeak(std::size_t k, Failing mode) {
    if (!leak()) return "";
    bool goesOn = true;
    std::string complaint = complaintAbout(k, mode, goesOn);
    const std::optional<Leak> left = leak();
    if (complaint.empty() && left) {
      complaint = "leak of " + std::to_string(left->size) + " bytes made at\n" + traceOf(k, mode, left->ordinal);
    }
    return complaint;
  }

  bool isRight(const Run& run) const { return run.end == normal_.end && run.answer == normal_.answer; }

  // How it may end for want of memory.
  std::string complaintAbout(const Run& run) const {
    const bool isAllowed = run.end == Run::End::NoMemory || isDocumented(run.answer);
    if (!isAllowed) return changed("answer", normal_.answer, run.answer);
    return run.count.failed == 0 ? "no memory although nothing failed" : "";
  }

  Leaves leavesAt(Failing mode) const {
    if (rules_.leaves != Leaves::Rest) return rules_.leaves;
    return mode == Failing::One ? Leaves::Nothing : Leaves::Anything;
  }

  std::string complaintAboutRest(void* state, Leaves leaves, const std::string& before,
                                 const std::string& after) const {
    if (leaves == Leaves::Anything) return "";
    if (leaves == Leaves::Nothing && before != after) return changed("before and after", before, after);
    return complaintAboutRepetition(state, leaves == Leaves::PartOrAll && after == normalState_);
  }

  // What failed for want of memory works on the same receiver when there is some again.
  std::string complaintAboutRepetition(void* state, bool isDone) const {
    const Unwatched unwatched;  // so that what the first attempt has left behind stays known
    const Run again = trial_.run(state, 0, Failing::One, 0);
    if (!isDone && !isRight(again)) return changed("repetition", normal_.answer, again.answer);
    const std::string after = trial_.stateText(state);
    return after == normalState_ ? "" : changed("state after repetition", normalState_, after);
  }

  bool isDocumented(const std::string& answer) const {
    return std::any_of(rules_.documented.begin(), rules_.documented.end(),
                       [&](const std::string& each) { return each == answer || each == "*"; });
  }

  static std::string changed(const char* what, const std::string& a, const std::string& b) {
    return std::string(what).append(": <").append(a).append("> <").append(b).append(">");
  }

  std::string traceOf(std::size_t k, Failing mode, std::size_t ordinal) const {
    const auto state = trial_.makeState();
    trial_.run(state.get(), k, mode, ordinal);
    return trace();
  }

  void report(std::size_t k, Failing mode, const std::string& complaint) const {
    ADD_FAILURE() << trial_.name << ", allocation " << k << (mode == Failing::One ? "" : " and all after it")
                  << " failing: " << complaint << "\nThe allocation that fails:\n"
                  << traceOf(k, mode, k);
  }

  const Trial& trial_;
  const AllocationRules& rules_;
  Run normal_{Run::End::Returned, {}, {}};
  std::string normalState_;
  std::size_t points_ = 0;
  bool isWrong_ = false;  // one complaint about an operation is enough
};

}  // namespace

namespace {

// What is made on first use must be made later if there was no memory for it. As that happens once in a process, each
// operation has processes of its own, split off before anything was used.
class FirstUse {
 public:
  FirstUse(const Trial& trial, const AllocationRules& rules) : trial_(trial), rules_(rules) {}

  void operator()() {
    const std::string right = answerOf([this] { return textOf(runAt(0)); });
    const std::string told = answerOf([&] { return complaint(right); });
    EXPECT_EQ(told, "") << trial_.name << ", used for the first time";
  }

 private:
  Run runAt(std::size_t k) {
    const auto state = trial_.makeState();
    return trial_.run(state.get(), k, Failing::One, 0);
  }

  static std::string textOf(const Run& run) {
    const char* const ends[] = {"returned ", "no memory", "raised "};
    return ends[static_cast<std::size_t>(run.end)] + withoutScratchNames(run.answer);
  }

  // Each run has a folder of its own.
  static std::string withoutScratchNames(std::string text) {
    const std::string start = "/zt-test-";
    constexpr std::size_t kRandom = 6;
    for (std::size_t at = 0; (at = text.find(start, at)) != std::string::npos;) {
      at += start.size();
      text.erase(at, kRandom);
    }
    return text;
  }

  std::string complaint(const std::string& right) {
    std::size_t points = 0;
    std::size_t k = 1;
    Run run = runAt(k);
    for (; run.count.failed > 0; ++points) {
      const bool isGood = run.end == Run::End::NoMemory || textOf(run) == right || isDocumented(run.answer);
      if (!isGood) return "allocation " + std::to_string(k) + " failing: <" + right + "> <" + textOf(run) + ">";
      k = following(k, 50);
      run = runAt(k);
    }
    reportPoints("first use", trial_.name, points);
    const std::string last = textOf(runAt(0));
    return last == right ? "" : "with memory again: <" + right + "> <" + last + ">";
  }

  bool isDocumented(const std::string& answer) const {
    return std::any_of(rules_.documented.begin(), rules_.documented.end(),
                       [&](const std::string& each) { return each == answer || each == "*"; });
  }

  // What `tell` answers in a process of its own.
  static std::string answerOf(const std::function<std::string()>& tell) {
    int ends[2];
    if (::pipe(ends) != 0) return "no pipe";
    const pid_t child = ::fork();
    if (child == 0) {
      const std::string text = tell();
      std::_Exit(::write(ends[1], text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0 : 1);
    }
    ::close(ends[1]);
    std::string text;
    std::array<char, 4096> part{};
    for (ssize_t got; (got = ::read(ends[0], part.data(), part.size())) > 0;) {
      text.append(part.data(), static_cast<std::size_t>(got));
    }
    ::close(ends[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    return status == 0 ? text : "the process ends with status " + std::to_string(status);
  }

  const Trial& trial_;
  const AllocationRules& rules_;
};

}  // namespace

Run runCall(const char* name, Call call, const void* operation, void* state, std::size_t first, Failing mode,
            std::size_t traced) {
  Run run;
  try {
    start(name, first, mode, traced);
    call(operation, state, run);
  } catch (const std::bad_alloc&) {
    run = {Run::End::NoMemory, {}, stop()};
  } catch (...) {
    run = {Run::End::Exception, {}, stop()};
    run.answer = exceptionText();
  }
  return run;
}

std::size_t tryAllPoints(const Trial& trial, const AllocationRules& rules) {
  if (std::getenv(kFirstUseVariable) != nullptr) {
    FirstUse(trial, rules)();
    return 0;
  }
  const std::size_t points = Points(trial, rules)();
  reportPoints("failing allocation", trial.name, points);
  return points;
}

}  // namespace ZtFoundation::test::allocations

namespace allocations = ZtFoundation::test::allocations;

namespace {

void* newBlock(std::size_t size, std::size_t alignment, bool mayThrow) {
  if (!allocations::isAllowed()) {
    if (mayThrow) throw std::bad_alloc();
    return nullptr;
  }
  if (size == 0) size = 1;
  void* const block = alignment == 0 ? ZT_BELOW(malloc)(size) : ZT_BELOW(memalign)(alignment, size);
  if (block == nullptr && mayThrow) throw std::bad_alloc();
  return allocations::noted(block, size);
}

void dropBlock(void* block) noexcept {
  allocations::LiveBlocks::instance.remove(block);
  ZT_BELOW(free)(block);
}

// Of `malloc` only the calls from some places are followed.
template <class Make>
void* madeForCaller(const void* caller, std::size_t size, const Make& make) {
  const bool counts = allocations::isWatched() && allocations::countedCode.contains(caller);
  if (counts && !allocations::isAllowed() && !allocations::isForGLib()) {
    errno = ENOMEM;
    return nullptr;
  }
  void* const block = make();
  return counts ? allocations::noted(block, size) : block;
}

}  // namespace

// NOLINTBEGIN(misc-new-delete-overloads)
void* operator new(std::size_t size) { return newBlock(size, 0, true); }
void* operator new[](std::size_t size) { return newBlock(size, 0, true); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return newBlock(size, 0, false); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return newBlock(size, 0, false); }
void* operator new(std::size_t size, std::align_val_t to) { return newBlock(size, static_cast<std::size_t>(to), true); }
void* operator new[](std::size_t size, std::align_val_t to) {
  return newBlock(size, static_cast<std::size_t>(to), true);
}
void* operator new(std::size_t size, std::align_val_t to, const std::nothrow_t&) noexcept {
  return newBlock(size, static_cast<std::size_t>(to), false);
}
void* operator new[](std::size_t size, std::align_val_t to, const std::nothrow_t&) noexcept {
  return newBlock(size, static_cast<std::size_t>(to), false);
}
void operator delete(void* block) noexcept { dropBlock(block); }
void operator delete[](void* block) noexcept { dropBlock(block); }
void operator delete(void* block, std::size_t) noexcept { dropBlock(block); }
void operator delete[](void* block, std::size_t) noexcept { dropBlock(block); }
void operator delete(void* block, std::align_val_t) noexcept { dropBlock(block); }
void operator delete[](void* block, std::align_val_t) noexcept { dropBlock(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { dropBlock(block); }
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept { dropBlock(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { dropBlock(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { dropBlock(block); }
void operator delete(void* block, std::align_val_t, const std::nothrow_t&) noexcept { dropBlock(block); }
void operator delete[](void* block, std::align_val_t, const std::nothrow_t&) noexcept { dropBlock(block); }
// NOLINTEND(misc-new-delete-overloads)

// What others lose when the C library has no memory for them.
extern "C" [[gnu::visibility("default")]] const char*
__lsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier)
  return "leak:libfontconfig\nleak:dl_open_worker\n";
}

// The loader asks for memory before the address sanitizer is ready, so what runs then must not be checked by it.
#define ZT_UNCHECKED __attribute__((no_sanitize("address", "undefined")))

// Shared objects find these only if they are shown.
#pragma GCC visibility push(default)
extern "C" {

ZT_UNCHECKED void* malloc(std::size_t size) {
  if (!allocations::watch.isOn) return ZT_BELOW(malloc)(size);
  return madeForCaller(__builtin_return_address(0), size, [&] { return ZT_BELOW(malloc)(size); });
}
ZT_UNCHECKED void* calloc(std::size_t count, std::size_t size) {
  if (!allocations::watch.isOn) return ZT_BELOW(calloc)(count, size);
  return madeForCaller(__builtin_return_address(0), count * size, [&] { return ZT_BELOW(calloc)(count, size); });
}
ZT_UNCHECKED void* realloc(void* block, std::size_t size) {
  if (!allocations::isPrepared) return ZT_BELOW(realloc)(block, size);
  return madeForCaller(__builtin_return_address(0), size, [&] {
    void* const grown = ZT_BELOW(realloc)(block, size);
    if (grown != nullptr) allocations::LiveBlocks::instance.remove(block);
    return grown;
  });
}
ZT_UNCHECKED void free(void* block) {
  if (!allocations::isPrepared) return ZT_BELOW(free)(block);
  dropBlock(block);
}
}
#pragma GCC visibility pop
