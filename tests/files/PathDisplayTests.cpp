#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Runtime.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <thread>
#include <vector>

#include "support/ReplacedMethod.h"
#include "support/Sanitizers.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {

/// Shows every item by the same name, whatever it is.
class ManagerOfOneName : public NSFileManager {
  ZT_OBJECT(ManagerOfOneName, NSFileManager)
 public:
  Ref<NSString> displayNameAtPath(const Ref<NSString>& path) override { return path ? "Item" : nullptr; }
};

ZT_IMPLEMENT_CLASS(ManagerOfOneName, ZT_METHOD("displayNameAtPath:", &ManagerOfOneName::displayNameAtPath));

Ref<NSArray> threeComponents(NSFileManager&, const Ref<NSString>& path) {
  return NSArray::of("Startup", "a", path ? path->lastPathComponent() : Ref<NSString>("none"));
}
Ref<NSArray> noComponents(NSFileManager&, const Ref<NSString>&) { return nullptr; }
Ref<NSArray> emptyComponents(NSFileManager&, const Ref<NSString>&) { return NSArray::array(); }

namespace {

using namespace JxTalvoZtWdExensions;
using namespace JxURLPathExtensions;
using QvFoundationExtensions::displayNameAtURL;

const SEL kComponents = ZT_SELECTOR("componentsToDisplayForPath:");

TEST(DisplayPath, JoinsTheComponents) {
  const ReplacedMethod<&threeComponents> replaced(NSFileManager::classObject(), kComponents);
  const struct {
    Ref<NSString> separator;
    const char* expected;
  } cases[] = {{nullptr, "Startup:a:b.jpg"}, {"", "Startup:a:b.jpg"},        {":", "Startup:a:b.jpg"},
               {"/", "Startup/a/b.jpg"},     {" > ", "Startup > a > b.jpg"}, {"\xE2\x86\x92", "Startup→a→b.jpg"}};
  for (const auto& each : cases) EXPECT_EQ(displayPathWithSeparetor("/a/b.jpg", each.separator)->utf8(), each.expected);
  EXPECT_FALSE(displayPathWithSeparetor(nullptr, ":")) << "nobody is asked about no path";
}

TEST(DisplayPath, WithoutComponentsIsNone) {
  {
    const ReplacedMethod<&noComponents> replaced(NSFileManager::classObject(), kComponents);
    EXPECT_FALSE(displayPathWithSeparetor("/", nullptr));
  }
  const ReplacedMethod<&emptyComponents> replaced(NSFileManager::classObject(), kComponents);
  EXPECT_FALSE(displayPathWithSeparetor("/", nullptr));
}

TEST(DisplayPath, OfTheMachine) {
  const std::string root = NSFileManager::defaultManager()->displayNameAtPath("/")->utf8();
  EXPECT_EQ(displayPathWithSeparetor("/", " > ")->utf8(), root);
  EXPECT_EQ(displayPathWithSeparetor("/dev/null", " > ")->utf8(), root + " > dev > null");
  EXPECT_EQ(displayPathWithSeparetor("/dev/null", nullptr)->utf8(), root + ":dev:null");
  ::testing::internal::CaptureStderr();
  EXPECT_FALSE(displayPathWithSeparetor("/no such item", nullptr));
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  EXPECT_FALSE(displayPathWithSeparetor("", nullptr));
  EXPECT_FALSE(displayPathWithSeparetor(nullptr, nullptr));
}

TEST(SlashAndColon, AreExchanged) {
  const struct {
    std::u16string text, colons, slashes;
  } cases[] = {
      {u"", u"", u""},
      {u"2024/01/31 photos", u"2024:01:31 photos", u"2024/01/31 photos"},
      {u"a:b::c", u"a:b::c", u"a/b//c"},
      {u"/", u":", u"/"},
      {u":/:/", u"::::", u"////"},
      {u"plain", u"plain", u"plain"},
      {u"\u65E5/\u672C:", u"\u65E5:\u672C:", u"\u65E5/\u672C/"},
      {u"a/\u0301:\u0301", u"a:\u0301:\u0301", u"a/\u0301/\u0301"},
      {u"\xD834/\xDD1E", u"\xD834:\xDD1E", u"\xD834/\xDD1E"},
      {u"\uFF0F\uFF1A\u2215", u"\uFF0F\uFF1A\u2215", u"\uFF0F\uFF1A\u2215"},
      {std::u16string(u"/\0/", 3), std::u16string(u":\0:", 3), std::u16string(u"/\0/", 3)},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(convertSlashToColon(each.text)->utf16(), each.colons);
    EXPECT_EQ(convertColonToSlash(each.text)->utf16(), each.slashes);
  }
}

TEST(SlashAndColon, GiveNewMutableStrings) {
  for (const auto convert : {convertSlashToColon, convertColonToSlash}) {
    for (const char* text : {"", "plain", "a/b:c"}) {
      const Ref<NSMutableString> self = NSMutableString::stringWithString(text);
      const Ref<NSMutableString> result = convert(self);
      ASSERT_TRUE(result);
      EXPECT_FALSE(result == self);
      EXPECT_TRUE(result->isMutable());
      EXPECT_EQ(self->utf8(), text) << "the receiver stays";
      result->appendString("x");
      EXPECT_EQ(self->utf8(), text);
    }
    EXPECT_FALSE(convert(nullptr));
  }
}

TEST(SlashAndColon, LongTextTakesLittleTime) {
  // The thread sanitizer marks the rest of the text at each search, which no run of this length survives.
  const std::string text(test::kIsSanitized ? 20'000 : 2'000'000, '/');
  EXPECT_EQ(convertSlashToColon(text)->utf8(), std::string(text.size(), ':'));
}

Ref<NSURL> url(const char* text) { return NSURL::URLWithString(text); }

TEST(URLPaths, LastComponent) {
  const struct {
    const char* url;
    const char* expected;
  } cases[] = {
      {"file:///a/b/", "b"},
      {"file:///a/b", "b"},
      {"file:///a/b.txt?query=/x#fragment/y", "b.txt"},
      {"file:///a/b%20c%2Fd", "d"},
      {"file:///", "/"},
      {"file:/a", "a"},
      {"http://example.org/x/y%C3%A9/", "y\xC3\xA9"},
      {"http://example.org", ""},
      {"http://example.org?q", ""},
      {"file:a", "a"},
  };
  for (const auto& each : cases) EXPECT_EQ(lastURLComponent(url(each.url))->utf8(), each.expected) << each.url;
  EXPECT_FALSE(lastURLComponent(nullptr));
}

TEST(URLPaths, DeletingTheLastComponent) {
  const struct {
    const char* url;
    const char* expected;
  } cases[] = {
      {"file:///a/b/", "file:///a"},
      {"file:///a/b?query#fragment", "file:///a"},
      {"file:///a", "file:///"},
      {"file:///", "file:///"},
      {"file:///a%20b/c", "file:///a%20b"},
      {"http://me@example.org:80/a/b/c?q", "file:///a/b"},
      {"file:a/b", "file:a"},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(fileURLByDeletingLastURLComponent(url(each.url))->absoluteString()->utf8(), each.expected) << each.url;
  }
  EXPECT_FALSE(fileURLByDeletingLastURLComponent(url("file:a"))) << "no path remains";
  EXPECT_FALSE(fileURLByDeletingLastURLComponent(url("http://example.org")));
  EXPECT_FALSE(fileURLByDeletingLastURLComponent(nullptr));
}

TEST(URLPaths, AppendingAComponent) {
  const struct {
    const char* url;
    Ref<NSString> component;
    const char* expected;
  } cases[] = {
      {"file:///tmp", "x.txt", "file:///tmp/x.txt"},
      {"file:///tmp/", "x.txt", "file:///tmp/x.txt"},
      {"file:///", "x", "file:///x"},
      {"file:///tmp?query#fragment", "a b?c#d", "file:///tmp/a%20b%3Fc%23d"},
      {"file:///tmp", "a/b", "file:///tmp/a/b"},
      {"file:///tmp", "", "file:///tmp"},
      {"file:///tmp", nullptr, "file:///tmp"},
      {"https://example.org/a", "b", "file:///a/b"},
      {"http://example.org", "b", "file:b"},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(fileURLByAppendingURLComponent(url(each.url), each.component)->absoluteString()->utf8(), each.expected);
  }
  EXPECT_FALSE(fileURLByAppendingURLComponent(nullptr, "x"));
  EXPECT_FALSE(fileURLByAppendingURLComponent(url("http://example.org"), "")) << "no path at all";
}

TEST(URLPaths, NamesNeedNotBeUTF8) {
  const Ref<NSURL> folder = NSURL::fileURLWithPath(NSString::stringWithFileSystemRepresentation("/a/\xFF"));
  EXPECT_EQ(lastURLComponent(folder)->fileSystemRepresentation(), "\xFF");
  EXPECT_EQ(fileURLByAppendingURLComponent(folder, "b")->path()->fileSystemRepresentation(), "/a/\xFF/b");
}

class DisplayNameAtURLTests : public ::testing::Test {
 protected:
  DisplayNameAtURLTests() {
    writeFile(folder / "a b.txt", "");
    std::filesystem::create_symlink("nowhere", folder / "broken");
  }

  std::string name(const Ref<NSURL>& at) {
    const Ref<NSString> found = displayNameAtURL(files, at);
    return found ? found->utf8() : "(none)";
  }
  std::string logged(const Ref<NSURL>& at) {
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(name(at), "(none)");
    return ::testing::internal::GetCapturedStderr();
  }

  ScratchFolder folder;
  Ref<NSFileManager> files = NSFileManager::defaultManager();
};

TEST_F(DisplayNameAtURLTests, IsThatOfThePath) {
  EXPECT_EQ(name(NSURL::fileURLWithPath(folder.string("a b.txt"))), "a b.txt");
  EXPECT_EQ(name(NSURL::fileURLWithPath(folder.string("broken"))), "broken") << "a link is an item, too";
  EXPECT_EQ(name(url("file:///")), files->displayNameAtPath("/")->utf8());
}

TEST_F(DisplayNameAtURLTests, AMissingItemHasNoneAndNothingIsSaid) {
  EXPECT_EQ(logged(NSURL::fileURLWithPath(folder.string("missing"))), "");
}

TEST_F(DisplayNameAtURLTests, OtherURLsAreLogged) {
  EXPECT_TRUE(logged(url("http://example.org/a?b#c")).ends_with("] IS NOT FILE URL: http://example.org/a?b#c\n"));
  EXPECT_TRUE(logged(url("/tmp")).ends_with("] IS NOT FILE URL: /tmp\n"));
  EXPECT_TRUE(logged(nullptr).ends_with("] IS NOT FILE URL: (null)\n"));
}

TEST_F(DisplayNameAtURLTests, TheReceiverIsAsked) {
  files = ZtFoundation::make<ManagerOfOneName>();
  EXPECT_EQ(name(NSURL::fileURLWithPath(folder.string("a b.txt"))), "Item");
  EXPECT_EQ(name(NSURL::fileURLWithPath(folder.string("missing"))), "(none)");
  files = nullptr;
  EXPECT_EQ(logged(NSURL::fileURLWithPath(folder.string("a b.txt"))), "");
  EXPECT_EQ(logged(url("http://example.org/a")), "") << "nobody to say so";
}

TEST(RootVolumeName, IsTheSameForAllThreads) {
  std::vector<Ref<NSString>> names(4);
  std::vector<std::thread> threads;
  for (Ref<NSString>& name : names) {
    threads.emplace_back([&name] { name = QvFoundationExtensions::rootVolumeName(NSFileManager::defaultManager()); });
  }
  for (std::thread& thread : threads) thread.join();
  for (const Ref<NSString>& name : names) EXPECT_TRUE(isEqual(name, names.front()));
}

TEST(RootVolumeName, OfTheMachine) {
  const Ref<NSFileManager> files = NSFileManager::defaultManager();
  const Ref<NSString> name = QvFoundationExtensions::rootVolumeName(files);
  ASSERT_TRUE(name) << "the root is a volume";
  EXPECT_TRUE(name->isEqualToString(files->displayNameAtPath("/")));
}

}  // namespace
}  // namespace ZtFoundation::test
