#include <gtest/gtest.h>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {
namespace {

struct Path {
  const char* path;
  const char* components;
  const char* last;
  const char* parent;
  const char* extension;
  const char* withoutExtension;
};

TEST(StringPathsTests, TakesPathsApart) {
  const Path paths[] = {
      {"/", "/", "/", "/", "", "/"},
      {"", "", "", "", "", ""},
      {"//", "/", "/", "/", "", "/"},
      {"/a", "/|a", "a", "/", "", "/a"},
      {"/a/b", "/|a|b", "b", "/a", "", "/a/b"},
      {"/a//b/", "/|a|b", "b", "/a", "", "/a//b"},
      {"a", "a", "a", "", "", "a"},
      {"a/", "a", "a", "", "", "a"},
      {"a/b", "a|b", "b", "a", "", "a/b"},
      {"//a", "/|a", "a", "/", "", "//a"},
      {"/d/a.txt", "/|d|a.txt", "a.txt", "/d", "txt", "/d/a"},
      {"/d/a.txt/", "/|d|a.txt", "a.txt", "/d", "txt", "/d/a"},
      {"a.tar.gz", "a.tar.gz", "a.tar.gz", "", "gz", "a.tar"},
      {".x", ".x", ".x", "", "", ".x"},
      {"x.", "x.", "x.", "", "", "x."},
      {"/d.e/f", "/|d.e|f", "f", "/d.e", "", "/d.e/f"},
      {"..x", "..x", "..x", "", "x", "."},
      {"..", "..", "..", "", "", ".."},
      {"a..", "a..", "a..", "", "", "a.."},
      {"\xE6\x97\xA5/\xE6\x9C\xAC.\xE8\xAA\x9E", "\xE6\x97\xA5|\xE6\x9C\xAC.\xE8\xAA\x9E", "\xE6\x9C\xAC.\xE8\xAA\x9E",
       "\xE6\x97\xA5", "\xE8\xAA\x9E", "\xE6\x97\xA5/\xE6\x9C\xAC"},
  };
  for (const Path& each : paths) {
    const Ref<NSString> path = each.path;
    EXPECT_EQ(path->pathComponents()->componentsJoinedByString("|")->utf8(), each.components) << each.path;
    EXPECT_EQ(path->lastPathComponent()->utf8(), each.last) << each.path;
    EXPECT_EQ(path->stringByDeletingLastPathComponent()->utf8(), each.parent) << each.path;
    EXPECT_EQ(path->pathExtension()->utf8(), each.extension) << each.path;
    EXPECT_EQ(path->stringByDeletingPathExtension()->utf8(), each.withoutExtension) << each.path;
  }
}

TEST(StringPathsTests, OnlyALeadingSlashMakesAPathAbsolute) {
  EXPECT_TRUE(Ref<NSString>("/a")->isAbsolutePath());
  EXPECT_FALSE(Ref<NSString>("a/b")->isAbsolutePath());
  EXPECT_FALSE(Ref<NSString>("")->isAbsolutePath());
}

TEST(StringPathsTests, AppendsComponentsWithOneSlash) {
  const char* const cases[][3] = {
      {"/d", "a", "/d/a"},  {"/d/", "a", "/d/a"},  {"/", "a", "/a"},      {"", "a", "a"},    {"/d", "/a", "/d/a"},
      {"/d", "a/", "/d/a"}, {"/d", "", "/d"},      {"/d/", "", "/d"},     {"", "/", "/"},    {"/", "/", "/"},
      {"", "", ""},         {"d", "a/b", "d/a/b"}, {"/d", "//a", "/d/a"}, {"", "/a/", "/a"}, {"/d", "..", "/d/.."},
  };
  for (const auto& [path, component, expected] : cases) {
    EXPECT_EQ(Ref<NSString>(path)->stringByAppendingPathComponent(component)->utf8(), expected) << path << component;
  }
  EXPECT_EQ(Ref<NSString>("/d")->stringByAppendingPathComponent(nullptr)->utf8(), "/d");
}

TEST(StringPathsTests, AppendsExtensions) {
  const char* const cases[][3] = {
      {"/d/a", "txt", "/d/a.txt"},
      {"/d/a/", "txt", "/d/a.txt"},
      {"a.tar", "gz", "a.tar.gz"},
      {"/", "txt", "/"},
      {"", "txt", ""},
      {"a", "", "a"},
  };
  for (const auto& [path, extension, expected] : cases) {
    EXPECT_EQ(Ref<NSString>(path)->stringByAppendingPathExtension(extension)->utf8(), expected) << path << extension;
  }
  EXPECT_EQ(Ref<NSString>("a")->stringByAppendingPathExtension(nullptr)->utf8(), "a");
}

TEST(StringPathsTests, NamesThatAreNoUTF8SurviveThePieces) {
  const Ref<NSString> path = NSString::stringWithFileSystemRepresentation("/d\xFF/\xC3.txt");
  EXPECT_EQ(path->lastPathComponent()->fileSystemRepresentation(), "\xC3.txt");
  EXPECT_EQ(path->stringByDeletingLastPathComponent()->fileSystemRepresentation(), "/d\xFF");
  EXPECT_EQ(path->stringByDeletingPathExtension()->fileSystemRepresentation(), "/d\xFF/\xC3");
}

}  // namespace
}  // namespace ZtFoundation
