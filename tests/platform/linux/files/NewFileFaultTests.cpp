// New files under free names with each of their system calls failing, on file systems that know files without a name
// and on one that does not.
#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Data.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iterator>

#include "internal/platform/linux/references/CardOfACamera.h"
#include "platform/linux/SystemCallFaults.h"
#include "support/PrivateMounts.h"
#include "support/ScratchFolder.h"
#include "support/Storm.h"

namespace ZtFoundation::test {
namespace {

constexpr int kErrors[] = {EIO, EINTR, ENOSPC, EACCES};

Ref<NSString> create(const std::string& folder) {
  return JxTalvoZtWdExensions::createUnusedFinderFile(NSString::stringWithFileSystemRepresentation(folder + "/file"),
                                                      NSData::dataWithBytes("some contents"));
}

std::vector<std::string> callsIn(const std::string& folder) {
  const FaultScript script({});
  EXPECT_TRUE(create(folder));
  return script.calls();
}

void makeEmpty(const std::string& folder) {
  for (const auto& entry : std::filesystem::directory_iterator(folder)) std::filesystem::remove_all(entry);
}

// Where a file that has been written is closed for the first time: only then does the system tell of some errors.
std::size_t closeThatTells(const std::vector<std::string>& calls) {
  const auto written = std::find(calls.rbegin(), calls.rend(), "write").base();
  const auto closed = std::find(written, calls.end(), "close");
  EXPECT_NE(closed, calls.end());
  return static_cast<std::size_t>(closed - calls.begin());
}

// What a file gets that is opened now; /proc need not be mounted.
int nextDescriptor() {
  const int descriptor = ::dup(STDERR_FILENO);
  ::close(descriptor);
  return descriptor;
}

// A file is there with all its contents, under the path that is told, or nothing is there and it can be made.
void tryEachCallIn(const std::string& folder, const std::string& operation) {
  const std::vector<std::string> calls = callsIn(folder);
  const std::size_t closed = closeThatTells(calls);
  for (const int error : kErrors) {
    for (std::size_t at = 0; at < calls.size(); ++at) {
      makeEmpty(folder);
      const int descriptor = nextDescriptor();
      Ref<NSString> path;
      {
        const FaultScript script({static_cast<int>(at), error, false});
        path = create(folder);
      }
      SCOPED_TRACE(testing::Message() << "call " << at << " (" << calls[at] << "): " << std::strerror(error));
      EXPECT_EQ(contentsOf(folder + "/file"), path ? std::optional<std::string>("some contents") : std::nullopt);
      EXPECT_EQ(std::filesystem::is_empty(folder), !path);
      EXPECT_TRUE(calls[at] != "write" || static_cast<bool>(path) == (error == EINTR));
      EXPECT_TRUE(at != closed || static_cast<bool>(path) == (error == EINTR));
      EXPECT_EQ(nextDescriptor(), descriptor) << "a file is left open";
      EXPECT_TRUE(path || create(folder)) << "another time it is made";
    }
  }
  report("failing call", operation, static_cast<long>(std::size(kErrors) * calls.size()), "whole, or nothing");
}

TEST(NewFileFaultTests, AnyFailingCallMakesTheFileOrLeavesNothing) {
  const ScratchFolder folder;
  tryEachCallIn(folder.path(), "creation of a file with a free name");
}

TEST(NewFileFaultTests, AFileGetsItsNameWithItsContents) {
  const ScratchFolder folder;
  const int nameless = ::open(folder.path().c_str(), O_WRONLY | O_TMPFILE | O_CLOEXEC, 0600);
  if (nameless < 0) GTEST_SKIP() << "no files without a name on this file system";
  ::close(nameless);
  const std::vector<std::string> calls = callsIn(folder.path());
  const auto named = std::find(calls.begin(), calls.end(), "linkat");
  ASSERT_NE(named, calls.end());
  EXPECT_LT(std::find(calls.begin(), calls.end(), "write"), named);
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "write"), 1) << "the name is given at the first attempt";
}

TEST(NewFileFaultTests, WithoutProcAFileIsMadeUnderItsName) {
  PrivateMounts mounts;
  if (!mounts.isPossible()) GTEST_SKIP() << mounts.whyNot();
  mounts.bind(mounts.folder("empty"), "/proc");
  const ScratchFolder folder;
  tryEachCallIn(folder.path(), "creation of a file with a free name, without /proc");
}

TEST(NewFileFaultTests, WhereEachFileHasAName) {
  PrivateMounts mounts;
  const CardOfACamera card(mounts);
  if (card.root.empty()) GTEST_SKIP() << "no root, no mount.exfat-fuse or no /dev/fuse here";
  const std::string folder = card.root + "/folder";
  std::filesystem::create_directory(folder);
  tryEachCallIn(folder, "creation of a file with a free name on a memory card");
  makeEmpty(folder);
  EXPECT_TRUE(create(folder));
  EXPECT_EQ(create(folder)->fileSystemRepresentation(), folder + "/file 1");
  const std::vector<std::string> calls = callsIn(folder);
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "linkat"), 0);
}

}  // namespace
}  // namespace ZtFoundation::test
