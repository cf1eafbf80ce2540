// Finding, telling and starting applications and tools with each of their allocations failing.
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include <ZtFoundation/Applications.h>
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Task.h>

#include <support/FailingAllocations.h>
#include <support/FileTree.h>
#include <support/QuietStandardError.h>
#include <support/ScopedEnvironment.h>

namespace ZtFoundation::test {
namespace {

constexpr char kInformation[] =
    "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>org.example.a.viewer.of.things</string>"
    "<key>CFBundleSignature</key><string>View</string><key>CFBundleExecutable</key><string>view</string></dict></"
    "plist>";
constexpr char kEntry[] =
    "[Desktop Entry]\nType=Application\nName=An Editor\nX-ZtFoundation-Signature=Edit\nExec=/bin/true --with %f\n";

const std::string& home() {
  static const std::string home = [] {
    const std::string path = FileTree::beside("home of a user");
    const std::string bundle = path + "/Applications/A Viewer.app/Contents";
    const std::string entries = path + "/.local/share/applications";
    std::filesystem::create_directories(bundle + "/Linux");
    std::filesystem::create_directories(entries);
    writeFile(bundle + "/Info.plist", kInformation);
    writeFile(bundle + "/Linux/view", "#!/bin/sh\nexit 0\n");
    ::chmod((bundle + "/Linux/view").c_str(), 0755);
    writeFile(entries + "/org.example.an.editor.desktop", kEntry);
    return path;
  }();
  return home;
}

struct Installed {
  ScopedEnvironment environment;
  Ref<NSString> bundle = NSString::stringWithFileSystemRepresentation(home() + "/Applications/A Viewer.app");
  Ref<NSString> entry =
      NSString::stringWithFileSystemRepresentation(home() + "/.local/share/applications/org.example.an.editor.desktop");
  Ref<NSString> document = FileTree::path("file.txt");
  Ref<NSString> folder = FileTree::path("folder");
  Ref<NSString> root = "/";
  Ref<NSURL> bundleURL = NSURL::fileURLWithPath(bundle);
  Ref<NSURL> entryURL = NSURL::fileURLWithPath(entry);
  Ref<NSURL> documentURL = NSURL::fileURLWithPath(document);
  Ref<NSURL> folderURL = NSURL::fileURLWithPath(folder);
  Ref<NSString> tool = "/bin/true";
  Ref<NSURL> toolURL = NSURL::fileURLWithPath(tool);
  Ref<NSArray> arguments = NSArray::of("an argument that is rather long", "another");

  Installed() {
    environment.set("HOME", home());
    for (const char* name : {"XDG_DATA_HOME", "XDG_CONFIG_HOME"}) environment.set(name, std::nullopt);
    environment.set("XDG_DATA_DIRS", home() + "/none");
  }
  std::string describe() const { return describeProcess(); }
};

class AllocationFailureApplications : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(describeTree(home()), before_); }

 private:
  QuietStandardError quiet_;
  FileTree tree_;
  std::string before_ = describeTree(home());
};

// What is known of the applications is kept.
TEST_F(AllocationFailureApplications, Finding) {
  const EachOf<Installed> each;
  const AllocationRules remembers{.keepsMemory = true};
  each(
      "ZtLSGetApplicationPathForSignature", [](Installed&) { return ZtLSGetApplicationPathForSignature("View"); },
      remembers);
  each(
      "ZtLSGetApplicationURLForSignature", [](Installed&) { return ZtLSGetApplicationURLForSignature("Edit"); },
      remembers);
  each(
      "ZtLSGetApplicationPathForIdentifier",
      [](Installed&) { return ZtLSGetApplicationPathForIdentifier("org.example.a.viewer.of.things"); }, remembers);
  each(
      "ZtLSGetApplicationURLForIdentifier",
      [](Installed&) { return ZtLSGetApplicationURLForIdentifier("ORG.example.an.editor.desktop"); }, remembers);
}

TEST_F(AllocationFailureApplications, Kinds) {
  const EachOf<Installed> each;
  each("ZtLSIsNativeApplicationAtURL", [](Installed& i) { return ZtLSIsNativeApplicationAtURL(i.bundleURL); });
  each("ZtLSIsNativeApplicationAtPath", [](Installed& i) { return ZtLSIsNativeApplicationAtPath(i.entry); });
  each("ZtLSIsApplicationAtURL", [](Installed& i) { return ZtLSIsApplicationAtURL(i.entryURL); });
  each("ZtLSIsApplicationAtPath", [](Installed& i) { return ZtLSIsApplicationAtPath(i.bundle); });
  each("ZtLSIsPlainFileAtURL", [](Installed& i) { return ZtLSIsPlainFileAtURL(i.documentURL); });
  each("ZtLSIsPlainFileAtPath", [](Installed& i) { return ZtLSIsPlainFileAtPath(i.document); });
  each("ZtLSIsDirectoryAtURL", [](Installed& i) { return ZtLSIsDirectoryAtURL(i.folderURL); });
  each("ZtLSIsDirectoryAtPath", [](Installed& i) { return ZtLSIsDirectoryAtPath(i.folder); });
  each("ZtLSIsVolumeAtURL", [](Installed& i) { return ZtLSIsVolumeAtURL(i.folderURL); });
  each("ZtLSIsVolumeAtPath", [](Installed& i) { return ZtLSIsVolumeAtPath(i.root); });
}

// --- Starting

// As long as this lives, what is started and left to itself comes to this process, which so knows whether anything was.
class Subreaper {
 public:
  Subreaper() { ::prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0); }
  Subreaper(const Subreaper&) = delete;
  Subreaper& operator=(const Subreaper&) = delete;
  ~Subreaper() { ::prctl(PR_SET_CHILD_SUBREAPER, 0, 0, 0, 0); }
};

struct EachStart {
  template <class Operation>
  void operator()(const std::string& name, Operation operation) const {
    const Subreaper subreaper;
    std::size_t points = 0;
    for (const Failing mode : {Failing::One, Failing::AllFrom}) {
      for (std::size_t at = 1; !isDone(name, operation, at, mode); ++at) ++points;
    }
    allocations::reportPoints("failing allocation", name, points);
  }

 private:
  // What ends for want of memory has started nothing.
  template <class Operation>
  static bool isDone(const std::string& name, Operation& operation, std::size_t at, Failing mode) {
    SCOPED_TRACE(testing::Message() << name << ", allocation " << at);
    Installed installed;
    const allocations::Run run = allocations::run(name.c_str(), installed, operation, at, mode, 0);
    const bool hasFailed = run.end == allocations::Run::End::NoMemory;
    EXPECT_TRUE(hasFailed || run.answer == "1" || run.answer == "(done)") << run.answer;
    const bool isAnyStarted = !hasNoChildren();
    EXPECT_FALSE(hasFailed && isAnyStarted);
    while (::waitpid(-1, nullptr, 0) > 0) continue;
    return run.count.failed == 0 || testing::Test::HasFailure();
  }
};

TEST_F(AllocationFailureApplications, Starting) {
  if (std::getenv(allocations::kFirstUseVariable) != nullptr) GTEST_SKIP() << "starts programs in this process";
  const EachStart each;
  each("ZtLSLaunchApplicationAtURL", [](Installed& i) { return ZtLSLaunchApplicationAtURL(i.bundleURL); });
  static_cast<void>(ZtLSIsVolumeAtPath("/"));
  const std::size_t descriptors = openDescriptors();  // with the table of mounts, which stays open
  each("ZtLSLaunchApplicationAtPath", [](Installed& i) { return ZtLSLaunchApplicationAtPath(i.entry); });
  each("ZtLSOpenFileWithApplicationAtURL",
       [](Installed& i) { return ZtLSOpenFileWithApplicationAtURL(i.documentURL, i.entryURL, true); });
  each("ZtLSOpenFileWithApplicationAtPath",
       [](Installed& i) { return ZtLSOpenFileWithApplicationAtPath(i.document, i.bundle, false); });
  // Whether a program that ends at once still runs is nobody's to say.
  each("ZtLSLaunchToolAtPathAndArguments",
       [](Installed& i) { static_cast<void>(ZtLSLaunchToolAtPathAndArguments(i.tool, i.arguments)); });
  each("ZtLSLaunchToolAtURLAndArguments",
       [](Installed& i) { static_cast<void>(ZtLSLaunchToolAtURLAndArguments(i.toolURL, i.arguments)); });
  each("NSTask::launchedTaskWithLaunchPath_arguments", [](Installed& i) {
    const Ref<NSTask> task = NSTask::launchedTaskWithLaunchPath_arguments(i.tool, i.arguments);
    return task->processIdentifier() > 0;
  });
  EXPECT_LE(openDescriptors(), descriptors + 1) << "the last one is forgotten when the next one starts";
}

struct Started : Installed {
  Ref<NSTask> task = NSTask::launchedTaskWithLaunchPath_arguments(tool, arguments);
  Started() { task->waitUntilExit(); }
};

TEST_F(AllocationFailureApplications, Tasks) {
  const EachOf<Started> each;
  each("NSTask::isRunning", [](Started& s) { return s.task->isRunning(); });
  each("NSTask::waitUntilExit", [](Started& s) { s.task->waitUntilExit(); });
  each("NSTask::processIdentifier", [](Started& s) { return s.task->processIdentifier() > 0; });
  each("NSTask::classObject", [](Started&) { return NSTask::classObject(); });
  each("NSTask::launchedTaskWithLaunchPath_arguments (missing)",
       [](Started& s) { return NSTask::launchedTaskWithLaunchPath_arguments(s.folder, s.arguments) != nullptr; },
       {.throwsAnyway = true});
}

}  // namespace
}  // namespace ZtFoundation::test
