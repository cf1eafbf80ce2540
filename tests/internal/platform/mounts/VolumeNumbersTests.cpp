// Numbers of volumes.

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "StandInTable.h"

namespace ZtFoundation::test {
namespace {

class VolumeNumbersTests : public ::testing::Test {
 protected:
  FSVolumeRefNum numberAfter(const std::vector<Line>& lines, const std::string& root) {
    table_.set(lines);
    return table_->at(root);
  }

  StandInTable table_;
};

TEST_F(VolumeNumbersTests, AreSmallNegativeAndDifferent) {
  std::vector<Line> lines(1);
  for (int i = 0; i < 50; ++i) lines.push_back({.point = "/v" + std::to_string(i)});
  table_.set(lines);
  std::set<FSVolumeRefNum> numbers;
  for (const std::string& root : table_->roots()) {
    const FSVolumeRefNum number = table_->at(root);
    EXPECT_LT(number, 0);
    EXPECT_GE(number, -51);
    numbers.insert(number);
  }
  EXPECT_EQ(numbers.size(), 51U);
}

TEST_F(VolumeNumbersTests, StayWhileOtherVolumesComeAndGo) {
  const Line root, here{.id = 5, .point = "/here"};
  const FSVolumeRefNum number = numberAfter({root, here}, "/here");
  EXPECT_EQ(numberAfter({root, {.id = 6, .point = "/other"}, here}, "/here"), number);
  EXPECT_EQ(numberAfter({root, here}, "/here"), number);
}

TEST_F(VolumeNumbersTests, StayWhenTheMountMovesOrItsOptionsChange) {
  const Line root;
  const FSVolumeRefNum number = numberAfter({root, {.id = 5, .point = "/here"}}, "/here");
  EXPECT_EQ(numberAfter({root, {.id = 5, .point = "/there", .options = "ro"}}, "/there"), number);
}

TEST_F(VolumeNumbersTests, StayForAStartUpVolumeThatTheTableDoesNotHave) {
  const Line here{.id = 5, .point = "/here"};
  const FSVolumeRefNum number = numberAfter({here}, "/");
  EXPECT_LT(number, 0);
  EXPECT_EQ(numberAfter({here, {.id = 6, .point = "/other"}}, "/"), number);
  EXPECT_EQ(numberAfter({}, "/"), number);
}

// The kernel does give the identifiers of mounts again.
TEST_F(VolumeNumbersTests, AreNewForAnotherMountWithTheSameIdentifier) {
  const Line root, here{.id = 5, .point = "/here"};
  const Line others[] = {{.id = 5, .device = "0:78", .point = "/here"},
                         {.id = 5, .root = "/folder", .point = "/here"},
                         {.id = 5, .point = "/here", .type = "nfs"},
                         {.id = 5, .point = "/here", .source = "other"}};
  for (const Line& other : others) {
    const FSVolumeRefNum number = numberAfter({root, here}, "/here");
    EXPECT_NE(numberAfter({root, other}, "/here"), number)
        << other.device << " " << other.root << " " << other.type << " " << other.source;
  }
}

TEST_F(VolumeNumbersTests, StayWhileTheVolumeIsHidden) {
  const Line root, here{.id = 5, .point = "/here"};
  const FSVolumeRefNum number = numberAfter({root, here}, "/here");
  EXPECT_NE(numberAfter({root, here, {.id = 6, .parent = 5, .point = "/here"}}, "/here"), number);
  EXPECT_EQ(numberAfter({root, here}, "/here"), number);
}

TEST_F(VolumeNumbersTests, GoRoundAndLeaveOutThoseInUse) {
  const Line root;
  const FSVolumeRefNum first = numberAfter({root}, "/");
  std::vector<Line> lines{root};
  for (int i = 0; i < 20000; ++i) lines.push_back({.id = i + 2, .point = "/v" + std::to_string(i)});
  const FSVolumeRefNum last = numberAfter(lines, "/v19999");
  EXPECT_EQ(last, first - 20000);
  for (Line& line : lines) line.device = "0:99";
  lines[0] = root;
  table_.set(lines);
  std::set<FSVolumeRefNum> numbers;
  for (int i = 0; i < 20000; ++i) numbers.insert(table_->at("/v" + std::to_string(i)));
  EXPECT_EQ(numbers.size(), 20000U);
  EXPECT_LT(*numbers.rbegin(), 0);
  EXPECT_GE(*numbers.begin(), -32000) << "below begin the numbers of domains";
  EXPECT_EQ(numbers.count(first), 0U);
  EXPECT_EQ(table_->at("/"), first);
}

}  // namespace
}  // namespace ZtFoundation::test
