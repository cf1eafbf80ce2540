#include "platform/linux/references/ItemSearch.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using detail::SearchOrder;
using detail::searchOutwards;

std::uint64_t numberOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
  return status.st_ino;
}

/// top/near/deep/deeper beside top/far/away.
class ItemSearchTests : public testing::Test {
 protected:
  ItemSearchTests() {
    std::filesystem::create_directories(folder / "top/near/deep/deeper");
    std::filesystem::create_directories(folder / "top/far/away");
    order.nearest = folder / "top/near";
    order.top = folder / "top";
    order.limit = std::chrono::seconds(60);
    order.isRight = [this](const std::string& path) {
      asked.push_back(path);
      return true;
    };
  }

  /// Puts a file there and looks for it.
  detail::SearchResult find(const std::string& name) {
    writeFile(folder / name, "text");
    order.number = numberOf(folder / name);
    return searchOutwards(order);
  }

  ScratchFolder folder;
  SearchOrder order;
  std::vector<std::string> asked;
};

TEST_F(ItemSearchTests, AnItemIsFoundInAndBelowAndBeside) {
  for (const char* name : {"top/near/f", "top/near/deep/deeper/f", "top/f", "top/far/away/f"}) {
    EXPECT_EQ(find(name).path, folder / name);
    EXPECT_EQ(asked, std::vector<std::string>{folder / name});
    asked.clear();
    std::filesystem::remove(folder / name);
  }
}

TEST_F(ItemSearchTests, FoldersAndLinksAreItemsToo) {
  order.number = numberOf(folder / "top/far/away");
  EXPECT_EQ(searchOutwards(order).path, folder / "top/far/away");
  order.number = numberOf(folder / "top/near");
  EXPECT_EQ(searchOutwards(order).path, folder / "top/near");
  std::filesystem::create_symlink("nowhere", folder / "top/link");
  order.number = numberOf(folder / "top/link");
  EXPECT_EQ(searchOutwards(order).path, folder / "top/link");
}

TEST_F(ItemSearchTests, NothingBeyondTheTopIsLookedAt) {
  const auto result = find("f");
  EXPECT_EQ(result.path, std::nullopt);
  EXPECT_TRUE(result.isComplete);
  EXPECT_TRUE(asked.empty());
}

TEST_F(ItemSearchTests, TheNearestOfSeveralNamesIsFound) {
  writeFile(folder / "top/near/deep/f", "text");
  std::filesystem::create_hard_link(folder / "top/near/deep/f", folder / "top/f");
  std::filesystem::create_hard_link(folder / "top/near/deep/f", folder / "top/near/f");
  order.number = numberOf(folder / "top/f");
  EXPECT_EQ(searchOutwards(order).path, folder / "top/near/f");
  std::filesystem::remove(folder / "top/near/f");
  EXPECT_EQ(searchOutwards(order).path, folder / "top/near/deep/f");
  std::filesystem::remove(folder / "top/near/deep/f");
  EXPECT_EQ(searchOutwards(order).path, folder / "top/f");
}

TEST_F(ItemSearchTests, AnItemWithTheNumberThatIsNotTheRightOneIsPassedBy) {
  order.isRight = [this](const std::string& path) { return path == folder / "top/far/f"; };
  writeFile(folder / "top/near/f", "text");
  std::filesystem::create_hard_link(folder / "top/near/f", folder / "top/far/f");
  order.number = numberOf(folder / "top/near/f");
  EXPECT_EQ(searchOutwards(order).path, folder / "top/far/f");
}

TEST_F(ItemSearchTests, BarredFoldersAndLinksAreNotEntered) {
  order.barred.insert(folder / "top/far");
  EXPECT_EQ(find("top/far/away/f").path, std::nullopt);
  std::filesystem::create_directory_symlink("far", folder / "top/link");
  EXPECT_EQ(searchOutwards(order).path, std::nullopt);
}

TEST_F(ItemSearchTests, ALimitEndsTheSearch) {
  order.limit = std::chrono::milliseconds(0);
  const auto result = find("top/f");
  EXPECT_EQ(result.path, std::nullopt);
  EXPECT_FALSE(result.isComplete);
}

TEST_F(ItemSearchTests, ALimitEndsTheSearchOfALargeFolder) {
  constexpr int kLinks = 2000;
  writeFile(folder / "top/near/f", "text");
  for (int i = 1; i < kLinks; ++i) {
    std::filesystem::create_hard_link(folder / "top/near/f",
                                      folder / ("top/near/some longer name " + std::to_string(i)));
  }
  int count = 0;
  order.limit = std::chrono::milliseconds(20);
  order.number = numberOf(folder / "top/near/f");
  order.isRight = [&](const std::string&) {
    if (++count == 1) ::usleep(20000);
    return false;
  };
  EXPECT_FALSE(searchOutwards(order).isComplete);
  EXPECT_LT(count, kLinks);
}

TEST_F(ItemSearchTests, AFolderThatCannotBeReadForWantOfDescriptorsMayHoldTheItem) {
  order.number = 1;
  EXPECT_TRUE(searchOutwards(order).isComplete);
  EXPECT_EQ(inChild([&] {
              const rlimit none{0, 0};
              if (::setrlimit(RLIMIT_NOFILE, &none) != 0) return 1;
              return searchOutwards(order).isComplete ? 2 : 0;
            }),
            0);
}

TEST_F(ItemSearchTests, WhatMayNotBeReadIsPassedBy) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can be another user";
  std::filesystem::permissions(folder.path(), std::filesystem::perms(0755));
  std::filesystem::permissions(folder / "top/far", std::filesystem::perms(0700));
  writeFile(folder / "top/far/f", "text");
  order.number = numberOf(folder / "top/far/f");
  EXPECT_EQ(asOrdinaryUser([&] {
              const auto result = searchOutwards(order);
              return result.isComplete && !result.path ? 0 : 1;
            }),
            0);
}

TEST_F(ItemSearchTests, AStartThatHasGoneIsPassedBy) {
  std::filesystem::remove_all(folder / "top/near");
  EXPECT_EQ(find("top/far/f").path, folder / "top/far/f");
}

TEST_F(ItemSearchTests, WhereNoItemCanBeNothingIsMissed) {
  writeFile(folder / "top/file", "text");
  std::filesystem::create_symlink("loop", folder / "top/loop");
  order.number = 1;
  for (const std::string& nearest : {std::string("gone"), std::string("file"), std::string("file/below"),
                                     std::string("loop"), std::string("loop/below"), std::string(300, 'x')}) {
    order.nearest = folder / ("top/" + nearest);
    EXPECT_TRUE(searchOutwards(order).isComplete) << nearest;
  }
}

TEST_F(ItemSearchTests, FoldersWithMoreEntriesThanOneReadTakes) {
  for (int i = 0; i < 2000; ++i) writeFile(folder / ("top/near/some longer name " + std::to_string(i)), "");
  EXPECT_EQ(find("top/near/zzz").path, folder / "top/near/zzz");
  EXPECT_EQ(find("top/far/f").path, folder / "top/far/f");
}

}  // namespace
}  // namespace ZtFoundation::test
