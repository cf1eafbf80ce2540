// Questions about volumes with each of their system calls failing: the right answer or none, and nothing wrong is
// remembered.
#include <ZtFoundation/Files.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <functional>
#include <new>
#include <ostream>
#include <string>

#include "platform/linux/SystemCallFaults.h"
#include "support/FileTree.h"
#include "support/QuietStandardError.h"
#include "support/Storm.h"

namespace ZtFoundation::test {
namespace {

constexpr int kErrors[] = {EIO, EACCES, ENOENT, EINTR, EMFILE, ENOMEM};

struct Question {
  friend void PrintTo(const Question& question, std::ostream* stream) { *stream << question.name; }

  const char* name;
  const char* call;  // one of those that it makes
  std::function<std::string()> ask;
};

std::string sizeOf(const char* path) {
  std::uint64_t total = 0;
  return JxVolumeCatalogInformation::volumeTotalSpace_freeSpace(path, &total, nullptr) ? std::to_string(total) : "";
}

Ref<NSFileManager> manager() { return NSFileManager::defaultManager(); }

// Where tests may write.
Ref<NSString> writable() {
  return NSString::stringWithFileSystemRepresentation(std::filesystem::temp_directory_path().string());
}

const Question kQuestions[] = {
    {"size of a volume", "statvfs", [] { return sizeOf("/"); }},
    {"number of a volume", "statx",
     [] {
       const FSVolumeRefNum number = QvFoundationExtensions::volumeRefWithPath(manager(), "/etc");
       return number != 0 ? std::to_string(number) : "";
     }},
    // "no" also stands for none.
    {"lock of a volume", "open",
     [] { return QvFoundationExtensions::isVolumeLockedAtPath(manager(), writable()) ? "yes" : "no"; }},
};

class VolumesFaultTests : public testing::TestWithParam<Question> {
 private:
  QuietStandardError quiet_;
};

std::string answerOrNone(const Question& question) {
  try {
    return question.ask();
  } catch (const std::bad_alloc&) {
    return "";
  }
}

TEST_P(VolumesFaultTests, AnyFailingCallGivesTheRightAnswerOrNone) {
  const Question& question = GetParam();
  const std::string right = question.ask();
  ASSERT_NE(right, "");
  std::vector<std::string> calls;
  {
    const FaultScript script({});
    question.ask();
    calls = script.calls();
  }
  EXPECT_NE(std::find(calls.begin(), calls.end(), question.call), calls.end()) << "the calls do not come by here";
  int points = 0;
  for (const int error : kErrors) {
    for (int at = 0; at < static_cast<int>(calls.size()); ++at, ++points) {
      const std::string& call = calls.at(static_cast<std::size_t>(at));
      const std::size_t descriptors = openDescriptors();
      std::string answer;
      {
        const FaultScript script({at, error, false});
        answer = answerOrNone(question);
      }
      SCOPED_TRACE(testing::Message() << "call " << at << " (" << call << "): " << std::strerror(error));
      EXPECT_TRUE(answer == right || answer.empty()) << answer;
      EXPECT_EQ(question.ask(), right) << "without the error again";
      // What cannot be known to be the library's own any more is not closed.
      EXPECT_LE(openDescriptors(), descriptors + (call == "fstat" ? 1 : 0));
    }
  }
  report("failing call", question.name, points, "the right answer or none, nothing wrong is remembered");
}

INSTANTIATE_TEST_SUITE_P(Questions, VolumesFaultTests, testing::ValuesIn(kQuestions));

}  // namespace
}  // namespace ZtFoundation::test
