// Immutable values belong to all threads: whatever is asked of one tree by many at once is answered as by one alone.

#include <atomic>
#include <cstddef>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/Text.h>
#include <ZtFoundation/Utilities.h>
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/IndexSet.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/PropertyListCopy.h>
#include <ZtFoundation/platform/PropertyListSerialization.h>
#include <ZtFoundation/platform/Set.h>
#include <ZtFoundation/platform/URL.h>
#include <ZtFoundation/platform/Values.h>

namespace ZtFoundation {
namespace {

constexpr std::size_t kThreads = 4;
constexpr int kRounds = 50;

Ref<NSDictionary> tree() {
  const Ref<NSMutableDictionary> all = NSMutableDictionary::dictionary();
  all->setObject_forKey("plain", "Text");
  all->setObject_forKey("gr\u00FC\u00DFe \U0001F600", "Wide");
  all->setObject_forKey(NSArray::of(1, -2, 3.5, true, "item 10", "item 9"), "List");
  all->setObject_forKey(NSData::dataWithString("bytes"), "Data");
  all->setObject_forKey(NSDate::dateWithTimeIntervalSinceReferenceDate(1e9), "Date");
  Ref<NSObject> nested = NSString::string();
  for (int level = 0; level < 40; ++level) nested = NSArray::of(nested);
  all->setObject_forKey(nested, "Nested");
  return all->copy();
}

std::string written(const Ref<NSObject>& value, NSUInteger format) {
  const Ref<NSData> data =
      NSPropertyListSerialization::dataFromPropertyList_format_errorDescription(value, format, nullptr);
  return {static_cast<const char*>(data->bytes()), data->length()};
}

struct Question {
  const char* name;
  std::string (*answer)(const Ref<NSDictionary>&);
};

const Question kQuestions[] = {
    {"hash", [](const Ref<NSDictionary>& all) { return std::to_string(all->hash()); }},
    {"hashOfTexts",
     [](const Ref<NSDictionary>& all) {
       return std::to_string(valueAt<NSString>(all, "Text")->hash() ^ valueAt<NSString>(all, "Wide")->hash());
     }},
    {"equality", [](const Ref<NSDictionary>& all) { return std::to_string(isEqual(all, tree())); }},
    {"description", [](const Ref<NSDictionary>& all) { return all->description()->utf8(); }},
    {"lookup", [](const Ref<NSDictionary>& all) { return valueAt<std::string>(all, "List", 4).value_or("none"); }},
    {"enumeration",
     [](const Ref<NSDictionary>& all) {
       std::string keys;
       for (const auto& [key, value] : *all) keys.append(key->description()->utf8());
       return keys;
     }},
    {"bytesOfTexts", [](const Ref<NSDictionary>& all) { return valueAt<std::string>(all, "Wide").value_or("none"); }},
    {"xml", [](const Ref<NSDictionary>& all) { return written(all, NSPropertyListXMLFormat_v1_0); }},
    {"binary", [](const Ref<NSDictionary>& all) { return written(all, NSPropertyListBinaryFormat_v1_0); }},
    {"deepCopy",
     [](const Ref<NSDictionary>& all) {
       return CFPropertyListCreateDeepCopy(all, NSPropertyListMutableContainersAndLeaves)->description()->utf8();
     }},
    {"sorting",
     [](const Ref<NSDictionary>& all) {
       const Ref<NSArray> list = valueAt<NSArray>(all, "List");
       return std::to_string(static_cast<int>(QvFoundationExtensions::naturalCompare(
           as<NSString>(list->objectAtIndex(4)), as<NSString>(list->objectAtIndex(5)))));
     }},
    {"sets",
     [](const Ref<NSDictionary>& all) {
       return std::to_string(NSSet::setWithArray(valueAt<NSArray>(all, "List"))->count());
     }},
    {"mutableCopy",
     [](const Ref<NSDictionary>& all) {
       const Ref<NSMutableDictionary> copy = all->mutableCopy();
       copy->setObject_forKey("new", "New");
       return copy->description()->utf8();
     }},
};

class SharedValuesTests : public testing::TestWithParam<Question> {};

// The values that threads share have never been asked anything before, so what they keep for themselves is raced for.
TEST_P(SharedValuesTests, AnswerManyThreadsAsOne) {
  const Question& question = GetParam();
  const std::string expected = question.answer(tree());
  std::atomic<int> wrong = 0;
  for (int round = 0; round < kRounds; ++round) {
    const Ref<NSDictionary> shared = tree();
    std::atomic<std::size_t> waiting = 0;
    std::vector<std::thread> threads;
    for (std::size_t number = 0; number < kThreads; ++number) {
      threads.emplace_back([&] {
        const Ref<NSDictionary> own = shared;
        ++waiting;
        while (waiting < kThreads) std::this_thread::yield();
        wrong += question.answer(own) != expected;
      });
    }
    for (std::thread& thread : threads) thread.join();
  }
  EXPECT_EQ(wrong, 0);
}

INSTANTIATE_TEST_SUITE_P(To, SharedValuesTests, testing::ValuesIn(kQuestions),
                         [](const testing::TestParamInfo<Question>& one) { return std::string(one.param.name); });

}  // namespace
}  // namespace ZtFoundation
