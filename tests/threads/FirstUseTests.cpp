// What is made on first use is first used by many threads at once, each thing in a process that has not used it before.

#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <ZtFoundation/Applications.h>
#include <ZtFoundation/Files.h>
#include <ZtFoundation/Logging.h>
#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/System.h>
#include <ZtFoundation/Text.h>
#include <ZtFoundation/Utilities.h>
#include <ZtFoundation/platform/Bundle.h>
#include <ZtFoundation/platform/CharacterSet.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/Notification.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/PropertyListSerialization.h>
#include <ZtFoundation/platform/StringEncoding.h>
#include <ZtFoundation/platform/Task.h>
#include <ZtFoundation/platform/ValueTransformer.h>

#include "support/ChildProcess.h"
#include "support/QuickFolder.h"
#include "support/ScopedEnvironment.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation {
namespace {

constexpr std::size_t kThreads = 8;

struct FirstUse {
  const char* name;
  std::string (*answer)();
};

std::string text(const Ref<NSString>& string) { return string ? string->utf8() : "(none)"; }

std::string address(const void* object) { return std::to_string(reinterpret_cast<std::uintptr_t>(object)); }

std::string naturalOrder(const char* one, const char* other) {
  return std::to_string(static_cast<int>(QvFoundationExtensions::naturalCompare(one, other)));
}

std::string decoded(const char* bytes, const char* charset) {
  return text(QvFoundationExtensions::stringWithData_charset(NSData::dataWithString(bytes), charset));
}

std::string pathOfAlias() {
  AliasHandle alias = nullptr;
  if (!JxFileSystemRepresentation::pathStringToAlias("/usr", &alias)) return "(none)";
  const Ref<NSString> path = JxFileSystemRepresentation::pathStringFromAliasHandle(alias);
  DisposeHandle(alias);
  return text(path);
}

std::string pathOfOpenFolder() {
  const int folder = ::open("/usr", O_RDONLY | O_CLOEXEC);
  const Ref<NSString> path = QvFoundationExtensions::pathForFileDescriptor(NSFileManager::defaultManager(), folder);
  ::close(folder);
  return text(path);
}

std::string temporaryFolder() {
  const Ref<NSString> path = QvFoundationExtensions::uniqueTemporaryPathWithPrefix_suffix_pathExtension(
      NSFileManager::defaultManager(), nullptr, nullptr, nullptr);
  return text(path->stringByDeletingLastPathComponent());
}

// Each thread makes one of its own.
std::string folderOfNewFile() {
  const Ref<NSString> wanted = Ref<NSString>(std::getenv("HOME"))->stringByAppendingPathComponent("new");
  const Ref<NSString> made = JxTalvoZtWdExensions::createUnusedFinderFile(wanted, nullptr);
  return made ? text(made->stringByDeletingLastPathComponent()) : "(none)";
}

std::string savedTogether() {
  const Ref<NSString> path = Ref<NSString>(std::getenv("HOME"))->stringByAppendingPathComponent("settings");
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath(path);
  store->setValues(NSDictionary::dictionaryWithObject_forKey("value", "key"));
  return std::to_string(store->saveMergedChanges());
}

std::string endOfProgram() {
  const Ref<NSTask> program = NSTask::launchedTaskWithLaunchPath_arguments("/bin/true", nullptr);
  program->waitUntilExit();
  return std::to_string(program->isRunning());
}

// A string tells nothing of itself, and the root class takes nothing.
std::string toldAndMadeAgain() {
  const Ref<NSDictionary> told = NSDictionary::dictionaryWithObject_forKey("NSObject", "ClassForPlistRep");
  const Ref<NSArray> values = NSArray::of("text", told);
  return text(JxPropertyListExtensions::propertyListRepresentation(values)->description()) +
         text(JxPropertyListExtensions::arrayFromPropertyListRepresentation(values)->description());
}

// What is the same object each time is told by its address.
const FirstUse kFirstUses[] = {
    {"emptyString", [] { return address(NSString::string().get()); }},
    {"whitespaceSet", [] { return address(NSCharacterSet::whitespaceCharacterSet().get()); }},
    {"whitespaceAndNewlineSet", [] { return address(NSCharacterSet::whitespaceAndNewlineCharacterSet().get()); }},
    {"newlineSet", [] { return address(NSCharacterSet::newlineCharacterSet().get()); }},
    {"letters", [] { return std::to_string(NSCharacterSet::letterCharacterSet()->characterIsMember(u'\x3042')); }},
    {"digits", [] { return std::to_string(NSCharacterSet::decimalDigitCharacterSet()->characterIsMember(u'\x0663')); }},
    {"alphanumerics",
     [] { return std::to_string(NSCharacterSet::alphanumericCharacterSet()->characterIsMember(u'\x0663')); }},
    {"booleans",
     [] { return address(NSNumber::numberWithBool(true).get()) + address(NSNumber::numberWithBool(false).get()); }},
    {"exceptionNames", [] { return address(&NSInvalidArgumentException()) + address(&NSRangeException()); }},
    {"defaultCenter", [] { return address(NSNotificationCenter::defaultCenter()); }},
    {"defaultManager", [] { return address(NSFileManager::defaultManager().get()); }},
    {"mainBundle", [] { return address(NSBundle::mainBundle().get()); }},
    {"informationOfMainBundle", [] { return address(NSBundle::mainBundle()->infoDictionary().get()); }},
    {"classByName", [] { return address(NSClassFromString("NSFileManager")); }},
    {"selectorByName", [] { return address(NSSelectorFromString("neverHeardOf:before:")); }},
    {"transformerByName",
     [] { return address(NSValueTransformer::valueTransformerForName("QvDisplayNameTransformer").get()); }},
    {"collation", [] { return naturalOrder("\u00E4 10", "\u00E4 9"); }},
    {"asciiOrder", [] { return naturalOrder("a 10", "a 9"); }},
    {"charset", [] { return decoded("\xC4\xE3", "gb2312"); }},
    {"shiftJIS", [] { return text(detail::decodeSJIS("\x82\xA0", 2)); }},
    {"systemEncoding", [] { return std::to_string(CFStringGetSystemEncoding()); }},
    {"decomposition", [] { return std::to_string(QvFoundationExtensions::containsString("e\u0301", "\u00E9")); }},
    {"truncation",
     [] { return text(JxTruncateExtensions::truncateControlStringWithDrawingWidth_truncCode("Name", 1000, 0)); }},
    {"volumes", [] { return text(JxVolumeCatalogInformation::volumePaths()->description()); }},
    {"rootVolumeName", [] { return text(QvFoundationExtensions::rootVolumeName(NSFileManager::defaultManager())); }},
    {"deletability", [] { return std::to_string(JxTalvoZtWdExensions::isTalvoDeletable("/usr")); }},
    {"pictures", [] { return text(JxFindFolderExtensions::homePicturesDirectory()); }},
    {"applicationByIdentifier", [] { return text(ZtLSGetApplicationPathForIdentifier("org.example.none")); }},
    {"applicationBySignature", [] { return text(ZtLSGetApplicationPathForSignature("NoNe")); }},
    {"systemVersion", [] { return std::to_string(ZtGestaltOSVersion()); }},
    {"memory", [] { return std::to_string(ZtGestaltPhysicalRAMSizeInMegabytes()); }},
    {"identifier", [] { return std::to_string(ZtIdentifierString()->length()); }},
    {"stopwatch", [] { return std::to_string(QvElapsedTime::elapsedTime()->elapsedMillisecondsAsUInt32() < 60000); }},
    {"alias", pathOfAlias},
    {"openFolder", pathOfOpenFolder},
    {"temporaryFolder", temporaryFolder},
    {"newFile", folderOfNewFile},
    {"saveLock", savedTogether},
    {"program", endOfProgram},
    {"selectorsOfRepresentations", toldAndMadeAgain},
    {"binaryFile",
     [] {
       const Ref<NSData> data = NSPropertyListSerialization::dataFromPropertyList_format_errorDescription(
           Ref<NSString>("value"), NSPropertyListBinaryFormat_v1_0, nullptr);
       return std::to_string(data->length());
     }},
    {"sharedLoggingManager", [] { return address(ZtLoggingManager::sharedLoggingManager().get()); }},
    {"logLine",
     [] {
       ZtLog("first");
       YbLog("first", ZtLogLevelInfo, "%@", Ref<NSString>("line"));
       return std::string();
     }},
};

void silenceStandardError() {
  const int nothing = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
  ::dup2(nothing, STDERR_FILENO);
}

// 0 when all threads got the same answer as a later call.
int answersDiffer(const FirstUse& use) {
  std::vector<std::string> answers(kThreads);
  std::atomic<std::size_t> waiting = 0;
  std::vector<std::thread> threads;
  for (std::string& answer : answers) {
    threads.emplace_back([&] {
      ++waiting;
      while (waiting < kThreads) std::this_thread::yield();
      answer = use.answer();
    });
  }
  for (std::thread& thread : threads) thread.join();
  const std::string later = use.answer();
  for (const std::string& answer : answers) {
    if (answer != later) return 1;
  }
  return 0;
}

class FirstUseTests : public testing::TestWithParam<FirstUse> {};

TEST_P(FirstUseTests, ThreadsGetWhatLaterCallersGet) {
  test::ScopedEnvironment environment;
  environment.set("TMPDIR", test::folderInMemory());  // who saves together waits for the others' disk
  const test::ScratchFolder scratch;
  for (const char* name : {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_DIRS"}) {
    environment.set(name, scratch.path());
  }
  environment.set("GSETTINGS_BACKEND", "memory");
  EXPECT_EQ(test::inChild([] {
              const bool keepsReports = std::string_view(GetParam().name) != "logLine";
              if (!keepsReports) silenceStandardError();
              return answersDiffer(GetParam());
            }),
            0);
}

// One thread loads code whose static initialisers use what another one is using for the first time.
TEST(FirstUse, CodeThatIsBeingLoadedWaitsForNoOtherThread) {
  EXPECT_EQ(test::inChild([] {
              ::alarm(20);
              return ::dlopen(ZT_TEST_PLUGINS "/AsksWhileLoading.so", RTLD_NOW) != nullptr ? 0 : 1;
            }),
            0);
}

INSTANTIATE_TEST_SUITE_P(Of, FirstUseTests, testing::ValuesIn(kFirstUses),
                         [](const testing::TestParamInfo<FirstUse>& use) { return std::string(use.param.name); });

}  // namespace
}  // namespace ZtFoundation
