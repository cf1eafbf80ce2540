// Lines of the log with each allocation failing that making one takes.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include <ZtFoundation/Logging.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/URL.h>

#include <support/FailingAllocations.h>
#include <support/FileTree.h>

namespace ZtFoundation::test {
namespace {

constexpr char kText[] = "a message that is longer than what a string holds in itself";

// What comes out on standard error as long as this lives is one whole line or nothing.
class WholeLine {
 public:
  WholeLine() : before_(::dup(STDERR_FILENO)), lines_(::memfd_create("lines", MFD_CLOEXEC)) {
    ::dup2(lines_, STDERR_FILENO);
  }
  WholeLine(const WholeLine&) = delete;
  WholeLine& operator=(const WholeLine&) = delete;
  ~WholeLine() {
    std::string text(4096, '\0');
    const ssize_t size = ::pread(lines_, text.data(), text.size(), 0);
    text.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    ::dup2(before_, STDERR_FILENO);
    ::close(before_);
    ::close(lines_);
    EXPECT_TRUE(text.empty() || (text.ends_with(std::string(kText) + " 7\n") && isOneLine(text))) << text;
  }

 private:
  static bool isOneLine(const std::string& text) { return std::count(text.begin(), text.end(), '\n') == 1; }

  int before_;
  int lines_;
};

struct Line {
  Ref<NSString> format = std::string(kText).append(" %@");
  Ref<NSString> logger = "the name of a logger, which is long";
  Ref<NSObject> otherLogger = NSURL::URLWithString("http://example.org/a-logger-of-another-kind");
  Ref<NSNumber> number = NSNumber::numberWithInt(7);
  Ref<ZtLoggingManager> manager = make<ZtLoggingManager>();
  WholeLine line;
};

TEST(AllocationFailureLogging, PlainLines) {
  const EachOf<Line> each;
  each("NSLogv", [](Line& l) {
    const std::array<FormatArgument, 1> arguments{FormatArgument(l.number)};
    NSLogv(l.format, arguments);
  });
  each("NSLog", [](Line& l) { NSLog(l.format, l.number); });
  each("ZtLog", [](Line& l) { ZtLog(l.format, l.number); });
  each("ZtLog (text)",
       [](Line& l) { ZtLog("a message that is longer than what a string holds in itself %@", l.number); });
}

TEST(AllocationFailureLogging, Managers) {
  const EachOf<Line> each;
  each("ZtLoggingManager::configureWithPath_watch", [](Line& l) { l.manager->configureWithPath_watch("/none", true); });
  each("ZtLoggingManager::appendToLogger_level_format_arguments", [](Line& l) {
    const std::array<FormatArgument, 1> arguments{FormatArgument(l.number)};
    l.manager->appendToLogger_level_format_arguments(l.logger, ZtLogLevelWarn, l.format, arguments);
  });
  each("ZtLoggingManager::appendToLogger_level_format_arguments (silent)", [](Line& l) {
    const std::array<FormatArgument, 1> arguments{FormatArgument(l.number)};
    l.manager->appendToLogger_level_format_arguments(l.logger, 5, l.format, arguments);
  });
  each("ZtLoggingManager::appendToLogger_level_message",
       [](Line& l) { l.manager->appendToLogger_level_message(l.otherLogger, ZtLogLevelInfo, l.format, l.number); });
  each("detail::logMessage", [](Line& l) {
    const std::array<FormatArgument, 1> arguments{FormatArgument(l.number)};
    detail::logMessage("DEBUG", l.otherLogger, l.format, arguments);
  });
  each("detail::appendToManager", [](Line& l) {
    const std::array<FormatArgument, 1> arguments{FormatArgument(l.number)};
    detail::appendToManager(l.manager.get(), l.logger, ZtLogLevelError, l.format, arguments);
  });
}

struct Shared : Line {
  Shared() { ZtLoggingManager::setSharedLoggingManager(manager); }
  ~Shared() { ZtLoggingManager::setSharedLoggingManager(nullptr); }
};

TEST(AllocationFailureLogging, SharedManager) {
  const EachOf<Shared> each;
  each("YbLog", [](Shared& s) { YbLog(s.logger, ZtLogLevelFatal, s.format, s.number); });
  each("YbLog (text)", [](Shared& s) {
    YbLog("a logger whose name is long enough", ZtLogLevelDebug,
          "a message that is longer than what a string holds in itself %@", s.number);
  });
  each("detail::appendToSharedManager", [](Shared& s) {
    const std::array<FormatArgument, 1> arguments{FormatArgument(s.number)};
    detail::appendToSharedManager(s.logger, ZtLogLevelError, s.format, arguments);
  });
  each("ZtLoggingManager::sharedLoggingManager",
       [](Shared& s) { return ZtLoggingManager::sharedLoggingManager() == s.manager; });
  each("ZtLoggingManager::setSharedLoggingManager",
       [](Shared& s) { ZtLoggingManager::setSharedLoggingManager(s.manager); });
  each("ZtLoggingManager::classObject", [](Shared&) { return ZtLoggingManager::classObject(); });
}

struct NoBundle {
  Ref<NSString> folder = FileTree::path("folder");
  Ref<NSString> missing = FileTree::path("missing.bundle");
  std::string describe() const { return describeProcess(); }
};

TEST(AllocationFailureLogging, ManagersOfNoBundle) {
  const FileTree tree;
  const EachOf<NoBundle> each;
  each("ZtLoggingManager::loggingManagerWithBundlePath",
       [](NoBundle& b) { return ZtLoggingManager::loggingManagerWithBundlePath(b.folder); });
  each("ZtLoggingManager::loggingManagerWithBundlePath (missing)",
       [](NoBundle& b) { return ZtLoggingManager::loggingManagerWithBundlePath(b.missing); });
}

}  // namespace
}  // namespace ZtFoundation::test
