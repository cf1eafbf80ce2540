#include "platform/linux/process/OpenCode.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <new>

#include "platform/linux/process/ModuleLoader.h"
#include "platform/services/Unicode.h"
#include "support/Sanitizers.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

constexpr char kModule[] = "libZtFoundationUnicode.so";

void limitMemory(rlim_t bytes) {
  rlimit limit{};
  ::getrlimit(RLIMIT_AS, &limit);
  limit.rlim_cur = bytes;
  ::setrlimit(RLIMIT_AS, &limit);
}

rlim_t memoryInUse() {
  rlim_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  return pages * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE));
}

// In a new process: other tests of this program may have opened the module.
TEST(OpenCodeDeathTest, WhatHasNoMemoryNowIsOpenedLater) {
  if (kIsSanitized) GTEST_SKIP() << "this build needs more address space than the test leaves";
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto work = [] {
    limitMemory(memoryInUse() + (rlim_t{1} << 20));
    EXPECT_THROW(moduleFunction(kModule, kUnicodeModuleEntry), std::bad_alloc);
    limitMemory(RLIM_INFINITY);
    EXPECT_NE(moduleFunction(kModule, kUnicodeModuleEntry).address, nullptr);
    limitMemory(memoryInUse() + (rlim_t{1} << 20));
    EXPECT_NE(moduleFunction(kModule, kUnicodeModuleEntry).address, nullptr) << "there is no need for more";
    limitMemory(RLIM_INFINITY);
    return testing::Test::HasFailure() ? 1 : 0;
  };
  EXPECT_EXIT(std::exit(work()), testing::ExitedWithCode(0), "");
}

TEST(OpenCode, WhatIsNoCodeIsNotOpened) {
  const ScratchFolder folder;
  writeFile(folder / "text", "no code");
  EXPECT_EQ(detail::openCode((folder / "text").c_str()).handle, nullptr);
  EXPECT_EQ(detail::openCode((folder / "missing").c_str()).handle, nullptr);
  EXPECT_FALSE(detail::openCode((folder / "missing").c_str()).hasThrown);
}

TEST(OpenCode, AFailureKeepsNoMemory) {
  const rlim_t before = memoryInUse();
  for (int i = 0; i < 3; ++i) EXPECT_EQ(detail::openCode("/missing").handle, nullptr);
  EXPECT_LT(memoryInUse(), before + (rlim_t{64} << 20));
}

TEST(OpenCode, NoPathIsTheProgram) { EXPECT_NE(detail::openCode(nullptr).handle, nullptr); }

}  // namespace
}  // namespace ZtFoundation::test
