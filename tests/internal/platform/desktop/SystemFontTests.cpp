// The desktop's setting, from a schema of our own. In a process of its own, because the setting is read once.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <functional>
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
  bool holds(const std::function<bool(TextMeasurer&)>& works) {
    return test::inChild([&] {
             setenv("GSETTINGS_BACKEND", "memory", 1);
             setenv("GSETTINGS_SCHEMA_DIR", scratch_.path().c_str(), 1);
             setenv("XDG_CACHE_HOME", scratch_.path().c_str(), 1);
             setenv("XDG_CONFIG_HOME", scratch_.path().c_str(), 1);
             setenv("XDG_DATA_DIRS", scratch_.path().c_str(), 1);
             setenv("XDG_DATA_HOME", scratch_.path().c_str(), 1);
             setenv("G_DEBUG", "fatal-criticals", 1);
             return works(textMeasurerInModule("libZtFoundationDesktop.so")) ? 0 : 1;
           }) == 0;
  }

  bool isRegularSize(double expected) {
    return holds([expected](TextMeasurer& measurer) {
      return std::abs(measurer.systemFontSize(ControlSize::Regular).value_or(0) - expected) < 0.01;
    });
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

}  // namespace
}  // namespace ZtFoundation
