#include "platform/services/BundleCode.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

namespace ZtFoundation::test {
namespace {

const int ownData = 1;

BundleCode& code() { return service<BundleCode>(); }

TEST(BundleCode, TheProgramIsTheModuleOfThisCode) {
  ASSERT_NE(code().program(), nullptr);
  EXPECT_EQ(code().moduleAt(&ownData), code().program());
  EXPECT_EQ(code().fileOf(code().program()), std::filesystem::read_symlink("/proc/self/exe"));
}

TEST(BundleCode, LibrariesAreModulesOfTheirOwn) {
  const CodeModule library = code().moduleAt(::dlsym(RTLD_DEFAULT, "gnu_get_libc_version"));
  ASSERT_NE(library, nullptr);
  EXPECT_NE(library, code().program());
  const std::filesystem::path file = code().fileOf(library);
  EXPECT_TRUE(file.is_absolute());
  EXPECT_EQ(file, std::filesystem::canonical(file));
}

TEST(BundleCode, OtherMemoryBelongsToNoModule) {
  const auto heap = std::make_unique<int>();
  const int stack = 0;
  EXPECT_EQ(code().moduleAt(heap.get()), nullptr);
  EXPECT_EQ(code().moduleAt(&stack), nullptr);
  EXPECT_EQ(code().moduleAt(nullptr), nullptr);
  EXPECT_EQ(code().fileOf(nullptr), "");
}

TEST(BundleCode, WhatIsNoSharedObjectIsNotLoaded) {
  for (const char* path : {"", "/missing", "/tmp", "/dev/null", "/etc/passwd"})
    EXPECT_EQ(code().load(path), nullptr) << path;
}

}  // namespace
}  // namespace ZtFoundation::test
