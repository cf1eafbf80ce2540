#include "platform/linux/process/OpenCode.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <fstream>
#include <new>

#include "platform/linux/process/ModuleLoader.h"
#include "platform/services/Unicode.h"
#include "support/ChildProcess.h"
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

TEST(OpenCode, WhatHasNoMemoryNowIsOpenedLater) {
  if (kIsSanitized) GTEST_SKIP() << "this build needs more address space than the test leaves";
  const auto work = [] {
    limitMemory(memoryInUse() + (rlim_t{1} << 20));
    EXPECT_THROW(moduleFunction(kModule, kUnicodeModuleEntry), std::bad_alloc);
    limitMemory(RLIM_INFINITY);
    EXPECT_NE(moduleFunction(kModule, kUnicodeModuleEntry), nullptr);
    return testing::Test::HasFailure();
  };
  EXPECT_EQ(inChild(work), 0);
}

TEST(OpenCode, WhatIsNoCodeIsNotOpened) {
  const ScratchFolder folder;
  writeFile(folder / "text", "no code");
  EXPECT_EQ(detail::openCode((folder / "text").c_str()).handle, nullptr);
  EXPECT_EQ(detail::openCode((folder / "missing").c_str()).handle, nullptr);
  EXPECT_FALSE(detail::openCode((folder / "missing").c_str()).hasThrown);
}

TEST(OpenCode, NoPathIsTheProgram) { EXPECT_NE(detail::openCode(nullptr).handle, nullptr); }

}  // namespace
}  // namespace ZtFoundation::test
