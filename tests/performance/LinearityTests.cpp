// Eight times the bytes take about eight times as long. Large hash tables take up to twice that, since they do not fit
// the caches any more; work that grows with the square of the bytes would take eight times as long. Each shape of input
// has tempted some reader or writer to do such work.

#include <ZtFoundation/PropertyLists.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <limits>
#include <ostream>
#include <string>
#include <string_view>

namespace ZtFoundation {
namespace {

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ZT_UNDER_SANITIZER 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(ZT_UNDER_SANITIZER)
constexpr bool kIsSlowed = true;
#else
constexpr bool kIsSlowed = false;
#endif

constexpr std::size_t kSmall = 1 << 20;
constexpr std::size_t kFactor = 8;
constexpr double kTolerance = 3.5;
constexpr int kAttempts = 3;
constexpr QvPropertyListFormat kXML = 100;
constexpr QvPropertyListFormat kBinary = 200;
constexpr QvPropertyListFormat kOpenStep = 1;

// Unlike the clock on the wall it stands still while others run.
double processorSeconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

template <class Work>
double fastestOf(int runs, Work work) {
  double fastest = std::numeric_limits<double>::max();
  for (int run = 0; run < runs; ++run) {
    const double start = processorSeconds();
    work();
    fastest = std::min(fastest, processorSeconds() - start);
  }
  return fastest;
}

Ref<NSObject> read(const Ref<NSData>& bytes, QvPropertyListFormat format) {
  return QvPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(bytes, 0, &format,
                                                                                                    nullptr);
}

Ref<NSData> write(const Ref<NSObject>& value, QvPropertyListFormat format) {
  return QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(value, format, nullptr);
}

struct Shape {
  friend void PrintTo(const Shape& shape, std::ostream* stream) { *stream << shape.name; }

  const char* name;
  QvPropertyListFormat format;
  std::string_view before;
  // Repeated; each "@" in it becomes a number that no other repetition has.
  std::string_view repeated;
  std::string_view after;
};

std::string textOf(const Shape& shape, std::size_t bytes) {
  std::string text(shape.before);
  for (std::size_t number = 0; text.size() < bytes; ++number) {
    for (const char character : shape.repeated) {
      character == '@' ? text.append(std::to_string(number)) : text.append(1, character);
    }
  }
  return text.append(shape.after);
}

#define DEEP(open) open open open open open open open open open open open open open open open open open open open open

const std::array<Shape, 19> kShapes{{
    {"records", kXML, "<plist><array>",
     "<dict><key>Name</key><string>Song @</string><key>Size</key><integer>@</integer><key>Rate</key><real>0.@</real>"
     "<key>Added</key><date>2011-06-23T08:30:12Z</date><key>On</key><true/></dict>",
     "</array></plist>"},
    {"equal records", kXML, "<plist><array>", "<dict><key>Name</key><string>the same</string></dict>",
     "</array></plist>"},
    {"one dictionary", kXML, "<plist><dict>", "<key>@</key><string/>", "</dict></plist>"},
    {"keys that differ in the middle", kXML, "<plist><dict>",
     "<key>the same at the beginning of every key @ and the same at the end of every key, too</key><true/>",
     "</dict></plist>"},
    {"the same key again and again", kXML, "<plist><dict>", "<key>a</key><integer>@</integer>", "</dict></plist>"},
    {"one string", kXML, "<plist><string>", "plain text ", "</string></plist>"},
    {"one string of references", kXML, "<plist><string>", "&amp;&#228;&lt;", "</string></plist>"},
    {"one string that widens late", kXML, "<plist><string>", "plain text ", "\xE6\x97\xA5</string></plist>"},
    {"one string in pieces", kXML, "<plist><string>", "<![CDATA[a]]>b<!-- c -->", "</string></plist>"},
    {"one data", kXML, "<plist><data>", "AAEC\n", "</data></plist>"},
    {"comments", kXML, "<plist><array>", "<!-- - -- ->--><?a b?>\n", "</array></plist>"},
    {"lists in lists", kXML, "<plist><array>", DEEP("<array>") DEEP("</array>"), "</array></plist>"},
    {"empty lists", kXML, "<plist><array>", "<array/><dict/><string/><data/>", "</array></plist>"},
    {"text", kOpenStep, "(", "{ a = \"b \\U00e4 @\"; c = (1, 2); d = <00ff>; }, ", ")"},
    {"text comments", kOpenStep, "(", "/* * / */ // a\n", ")"},
    {"text strings", kOpenStep, "\"", "\\n\\101plain", "\""},
    {"ini entries", QvPropertyListINIFormat, "[S]\n", "key @=value with a space\n", ""},
    {"ini sections", QvPropertyListINIFormat, "", "[Section @]\r\nName=Alice\r\n\r\n", ""},
    {"ini lines that say nothing", QvPropertyListINIFormat, "[S]\n", "nothing\n;=\n\n=\n", ""},
}};

class Linearity : public testing::TestWithParam<Shape> {
 protected:
  // Memory once had stays with the process, so that it is not the system's work on new pages that is measured.
  static void SetUpTestSuite() {
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
  }

  // The time that `work` takes for the longer input, as a multiple of the time for the shorter.
  template <class Input, class Work>
  void expectLinear(const char* what, const Input& shorter, const Input& longer, Work work) {
    constexpr double kUnmeasurable = 1e-3;
    for (int attempt = 1; attempt <= kAttempts; ++attempt) {
      const double once = fastestOf(3, [&] { work(shorter); });
      const double more = fastestOf(1, [&] { work(longer); });
      std::printf("%-12s %9.3f ms %9.3f ms  times %.1f\n", what, 1e3 * once, 1e3 * more, more / once);
      if (more <= once * kFactor * kTolerance + kUnmeasurable) return;
    }
    ADD_FAILURE() << what << " takes more than " << kTolerance << " times what it should";
  }

  void expectLinearFormat(const char* writing, const char* reading, QvPropertyListFormat format) {
    expectLinear(writing, small_, large_, [&](const Ref<NSObject>& value) { ASSERT_TRUE(write(value, format)); });
    const Ref<NSData> shorter = write(small_, format);
    const Ref<NSData> longer = write(large_, format);
    expectLinear(reading, shorter, longer, [&](const Ref<NSData>& bytes) { ASSERT_TRUE(read(bytes, format)); });
  }

  Ref<NSObject> small_;
  Ref<NSObject> large_;
};

TEST_P(Linearity, OfReadingAndWriting) {
  if (kIsSlowed) GTEST_SKIP() << "times under a sanitizer are its own";
  const Shape& shape = GetParam();
  const Ref<NSData> shorter = NSData::dataWithString(textOf(shape, kSmall));
  const Ref<NSData> longer = NSData::dataWithString(textOf(shape, kFactor * kSmall));
  small_ = read(shorter, shape.format);
  large_ = read(longer, shape.format);
  ASSERT_TRUE(small_ && large_);
  expectLinear("read", shorter, longer, [&](const Ref<NSData>& bytes) { ASSERT_TRUE(read(bytes, shape.format)); });
  const Ref<NSObject> twin = read(longer, shape.format);
  const Ref<NSObject> smallTwin = read(shorter, shape.format);
  expectLinear("compare", small_, large_,
               [&](const Ref<NSObject>& value) { ASSERT_TRUE(isEqual(value, value == small_ ? smallTwin : twin)); });
  expectLinearFormat("to XML", "from XML", kXML);
  expectLinearFormat("to binary", "from binary", kBinary);
  if (shape.format == QvPropertyListINIFormat) expectLinearFormat("to INI", "from INI", QvPropertyListINIFormat);
}

INSTANTIATE_TEST_SUITE_P(Shapes, Linearity, testing::ValuesIn(kShapes), [](const testing::TestParamInfo<Shape>& shape) {
  std::string name = shape.param.name;
  std::ranges::replace(name, ' ', '_');
  return name;
});

}  // namespace
}  // namespace ZtFoundation
