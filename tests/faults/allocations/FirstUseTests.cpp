// The same operations in processes that have not used the library yet: what is made on first use must be made later
// where there was no memory.
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include <ZtFoundation/platform/Number.h>

#include <support/FailingAllocations.h>
#include <support/Sanitizers.h>

namespace ZtFoundation::test {
namespace {

struct Outcome {
  int status;
  std::string output;
};

// This program once more, begun with `assignments` in its environment.
Outcome anotherProcess(const std::string& assignments, const std::string& options) {
  std::string command = assignments;
  command.append(" exec /proc/$PPID/exe --gtest_brief=1 ").append(options).append(" 2>&1");
  std::FILE* const child = ::popen(command.c_str(), "r");
  if (child == nullptr) return {-1, "no process"};
  std::string output;
  for (int c; (c = std::fgetc(child)) != EOF;) output.push_back(static_cast<char>(c));
  return {::pclose(child), output};
}

TEST(FirstUse, IsMadeUpForAfterAFailure) {
  if (kIsSanitized) GTEST_SKIP() << "Sanitized processes are too large to be split more than a thousand times.";
  const Outcome outcome =
      anotherProcess(std::string(allocations::kFirstUseVariable) + "=1", "--gtest_filter='AllocationFailure*'");
  EXPECT_EQ(outcome.status, 0) << outcome.output;
}

TEST(FirstUse, DISABLED_OfABooleanMakesOneNumber) {
  allocations::start("the first boolean", 0, Failing::One);
  const bool isBoolean = NSNumber::numberWithBool(true)->isBoolean();
  EXPECT_EQ(allocations::stop().asked, 1U);
  EXPECT_TRUE(isBoolean);
}

// A second one that failed would leave the first without an owner.
TEST(FirstUse, OfABooleanMakesOneNumber) {
  const Outcome outcome =
      anotherProcess("", "--gtest_also_run_disabled_tests --gtest_filter=FirstUse.DISABLED_OfABooleanMakesOneNumber");
  EXPECT_EQ(outcome.status, 0) << outcome.output;
}

}  // namespace
}  // namespace ZtFoundation::test
