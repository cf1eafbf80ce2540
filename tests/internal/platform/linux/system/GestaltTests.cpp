// What the machine tells about itself.

#include "platform/services/Gestalt.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/utsname.h>

#include <filesystem>
#include <optional>
#include <string>
#include <utility>

#include "platform/linux/system/SystemVersion.h"
#include "support/ChildProcess.h"
#include "support/PrivateMounts.h"
#include "support/Sanitizers.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation {
namespace {

TEST(GestaltTests, TheVersionIsThatOfTheDistributionElseOfTheKernel) {
  if (!std::filesystem::exists("/etc/os-release")) GTEST_SKIP() << "the distribution tells nothing";
  test::PrivateMounts mounts;
  if (!mounts.isPossible()) GTEST_SKIP() << mounts.whyNot();
  utsname kernel;
  ASSERT_EQ(::uname(&kernel), 0);
  const std::optional<std::int32_t> kernelVersion = packedVersion(kernel.release);
  ASSERT_TRUE(kernelVersion);
  const std::string file = mounts.store() + "/os-release";
  test::writeFile(file, "");
  mounts.bind(file, "/etc/os-release");
  const std::pair<std::string, std::int32_t> cases[] = {
      {"ID=a\nVERSION_ID=\"23.4.5\"\n", 0x2345}, {"VERSION_ID=rolling\n", *kernelVersion}, {"", *kernelVersion}};
  for (const auto& [text, expected] : cases) {
    test::writeFile(file, text);
    std::int32_t version = 0;
    EXPECT_EQ(Gestalt::production().ask(gestaltSystemVersion, version), 0);
    EXPECT_EQ(version, expected) << text;
  }
}

TEST(GestaltTests, AVersionThatCannotBeReadNowIsNotThatOfTheKernel) {
  if (test::kIsSanitized) GTEST_SKIP() << "the checks of the sanitizer need descriptors of their own";
  if (!std::filesystem::exists("/etc/os-release")) GTEST_SKIP() << "the distribution tells nothing";
  EXPECT_EQ(test::inChild([] {
              const rlimit none{};
              ::setrlimit(RLIMIT_NOFILE, &none);
              std::int32_t version = 7;
              const bool fails = Gestalt::production().ask(gestaltSystemVersion, version) == gestaltUnknownErr;
              return fails && version == 7 ? 0 : 1;
            }),
            0);
}

}  // namespace
}  // namespace ZtFoundation
