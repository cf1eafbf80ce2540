#include "platform/linux/process/ModuleLoader.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <functional>

#include "platform/services/Unicode.h"
#include "support/ChildProcess.h"
#include "support/OwnPath.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

constexpr char kModule[] = "libZtFoundationUnicode.so";

TEST(ModuleLoader, FindsModulesBesideTheLibrary) {
  EXPECT_NE(moduleFunction(kModule, kUnicodeModuleEntry).address, nullptr);
}

// The loader knows a program by what it was called, which here lies elsewhere or nowhere.
TEST(ModuleLoader, WhereTheLibraryLiesDoesNotDependOnThePresentFolder) {
  if (!knowsItsOwnPath()) GTEST_SKIP() << kNoOwnPath;
  const ScratchFolder folder;
  std::filesystem::create_directory(folder / "lib");
  writeFile(folder / (std::string("lib/") + kModule), "no code");
  for (const char* const calledAs : {"lib/program", "program"}) {
    const pid_t child = startChild([&] {
      if (::chdir(folder.path().c_str()) != 0) return 77;
      ::execl("/proc/self/exe", calledAs, "--gtest_filter=ModuleLoader.FindsModulesBesideTheLibrary",
              "--gtest_output=", nullptr);
      return 78;
    });
    EXPECT_EQ(waitForChild(child), 0) << calledAs;
  }
}

TEST(ModuleLoader, ModulesThatAreMissingHaveNoFunctions) {
  const ModuleFunction ofMissing = moduleFunction("libZtMissing.so", "malloc");
  EXPECT_EQ(ofMissing.address, nullptr);
  EXPECT_FALSE(ofMissing.mayComeLater);
  const ModuleFunction missing = moduleFunction(kModule, "missing");
  EXPECT_EQ(missing.address, nullptr);
  EXPECT_FALSE(missing.mayComeLater);
}

// The module has "malloc" through the libraries that it needs, in their version.
TEST(ModuleLoader, FunctionsOfAnotherVersionAreMissing) {
  EXPECT_EQ(moduleFunction(kModule, "malloc").address, nullptr);
}

void limitDescriptors(rlim_t count) {
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = count;
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

void withoutDescriptors(const std::function<void()>& work) {
  rlimit before{};
  ::getrlimit(RLIMIT_NOFILE, &before);
  limitDescriptors(0);
  work();
  limitDescriptors(before.rlim_cur);
}

bool isFolded() { return Unicode::production().lowercase(U'\u00C4') == U'\u00E4'; }

// In a new process: other tests of this program may have opened the module.
TEST(ModuleLoaderDeathTest, WhatHasNoDescriptorNowIsOpenedLater) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto work = [] {
    withoutDescriptors([] {
      EXPECT_FALSE(isFolded());
      EXPECT_TRUE(moduleFunction(kModule, kUnicodeModuleEntry).mayComeLater);
    });
    EXPECT_TRUE(isFolded());
    return testing::Test::HasFailure() ? 1 : 0;
  };
  EXPECT_EXIT(std::exit(work()), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace ZtFoundation::test
