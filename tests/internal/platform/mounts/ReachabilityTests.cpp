// Mounts that no path leads to any more.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "StandInTable.h"

namespace ZtFoundation::test {
namespace {

using Roots = std::vector<std::string>;

struct Case {
  const char* what;
  std::vector<Line> lines;
  Roots roots;
};

TEST(ReachabilityTests, Hidden) {
  const Line root{.id = 1};
  const std::vector<Case> cases{
      {"side by side", {root, {.id = 2, .point = "/a"}, {.id = 3, .point = "/ab"}}, {"/", "/a", "/ab"}},
      {"inside each other",
       {root, {.id = 2, .point = "/a"}, {.id = 3, .parent = 2, .point = "/a/b"}},
       {"/", "/a", "/a/b"}},
      {"the upper of two", {root, {.id = 2, .point = "/a"}, {.id = 3, .parent = 2, .point = "/a"}}, {"/", "/a"}},
      {"twice at one place", {root, {.id = 2, .point = "/a"}, {.id = 3, .point = "/a"}}, {"/", "/a"}},
      {"in what lies under another",
       {root, {.id = 2, .point = "/a"}, {.id = 3, .parent = 2, .point = "/a/b"}, {.id = 4, .parent = 2, .point = "/a"}},
       {"/", "/a"}},
      {"on the upper one",
       {root, {.id = 2, .point = "/a"}, {.id = 4, .parent = 2, .point = "/a"}, {.id = 3, .parent = 4, .point = "/a/b"}},
       {"/", "/a", "/a/b"}},
      {"in a folder that was covered later",
       {root, {.id = 2, .point = "/a/b/c"}, {.id = 3, .point = "/a"}},
       {"/", "/a"}},
      {"deep in what was covered",
       {root, {.id = 2, .point = "/a/b"}, {.id = 3, .parent = 2, .point = "/a/b/c"}, {.id = 4, .point = "/a"}},
       {"/", "/a"}},
      {"under a pseudo file system",
       {root, {.id = 2, .point = "/a/b"}, {.id = 3, .point = "/a", .type = "proc"}},
       {"/"}},
      {"on a pseudo file system",
       {root, {.id = 2, .point = "/p", .type = "proc"}, {.id = 3, .parent = 2, .point = "/p/x"}},
       {"/", "/p/x"}},
      {"over a trap for a mount",
       {root, {.id = 2, .point = "/a", .type = "autofs"}, {.id = 3, .parent = 2, .point = "/a", .type = "nfs"}},
       {"/", "/a"}},
      {"everything under a second root",
       {root, {.id = 2, .point = "/a"}, {.id = 3, .parent = 1, .point = "/"}, {.id = 4, .parent = 3, .point = "/b"}},
       {"/", "/b"}},
      {"in any order", {root, {.id = 4, .parent = 3, .point = "/a/b"}, {.id = 3, .point = "/a"}}, {"/", "/a/b", "/a"}},
      {"in a circle",
       {root, {.id = 2, .parent = 3, .point = "/a"}, {.id = 3, .parent = 2, .point = "/a/b"}, {.id = 4, .point = "/c"}},
       {"/", "/c"}},
      {"on itself", {root, {.id = 2, .parent = 2, .point = "/a"}}, {"/"}},
      {"on a root on itself", {root, {.id = 2, .parent = 2}, {.id = 3, .parent = 2, .point = "/a"}}, {"/", "/a"}},
      {"nowhere", {root, {.id = 2, .point = "ab/c"}}, {"/"}},
  };
  StandInTable table;
  for (const Case& one : cases) {
    table.set(one.lines);
    EXPECT_EQ(table->roots(), one.roots) << one.what;
  }
}

}  // namespace
}  // namespace ZtFoundation::test
