// The harness itself: what it must notice, and what it must let pass.
#include <support/FailingAllocations.h>
#include <support/ScopedEnvironment.h>

#include <dlfcn.h>

#include <array>
#include <cstdlib>
#include <memory>
#include <new>

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Exception.h>

namespace ZtFoundation::test {
namespace {

struct Nothing {};

struct Text {
  std::string text = "before";
  std::string describe() const { return text; }
};

const char kLong[] = "a text that no string holds inside itself";

TEST(FailingAllocations, EachAllocationFailsOnceAndThenWithAllAfterIt) {
  const auto makeThree = [](Nothing&) {
    const std::string a(kLong);
    const std::string b(kLong);
    const auto c = std::make_unique<int>(3);
    return *c;
  };
  EXPECT_EQ(forEachFailingAllocation<Nothing>("three", makeThree), 6U);
}

TEST(FailingAllocations, OnlyForTheTableEachOfManyFails) {
  const auto makeMany = [](Nothing&) {
    for (int i = 0; i < 1000; ++i) std::string(kLong).size();
  };
  ScopedEnvironment environment;
  environment.set("ZT_FAULTS_REPORT", std::nullopt);
  const std::size_t some = forEachFailingAllocation<Nothing>("many", makeMany, {.dense = 100});
  EXPECT_TRUE(some > 200 && some < 400) << some;
  environment.set("ZT_FAULTS_REPORT", "/dev/null");
  EXPECT_EQ(forEachFailingAllocation<Nothing>("many", makeMany, {.dense = 100}), 2000U);
}

TEST(FailingAllocations, TheLibraryAsksHere) {
  EXPECT_GT(forEachFailingAllocation<Nothing>("a string", [](Nothing&) { return Ref<NSString>(kLong); }), 0U);
  const auto grow = [](Nothing&) { NSMutableData::dataWithLength(100)->setLength(1000); };
  EXPECT_GT(forEachFailingAllocation<Nothing>("malloc", grow), 2U) << "realloc does not count";
}

struct Maker {
  const char* library;
  const char* make;
  const char* release;
};

class FailingAllocationsElsewhere : public testing::TestWithParam<Maker> {};

TEST_P(FailingAllocationsElsewhere, TheLibrariesBelowAskHere) {
  void* const library = ::dlopen(GetParam().library, RTLD_NOW);
  ASSERT_NE(library, nullptr) << ::dlerror();
  auto* const make = reinterpret_cast<void* (*)()>(::dlsym(library, GetParam().make));
  auto* const release = reinterpret_cast<void (*)(void*)>(::dlsym(library, GetParam().release));
  const auto tryToMake = [&](Nothing&) {
    void* const made = make();
    release(made);
    return made != nullptr;
  };
  EXPECT_EQ(forEachFailingAllocation<Nothing>(GetParam().make, tryToMake, {.documented = {"0"}}), 2U);
  ::dlclose(library);
}

INSTANTIATE_TEST_SUITE_P(OfMounts, FailingAllocationsElsewhere,
                         testing::Values(Maker{"libmount.so.1", "mnt_new_fs", "mnt_unref_fs"},
                                         Maker{"libblkid.so.1", "blkid_new_probe", "blkid_free_probe"}));

TEST(FailingAllocations, WhatCannotFailHasNoPoints) {
  EXPECT_EQ(forEachFailingAllocation<Nothing>("nothing", [](Nothing&) { return 1; }), 0U);
}

TEST(FailingAllocations, AllFormsCount) {
  const auto all = [](Nothing&) {
    struct alignas(64) Wide {
      char bytes[64];
    };
    delete new int;
    delete[] new int[2];
    delete new Wide;
    delete[] new Wide[2];
  };
  EXPECT_EQ(forEachFailingAllocation<Nothing>("throwing", all), 8U);
  const auto silent = [](Nothing&) {
    struct alignas(64) Wide {
      char bytes[64];
    };
    delete new (std::nothrow) int;
    delete[] new (std::nothrow) int[2];
    delete new (std::nothrow) Wide;
    delete[] new (std::nothrow) Wide[2];
    std::free(std::malloc(1));
    std::free(std::calloc(1, 1));
    std::free(std::realloc(nullptr, 1));
  };
  EXPECT_EQ(forEachFailingAllocation<Nothing>("silent", silent), 14U);
}

TEST(FailingAllocations, WhatATestDoesMeanwhileIsLeftOut) {
  const auto aside = [](Nothing&) {
    const allocations::Unwatched unwatched;
    return std::string(kLong);
  };
  EXPECT_EQ(forEachFailingAllocation<Nothing>("aside", aside), 0U);
}

// Loses a block where it gets no memory for a text. What is lost stays known here, so that only the harness sees a
// leak.
void loseABlock() {
  static std::array<std::unique_ptr<int>, 100> lost;
  static std::size_t count = 0;
  auto block = std::make_unique<int>(1);
  try {
    std::string(kLong).size();
  } catch (const std::bad_alloc&) {
    lost.at(count++ % lost.size()) = std::move(block);
    throw;
  }
}

TEST(FailingAllocations, ALeakIsToldOnceWithItsPlace) {
  const auto leak = [](Nothing&) { loseABlock(); };
  EXPECT_NONFATAL_FAILURE(forEachFailingAllocation<Nothing>("leak", leak, {.leaves = Leaves::Part}), "leak of 4 bytes");
}

TEST(FailingAllocations, ALeakIsToldAlsoWhereTheRepetitionSucceeds) {
  const auto leak = [](Text&) { loseABlock(); };
  EXPECT_NONFATAL_FAILURE(forEachFailingAllocation<Text>("leak", leak), "leak of 4 bytes");
}

TEST(FailingAllocations, AChangedReceiverIsTold) {
  const auto change = [](Text& t) {
    t.text.append("!");
    std::string(kLong).size();
  };
  EXPECT_NONFATAL_FAILURE(forEachFailingAllocation<Text>("change", change), "<before> <before!>");
}

// The first half in any case, then both.
void appendTwice(Text& t) {
  if (t.text == "before") t.text.append("!");
  std::string(kLong).size();
  t.text.append("!");
}

TEST(FailingAllocations, WhatIsDoneMayStayWhereTheSameCallGoesOn) {
  const auto append = [](Text& t) { appendTwice(t); };
  EXPECT_EQ(forEachFailingAllocation<Text>("append", append, {.leaves = Leaves::Part}), 2U);
  const auto appendOnce = [](Text& t) {
    if (t.text != "before") return false;
    appendTwice(t);
    return true;
  };
  EXPECT_NONFATAL_FAILURE(forEachFailingAllocation<Text>("append", appendOnce, {.leaves = Leaves::Part}),
                          "repetition: <1> <0>");
  EXPECT_NONFATAL_FAILURE(forEachFailingAllocation<Text>("append", appendOnce, {.leaves = Leaves::PartOrAll}),
                          "repetition: <1> <0>");
  EXPECT_EQ(forEachFailingAllocation<Text>("append", appendOnce, {.leaves = Leaves::Anything}), 2U);
}

TEST(FailingAllocations, WhatIsDoneTwiceIsTold) {
  const auto change = [](Text& t) {
    t.text.append("!");
    std::string(kLong).size();
  };
  EXPECT_NONFATAL_FAILURE(forEachFailingAllocation<Text>("change", change, {.leaves = Leaves::Part}),
                          "state after repetition: <before!> <before!!>");
}

TEST(FailingAllocations, WhereAllIsDoneTheSameCallMayAnswerOtherwise) {
  const auto changeOnce = [](Text& t) {
    if (t.text != "before") return false;
    t.text.append("!");
    std::string(kLong).size();
    return true;
  };
  EXPECT_EQ(forEachFailingAllocation<Text>("change", changeOnce, {.leaves = Leaves::PartOrAll}), 2U);
  EXPECT_NONFATAL_FAILURE(forEachFailingAllocation<Text>("change", changeOnce, {.leaves = Leaves::Part}),
                          "repetition: <1> <0>");
}

TEST(FailingAllocations, ARestMayStayOnlyWhereThereIsNoMemoryToTakeItBack) {
  const auto change = [](Text& t) {
    t.text.append("!");
    try {
      std::string(kLong).size();
    } catch (const std::bad_alloc&) {
      std::string(kLong).size();
      t.text.pop_back();
      throw;
    }
  };
  EXPECT_EQ(forEachFailingAllocation<Text>("change", change, {.leaves = Leaves::Rest}), 2U);
  EXPECT_NONFATAL_FAILURE(forEachFailingAllocation<Text>("change", change), "and all after it failing: before and");
  const auto leave = [](Text& t) {
    t.text.append("!");
    std::string(kLong).size();
  };
  EXPECT_NONFATAL_FAILURE(forEachFailingAllocation<Text>("leave", leave, {.leaves = Leaves::Rest}),
                          "allocation 1 failing: before and after: <before> <before!>");
}

TEST(FailingAllocations, ADocumentedAnswerLeavesTheReceiverAndIsGoneWithMemory) {
  const AllocationRules mayBeTwo{.documented = {"2"}};
  const auto change = [](Text& t) {
    t.text.append("!");
    return std::unique_ptr<int>(new (std::nothrow) int(1)) ? 1 : 2;
  };
  EXPECT_NONFATAL_FAILURE(forEachFailingAllocation<Text>("change", change, mayBeTwo), "<before> <before!>");
  struct Spoilt {
    bool isSpoilt = false;
  };
  const auto spoil = [](Spoilt& s) {
    s.isSpoilt = s.isSpoilt || std::unique_ptr<int>(new (std::nothrow) int(1)) == nullptr;
    return s.isSpoilt ? 2 : 1;
  };
  EXPECT_NONFATAL_FAILURE(forEachFailingAllocation<Spoilt>("spoil", spoil, mayBeTwo), "repetition: <1> <2>");
  int count = 0;
  const auto anyway = [&count](Nothing&) { return ++count > 2 ? 2 : 1; };
  EXPECT_NONFATAL_FAILURE(forEachFailingAllocation<Nothing>("anyway", anyway, mayBeTwo), "although nothing failed");
}

TEST(FailingAllocations, AWrongAnswerIsTold) {
  const auto guess = [](Nothing&) {
    const std::unique_ptr<int> got(new (std::nothrow) int(1));
    return got ? 1 : 2;
  };
  EXPECT_NONFATAL_FAILURE(forEachFailingAllocation<Nothing>("guess", guess), "<1> <2>");
  EXPECT_EQ(forEachFailingAllocation<Nothing>("guess", guess, {.documented = {"2"}}), 2U);
}

TEST(FailingAllocations, AnExceptionOfAnotherKindIsTold) {
  const auto complain = [](Nothing&) {
    const std::unique_ptr<int> got(new (std::nothrow) int(1));
    if (!got) detail::raiseRange("none");
  };
  EXPECT_NONFATAL_FAILURE(forEachFailingAllocation<Nothing>("complain", complain), "NSRangeException: none");
}

TEST(FailingAllocations, AnExceptionOfTheOperationIsWanted) {
  const auto refuse = [](Nothing&) { detail::raiseRange("because"); };
  EXPECT_GT(forEachFailingAllocation<Nothing>("refuse", refuse, {.throwsAnyway = true}), 0U);
  const auto allow = [](Nothing&) {};
  EXPECT_NONFATAL_FAILURE(forEachFailingAllocation<Nothing>("allow", allow, {.throwsAnyway = true}), "enough memory");
}

TEST(FailingAllocations, AFailureThatIsRememberedIsTold) {
  ScopedEnvironment environment;
  environment.set(allocations::kFirstUseVariable, "1");
  const auto remember = [](Nothing&) {
    static const bool got = std::unique_ptr<int>(new (std::nothrow) int(1)) != nullptr;
    return got;
  };
  EXPECT_NONFATAL_FAILURE(forEachFailingAllocation<Nothing>("remember", remember), "<returned 1> <returned 0>");
  EXPECT_NONFATAL_FAILURE(forEachFailingAllocation<Nothing>("remember", remember, {.documented = {"0"}}),
                          "with memory again");
  const auto repeat = [](Nothing&) {
    static const std::unique_ptr<int> made(new int(1));
    return *made;
  };
  forEachFailingAllocation<Nothing>("repeat", repeat);
}

TEST(FailingAllocations, AFailureThatIsRememberedIsToldHoweverLateItComes) {
  ScopedEnvironment environment;
  environment.set(allocations::kFirstUseVariable, "1");
  environment.set("ZT_FAULTS_REPORT", "/dev/null");
  const auto rememberLate = [](Nothing&) {
    for (int i = 0; i < 1000; ++i) std::string(kLong).size();
    static const bool got = std::unique_ptr<int>(new (std::nothrow) int(1)) != nullptr;
    return got;
  };
  EXPECT_NONFATAL_FAILURE(forEachFailingAllocation<Nothing>("late", rememberLate), "<returned 1> <returned 0>");
}

TEST(FailingAllocations, AProcessThatEndsIsTold) {
  ScopedEnvironment environment;
  environment.set(allocations::kFirstUseVariable, "1");
  const auto end = [](Nothing&) noexcept { return std::string(kLong).size(); };
  EXPECT_NONFATAL_FAILURE(forEachFailingAllocation<Nothing>("end", end), "the process ends with status");
}

}  // namespace
}  // namespace ZtFoundation::test
