#include <map>
#include <new>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ZtFoundation/System.h>

#include "platform/services/Gestalt.h"
#include "platform/services/Service.h"
#include "support/RecordingLog.h"

namespace ZtFoundation {
namespace {

using test::RecordingLog;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const char* const kAdvice = "You should use ZtGestaltPhysicalRAMSizeInMegabytes instead of ZtGestaltPhysicalRAMSize!";

class FakeGestalt : public Gestalt {
 public:
  std::int16_t ask(OSType selector, std::int32_t& response) override {
    asked.push_back(selector);
    if (hasNoMemory) throw std::bad_alloc();
    response = answer;  // with an error nobody may look at it
    return status;
  }

  std::vector<OSType> asked;
  std::int32_t answer = 0;
  std::int16_t status = 0;
  bool hasNoMemory = false;
};

class SystemInformationTests : public ::testing::Test {
 protected:
  FakeGestalt gestalt_;
  ScopedService<Gestalt> scope_{gestalt_};
  RecordingLog log_;
};

TEST_F(SystemInformationTests, EachFunctionAsksItsOwnSelector) {
  gestalt_.answer = 0x1068;
  EXPECT_EQ(ZtGestaltOSVersion(), 0x1068);
  EXPECT_EQ(ZtGestaltPhysicalRAMSize(), 0x1068);
  EXPECT_EQ(ZtGestaltPhysicalRAMSizeInMegabytes(), 0x1068);
  EXPECT_THAT(gestalt_.asked, ElementsAre(0x73797376U, 0x72616D20U, 0x72616D6DU));
}

TEST_F(SystemInformationTests, ALackOfMemoryIsAnErrorAndRaisesNothing) {
  gestalt_.hasNoMemory = true;
  EXPECT_EQ(ZtGestaltOSVersion(), 0);
  EXPECT_EQ(ZtGestaltPhysicalRAMSizeInMegabytes(), 0);
  EXPECT_THAT(log_.lines(), ElementsAre("Gestalt Error = 0xffffff94", "Gestalt Error = 0xffffff94"));
}

TEST_F(SystemInformationTests, AnswersKeepTheirSign) {
  gestalt_.answer = -5;
  EXPECT_EQ(ZtGestaltOSVersion(), -5);
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(SystemInformationTests, TheSizeInBytesSendsCallersToMegabytesEachTime) {
  gestalt_.answer = 7;
  EXPECT_EQ(ZtGestaltPhysicalRAMSize(), 7);
  EXPECT_EQ(ZtGestaltPhysicalRAMSize(), 7);
  EXPECT_EQ(ZtGestaltPhysicalRAMSizeInMegabytes(), 7);
  EXPECT_THAT(log_.lines(), ElementsAre(kAdvice, kAdvice));
}

TEST_F(SystemInformationTests, AFailureGivesZeroAndOneLine) {
  gestalt_.answer = 7;
  gestalt_.status = -1;
  EXPECT_EQ(ZtGestaltOSVersion(), 0);
  EXPECT_THAT(log_.lines(), ElementsAre("Gestalt Error = 0xffffffff"));
  gestalt_.status = -5551;
  EXPECT_EQ(ZtGestaltPhysicalRAMSizeInMegabytes(), 0);
  EXPECT_THAT(log_.lines(), ElementsAre("Gestalt Error = 0xffffffff", "Gestalt Error = 0xffffea51"));
}

TEST_F(SystemInformationTests, TheAdviceComesBeforeAFailure) {
  gestalt_.status = 3;
  EXPECT_EQ(ZtGestaltPhysicalRAMSize(), 0);
  EXPECT_THAT(log_.lines(), ElementsAre(kAdvice, "Gestalt Error = 0x3"));
}

TEST(GestaltTests, ThisMachineAnswers) {
  const RecordingLog log;
  EXPECT_GT(ZtGestaltOSVersion(), 0);
  EXPECT_LE(ZtGestaltOSVersion(), 0x9999);
  const NSInteger megabytes = ZtGestaltPhysicalRAMSizeInMegabytes();
  EXPECT_GT(megabytes, 0);
  const NSInteger bytes = ZtGestaltPhysicalRAMSize();
  EXPECT_EQ(bytes, megabytes >= 2048 ? 2147483647 : bytes);
  EXPECT_GE(bytes / (1 << 20), std::min<NSInteger>(megabytes, 2047));
}

TEST(GestaltTests, AnUnknownSelectorIsRefused) {
  std::int32_t response = 42;
  EXPECT_EQ(Gestalt::production().ask(0x6E6F6E65, response), gestaltUndefSelectorErr);
  EXPECT_EQ(response, 42);
}

}  // namespace
}  // namespace ZtFoundation
