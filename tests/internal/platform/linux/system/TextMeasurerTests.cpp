#include "platform/linux/system/TextMeasurer.h"

#include <gtest/gtest.h>

#include <ZtFoundation/Text.h>

#include "platform/services/Service.h"

namespace ZtFoundation {
namespace {

TEST(TextMeasurerTests, WithoutTheModuleThereIsNoFont) {
  TextMeasurer& none = textMeasurerInModule("libZtFoundationNoSuchModule.so");
  EXPECT_FALSE(none.systemFontSize(ControlSize::Regular));
  EXPECT_EQ(none.width(u"abc", 13), 0);
  EXPECT_FALSE(none.widthsThatAddUp(u"abc", 13));
  const ScopedService<TextMeasurer> scope(none);
  EXPECT_FALSE(JxTruncateExtensions::truncateControlStringWithDrawingWidth_truncCode("abc", 1000, kTruncateAtEnd));
}

}  // namespace
}  // namespace ZtFoundation
