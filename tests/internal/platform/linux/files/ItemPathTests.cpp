#include "platform/linux/files/ItemPath.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using detail::absolutePath;

TEST(ItemPathTests, WhatNamesNothingOfItsOwnIsLeftOut) {
  const std::pair<const char*, const char*> cases[] = {{"/", "/"},
                                                       {"//", "/"},
                                                       {"/.", "/"},
                                                       {"/a/b", "/a/b"},
                                                       {"/a/", "/a"},
                                                       {"/a//b/", "/a/b"},
                                                       {"/./a/.", "/a"},
                                                       {"/a/.b/..c", "/a/.b/..c"},
                                                       {"/a/b../c...", "/a/b../c..."}};
  for (const auto& [path, expected] : cases) EXPECT_EQ(absolutePath(path), expected);
}

TEST(ItemPathTests, ARelativePathCountsFromTheCurrentFolder) {
  const ScratchFolder folder;
  const std::string canonical = std::filesystem::canonical(folder.path());
  EXPECT_EQ(inChild([&] {
              if (::chdir(canonical.c_str()) != 0) return 1;
              return absolutePath("a/./b") == canonical + "/a/b" && absolutePath(".") == canonical ? 0 : 2;
            }),
            0);
}

TEST(ItemPathTests, ParentComponentsAreResolvedWhereTheyLead) {
  const ScratchFolder folder;
  const std::string canonical = std::filesystem::canonical(folder.path());
  std::filesystem::create_directories(folder / "a/b");
  std::filesystem::create_directory_symlink("a/b", folder / "link");
  EXPECT_EQ(absolutePath(folder / "link/../x"), canonical + "/a/x");
  EXPECT_EQ(absolutePath(folder / "a/b/.."), canonical + "/a");
  EXPECT_EQ(absolutePath("/.."), "/");
  EXPECT_EQ(absolutePath(folder / "a/../link"), canonical + "/link") << "the link itself";
  EXPECT_EQ(absolutePath(folder / "link/../../link/x"), canonical + "/link/x") << "a link behind it";
  EXPECT_EQ(absolutePath(folder / "link/../b/../../link"), canonical + "/link");
  EXPECT_EQ(absolutePath(folder / "a/../missing/x"), canonical + "/missing/x");
  EXPECT_EQ(absolutePath("/../x"), "/x");
  errno = 0;
  EXPECT_EQ(absolutePath(folder / "missing/../x"), std::nullopt);
  EXPECT_EQ(errno, ENOENT);
}

TEST(ItemPathTests, ALinkWithAPointIsTheFolderThere) {
  const ScratchFolder folder;
  const std::string canonical = std::filesystem::canonical(folder.path());
  std::filesystem::create_directories(folder / "a/b");
  std::filesystem::create_directory_symlink("a/b", folder / "link");
  for (const char* path : {"link/.", "link/./", "link/././/", "link//.", "a/../link/."}) {
    EXPECT_EQ(absolutePath(folder / path), canonical + "/a/b") << path;
  }
  EXPECT_EQ(
      inChild([&] {
        if (::chdir((folder / "a").c_str()) != 0) return 1;
        std::filesystem::create_directory_symlink("b", "inner");
        return absolutePath("./inner/.") == canonical + "/a/b" && absolutePath("./inner") == canonical + "/a/inner" ? 0
                                                                                                                    : 2;
      }),
      0);
  EXPECT_EQ(absolutePath(folder / "a/."), folder / "a");
  EXPECT_EQ(absolutePath(folder / "link/x."), folder / "link/x.");
}

TEST(ItemPathTests, WhereNoPathLeadsThereIsNone) {
  errno = 0;
  EXPECT_EQ(absolutePath(""), std::nullopt);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(inChild([] {
              const std::string path = ScratchFolder() / "";
              std::filesystem::create_directory(path);
              if (::chdir(path.c_str()) != 0 || !std::filesystem::remove(path)) return 1;
              return absolutePath("a").has_value() || errno != ENOENT ? 2 : 0;
            }),
            0);
  if (!mayChangeRoot()) GTEST_SKIP() << "this process may not change its root";
  EXPECT_EQ(inChild([] {
              const ScratchFolder root;
              if (::chroot(root.path().c_str()) != 0) return 1;
              return absolutePath("a").has_value() || errno != ENOENT ? 2 : 0;
            }),
            0)
      << "the current folder is out of reach";
}

TEST(ItemPathTests, Parts) {
  EXPECT_EQ(detail::parentOfPath("/a/b"), "/a");
  EXPECT_EQ(detail::parentOfPath("/a"), "/");
  EXPECT_EQ(detail::parentOfPath("/"), "/");
  EXPECT_EQ(detail::canonicalItemPath("/"), "/");
  EXPECT_EQ(detail::nameOfPath("/a/b"), "b");
  EXPECT_EQ(detail::nameOfPath("/"), "/");
  EXPECT_EQ(detail::pathInFolder("/", "a"), "/a");
  EXPECT_EQ(detail::pathInFolder("/a", "b"), "/a/b");
}

TEST(ItemPathTests, WhatIsInAFolder) {
  EXPECT_TRUE(detail::isInFolder("/a/b", "/a"));
  EXPECT_TRUE(detail::isInFolder("/a", "/a"));
  EXPECT_TRUE(detail::isInFolder("/a", "/"));
  EXPECT_FALSE(detail::isInFolder("/ab", "/a"));
  EXPECT_FALSE(detail::isInFolder("/a", "/a/b"));
}

}  // namespace
}  // namespace ZtFoundation::test
