// What volumes are called.

#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

#include <string>

#include "RealVolumes.h"
#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::testing {
namespace {

class VolumeNameTests : public RealVolumes {};

TEST_F(VolumeNameTests, TheLabelIsTheName) {
  for (const std::string type : {"ext4", "xfs", "btrfs"}) {
    const std::string root = mounts_.disk({.type = type, .format = "-L 'Card 1'"});
    if (root.empty()) continue;
    EXPECT_EQ(volumes_.name(root), "Card 1") << type;
    EXPECT_EQ(test::asOrdinaryUser([&] { return volumes_.name(root) == "Card 1" ? 0 : 1; }), 0) << type;
  }
  const std::string plain = mounts_.disk({.type = "ext4", .name = "No Label"});
  SKIP_WITHOUT(plain);
  EXPECT_EQ(volumes_.name(plain), "No Label");
  EXPECT_FALSE(volumes_.name("/").empty());
}

TEST_F(VolumeNameTests, TheStartUpVolumeWithoutALabelHasTheNameOfTheMachine) {
  const std::string root = mounts_.memory("root", "mode=755");
  SKIP_WITHOUT(root);
  EXPECT_EQ(test::inChild([&] {
              const std::string proc = mounts_.folder("root/proc");
              if (::mount("proc", proc.c_str(), "proc", 0, nullptr) != 0 || ::chroot(root.c_str()) != 0) return 1;
              if (::unshare(CLONE_NEWUTS) != 0 || ::sethostname("our-machine", 11) != 0) return 2;
              if (volumes_.name("/") != "our-machine") return 3;
              if (::sethostname("", 0) != 0) return 4;
              return volumes_.name("/") == "/" ? 0 : 5;
            }),
            0);
  ::umount2((root + "/proc").c_str(), MNT_DETACH);
}

TEST_F(VolumeNameTests, LongNamesAreCut) {
  const std::string root = mounts_.isPossible() ? mounts_.memory(std::string(255, 'x')) : std::string();
  SKIP_WITHOUT(root);
  EXPECT_EQ(volumes_.name(root), std::string(255, 'x'));
}

}  // namespace
}  // namespace ZtFoundation::testing
