// What the machine tells about itself.

#include "platform/services/Gestalt.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <unistd.h>

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

TEST(GestaltTests, TheVersionMayStandWithTheSystemsOwnFiles) {
  if (!test::mayChangeRoot()) GTEST_SKIP() << "this process may not change its root";
  const test::ScratchFolder root;
  std::filesystem::create_directories(root / "usr/lib");
  test::writeFile(root / "usr/lib/os-release", "VERSION_ID=7.8");
  EXPECT_EQ(test::inChild([&] {
              std::int32_t version = 0;
              return ::chroot(root.path().c_str()) == 0 &&
                             Gestalt::production().ask(gestaltSystemVersion, version) == 0 && version == 0x780
                         ? 0
                         : 1;
            }),
            0);
}

TEST(GestaltTests, MegabytesAreOf1048576Bytes) {
  struct sysinfo machine;
  ASSERT_EQ(::sysinfo(&machine), 0);
  std::int32_t megabytes = 0;
  EXPECT_EQ(Gestalt::production().ask(gestaltPhysicalRAMSizeInMegabytes, megabytes), 0);
  EXPECT_EQ(static_cast<std::uint64_t>(megabytes), std::uint64_t{machine.totalram} * machine.mem_unit >> 20);
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
