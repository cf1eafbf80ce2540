#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Data.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/ChildProcess.h"
#include "support/PrivateMounts.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using namespace JxTalvoZtWdExensions;
using Names = std::set<std::string>;

class AutonamingTests : public testing::Test {
 protected:
  AutonamingTests() {
    ::umask(022);
    std::filesystem::create_directory(folder / "d");
    writeFile(folder / "from.jpg", "picture");
  }

  OSStatus create(const std::string& name, bool autoname) {
    return createFileWithContents_autoname(folder.string(name), NSData::dataWithBytes("new"), autoname);
  }
  OSStatus copy(const std::string& from, const std::string& to, bool autoname) {
    return copyFileTo_autoname(folder.string(from), folder.string(to), autoname);
  }

  ScratchFolder folder;
};

TEST_F(AutonamingTests, ANewFileGetsAFreeNameOrReplaces) {
  EXPECT_EQ(create("d/a.txt", true), noErr);
  EXPECT_EQ(create("d/a.txt", true), noErr);
  EXPECT_EQ(contentsOf(folder / "d/a_1.txt"), "new");
  writeFile(folder / "d/a.txt", "old");
  EXPECT_EQ(create("d/a.txt", false), noErr);
  EXPECT_EQ(contentsOf(folder / "d/a.txt"), "new");
  EXPECT_EQ(createFileWithContents_autoname(folder.string("d/empty"), nullptr, true), noErr);
  EXPECT_EQ(contentsOf(folder / "d/empty"), "");
}

TEST_F(AutonamingTests, CreatingChecksInOrder) {
  for (const bool autoname : {false, true}) {
    EXPECT_EQ(createFileWithContents_autoname(nullptr, nullptr, autoname), paramErr);
    EXPECT_EQ(create("missing/a", autoname), fnfErr);
    EXPECT_EQ(create("from.jpg/a", autoname), fnfErr) << "a file is no folder";
    EXPECT_EQ(createFileWithContents_autoname("bare-name-that-is-free", nullptr, autoname), fnfErr) << "no folder part";
    EXPECT_EQ(create(std::string("d/").append(300, 'n'), false), paramErr);
  }
  std::filesystem::create_directory(folder / "d/taken");
  EXPECT_EQ(create("d/taken", false), paramErr);
}

TEST_F(AutonamingTests, TheVolumeThatALinkLeadsToNeedsTheRoom) {
  PrivateMounts mounts;
  const std::string full = mounts.memory("full", "size=64k"), roomy = mounts.memory("roomy", "size=1m");
  if (roomy.empty()) GTEST_SKIP() << mounts.whyNot();
  for (const auto& [from, to] : {std::pair(full, roomy), std::pair(roomy, full)}) {
    std::filesystem::create_symlink(to, from + "/link");
  }
  writeFile(full + "/rest", std::string(1 << 20, 'x'));  // as much as goes in
  const std::string small(1000, 'x');
  EXPECT_EQ(createFileWithContents_autoname(full + "/link/a", NSData::dataWithBytes(small), false), noErr);
  EXPECT_EQ(createFileWithContents_autoname(roomy + "/link/a", NSData::dataWithBytes(small), false), dskFulErr);
}

TEST_F(AutonamingTests, CreatingAsksWhatTheProcessMay) {
  ::chmod(folder.path().c_str(), 0755);
  ::chmod((folder / "d").c_str(), 0555);
  EXPECT_EQ(asOrdinaryUser([&] { return create("d/a", true) == afpAccessDenied ? 0 : 1; }), 0);
}

TEST_F(AutonamingTests, CreatingAndCopyingAskForDifferentRights) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root has rights that the owner lacks";
  ::chmod(folder.path().c_str(), 0755);
  ASSERT_EQ(asOrdinaryUser([&] { return create("d/a", true) == afpAccessDenied ? 0 : 1; }), 0)
      << "the owner may, this process may not";
  ::chmod((folder / "d").c_str(), 0555);
  EXPECT_EQ(create("d/a", true), noErr) << "this process may, the owner may not";
  EXPECT_EQ(copy("from.jpg", "d/b", true), afpAccessDenied);
}

TEST_F(AutonamingTests, ABareNameThatIsTakenHasNoFreeOne) {
  const auto work = [&]() -> int {
    if (::chdir(folder.path().c_str()) != 0) return 1;
    return createFileWithContents_autoname("from.jpg", nullptr, true) == paramErr ? 0 : 2;
  };
  EXPECT_EQ(inChild(work), 0);
}

TEST_F(AutonamingTests, ACopyGetsAFreeNameOrIsRefused) {
  EXPECT_EQ(copy("from.jpg", "d/to.jpg", false), noErr);
  EXPECT_EQ(copy("from.jpg", "d/to.jpg", false), dupFNErr);
  EXPECT_EQ(copy("from.jpg", "d/to.jpg", true), noErr);
  EXPECT_EQ(copy("from.jpg", "d/to.jpg", true), noErr);
  for (const char* name : {"d/to.jpg", "d/to_1.jpg", "d/to_2.jpg"}) {
    EXPECT_EQ(contentsOf(folder / name), "picture") << name;
  }
  EXPECT_EQ(copy("from.jpg", "from.jpg", false), dupFNErr) << "onto itself";
  EXPECT_EQ(contentsOf(folder / "from.jpg"), "picture");
}

TEST_F(AutonamingTests, CopyingChecksInOrder) {
  for (const bool autoname : {false, true}) {
    EXPECT_EQ(copyFileTo_autoname(folder.string("missing"), nullptr, autoname), paramErr);
    EXPECT_EQ(copyFileTo_autoname(nullptr, folder.string("to"), autoname), fnfErr);
    EXPECT_EQ(copy("d", "to", autoname), fnfErr) << "a folder";
    EXPECT_EQ(copy("missing", "to", autoname), fnfErr);
    EXPECT_EQ(copy("from.jpg", "missing/to", autoname), fnfErr);
    EXPECT_EQ(copyFileTo_autoname(folder.string("from.jpg"), "bare-name-that-is-free", autoname), fnfErr);
  }
}

TEST_F(AutonamingTests, CopyingLooksAtTheOwnersPermissionsWhoeverAsks) {
  ::chmod((folder / "from.jpg").c_str(), 0244);
  EXPECT_EQ(copy("from.jpg", "missing/to", false), afpAccessDenied) << "the source comes before the folder";
  ::chmod((folder / "from.jpg").c_str(), 0400);
  std::filesystem::create_directory(folder / "closed");
  ::chmod((folder / "closed").c_str(), 0300);
  EXPECT_EQ(copy("closed", "d/to", false), fnfErr) << "that it is a folder comes before its permissions";
  EXPECT_EQ(copy("from.jpg", "from.jpg/to", false), fnfErr) << "so it does for the folder around the copy";
  ::chmod((folder / "d").c_str(), 0577);
  writeFile(folder / "d/taken", "old");
  EXPECT_EQ(copy("from.jpg", "d/taken", false), afpAccessDenied) << "the folder comes before the item in it";
  EXPECT_EQ(copy("from.jpg", "d/to", true), afpAccessDenied);
}

TEST_F(AutonamingTests, ADestinationTakenByABrokenLinkIsFreeButNotReplaced) {
  std::filesystem::create_symlink("nowhere", folder / "d/link");
  EXPECT_EQ(copy("from.jpg", "d/link", false), paramErr);
  EXPECT_EQ(folder.names(), (Names{"d", "from.jpg"}));
  EXPECT_FALSE(std::filesystem::exists(folder / "d/nowhere"));
}

}  // namespace
}  // namespace ZtFoundation::test
