// Signals that interrupt whatever a system call waits for, every few microseconds: nothing comes out otherwise than
// without them.

#include <ZtFoundation/Applications.h>
#include <ZtFoundation/Files.h>
#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/Text.h>
#include <ZtFoundation/Utilities.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/FileErrors.h>
#include <ZtFoundation/platform/Log.h>
#include <ZtFoundation/platform/Task.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <ostream>

#include "support/ChildProcess.h"
#include "support/PrivateMounts.h"
#include "support/QuickFolder.h"
#include "support/QuietStandardError.h"
#include "support/ScopedEnvironment.h"
#include "support/ScratchFolder.h"
#include "support/Storm.h"

namespace ZtFoundation::test {
namespace {

using Names = std::set<std::string>;

Ref<NSString> stringOf(const std::string& path) { return NSString::stringWithFileSystemRepresentation(path); }
Ref<NSFileManager> manager() { return NSFileManager::defaultManager(); }

bool isEmptyOrMissing(const std::string& path) {
  std::error_code ignored;
  return !std::filesystem::exists(path, ignored);
}

constexpr std::size_t kLarge = 600000;

void makeTree(const std::string& root) {
  std::filesystem::create_directories(root + "/folder/inner");
  writeFile(root + "/large", std::string(kLarge, 'l'));
  for (int i = 0; i < 20; ++i) writeFile(root + "/folder/inner/" + std::to_string(i), "text");
}

bool isTree(const std::string& root) {
  bool isWhole = contentsOf(root + "/large") == std::string(kLarge, 'l');
  for (int i = 0; i < 20; ++i) isWhole = isWhole && contentsOf(root + "/folder/inner/" + std::to_string(i)) == "text";
  return isWhole;
}

// What an operation works with: `here` is on one file system, `there` on another one, where the machine has two.
struct Place {
  std::string here;
  std::string there;
};

struct Operation {
  friend void PrintTo(const Operation& operation, std::ostream* stream) { *stream << operation.name; }

  const char* name;
  std::function<void(const Place&)> prepare;
  std::function<bool(const Place&)> run;  // during the storm; whether the answers are right
  std::function<bool(const Place&)> check;
};

void nothing(const Place&) {}
bool always(const Place&) { return true; }

bool launchAndWait(const Place& place) {
  const std::string done = place.here + "/done";
  std::filesystem::remove(done);
  const Ref<NSArray> arguments = NSArray::arrayWithObjects(
      {Ref<NSString>("-c"), stringOf("sleep 0.01; mv \"$0\" \"$1\""), stringOf(done + ".new"), stringOf(done)});
  writeFile(done + ".new", "");
  const Ref<NSTask> task = NSTask::launchedTaskWithLaunchPath_arguments("/bin/sh", arguments);
  if (!task) return false;
  task->waitUntilExit();
  return !task->isRunning() && std::filesystem::exists(done);
}

bool launchTool(const Place& place) {
  const std::string pipe = place.here + "/pipe";
  std::filesystem::remove(pipe);
  ::mkfifo(pipe.c_str(), 0600);
  const Ref<NSArray> arguments =
      NSArray::arrayWithObjects({Ref<NSString>("-c"), stringOf("echo started > \"$0\""), stringOf(pipe)});
  if (!ZtLSLaunchToolAtPathAndArguments("/bin/sh", arguments)) return false;
  const Ref<NSData> said = NSData::dataWithContentsOfFile(stringOf(pipe));  // waits until the tool opens it
  return said && said->view() == "started\n";
}

// A pipe whose writer takes its time.
bool readPipe(const Place& place) {
  const std::string pipe = place.here + "/pipe";
  std::filesystem::remove(pipe);
  ::mkfifo(pipe.c_str(), 0600);
  const pid_t writer = startChild([&] {
    const int end = ::open(pipe.c_str(), O_WRONLY);
    for (int part = 0; part < 5; ++part) {
      ::usleep(1000);
      if (::write(end, "0123456789", 10) != 10) return 1;
    }
    return 0;
  });
  const Ref<NSData> read = NSData::dataWithContentsOfFile(stringOf(pipe));
  int status = 0;
  while (::waitpid(writer, &status, 0) < 0) {
  }
  return read && read->length() == 50;
}

// More than a pipe holds, so that writing waits for the reader.
bool writePipe(const Place& place) {
  const std::string pipe = place.here + "/pipe";
  std::filesystem::remove(pipe);
  ::mkfifo(pipe.c_str(), 0600);
  constexpr std::size_t kSize = 300000;
  const pid_t reader = startChild([&] {
    const int end = ::open(pipe.c_str(), O_RDONLY);
    std::size_t got = 0;
    char piece[5000];
    for (ssize_t size; (size = ::read(end, piece, sizeof piece)) > 0;) {
      got += static_cast<std::size_t>(size);
      ::usleep(20);
    }
    return got == kSize ? 0 : 1;
  });
  const bool isWritten = NSData::dataWithString(std::string(kSize, 'p'))->writeToFile_atomically(stringOf(pipe), false);
  int status = 0;
  while (::waitpid(reader, &status, 0) < 0) {
  }
  return isWritten && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// Lines into a pipe that is nearly always full; with O_NONBLOCK as some hosts leave it.
bool logTo(const Place& place, int flags) {
  constexpr int kLines = 200;
  int ends[2];
  if (::pipe2(ends, 0) != 0) return false;
  ::fcntl(ends[1], F_SETPIPE_SZ, 4096);
  ::fcntl(ends[1], F_SETFL, flags);
  const pid_t reader = startChild([&] {
    ::close(ends[1]);
    std::string all;
    char piece[1000];
    for (ssize_t size; (size = ::read(ends[0], piece, sizeof piece)) > 0;)
      all.append(piece, static_cast<std::size_t>(size));
    writeFile(place.here + "/log", all);
    return 0;
  });
  const int standardError = ::dup(STDERR_FILENO);
  ::dup2(ends[1], STDERR_FILENO);
  ::close(ends[1]);
  for (int line = 0; line < kLines; ++line) NSLog("line %d of many: %@", line, stringOf(std::string(500, 'x')));
  ::dup2(standardError, STDERR_FILENO);
  ::close(standardError);
  ::close(ends[0]);
  int status = 0;
  while (::waitpid(reader, &status, 0) < 0) {
  }
  const std::string log = contentsOf(place.here + "/log").value_or("");
  std::size_t at = 0;
  for (int line = 0; line < kLines; ++line) {
    const std::string text = "line " + std::to_string(line) + " of many: " + std::string(500, 'x') + "\n";
    at = log.find(text, at);
    if (at == std::string::npos) return false;
    at += text.size();
  }
  return at == log.size();
}

// In a process of its own, because modules are opened once.
bool openModules(const Place&) {
  return inChild([] {
           const SignalStorm storm;
           const unsigned char bytes[] = {0x93, 0xFA};
           const auto day = NSString::stringWithBytes_length_encoding(bytes, 2, NSShiftJISStringEncoding);
           if (!day || day->utf8() != "\xE6\x97\xA5") return 1;
           const Ref<NSArray> volumes = JxVolumeCatalogInformation::volumePaths();
           if (!volumes || volumes->count() == 0) return 2;
           return storm.count() > 0 ? 0 : 3;
         }) == 0;
}

const Operation kOperations[] = {
    {"opening of modules", nothing, openModules, always},  // first, as long as none is open
    {"save", [](const Place& place) { writeFile(place.here + "/file", "old"); },
     [](const Place& place) {
       return NSData::dataWithString(std::string(200000, 'n'))
           ->writeToFile_atomically(stringOf(place.here + "/file"), true);
     },
     [](const Place& place) { return contentsOf(place.here + "/file") == std::string(200000, 'n'); }},
    {"settings as INI text", nothing,
     [](const Place& place) {
       const auto list =
           QvPropertyList::initWithPath_format(stringOf(place.here + "/new/file"), QvPropertyListINIFormat);
       list->setValues(NSDictionary::dictionaryWithObject_forKey(
           NSDictionary::dictionaryWithObject_forKey(Ref<NSString>("value"), "Key"), "Section"));
       const QuietStandardError quiet;  // the snapshot of INI text is logged about
       return list->saveChanges();
     },
     [](const Place& place) {
       return contentsOf(place.here + "/new/file").value_or("").find("Key=value") != std::string::npos;
     }},
    {"copy of a folder", [](const Place& place) { makeTree(place.here + "/tree"); },
     [](const Place& place) {
       return manager()->copyPath_toPath_handler(stringOf(place.here + "/tree"), stringOf(place.here + "/copy"),
                                                 nullptr);
     },
     [](const Place& place) { return isTree(place.here + "/tree") && isTree(place.here + "/copy"); }},
    {"move to another disk", [](const Place& place) { makeTree(place.here + "/tree"); },
     [](const Place& place) {
       return manager()->movePath_toPath_handler(stringOf(place.here + "/tree"), stringOf(place.there + "/tree"),
                                                 nullptr);
     },
     [](const Place& place) { return isTree(place.there + "/tree") && isEmptyOrMissing(place.here + "/tree"); }},
    {"removal", [](const Place& place) { makeTree(place.here + "/tree"); },
     [](const Place& place) { return manager()->removeFileAtPath_handler(stringOf(place.here + "/tree"), nullptr); },
     [](const Place& place) { return isEmptyOrMissing(place.here + "/tree"); }},
    {"creation of folders", nothing,
     [](const Place& place) {
       return QvFoundationExtensions::createDirectoryAtPath_attributes_recursively(
           manager(), stringOf(place.here + "/a/b/c/d/e/f"), nullptr, true);
     },
     [](const Place& place) { return std::filesystem::is_directory(place.here + "/a/b/c/d/e/f"); }},
    {"free names and creation of files",
     [](const Place& place) {
       for (int i = 1; i < 100; ++i) writeFile(place.here + "/file_" + std::to_string(i), "");
       writeFile(place.here + "/file", "");
     },
     [](const Place& place) {
       return JxTalvoZtWdExensions::createFileWithContents_autoname(stringOf(place.here + "/file"),
                                                                    NSData::dataWithBytes("text"), true) == noErr;
     },
     [](const Place& place) { return contentsOf(place.here + "/file_100") == "text"; }},
    {"alias of an item that moves",
     [](const Place& place) {
       makeTree(place.here + "/tree");
       writeFile(place.here + "/tree/wanted", "text");
     },
     [](const Place& place) {
       AliasHandle alias = nullptr;
       if (!JxFileSystemRepresentation::pathStringToAliasMinimal(stringOf(place.here + "/tree/wanted"), &alias))
         return false;
       std::filesystem::rename(place.here + "/tree/wanted", place.here + "/tree/folder/inner/moved");
       const Ref<NSString> found = JxFileSystemRepresentation::pathStringFromAliasHandle(alias);
       DisposeHandle(alias);
       return isEqual(found, stringOf(std::filesystem::canonical(place.here + "/tree/folder/inner/moved").string()));
     },
     always},
    {"locks of items",
     [](const Place& place) {
       if (!takesAttributes(place.there)) GTEST_SKIP() << kNoAttributes;
       writeFile(place.there + "/file", "");
     },
     [](const Place& place) {
       const Ref<NSString> file = stringOf(place.there + "/file");
       return QvFoundationExtensions::lockFileAtPath(manager(), file) &&
              QvFoundationExtensions::isFileLockedAtPath(manager(), file) &&
              QvFoundationExtensions::unlockFileAtPath(manager(), file) &&
              !QvFoundationExtensions::isFileLockedAtPath(manager(), file);
     },
     always},
    {"list of volumes and their space", nothing,
     [](const Place& place) {
       std::uint64_t total = 0, free = 0;
       const Ref<NSArray> paths = JxVolumeCatalogInformation::volumePaths();
       return paths && paths->count() > 0 &&
              JxVolumeCatalogInformation::volumeTotalSpace_freeSpace(stringOf(place.here), &total, &free) && total > 0;
     },
     always},
    {"launch of a tool", nothing, launchTool, always},
    {"launch of a task and its end", nothing, launchAndWait, always},
    {"reading a pipe", nothing, readPipe, always},
    {"writing a pipe", nothing, writePipe, always},
    {"log lines into a full pipe", nothing, [](const Place& place) { return logTo(place, 0); }, always},
    {"log lines into a full pipe that does not wait", nothing,
     [](const Place& place) { return logTo(place, O_NONBLOCK); }, always},
};

class SignalTests : public testing::TestWithParam<Operation> {};

TEST_P(SignalTests, ChangeNothing) {
  const Operation& operation = GetParam();
  ScopedEnvironment where;
  where.set("TMPDIR", folderInMemory());
  const ScratchFolder here;
  where.set("TMPDIR", "/tmp");
  const ScratchFolder there;
  Storm storm;
  long signals = 0;
  while (storm.goesOn()) {
    const Place place{here / std::to_string(storm.rounds()), there / std::to_string(storm.rounds())};
    std::filesystem::create_directory(place.here);
    std::filesystem::create_directory(place.there);
    operation.prepare(place);
    if (IsSkipped()) return;
    bool isRight;
    {
      const SignalStorm interruptions(storm.rounds() % 2 == 0 ? 50 : 200);
      isRight = operation.run(place);
      signals += interruptions.count();
    }
    ASSERT_TRUE(isRight) << "round " << storm.rounds();
    ASSERT_TRUE(operation.check(place)) << "round " << storm.rounds();
    std::filesystem::remove_all(place.here);
    std::filesystem::remove_all(place.there);
  }
  EXPECT_GT(signals, 0);
  report("signals", operation.name, signals, "as without signals, " + std::to_string(storm.rounds()) + " rounds");
}

INSTANTIATE_TEST_SUITE_P(Operations, SignalTests, testing::ValuesIn(kOperations), [](const auto& operation) {
  std::string name = operation.param.name;
  for (char& character : name) {
    if (::isalnum(character) == 0) character = '_';
  }
  return name;
});

TEST(SignalsWhileUnmountingTests, ChangeNothing) {
  PrivateMounts mounts;
  if (!mounts.isPossible()) GTEST_SKIP() << mounts.whyNot();
  Storm storm;
  long signals = 0;
  while (storm.goesOn()) {
    const std::string disk = mounts.memory("disk");
    bool isUnmounted;
    {
      const SignalStorm interruptions;
      isUnmounted = JxVolumeCatalogInformation::unmountVolume(stringOf(disk));
      signals += interruptions.count();
    }
    ASSERT_TRUE(isUnmounted);
    EXPECT_FALSE(JxVolumeCatalogInformation::isVolume(stringOf(disk)));
  }
  EXPECT_GT(signals, 0);
  report("signals", "unmounting", signals, "as without signals, " + std::to_string(storm.rounds()) + " rounds");
}

}  // namespace
}  // namespace ZtFoundation::test
