// The desktop's setting, from a schema of our own. In a process of its own, because the setting is read once.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "platform/linux/TextMeasurer.h"
#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation {
namespace {

class SystemFontTests : public testing::Test {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists("/usr/share/fonts")) GTEST_SKIP() << "no fonts are installed";
  }

  bool compileSchema(const std::string& key, const std::string& font) {
    test::writeFile(scratch_ / "desktop.gschema.xml",
                    "<schemalist><schema id='org.gnome.desktop.interface' path='/org/gnome/desktop/interface/'>"
                    "<key name='" +
                        key + "' type='s'><default>'" + font + "'</default></key></schema></schemalist>");
    return std::system(("glib-compile-schemas " + scratch_.path() + " 2>/dev/null").c_str()) == 0;
  }

  bool isRegularSize(double expected) {
    return test::inChild([&] {
             setenv("GSETTINGS_BACKEND", "memory", 1);
             setenv("GSETTINGS_SCHEMA_DIR", scratch_.path().c_str(), 1);
             TextMeasurer& measurer = textMeasurerInModule("libZtFoundationDesktop.so");
             const double size = measurer.systemFontSize(ControlSize::Regular).value_or(0);
             return std::abs(size - expected) < 0.01 ? 0 : 1;
           }) == 0;
  }

  test::ScratchFolder scratch_;
};

TEST_F(SystemFontTests, IsThatOfTheSetting) {
  if (!compileSchema("font-name", "DejaVu Sans Bold 27.5")) GTEST_SKIP() << "glib-compile-schemas is not installed";
  EXPECT_TRUE(isRegularSize(27.5));
}

TEST_F(SystemFontTests, HasADefaultSize) {
  if (!compileSchema("font-name", "DejaVu Sans")) GTEST_SKIP() << "glib-compile-schemas is not installed";
  EXPECT_TRUE(isRegularSize(13));
}

TEST_F(SystemFontTests, TheSettingMayBeMissing) {
  if (!compileSchema("other", "DejaVu Sans 20")) GTEST_SKIP() << "glib-compile-schemas is not installed";
  EXPECT_TRUE(isRegularSize(13));
}

}  // namespace
}  // namespace ZtFoundation
