#include "platform/services/NewFiles.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "platform/linux/files/FinderLock.h"
#include "support/ChildProcess.h"
#include "support/PrivateMounts.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using Answer = NewFiles::Answer;

class NewFilesTests : public testing::Test {
 protected:
  NewFilesTests() {
    ::chmod(folder.path().c_str(), 0755);
    std::filesystem::create_directory(folder / "inner");
    std::filesystem::create_directory(folder / "locked");
    std::filesystem::create_symlink("nowhere", folder / "broken");
    writeFile(folder / "old", "old");
  }

  Answer make(const std::string& name) { return service<NewFiles>().make(folder.string(name), "new"); }

  void expectAnswers() {
    EXPECT_EQ(make("inner/file"), Answer::Made);
    EXPECT_EQ(contentsOf(folder / "inner/file"), "new");
    for (const char* name : {"inner/file", "inner", "broken", "old"}) EXPECT_EQ(make(name), Answer::Taken) << name;
    EXPECT_EQ(contentsOf(folder / "old"), "old");
    for (const std::string& name : {std::string(), std::string("file/"), std::string("inner/"),
                                    std::string("missing/file"), std::string("old/file"), std::string("a\0b", 3)}) {
      EXPECT_EQ(make(name), Answer::Impossible) << name;
    }
    ::chmod(folder.path().c_str(), 0555);
    EXPECT_EQ(asOrdinaryUser([&] { return make("file") == Answer::Impossible ? 0 : 1; }), 0);
    ::chmod(folder.path().c_str(), 0755);
    EXPECT_EQ(folder.names(), (std::set<std::string>{"inner", "locked", "broken", "old"}));
  }

  ScratchFolder folder;
};

TEST_F(NewFilesTests, NothingIsReplaced) {
  expectAnswers();
  EXPECT_EQ(service<NewFiles>().make(nullptr, "new"), Answer::Impossible);
  EXPECT_EQ(service<NewFiles>().make("", "new"), Answer::Impossible);
}

TEST_F(NewFilesTests, ALockedFolderGetsNone) {
  if (detail::setLocked(folder / "locked", true) != 0) GTEST_SKIP() << "no extended attributes on this file system";
  EXPECT_EQ(make("locked/file"), Answer::Impossible);
  EXPECT_EQ(detail::setLocked(folder / "locked", false), 0);
  EXPECT_EQ(make("locked/file"), Answer::Made);
}

// A file that has no name yet cannot be given one there.
TEST_F(NewFilesTests, WithoutProcFilesAreMadeAsWell) {
  PrivateMounts mounts;
  if (!mounts.isPossible()) GTEST_SKIP() << mounts.whyNot();
  mounts.bind(mounts.folder("empty"), "/proc");
  expectAnswers();
}

}  // namespace
}  // namespace ZtFoundation::test
