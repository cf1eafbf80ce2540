#include "platform/services/FolderListing.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using Names = std::set<std::string>;

Names visited(const Ref<NSString>& folder) {
  Names names;
  FolderListing::production().visitItems(
      folder, [&](std::string_view name) { EXPECT_TRUE(names.emplace(name).second) << name << " came twice"; });
  return names;
}

bool isTooLong(const Ref<NSString>& path) { return FolderListing::production().isTooLong(path); }

TEST(FolderListingTests, VisitsAllButLinks) {
  const ScratchFolder folder;
  Names expected{"folder", ".dotted", "\xFF", "fifo"};
  writeFile(folder / ".dotted", "");
  writeFile(folder / "\xFF", "");
  std::filesystem::create_directory(folder / "folder");
  ASSERT_EQ(::mkfifo((folder / "fifo").c_str(), 0600), 0);
  std::filesystem::create_symlink("folder", folder / "link");
  std::filesystem::create_symlink("nowhere", folder / "broken");
  for (int number = 0; number < 700; ++number) {
    const std::string name = "a name that takes up some room " + std::to_string(number);
    writeFile(folder / name, "");
    expected.insert(name);
  }
  EXPECT_EQ(visited(folder.string("")), expected);
  writeFile(folder / "folder/inside", "");
  EXPECT_EQ(visited(folder.string("link")), Names{"inside"}) << "the folder itself may be a link";
}

TEST(FolderListingTests, WhatIsNoFolderHasNoItems) {
  const ScratchFolder folder;
  writeFile(folder / "file", "");
  EXPECT_EQ(visited(folder.string("file")), Names());
  EXPECT_EQ(visited(folder.string("missing")), Names());
  EXPECT_EQ(visited(nullptr), Names());
}

TEST(FolderListingTests, AFolderThatMayNotBeReadHasNoItems) {
  const ScratchFolder folder;
  writeFile(folder / "file", "");
  ASSERT_EQ(::chmod(folder.path().c_str(), 0311), 0);
  EXPECT_EQ(asOrdinaryUser([&] { return visited(folder.string("")).empty() ? 1 : 0; }), 1);
  ASSERT_EQ(::chmod(folder.path().c_str(), 0700), 0);
}

TEST(FolderListingTests, ANameOrPathMayBeTooLong) {
  const ScratchFolder folder;
  EXPECT_FALSE(isTooLong(folder.string(std::string(255, 'n'))));
  EXPECT_TRUE(isTooLong(folder.string(std::string(256, 'n'))));
  std::string deep;
  while (deep.size() < 5000) deep += "/folder";
  EXPECT_TRUE(isTooLong(folder.string(deep)));
  EXPECT_FALSE(isTooLong(folder.string("missing/name")));
  EXPECT_FALSE(isTooLong(folder.string("")));
  EXPECT_FALSE(isTooLong(nullptr));
}

}  // namespace
}  // namespace ZtFoundation::test
