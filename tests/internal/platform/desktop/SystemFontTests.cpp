// The desktop's setting, from a schema of our own. In a process of its own, because the setting is read once.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iterator>
#include <string>

#include "platform/linux/system/TextMeasurer.h"
#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation {
namespace {

class SystemFontTests : public testing::Test {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists("/usr/share/fonts")) GTEST_SKIP() << "no fonts are installed";
  }

  bool compileSchema(const std::string& key, const std::string& font,
                     const std::string& id = "org.gnome.desktop.interface") {
    test::writeFile(scratch_ / "desktop.gschema.xml",
                    "<schemalist><schema id='" + id + "' path='/org/gnome/desktop/interface/'><key name='" + key +
                        "' type='s'><default>'" + font + "'</default></key></schema></schemalist>");
    return std::system(("glib-compile-schemas " + scratch_.path() + " 2>/dev/null").c_str()) == 0;
  }

  // What `works` says of the measurer by the compiled schema.
  bool holds(const std::function<bool(TextMeasurer&)>& works, const char* backend = "memory") {
    return test::inChild([&] {
             setenv("GSETTINGS_BACKEND", backend, 1);
             setenv("GSETTINGS_SCHEMA_DIR", scratch_.path().c_str(), 1);
             setenv("XDG_CACHE_HOME", scratch_.path().c_str(), 1);
             setenv("XDG_CONFIG_HOME", scratch_.path().c_str(), 1);
             setenv("XDG_DATA_DIRS", scratch_.path().c_str(), 1);
             setenv("XDG_DATA_HOME", scratch_.path().c_str(), 1);
             setenv("G_DEBUG", "fatal-criticals", 1);
             return works(textMeasurerInModule("libZtFoundationDesktop.so")) ? 0 : 1;
           }) == 0;
  }

  bool isRegularSize(double expected, const char* backend = "memory") {
    const auto isExpected = [expected](TextMeasurer& measurer) {
      return std::abs(measurer.systemFontSize(ControlSize::Regular).value_or(0) - expected) < 0.01;
    };
    return holds(isExpected, backend);
  }

  test::ScratchFolder scratch_;
};

TEST_F(SystemFontTests, IsThatOfTheSetting) {
  if (!compileSchema("font-name", "DejaVu Sans Bold 27.5")) GTEST_SKIP() << "glib-compile-schemas is not installed";
  EXPECT_TRUE(isRegularSize(27.5));
}

TEST_F(SystemFontTests, IsOfTheFamilyInTheSetting) {
  if (!std::filesystem::exists("/usr/share/fonts/truetype/dejavu/DejaVuSansMono.ttf")) {
    GTEST_SKIP() << "the DejaVu fonts are not installed";
  }
  const auto isFixed = [](TextMeasurer& measurer) {
    return measurer.width(u"iiii", 13) == measurer.width(u"MMMM", 13);
  };
  if (!compileSchema("font-name", "DejaVu Sans Mono 13")) GTEST_SKIP() << "glib-compile-schemas is not installed";
  EXPECT_TRUE(holds(isFixed));
  ASSERT_TRUE(compileSchema("font-name", "DejaVu Sans 13"));
  EXPECT_FALSE(holds(isFixed));
}

TEST_F(SystemFontTests, HasADefaultSize) {
  if (!compileSchema("font-name", "DejaVu Sans")) GTEST_SKIP() << "glib-compile-schemas is not installed";
  EXPECT_TRUE(isRegularSize(13));
}

TEST_F(SystemFontTests, TheSettingMayBeMissing) {
  EXPECT_TRUE(isRegularSize(13)) << "no schemas";
  if (!compileSchema("other", "DejaVu Sans 20")) GTEST_SKIP() << "glib-compile-schemas is not installed";
  EXPECT_TRUE(isRegularSize(13)) << "no key";
  ASSERT_TRUE(compileSchema("font-name", "DejaVu Sans 20", "org.example"));
  EXPECT_TRUE(isRegularSize(13)) << "no schema";
}

// Nor ends what a schema says of it the process.
TEST_F(SystemFontTests, ASettingThatIsNoTextIsNone) {
  test::writeFile(scratch_ / "desktop.gschema.xml",
                  "<schemalist><schema id='org.gnome.desktop.interface' path='/org/gnome/desktop/interface/'>"
                  "<key name='font-name' type='i'><default>20</default></key></schema></schemalist>");
  if (std::system(("glib-compile-schemas " + scratch_.path() + " 2>/dev/null").c_str()) != 0) {
    GTEST_SKIP() << "glib-compile-schemas is not installed";
  }
  EXPECT_TRUE(isRegularSize(13));
}

TEST_F(SystemFontTests, TheUsersChoiceStandsAboveTheDefault) {
  if (!compileSchema("font-name", "DejaVu Sans 20")) GTEST_SKIP() << "glib-compile-schemas is not installed";
  const std::string file = scratch_ / "glib-2.0/settings/keyfile";
  std::filesystem::create_directories(scratch_ / "glib-2.0/settings");
  test::writeFile(file, "[org/gnome/desktop/interface]\nfont-name='DejaVu Sans 31'\n");
  EXPECT_TRUE(isRegularSize(31, "keyfile"));
  test::writeFile(file, "[org/gnome/desktop/interface]\nother-name='DejaVu Sans 31'\n");
  EXPECT_TRUE(isRegularSize(20, "keyfile"));
}

bool hasOneThread() { return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}) == 1; }

// With the reader that desktops have, where it is installed; others may want to know of changes. Fonts are looked for in
// a thread that ends.
TEST_F(SystemFontTests, ReadingTheUsersChoiceStartsNoThreadThatStays) {
  if (!compileSchema("font-name", "DejaVu Sans 20")) GTEST_SKIP() << "glib-compile-schemas is not installed";
  const auto staysAlone = [](TextMeasurer& measurer) {
    measurer.systemFontSize(ControlSize::Regular);
    for (int wait = 0; !hasOneThread() && wait < 500; ++wait) ::usleep(10'000);
    return hasOneThread();
  };
  EXPECT_TRUE(holds(staysAlone, "dconf"));
}

}  // namespace
}  // namespace ZtFoundation
