// In which order benchmarks measure what they compare.

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "../benchmarks/support/Timing.h"

namespace {

using Order = std::vector<std::size_t>;

// The order of each round.
std::vector<Order> ordersOf(std::size_t rounds, std::size_t count) {
  Order turns;
  std::vector<std::function<void()>> contenders;
  for (std::size_t which = 0; which < count; ++which)
    contenders.emplace_back([&turns, which] { turns.push_back(which); });
  bench::takeTurns(rounds, contenders);
  std::vector<Order> orders;
  for (std::size_t at = 0; at + count <= turns.size(); at += count) {
    orders.emplace_back(&turns[at], &turns[at] + count);
  }
  return orders;
}

TEST(Timing, EachHasATurnInEveryRound) {
  for (const std::size_t count : {1U, 2U, 3U, 4U, 5U}) {
    const std::vector<Order> orders = ordersOf(12, count);
    EXPECT_EQ(orders.size(), 12U);
    for (Order order : orders) {
      std::sort(order.begin(), order.end());
      for (std::size_t at = 0; at < count; ++at) EXPECT_EQ(order[at], at);
    }
  }
}

TEST(Timing, EachIsTheFirstAndTheLastAsOftenAsTheOthers) {
  for (const std::size_t count : {2U, 3U, 4U, 5U}) {
    std::vector<int> firsts(count), lasts(count);
    for (const Order& order : ordersOf(2 * count, count)) {
      ++firsts[order.front()];
      ++lasts[order.back()];
    }
    EXPECT_EQ(firsts, std::vector<int>(count, 2));
    EXPECT_EQ(lasts, std::vector<int>(count, 2));
  }
}

TEST(Timing, NoneAlwaysFollowsTheSameOne) {
  for (const std::size_t count : {3U, 4U, 5U}) {
    std::vector<std::set<std::size_t>> before(count);
    for (const Order& order : ordersOf(2 * count, count)) {
      for (std::size_t at = 1; at < count; ++at) before[order[at]].insert(order[at - 1]);
    }
    for (const auto& ones : before) EXPECT_GE(ones.size(), 2U) << count;
  }
}

TEST(Timing, ThreeComeInEveryPossibleOrder) {
  const std::vector<Order> orders = ordersOf(6, 3);
  EXPECT_EQ(std::set<Order>(orders.begin(), orders.end()).size(), 6U);
}

TEST(Timing, WhatEachTookIsAnsweredInTheOrderOfTheMeasurements) {
  double clock = 0;
  const auto measurement = [&clock](double mark) { return [&clock, mark] { return mark + clock++; }; };
  EXPECT_EQ(bench::inTurns(3, {measurement(100), measurement(200)}),
            (std::vector<std::vector<double>>{{100, 103, 104}, {201, 202, 205}}));
  EXPECT_EQ(bench::inTurns(0, {measurement(100)}), (std::vector<std::vector<double>>(1)));
}

}  // namespace
