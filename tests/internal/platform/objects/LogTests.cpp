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

TEST_F(Log, LooksAtEveryCharacter) {
  const std::pair<char16_t, const char*> cases[] = {
      {0, "\\x00"}, {0x1F, "\\x1f"}, {0x7F, "\\x7f"}, {0x80, "\xC2\x80"}, {0xFF, "\xC3\xBF"}, {' ', " "}, {'~', "~"}};
  for (const auto& [unit, shown] : cases) {
    for (std::size_t place = 0; place < 20; ++place) {
      std::u16string text(20, u'x');
      text[place] = unit;
      NSLog("%@", Ref<NSString>(text));
      EXPECT_EQ(sink.lines.back(), std::string(place, 'x').append(shown).append(19 - place, 'x'));
    }
  }
}

TEST_F(Log, CharactersOfTwoPrintableBytesAreCharacters) {
  NSLog("%@", Ref<NSString>(u"\u6261\u6463"));
  EXPECT_THAT(sink.lines, testing::ElementsAre("\xE6\x89\xA1\xE6\x91\xA3"));
}

class Renaming : public NSObject {
  ZT_OBJECT(Renaming, NSObject)
 public:
  explicit Renaming(Ref<NSMutableString> name) : name_(std::move(name)) {}
  Ref<NSString> description() const override {
    name_->setString("new");
    return "renamed";
  }

 private:
  Ref<NSMutableString> name_;
};
ZT_IMPLEMENT_CLASS(Renaming);

TEST_F(Log, LoggersThatChangeAreAskedOnceTheTextIsMade) {
  const Ref<NSMutableString> name = NSMutableString::stringWithString("old");
  const Ref<NSObject> renaming = make<Renaming>(name);
  const FormatArgument arguments[] = {renaming};
  detail::logMessage("WARN ", name, "%@", arguments);
  EXPECT_THAT(sink.lines, testing::ElementsAre("WARN  new - renamed"));
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
