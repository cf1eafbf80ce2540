#include "platform/linux/files/Accounts.h"

#include <gtest/gtest.h>

namespace ZtFoundation::test {
namespace {

using detail::withAccount;

struct Record {
  int number;
};

// What `lookup` answers, one after another; 0 is the record if the buffer is large enough for it.
std::vector<int> answers;
std::size_t wantedSize = 0;

int lookup(int key, Record* record, char*, std::size_t size, Record** found) {
  *found = nullptr;
  if (!answers.empty()) {
    const int answer = answers.front();
    answers.erase(answers.begin());
    return answer;
  }
  if (size < wantedSize) return ERANGE;
  *record = {key};
  *found = record;
  return 0;
}

// 0 for none.
int numberOf(int key) {
  int number = 0;
  withAccount(&lookup, key, [&](const Record& record) { number = record.number; });
  return number;
}

TEST(AccountsTests, ARecordOfAnySizeIsFound) {
  for (const std::size_t size : {std::size_t{1}, std::size_t{1024}, std::size_t{1025}, std::size_t{100000}}) {
    wantedSize = size;
    EXPECT_EQ(numberOf(7), 7) << size;
  }
  wantedSize = 0;
}

TEST(AccountsTests, AnInterruptedQuestionIsRepeated) {
  answers = {EINTR, EINTR};
  EXPECT_EQ(numberOf(7), 7);
}

TEST(AccountsTests, WhatCannotBeHadIsNone) {
  for (const int error : {0, ENOENT, EIO, EMFILE, ENFILE}) {
    answers = {error};
    EXPECT_EQ(withAccount(&lookup, 7, [](const Record&) { FAIL(); }), error);
    EXPECT_TRUE(answers.empty());
  }
  answers = {ENOMEM};
  EXPECT_THROW(numberOf(7), std::bad_alloc);
}

}  // namespace
}  // namespace ZtFoundation::test
