#include <ZtFoundation/platform/Log.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <new>
#include <string>
#include <vector>

#include <ZtFoundation/platform/Runtime.h>

#include "platform/services/LogSink.h"

namespace ZtFoundation {
namespace {

class RecordingSink : public LogSink {
 public:
  void write(std::string_view text) noexcept override {
    lines.emplace_back(text);
    errno = EIO;
  }
  std::vector<std::string> lines;
};

class Log : public testing::Test {
 protected:
  RecordingSink sink;
  ScopedService<LogSink> scope{sink};
};

TEST_F(Log, FormatsOneLine) {
  NSLog("%@ failed with error: %d", Ref<NSString>("/tmp/\xC3\xBC"), -43);
  EXPECT_THAT(sink.lines, testing::ElementsAre("/tmp/\xC3\xBC failed with error: -43"));
}

TEST_F(Log, TakesArgumentLists) {
  const FormatArgument arguments[] = {1, "two"};
  NSLogv("%d %s", arguments);
  EXPECT_THAT(sink.lines, testing::ElementsAre("1 two"));
}

class Exhausting : public NSObject {
  ZT_OBJECT(Exhausting, NSObject)
 public:
  Ref<NSString> description() const override { throw std::bad_alloc(); }
};
ZT_IMPLEMENT_CLASS(Exhausting);

TEST_F(Log, DropsLinesThatThereIsNoMemoryFor) {
  errno = EDOM;
  EXPECT_NO_THROW(NSLog("%@", make<Exhausting>()));
  EXPECT_NO_THROW(detail::logMessage("WARN ", make<Exhausting>(), "text", {}));
  EXPECT_EQ(errno, EDOM);
  EXPECT_THAT(sink.lines, testing::IsEmpty());
}

TEST_F(Log, ShowsControlCharacters) {
  NSLog("%@", Ref<NSString>(std::u16string_view(u"a\x1B[31m\0\x01\x7F\r\n\tz", 13)));
  EXPECT_THAT(sink.lines, testing::ElementsAre("a\\x1b[31m\\x00\\x01\\x7f\\x0d\n\tz"));
}

TEST_F(Log, ReplacesHalvesOfPairs) {
  NSLog("%@", Ref<NSString>(u"\xDC80"));
  EXPECT_THAT(sink.lines, testing::ElementsAre("\xEF\xBF\xBD"));
}

TEST_F(Log, NoFormatIsShownAsNull) {
  NSLog(nullptr);
  NSLog("%@", Ref<NSString>());
  EXPECT_THAT(sink.lines, testing::ElementsAre("(null)", "(null)"));
}

TEST_F(Log, EmptyTextIsALine) {
  NSLog("");
  EXPECT_THAT(sink.lines, testing::ElementsAre(""));
}

TEST_F(Log, LeavesErrnoAlone) {
  errno = ENOENT;
  NSLog("x");
  EXPECT_EQ(errno, ENOENT);
}

}  // namespace
}  // namespace ZtFoundation
