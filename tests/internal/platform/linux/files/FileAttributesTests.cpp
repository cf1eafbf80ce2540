#include "platform/linux/files/FileAttributes.h"

#include <gtest/gtest.h>
#include <linux/magic.h>

#include "support/AccessList.h"

namespace ZtFoundation::test {
namespace {

using detail::Kept;
using detail::permissionsOfCopy;
using enum AccessEntry::Who;

mode_t permissionsOf(mode_t mode, const Kept& kept, const std::optional<std::string>& list = std::nullopt) {
  struct stat status {};
  status.st_mode = S_IFREG | mode;
  return permissionsOfCopy(status, kept, list);
}

TEST(FileAttributesTests, NobodyIsGivenTheRightsOfAnotherOwnerOrGroup) {
  const struct {
    mode_t mode;
    bool owner;
    bool group;
    mode_t expected;
  } cases[] = {{06774, true, true, 06774},  {06774, false, true, 02774}, {06774, false, false, 0744},
               {0640, true, false, 0600},   {0604, true, false, 0600},   {0707, true, false, 0700},
               {0664, true, false, 0644},   {0646, true, false, 0644},   {01653, false, false, 01611},
               {04755, false, false, 0755}, {02755, true, false, 0755}};
  for (const auto& [mode, owner, group, expected] : cases) {
    EXPECT_EQ(permissionsOf(mode, {.owner = owner, .group = group}), expected) << std::oct << mode << owner << group;
  }
}

TEST(FileAttributesTests, WhatFileSystemsKeepOfPermissions) {
  for (const long none : {MSDOS_SUPER_MAGIC, EXFAT_SUPER_MAGIC}) EXPECT_EQ(detail::permissionsKeptBy(none), 0U);
  EXPECT_EQ(detail::permissionsKeptBy(FUSE_SUPER_MAGIC), 0777U);
  for (const long all : {EXT4_SUPER_MAGIC, TMPFS_MAGIC}) EXPECT_EQ(detail::permissionsKeptBy(all), 07777U);
}

TEST(FileAttributesTests, NobodyGainsARightWithoutTheAccessList) {
  const struct {
    mode_t mode;
    std::string list;
    mode_t expected;
  } cases[] = {
      // The mask is no right of the group.
      {0664, accessList({{Owner, 6}, {User, 6, 1234}, {Group, 4}, {Mask, 6}, {Others, 4}}), 0644},
      {0664, accessList({{Owner, 6}, {User, 6, 1234}, {Group, 0}, {Mask, 6}, {Others, 4}}), 0604},
      {0646, accessList({{Owner, 6}, {Group, 6}, {NamedGroup, 6, 1234}, {Mask, 4}, {Others, 6}}), 0644},
      // Who had less than the group or others is one of them now.
      {0664, accessList({{Owner, 6}, {User, 0, 1234}, {Group, 6}, {Mask, 6}, {Others, 4}}), 0600},
      {0677, accessList({{Owner, 6}, {Group, 7}, {NamedGroup, 5, 1234}, {Mask, 7}, {Others, 7}}), 0655},
      {0617, accessList({{Owner, 6}, {User, 7, 1234}, {Group, 7}, {Mask, 1}, {Others, 7}}), 0611},
      {0664, accessList({{Owner, 6}, {User, 6, 1}, {User, 4, 2}, {User, 6, 3}, {Group, 6}, {Mask, 6}, {Others, 6}}),
       0644},
      // Nothing but what the permissions say.
      {0654, accessList({{Owner, 6}, {Group, 5}, {Others, 4}}), 0654},
      // A group that is not in the list has nothing by it.
      {0664, accessList({}), 0604},
      {0604, accessList({}), 0604},
      {0664, accessList({{Owner, 6}, {User, 6, 1234}, {Mask, 6}, {Others, 4}}), 0604},
      // A list that cannot be read.
      {0664, "", 0600},
      {0664, std::string("\2\0\0", 3), 0600}};
  for (const auto& [mode, list, expected] : cases) {
    EXPECT_EQ(permissionsOf(mode, {.accessList = false}, list), expected) << std::oct << mode << " " << expected;
    EXPECT_EQ(permissionsOf(mode, {}, list), mode);
  }
}

// The group's own entry may give less than its bits tell, which are the mask.
TEST(FileAttributesTests, AnotherGroupGetsNoRightsThroughTheAccessList) {
  const std::string list = accessList({{Owner, 6}, {User, 6, 1234}, {Group, 0}, {Mask, 6}, {Others, 4}});
  EXPECT_EQ(permissionsOf(0664, {.group = false}, list), 0600U);
  EXPECT_EQ(permissionsOf(0664, {.group = false, .accessList = false}, list), 0600U);
}

}  // namespace
}  // namespace ZtFoundation::test
