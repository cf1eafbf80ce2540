// What volumes are called.

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <utility>

#include "RealVolumes.h"
#include "StandInTable.h"
#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
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

TEST_F(VolumeNameTests, WithoutDescriptorsALabelIsNotTakenForNone) {
  const std::string root = mounts_.disk({.type = "ext4", .format = "-L 'Card 1'"});
  SKIP_WITHOUT(root);
  const FSVolumeRefNum number = volumes_.at(root);
  EXPECT_EQ(test::inChild([&] {
              HFSUniStr255 name;
              const rlimit none{0, 0};
              ::setrlimit(RLIMIT_NOFILE, &none);
              const OSErr error = volumes_->FSGetVolumeInfo(number, 0, nullptr, 0, nullptr, &name, nullptr);
              return error == tmfoErr ? 0 : 1;
            }),
            0);
}

TEST_F(VolumeNameTests, TheSystemListsDevicesByLabel) {
  StandInTable table;
  const auto makeNode = [&](const char* name, mode_t type, unsigned number) {
    return ::mknod((table.folder() / name).c_str(), type | 0600, makedev(8, number));
  };
  if (makeNode("disk", S_IFBLK, 17) != 0) GTEST_SKIP() << "no right to make a device";
  ASSERT_EQ(makeNode("other-disk", S_IFBLK, 18), 0);
  ASSERT_EQ(makeNode("no-disk", S_IFCHR, 17), 0);
  const std::string labels = table.folder() / "labels";
  std::filesystem::create_directory(labels);
  const auto link = [&](const std::string& name, const char* node) {
    std::filesystem::create_symlink(table.folder() / node, labels + "/" + name);
  };
  link("other", "other-disk");
  link("wrong", "no-disk");
  link("gone", "missing");
  table.set({{}, {.device = "8:17", .point = "/none/Place"}});
  EXPECT_EQ(table->name("/none/Place"), "Place");
  const std::pair<std::string, std::string> names[] = {{"Card", "Card"},           {"Card\\x201", "Card 1"},
                                                       {"a\\x2fb\\x2Fc", "a/b/c"}, {"\\xe3\\x81\\x82", "\xE3\x81\x82"},
                                                       {"\xC3\xA9", "\xC3\xA9"},   {"x\\x4", "x\\x4"},
                                                       {"\\y41", "\\y41"},         {".Card", ".Card"}};
  for (const auto& [name, label] : names) {
    link(name, "disk");
    EXPECT_EQ(table->name("/none/Place"), label);
    std::filesystem::remove(labels + "/" + name);
  }
  link("Card", "disk");
  table.set({{}, {.device = "8:17", .point = "/none/Place", .type = "fuseblk"}});
  EXPECT_EQ(table->name("/none/Place"), "Card") << "a program serves it, but it is on the disk";
  std::filesystem::remove(labels + "/Card");
  link(".#Card0123456789abcdef", "disk");
  EXPECT_EQ(table->name("/none/Place"), "Place") << "a link that is being made";
}

TEST_F(VolumeNameTests, WhoMayReadTheDeviceFindsTheLabelThere) {
  const std::string disk = mounts_.disk({.type = "ext4", .format = "-L 'Card 1'"});
  SKIP_WITHOUT(disk);
  struct stat status;
  ASSERT_EQ(::stat(disk.c_str(), &status), 0);
  const std::string device = "/dev/loop" + std::to_string(minor(status.st_dev));
  StandInTable table;
  table.set({{},
             {.point = "/none/A", .source = device},
             {.point = "/none/B", .source = "/dev/null"},
             {.point = "/none/C", .source = mounts_.store() + "/ext4.image"}});
  EXPECT_EQ(table->name("/none/A"), "Card 1");
  EXPECT_EQ(table->name("/none/B"), "B");
  EXPECT_EQ(table->name("/none/C"), "C") << "no device";
}

TEST_F(VolumeNameTests, WhatMayWaitForAServerIsNotAsked) {
  const std::string disk = mounts_.disk({.type = "ext4", .name = "place", .format = "-L 'Card 1'"});
  SKIP_WITHOUT(disk);
  StandInTable table;
  table.set({{}, {.point = disk}});
  EXPECT_EQ(table->name(disk), "Card 1");
  table.set({{}, {.point = disk, .type = "nfs"}});
  EXPECT_EQ(table->name(disk), "place");
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
}  // namespace ZtFoundation::test
