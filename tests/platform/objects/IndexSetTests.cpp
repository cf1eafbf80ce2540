#include <ZtFoundation/platform/IndexSet.h>

#include <gtest/gtest.h>

#include <ctime>
#include <limits>
#include <random>
#include <set>
#include <string>

#include <ZtFoundation/platform/String.h>

#include "support/Sanitizers.h"

namespace ZtFoundation {
namespace {

constexpr NSUInteger kLargest = std::numeric_limits<NSUInteger>::max();

std::string text(const Ref<NSIndexSet>& indexes) { return indexes->description()->utf8(); }

TEST(IndexSet, Makers) {
  EXPECT_EQ(text(NSIndexSet::indexSet()), "()");
  EXPECT_EQ(text(NSIndexSet::indexSetWithIndex(7)), "(7)");
  EXPECT_EQ(text(NSIndexSet::indexSetWithIndexesInRange({3, 4})), "(3-6)");
  EXPECT_EQ(text(NSIndexSet::indexSetWithIndexesInRange({3, 0})), "()");
  EXPECT_FALSE(NSIndexSet::indexSetWithIndex(7)->isMutable());
  EXPECT_TRUE(NSMutableIndexSet::indexSet()->isMutable());
}

TEST(IndexSet, AddingJoinsRangesThatTouch) {
  Ref<NSMutableIndexSet> indexes = NSMutableIndexSet::indexSet();
  indexes->addIndex(5);
  indexes->addIndex(7);
  EXPECT_EQ(text(indexes), "(5, 7)");
  indexes->addIndex(6);
  EXPECT_EQ(text(indexes), "(5-7)");
  indexes->addIndex(6);
  indexes->addIndex(4);
  indexes->addIndexesInRange({8, 2});
  EXPECT_EQ(text(indexes), "(4-9)");
  indexes->addIndexesInRange({20, 5});
  indexes->addIndexesInRange({30, 5});
  indexes->addIndexesInRange({0, 32});
  EXPECT_EQ(text(indexes), "(0-34)");
  EXPECT_EQ(indexes->count(), 35U);
}

TEST(IndexSet, RemovingSplitsRanges) {
  Ref<NSMutableIndexSet> indexes = NSMutableIndexSet::indexSet();
  indexes->addIndexesInRange({0, 10});
  indexes->removeIndex(5);
  EXPECT_EQ(text(indexes), "(0-4, 6-9)");
  indexes->removeIndexesInRange({4, 3});
  EXPECT_EQ(text(indexes), "(0-3, 7-9)");
  indexes->removeIndex(100);
  indexes->removeIndexesInRange({1, 0});
  EXPECT_EQ(indexes->count(), 7U);
  indexes->removeIndexesInRange({2, 100});
  EXPECT_EQ(text(indexes), "(0-1)");
  indexes->removeAllIndexes();
  EXPECT_EQ(text(indexes), "()");
  EXPECT_EQ(indexes->count(), 0U);
}

TEST(IndexSet, ReachesTheLargestIndex) {
  Ref<NSMutableIndexSet> indexes = NSMutableIndexSet::indexSet();
  indexes->addIndex(kLargest);
  indexes->addIndexesInRange({kLargest - 2, 100});
  EXPECT_EQ(indexes->count(), 3U);
  EXPECT_EQ(indexes->lastIndex(), kLargest);
  EXPECT_EQ(indexes->indexGreaterThanIndex(kLargest), NSNotFound);
  EXPECT_EQ(indexes->indexGreaterThanIndex(kLargest - 1), kLargest);
  indexes->removeIndexesInRange({kLargest, kLargest});
  EXPECT_EQ(indexes->count(), 2U);
  indexes->addIndexesInRange({0, kLargest});
  indexes->addIndex(kLargest);
  EXPECT_EQ(indexes->numberOfRanges(), 1U);
  EXPECT_EQ(indexes->count(), kLargest);
  EXPECT_EQ(indexes->indexGreaterThanIndex(kLargest), NSNotFound);
  indexes->removeIndex(0);
  EXPECT_EQ(indexes->count(), kLargest);
  indexes->removeIndex(kLargest);
  EXPECT_EQ(indexes->count(), kLargest - 1);
}

TEST(IndexSet, NSNotFoundIsAnIndexLikeOthers) {
  Ref<NSMutableIndexSet> indexes = NSMutableIndexSet::indexSet();
  indexes->addIndexesInRange({NSNotFound - 1, 3});
  EXPECT_EQ(indexes->count(), 3U);
  EXPECT_TRUE(indexes->containsIndex(NSNotFound));
  EXPECT_EQ(indexes->firstIndex(), NSNotFound - 1);
  EXPECT_EQ(indexes->lastIndex(), NSNotFound + 1);
  EXPECT_EQ(indexes->indexGreaterThanIndex(NSNotFound), NSNotFound + 1);
  indexes->removeIndex(NSNotFound);
  EXPECT_EQ(indexes->numberOfRanges(), 2U);
  EXPECT_FALSE(indexes->containsIndex(NSNotFound));
}

TEST(IndexSet, TellsMembers) {
  Ref<NSMutableIndexSet> indexes = NSMutableIndexSet::indexSet();
  EXPECT_EQ(indexes->firstIndex(), NSNotFound);
  EXPECT_EQ(indexes->lastIndex(), NSNotFound);
  indexes->addIndexesInRange({3, 2});
  indexes->addIndex(9);
  EXPECT_EQ(indexes->firstIndex(), 3U);
  EXPECT_EQ(indexes->lastIndex(), 9U);
  EXPECT_FALSE(indexes->containsIndex(2));
  EXPECT_TRUE(indexes->containsIndex(3));
  EXPECT_TRUE(indexes->containsIndex(4));
  EXPECT_FALSE(indexes->containsIndex(5));
  EXPECT_EQ(indexes->indexGreaterThanIndex(0), 3U);
  EXPECT_EQ(indexes->indexGreaterThanIndex(3), 4U);
  EXPECT_EQ(indexes->indexGreaterThanIndex(4), 9U);
  EXPECT_EQ(indexes->indexGreaterThanIndex(9), NSNotFound);
}

TEST(IndexSet, TellsSubsets) {
  const Ref<NSIndexSet> large = NSIndexSet::indexSetWithIndexesInRange({3, 5});
  EXPECT_TRUE(large->containsIndexes(NSIndexSet::indexSetWithIndexesInRange({4, 2})));
  EXPECT_TRUE(large->containsIndexes(NSIndexSet::indexSet()));
  EXPECT_FALSE(large->containsIndexes(NSIndexSet::indexSetWithIndexesInRange({7, 2})));
  EXPECT_FALSE(large->containsIndexes(NSIndexSet::indexSetWithIndex(0)));
  EXPECT_FALSE(large->containsIndexes(NSIndexSet::indexSetWithIndex(8)));
  EXPECT_FALSE(large->containsIndexes(nullptr));
}

TEST(IndexSet, SetsCanBeAddedAndRemoved) {
  Ref<NSMutableIndexSet> indexes = NSMutableIndexSet::indexSet();
  Ref<NSMutableIndexSet> others = NSMutableIndexSet::indexSet();
  indexes->addIndexesInRange({0, 10});
  others->addIndexesInRange({2, 2});
  others->addIndexesInRange({9, 3});
  indexes->removeIndexes(others);
  EXPECT_EQ(text(indexes), "(0-1, 4-8)");
  indexes->addIndexes(others);
  EXPECT_EQ(text(indexes), "(0-11)");
  indexes->addIndexes(indexes);
  indexes->addIndexes(nullptr);
  indexes->removeIndexes(nullptr);
  EXPECT_EQ(text(indexes), "(0-11)");
  indexes->removeIndexes(indexes);
  EXPECT_EQ(indexes->count(), 0U);
}

TEST(IndexSet, EqualsByIndexes) {
  Ref<NSMutableIndexSet> indexes = NSMutableIndexSet::indexSet();
  indexes->addIndex(2);
  indexes->addIndex(1);
  const Ref<NSIndexSet> same = NSIndexSet::indexSetWithIndexesInRange({1, 2});
  EXPECT_TRUE(isEqual(indexes, same));
  EXPECT_TRUE(isEqual(same, indexes));
  EXPECT_EQ(indexes->hash(), same->hash());
  EXPECT_FALSE(isEqual(same, NSIndexSet::indexSetWithIndex(1)));
  EXPECT_FALSE(same->isEqual(nullptr));
  EXPECT_FALSE(same->isEqual(Ref<NSObject>("(1-2)")));
}

TEST(IndexSet, CopiesAreIndependent) {
  Ref<NSMutableIndexSet> indexes = NSMutableIndexSet::indexSet();
  indexes->addIndex(1);
  const Ref<NSIndexSet> copy = indexes->copy();
  const Ref<NSMutableIndexSet> mutableCopy = copy->mutableCopy();
  indexes->addIndex(2);
  mutableCopy->addIndex(3);
  EXPECT_EQ(text(copy), "(1)");
  EXPECT_EQ(text(mutableCopy), "(1, 3)");
  EXPECT_EQ(copy->count(), 1U);
  EXPECT_EQ(mutableCopy->count(), 2U);
  EXPECT_FALSE(copy->isMutable());
}

TEST(IndexSet, BehavesLikeASet) {
  std::mt19937 random(7);
  std::set<NSUInteger> model;
  Ref<NSMutableIndexSet> indexes = NSMutableIndexSet::indexSet();
  for (int step = 0; step < 3000; ++step) {
    const NSRange range{random() % 60, random() % 8};
    const bool adding = random() % 2 == 0;
    adding ? indexes->addIndexesInRange(range) : indexes->removeIndexesInRange(range);
    for (NSUInteger index = range.location; index < NSMaxRange(range); ++index) {
      adding ? static_cast<void>(model.insert(index)) : static_cast<void>(model.erase(index));
    }
    ASSERT_EQ(indexes->count(), model.size());
    NSUInteger index = indexes->firstIndex();
    for (const NSUInteger wanted : model) {
      ASSERT_EQ(index, wanted);
      index = indexes->indexGreaterThanIndex(index);
    }
    ASSERT_EQ(index, NSNotFound);
  }
}

// A set that moved its ranges to make room for each new one would take many times the bound.
TEST(IndexSet, ManyIndexesInAnyOrderAreAddedQuickly) {
  constexpr NSUInteger kCount = 200'000;
  const std::clock_t start = std::clock();
  Ref<NSMutableIndexSet> adjacent = NSMutableIndexSet::indexSet();
  for (NSUInteger index = kCount; index > 0; --index) adjacent->addIndex(index);
  EXPECT_EQ(adjacent->numberOfRanges(), 1U);
  Ref<NSMutableIndexSet> scattered = NSMutableIndexSet::indexSet();
  for (NSUInteger index = 0; index < kCount; ++index)
    scattered->addIndex(static_cast<NSUInteger>(std::uint64_t{index} * 77'773 % kCount) * 2);
  EXPECT_EQ(scattered->numberOfRanges(), kCount);
  EXPECT_EQ(scattered->count(), kCount);
  EXPECT_LT((std::clock() - start) / CLOCKS_PER_SEC, test::kIsSanitized ? 20 : 4) << "seconds of the processor";
}

}  // namespace
}  // namespace ZtFoundation
