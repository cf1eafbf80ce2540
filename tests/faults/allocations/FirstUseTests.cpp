// The same operations in processes that have not used the library yet: what is made on first use must be made later
// where there was no memory.
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include <support/FailingAllocations.h>
#include <support/Sanitizers.h>

namespace ZtFoundation::test {
namespace {

TEST(FirstUse, IsMadeUpForAfterAFailure) {
  if (kIsSanitized) GTEST_SKIP() << "Sanitized processes are too large to be split more than a thousand times.";
  const std::string command = std::string(allocations::kFirstUseVariable) +
                              "=1 exec /proc/$PPID/exe --gtest_filter='AllocationFailure*' --gtest_brief=1 2>&1";
  std::FILE* const output = ::popen(command.c_str(), "r");
  ASSERT_NE(output, nullptr);
  std::string text;
  for (int c; (c = std::fgetc(output)) != EOF;) text.push_back(static_cast<char>(c));
  EXPECT_EQ(::pclose(output), 0) << text;
}

}  // namespace
}  // namespace ZtFoundation::test
