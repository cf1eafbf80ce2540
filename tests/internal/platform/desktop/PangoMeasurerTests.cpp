// Measuring with the fonts of a configuration of our own: only DejaVu, or none at all. Each set of fonts has a process
// of its own, because the font libraries read their configuration once.

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <ZtFoundation/Text.h>

#include "platform/linux/system/TextMeasurer.h"
#include "platform/services/Service.h"
#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation {
namespace {

namespace files = std::filesystem;

constexpr char kDejaVu[] = "/usr/share/fonts/truetype/dejavu";
constexpr char kModule[] = "libZtFoundationDesktop.so";

class PangoMeasurerTests : public testing::Test {
 protected:
  // What `works` says of the measurer that finds its fonts in `folder`, by rules beside those for all tests.
  bool holdsWithFonts(const std::string& folder, const std::function<bool(TextMeasurer&)>& works,
                      const std::string& rules = "") {
    const std::string configuration = scratch_ / "fonts.conf";
    test::writeFile(configuration,
                    "<?xml version='1.0'?><!DOCTYPE fontconfig SYSTEM 'fonts.dtd'><fontconfig><dir>" + folder +
                        "</dir><cachedir>" + scratch_ / "cache" +
                        "</cachedir><alias><family>Sans</family><prefer><family>DejaVu Sans</family></prefer></alias>" +
                        rules + "</fontconfig>");
    return test::inChild([&] {
             setenv("FONTCONFIG_FILE", configuration.c_str(), 1);
             setenv("G_DEBUG", "fatal-criticals", 1);
             setenv("GSETTINGS_BACKEND", "memory", 1);
             setenv("GSETTINGS_SCHEMA_DIR", scratch_.path().c_str(), 1);
             setenv("XDG_DATA_DIRS", scratch_.path().c_str(), 1);
             setenv("XDG_DATA_HOME", scratch_.path().c_str(), 1);
             return works(textMeasurerInModule(kModule)) ? 0 : 1;
           }) == 0;
  }

  bool holdsWithDejaVu(const std::function<bool(TextMeasurer&)>& works) { return holdsWithFonts(kDejaVu, works); }

  test::ScratchFolder scratch_;
};

bool isNear(double width, double expected) { return std::abs(width - expected) < 0.01; }

#define SKIP_WITHOUT_DEJAVU() \
  if (!files::exists(files::path(kDejaVu) / "DejaVuSans.ttf")) GTEST_SKIP() << "the DejaVu fonts are not installed"

TEST_F(PangoMeasurerTests, SizesOfControls) {
  SKIP_WITHOUT_DEJAVU();
  EXPECT_TRUE(holdsWithDejaVu([](TextMeasurer& measurer) {
    return isNear(measurer.systemFontSize(ControlSize::Regular).value_or(0), 13) &&
           isNear(measurer.systemFontSize(ControlSize::Small).value_or(0), 11) &&
           isNear(measurer.systemFontSize(ControlSize::Mini).value_or(0), 9);
  }));
}

TEST_F(PangoMeasurerTests, WidthsAreNotRounded) {
  SKIP_WITHOUT_DEJAVU();
  EXPECT_TRUE(holdsWithDejaVu([](TextMeasurer& measurer) {
    return isNear(measurer.width(u"Hello, World", 13), 78.474) && isNear(measurer.width(u"AVAVAV", 13), 49.206) &&
           measurer.width(u"", 13) == 0 && isNear(measurer.width(u"nnnn", 26), 2 * measurer.width(u"nnnn", 13));
  }));
}

TEST_F(PangoMeasurerTests, KerningKeepsWidthsFromAddingUp) {
  SKIP_WITHOUT_DEJAVU();
  EXPECT_TRUE(holdsWithDejaVu([](TextMeasurer& measurer) {
    return measurer.width(u"AV", 13) < measurer.width(u"A", 13) + measurer.width(u"V", 13) &&
           !measurer.widthsThatAddUp(u"AV", 13);
  }));
}

// Fonts may be chosen by language; widths do not change with the user's.
TEST_F(PangoMeasurerTests, TheUsersLanguageIsWithoutEffect) {
  SKIP_WITHOUT_DEJAVU();
  EXPECT_TRUE(holdsWithFonts(
      kDejaVu, [](TextMeasurer& measurer) { return isNear(measurer.width(u"Hello, World", 13), 78.474); },
      "<match target='pattern'><test name='lang' compare='not_eq' qual='first'><string>en</string></test>"
      "<edit name='family' mode='assign' binding='strong'><string>DejaVu Sans Mono</string></edit></match>"));
}

TEST_F(PangoMeasurerTests, MeasuresAnyUnits) {
  SKIP_WITHOUT_DEJAVU();
  EXPECT_TRUE(holdsWithDejaVu([](TextMeasurer& measurer) {
    const double replacement = measurer.width(u"\uFFFD", 13);
    return replacement > 0 && isNear(measurer.width(u"\xD83D", 13), replacement) &&
           isNear(measurer.width(u"\xDE00\xD83D", 13), 2 * replacement) &&
           measurer.width(std::u16string(3, u'\0'), 13) > 0 && measurer.width(u"a\nb", 13) > measurer.width(u"ab", 13);
  }));
}

TEST_F(PangoMeasurerTests, OnlyAPairIsOneCharacter) {
  SKIP_WITHOUT_DEJAVU();
  EXPECT_TRUE(holdsWithDejaVu([](TextMeasurer& measurer) {
    const std::u16string_view pair = u"\xD835\xDD38";  // U+1D538
    const double replacement = measurer.width(u"\uFFFD", 13), letter = measurer.width(u"n", 13);
    return isNear(measurer.width(pair, 13), 9.629) && !isNear(replacement, 9.629) &&
           isNear(measurer.width(pair.substr(0, 1), 13), replacement) &&
           isNear(measurer.width(u"\xD835n", 13), replacement + letter) &&
           isNear(measurer.width(u"n\xDD38", 13), letter + replacement) && isNear(measurer.width(u"\uFB01", 13), 8.188);
  }));
}

TEST_F(PangoMeasurerTests, LongTextIsAsWideAsItsParts) {
  SKIP_WITHOUT_DEJAVU();
  EXPECT_TRUE(holdsWithDejaVu([](TextMeasurer& measurer) {
    const double one = measurer.width(u"n", 13), large = measurer.width(u"n", 200);
    std::u16string pairs(20001, u'n');
    for (std::size_t at = 1; at < pairs.size(); ++at) pairs[at] = at % 2 == 1 ? 0xD83D : 0xDE00;
    const double pair = measurer.width(u"\xD83D\xDE00", 13);
    return isNear(measurer.width(std::u16string(20000, u'n'), 200), 20000 * large) &&
           isNear(measurer.width(pairs, 13), one + 10000 * pair);
  }));
}

TEST_F(PangoMeasurerTests, NamesAreTruncated) {
  SKIP_WITHOUT_DEJAVU();
  EXPECT_TRUE(holdsWithDejaVu([](TextMeasurer& measurer) {
    const ScopedService<TextMeasurer> scope(measurer);
    const Ref<NSString> cut = JxTruncateExtensions::truncateControlStringWithDrawingWidth_truncCode(
        "A name that is rather long.txt", 100, kTruncateInMiddle);
    return cut && measurer.width(cut->utf16(), 13) <= 100 && measurer.width(cut->utf16(), 13) > 85;
  }));
}

TEST_F(PangoMeasurerTests, ThreadsMeasureTheSame) {
  SKIP_WITHOUT_DEJAVU();
  EXPECT_TRUE(holdsWithDejaVu([](TextMeasurer& measurer) {
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int size = 9; size <= 13; ++size) {
      threads.emplace_back([&measurer, &wrong, size] {
        const double expected = measurer.width(u"Hello, World", size);
        for (int i = 0; i < 200; ++i) wrong += measurer.width(u"Hello, World", size) != expected;
      });
    }
    for (std::thread& thread : threads) thread.join();
    return wrong == 0;
  }));
}

bool isModuleOpen() {
  std::ifstream maps("/proc/self/maps");
  return std::string(std::istreambuf_iterator<char>(maps), {}).find(kModule) != std::string::npos;
}

TEST_F(PangoMeasurerTests, TheModuleIsOpenedOnFirstUse) {
  using JxTruncateExtensions::truncateStringWithDrawingWidth_themeFontID_truncCode;
  EXPECT_EQ(test::inChild([&] {
              setenv("FONTCONFIG_FILE", (scratch_ / "none.conf").c_str(), 1);
              setenv("XDG_CACHE_HOME", scratch_.path().c_str(), 1);
              setenv("GSETTINGS_BACKEND", "memory", 1);
              truncateStringWithDrawingWidth_themeFontID_truncCode("abc", 100, 3, kTruncateAtEnd);
              if (isModuleOpen()) return 1;
              truncateStringWithDrawingWidth_themeFontID_truncCode("abc", 100, 0, kTruncateAtEnd);
              return isModuleOpen() ? 0 : 2;
            }),
            0);
}

TEST_F(PangoMeasurerTests, WithoutFontsThereIsNone) {
  const std::string empty = scratch_ / "empty";
  files::create_directory(empty);
  EXPECT_TRUE(holdsWithFonts(empty, [](TextMeasurer& measurer) {
    const ScopedService<TextMeasurer> scope(measurer);
    return !measurer.systemFontSize(ControlSize::Regular) && !measurer.systemFontSize(ControlSize::Mini) &&
           !JxTruncateExtensions::truncateControlStringWithDrawingWidth_truncCode("abc", 1000, kTruncateAtEnd);
  }));
}

}  // namespace
}  // namespace ZtFoundation
