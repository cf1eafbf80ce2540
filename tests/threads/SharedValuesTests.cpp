// Immutable values belong to all threads: whatever is asked of one tree by many at once is answered as by one alone.

#include <algorithm>
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
#include <ZtFoundation/platform/AttributedString.h>
#include <ZtFoundation/platform/CharacterSet.h>
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
  all->setObject_forKey(NSArray::of("item 10", "\u00C9t\u00E9 2", "Item 9", "e\u0301te\u0301 1", "item 1a", "\uFF11"),
                        "Names");
  all->setObject_forKey(NSDictionary::of({{"first", "1"}, {"second", "two words"}}), "Section");
  all->setObject_forKey(NSData::dataWithString("bytes"), "Data");
  all->setObject_forKey(NSDate::dateWithTimeIntervalSinceReferenceDate(1e9), "Date");
  Ref<NSObject> nested = NSString::string();
  for (int level = 0; level < 40; ++level) nested = NSArray::of(nested);
  all->setObject_forKey(nested, "Nested");
  return all->copy();
}

// Values that no property list holds.
Ref<NSDictionary> others() {
  const Ref<NSMutableIndexSet> indexes = NSMutableIndexSet::indexSet();
  for (const NSUInteger index : {3U, 4U, 7U, 100U}) indexes->addIndex(index);
  const Ref<NSMutableDictionary> all = NSMutableDictionary::dictionary();
  all->setObject_forKey(NSURL::URLWithString("http://host.example:8080/a%20b/c%C3%BC?query#fragment"), "URL");
  all->setObject_forKey(indexes->copy(), "Indexes");
  all->setObject_forKey(
      NSAttributedString::attributedStringWithRuns({{"gr\u00FC", NSDictionary::of({{"weight", 2}})}, {"n", nullptr}}),
      "Styled");
  all->setObject_forKey(NSCharacterSet::characterSetWithCharactersInString("a\u00E9\u6F22\U0001F600"), "Characters");
  all->setObject_forKey(NSSet::setWithObjects({"member", 7, 2.5}), "Set");
  return all->copy();
}

std::string written(const Ref<NSObject>& value, NSUInteger format) {
  const Ref<NSData> data =
      NSPropertyListSerialization::dataFromPropertyList_format_errorDescription(value, format, nullptr);
  return {static_cast<const char*>(data->bytes()), data->length()};
}

std::string writtenAsINI(const Ref<NSDictionary>& settings) {
  const Ref<NSData> data = QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(
      settings, QvPropertyListINIFormat, nullptr);
  return std::string(data->view());
}

std::string sorted(const Ref<NSArray>& texts) {
  std::vector<Ref<NSString>> list;
  for (const Ref<NSObject>& each : *texts) list.push_back(as<NSString>(each));
  std::sort(list.begin(), list.end(), [](const Ref<NSString>& a, const Ref<NSString>& b) {
    return QvFoundationExtensions::naturalCompare(a, b) == NSOrderedAscending;
  });
  std::string all;
  for (const Ref<NSString>& each : list) all.append(each->utf8()).append(";");
  return all;
}

std::string partsOf(const Ref<NSURL>& url) {
  std::string all = url->absoluteString()->utf8();
  for (const Ref<NSString>& part : {url->scheme(), url->host(), url->path(), url->query(), url->fragment(),
                                    url->lastPathComponent(), url->port()->description()}) {
    all.append(";").append(part->utf8());
  }
  return all;
}

std::string stretchesOf(const Ref<NSAttributedString>& text) {
  std::string all = text->string()->utf8();
  for (NSUInteger index = 0; index < text->length(); ++index) {
    NSRange range;
    all.append(text->attributesAtIndex_effectiveRange(index, &range)->description()->utf8());
    all.append(std::to_string(range.location)).append("+").append(std::to_string(range.length));
  }
  return all;
}

std::string membersOf(const Ref<NSCharacterSet>& characters) {
  std::string members;
  const Ref<NSCharacterSet> inverted = characters->invertedSet();
  for (const char32_t each : {U'a', U'b', U'\u00E9', U'\u6F22', U'\U0001F600'}) {
    members += characters->longCharacterIsMember(each) ? 'y' : 'n';
    members += inverted->longCharacterIsMember(each) ? 'y' : 'n';
  }
  return members;
}

struct Question {
  const char* name;
  std::string (*answer)(const Ref<NSDictionary>&);
  Ref<NSDictionary> (*values)() = tree;
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
    {"ini",
     [](const Ref<NSDictionary>& all) {
       return writtenAsINI(NSDictionary::dictionaryWithObject_forKey(valueAt<NSDictionary>(all, "Section"), "Main"));
     }},
    {"sorting", [](const Ref<NSDictionary>& all) { return sorted(valueAt<NSArray>(all, "Names")); }},
    {"mutableCopy",
     [](const Ref<NSDictionary>& all) {
       const Ref<NSMutableDictionary> copy = all->mutableCopy();
       copy->setObject_forKey("new", "New");
       return copy->description()->utf8();
     }},
    {"equalityOfOthers", [](const Ref<NSDictionary>& all) { return std::to_string(isEqual(all, others())); }, others},
    {"hashOfOthers",
     [](const Ref<NSDictionary>& all) {
       std::string hashes;
       for (const auto& [key, value] : *all) hashes.append(std::to_string(value->hash())).append(";");
       return hashes;
     },
     others},
    {"url", [](const Ref<NSDictionary>& all) { return partsOf(valueAt<NSURL>(all, "URL")); }, others},
    {"indexSet",
     [](const Ref<NSDictionary>& all) {
       const Ref<NSIndexSet> indexes = valueAt<NSIndexSet>(all, "Indexes");
       std::string told = indexes->description()->utf8();
       told.append(indexes->mutableCopy()->description()->utf8());
       for (const NSUInteger each : {indexes->count(), indexes->indexGreaterThanIndex(4), indexes->lastIndex()}) {
         told.append(std::to_string(each));
       }
       return told;
     },
     others},
    {"attributedString",
     [](const Ref<NSDictionary>& all) { return stretchesOf(valueAt<NSAttributedString>(all, "Styled")); }, others},
    {"characterSet", [](const Ref<NSDictionary>& all) { return membersOf(valueAt<NSCharacterSet>(all, "Characters")); },
     others},
    {"set",
     [](const Ref<NSDictionary>& all) {
       const Ref<NSSet> set = valueAt<NSSet>(all, "Set");
       std::string told = set->description()->utf8();
       told.append(set->allObjects()->description()->utf8());
       told += set->containsObject("member") ? 'y' : 'n';
       told += set->isSubsetOfSet(set->mutableCopy()) ? 'y' : 'n';
       return told;
     },
     others},
};

class SharedValuesTests : public testing::TestWithParam<Question> {};

// The values that threads share have never been asked anything before, so what they keep for themselves is raced for.
TEST_P(SharedValuesTests, AnswerManyThreadsAsOne) {
  const Question& question = GetParam();
  const std::string expected = question.answer(question.values());
  ASSERT_TRUE(isEqual(question.values(), question.values()));
  std::atomic<int> wrong = 0;
  for (int round = 0; round < kRounds; ++round) {
    const Ref<NSDictionary> shared = question.values();
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
