// Saves into a file that others write too with each of their system calls failing: what the others have written is
// never lost.
#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Number.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/linux/SystemCallFaults.h"
#include "support/FileTree.h"
#include "support/FolderLock.h"
#include "support/ScratchFolder.h"
#include "support/Storm.h"

namespace ZtFoundation::test {
namespace {

class SharedFile {
 public:
  SharedFile() {
    write("{ theirs = 1; }");
    store = QvPropertyList::initWithPath(path);
    store->setFormat(200);
    as<NSMutableDictionary>(store->values())->setObject_forKey("2", "mine");
    write("{ theirs = 3; }");
  }

  void write(const std::string& text) const { writeFile(folder / "settings", text); }

  const ScratchFolder folder;
  const Ref<NSString> path = folder.string("settings");
  Ref<QvPropertyList> store;
};

// Answers which function failed, empty when there are not so many calls.
std::string saveWithFault(int at, int error, bool persists = false) {
  const SharedFile file;
  const std::size_t files = openDescriptors();
  bool saved;
  std::string faulted;
  testing::internal::CaptureStderr();
  {
    FaultScript script({at, error, false, persists});
    saved = file.store->saveMergedChanges();
    faulted = script.faulted();
  }
  testing::internal::GetCapturedStderr();
  SCOPED_TRACE(testing::Message() << "call " << at << " (" << faulted << "): " << std::strerror(error));
  const Ref<NSObject> theirs = NSDictionary::of({{"theirs", "3"}});
  const Ref<NSObject> both = NSDictionary::of({{"theirs", "3"}, {"mine", "2"}});
  const Ref<NSObject> now = QvPropertyList::initWithPath(file.path)->values();
  EXPECT_TRUE(isEqual(now, saved ? both : theirs) || (persists && isEqual(now, both))) << now;
  const std::set<std::string> tidy{"settings"};
  EXPECT_TRUE(file.folder.names() == tidy || persists);
  EXPECT_TRUE(isFree(file.folder.path()));
  EXPECT_EQ(openDescriptors(), files);
  EXPECT_TRUE(file.store->saveMergedChanges()) << "another time it is saved";
  EXPECT_TRUE(isEqual(QvPropertyList::initWithPath(file.path)->values(), both));
  return faulted;
}

TEST(SaveLockFaultTests, AnyFailingCallLeavesWhatOthersWrote) {
  int points = 0;
  for (const int error : {EIO, EACCES, EMFILE, ENOLCK, EINTR}) {
    int at = 0;
    while (!saveWithFault(at, error).empty()) ++at;
    EXPECT_GT(at, 20) << "the calls did not come by here";
    points += at;
  }
  report("failing call", "save into a file that others write", points, "what others wrote is kept, the lock is free");
}

// The file can then neither be read nor asked for.
TEST(SaveLockFaultTests, ADeviceThatFailsFromSomePointOnLosesNothing) {
  int at = 0;
  while (!saveWithFault(at, EIO, true).empty()) ++at;
  EXPECT_GT(at, 20) << "the calls did not come by here";
}

TEST(SaveLockFaultTests, WithoutTheLockNothingIsSaved) {
  const SharedFile file;
  const int locked = [] {
    const SharedFile another;
    FaultScript probe({});
    EXPECT_TRUE(another.store->saveMergedChanges());
    return static_cast<int>(std::ranges::find(probe.calls(), "flock") - probe.calls().begin());
  }();
  FaultScript script({locked, ENOLCK, false});
  EXPECT_FALSE(file.store->saveMergedChanges());
  EXPECT_EQ(script.faulted(), "flock");
  EXPECT_EQ(contentsOf(file.folder / "settings"), "{ theirs = 3; }");
}

// No time passes where system calls are looked at.
TEST(SaveLockFaultTests, WhoKeepsTheLockIsNotWaitedForForEver) {
  const SharedFile file;
  const int keeper = ::open(file.folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  ASSERT_EQ(::flock(keeper, LOCK_EX), 0);
  {
    FaultScript script({});
    EXPECT_FALSE(file.store->saveMergedChanges());
    EXPECT_EQ(std::ranges::count(script.calls(), "nanosleep"), 10'000) << "of a millisecond each";
  }
  FaultScript script({});
  script.before("nanosleep", [&] { script.before("nanosleep", [&] { ::close(keeper); }); });
  EXPECT_TRUE(file.store->saveMergedChanges());
  EXPECT_EQ(std::ranges::count(script.calls(), "nanosleep"), 2);
}

}  // namespace
}  // namespace ZtFoundation::test
