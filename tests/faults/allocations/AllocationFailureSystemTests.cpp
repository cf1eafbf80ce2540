// Questions about the system with each of their allocations failing.
#include <gtest/gtest.h>

#include <ZtFoundation/System.h>

#include <support/FailingAllocations.h>
#include <support/FileTree.h>
#include <support/QuietStandardError.h>

namespace ZtFoundation::test {
namespace {

struct Descriptors {
  std::string describe() const { return std::to_string(openDescriptors()); }
};

TEST(AllocationFailureSystem, Questions) {
  const QuietStandardError quiet;
  const EachOf<Descriptors> each;
  // Callers in C cannot catch anything: 0 is the answer that cannot be had.
  each("ZtGestaltOSVersion", [](Descriptors&) { return ZtGestaltOSVersion(); }, {.documented = {"0"}});
  each("ZtGestaltPhysicalRAMSize", [](Descriptors&) { return ZtGestaltPhysicalRAMSize(); }, {.documented = {"0"}});
  each("ZtGestaltPhysicalRAMSizeInMegabytes", [](Descriptors&) { return ZtGestaltPhysicalRAMSizeInMegabytes(); },
       {.documented = {"0"}});
}

}  // namespace
}  // namespace ZtFoundation::test
