// Arrays, dictionaries, sets, index sets and character sets with each of their allocations failing.
#include <array>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/CharacterSet.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/IndexSet.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/Set.h>
#include <ZtFoundation/platform/String.h>
#include <ZtFoundation/platform/Values.h>

#include <support/FailingAllocations.h>

namespace ZtFoundation::test {
namespace {

struct Arrays {
  Ref<NSArray> array = NSArray::of("one", 2, 3.5, u"日本語", NSArray::of("inner", true), "one");
  Ref<NSArray> other = NSArray::of("seven", 2, "eight");
  Ref<NSMutableArray> changing = full();
  Ref<NSObject> object = "one";
  std::array<Ref<NSObject>, 3> taken{"a", "b", 1};

  // A copy has room for its elements alone, so that one more needs memory.
  static Ref<NSMutableArray> full() { return NSArray::of(0, 1, 2, 0, 1)->mutableCopy(); }
  std::string describe() const { return answerText(array).append(answerText(changing)).append(answerText(taken[0])); }
};

TEST(AllocationFailureCollection, Arrays) {
  const EachOf<Arrays> each;
  each("NSArray::array", [](Arrays&) { return NSArray::array(); });
  each("NSArray::arrayWithObject", [](Arrays& a) { return NSArray::arrayWithObject(a.object); });
  each("NSArray::arrayWithObjects", [](Arrays& a) { return NSArray::arrayWithObjects({a.object, a.object}); });
  each("NSArray::arrayWithObjects (none among them)",
       [](Arrays& a) {
         return NSArray::arrayWithObjects({a.object, nullptr});
       },
       {.throwsAnyway = true});
  each("NSArray::arrayWithArray", [](Arrays& a) { return NSArray::arrayWithArray(a.changing); });
  each("NSArray::of", [](Arrays&) { return NSArray::of("a", 1, 2.5, true); });
  each("NSArray::arrayByTaking", [](Arrays& a) { return NSArray::arrayByTaking(a.taken); });
  each("NSArray::objectAtIndex", [](Arrays& a) { return a.array->objectAtIndex(3); });
  each("NSArray::objectAtIndex (outside)", [](Arrays& a) { return a.array->objectAtIndex(99); },
       {.throwsAnyway = true});
  each("NSArray::firstObject", [](Arrays& a) { return a.array->firstObject(); });
  each("NSArray::lastObject", [](Arrays& a) { return a.array->lastObject(); });
  each("NSArray::indexOfObject", [](Arrays& a) { return a.array->indexOfObject("none"); });
  each("NSArray::indexOfObject (deep)", [](Arrays& a) { return a.array->indexOfObject(NSArray::of("inner", true)); });
  each("NSArray::indexOfObjectIdenticalTo", [](Arrays& a) { return a.array->indexOfObjectIdenticalTo(a.object); });
  each("NSArray::firstObjectCommonWithArray", [](Arrays& a) { return a.array->firstObjectCommonWithArray(a.other); });
  each("NSArray::arrayByAddingObject", [](Arrays& a) { return a.array->arrayByAddingObject(a.object); });
  each("NSArray::subarrayWithRange", [](Arrays& a) { return a.array->subarrayWithRange({1, 3}); });
  each("NSArray::componentsJoinedByString", [](Arrays& a) { return a.array->componentsJoinedByString(", "); });
  each("NSArray::copy", [](Arrays& a) { return a.changing->copy(); });
  each("NSArray::mutableCopy", [](Arrays& a) { return a.array->mutableCopy(); });
  each("NSArray::isEqual",
       [](Arrays& a) { return a.array->isEqual(NSArray::of("one", 2, 3.5, u"日本語", NSArray::of("inner"))); });
  each("NSArray::hash", [](Arrays& a) { return a.array->hash(); });
  each("NSArray::description", [](Arrays& a) { return a.array->description(); });
  each("NSArray::classObject", [](Arrays&) { return NSArray::classObject(); });
  each("detail::deepEqual", [](Arrays& a) { return detail::deepEqual(a.array.get(), a.array->mutableCopy().get()); });
}

TEST(AllocationFailureCollection, MutableArrays) {
  const EachOf<Arrays> each;
  each("NSMutableArray::array", [](Arrays&) { return NSMutableArray::array(); });
  each("NSMutableArray::arrayWithCapacity", [](Arrays&) { return NSMutableArray::arrayWithCapacity(50); });
  each("NSMutableArray::arrayWithArray", [](Arrays& a) { return NSMutableArray::arrayWithArray(a.array); });
  each("NSMutableArray::arrayByTaking", [](Arrays& a) { return NSMutableArray::arrayByTaking(a.taken); });
  each("NSMutableArray::of", [](Arrays&) { return NSMutableArray::of("a", 1); });
  each("NSMutableArray::addObject", [](Arrays& a) { a.changing->addObject(a.object); });
  each("NSMutableArray::addObjectsFromArray", [](Arrays& a) { a.changing->addObjectsFromArray(a.array); });
  each("NSMutableArray::addObjectsFromArray (itself)", [](Arrays& a) { a.changing->addObjectsFromArray(a.changing); });
  each("NSMutableArray::insertObject_atIndex", [](Arrays& a) { a.changing->insertObject_atIndex(a.object, 2); });
  each("NSMutableArray::replaceObjectAtIndex_withObject",
       [](Arrays& a) { a.changing->replaceObjectAtIndex_withObject(2, a.object); });
  each("NSMutableArray::removeObjectAtIndex", [](Arrays& a) { a.changing->removeObjectAtIndex(2); });
  each("NSMutableArray::removeLastObject", [](Arrays& a) { a.changing->removeLastObject(); });
  each("NSMutableArray::removeObject", [](Arrays& a) { a.changing->removeObject(1); });
  each("NSMutableArray::removeAllObjects", [](Arrays& a) { a.changing->removeAllObjects(); });
  each("NSMutableArray::classObject", [](Arrays&) { return NSMutableArray::classObject(); });
}

struct Dictionaries {
  Ref<NSDictionary> dictionary = NSDictionary::of({{"Name", "Alice"}, {"Age", 42}, {7, NSArray::of("x", "y")}});
  Ref<NSMutableDictionary> changing = full();
  Ref<NSMutableString> key = NSMutableString::stringWithString("a key that may change");
  std::array<DictionaryEntry, 2> taken{DictionaryEntry{"a", 1}, DictionaryEntry{"b", 2}};

  // As many entries as there is room for, so that one more needs memory.
  static Ref<NSMutableDictionary> full() {
    const Ref<NSMutableDictionary> made = NSMutableDictionary::dictionary();
    for (int i = 0; i < 16; ++i) made->setObject_forKey(NSNumber::numberWithInt(i), NSNumber::numberWithInt(i * 5));
    return made;
  }
  std::string describe() const {
    return answerText(dictionary).append(answerText(changing)).append(answerText(taken[0].key));
  }
};

TEST(AllocationFailureCollection, Dictionaries) {
  const EachOf<Dictionaries> each;
  using D = Dictionaries;
  each("NSDictionary::dictionary", [](D&) { return NSDictionary::dictionary(); });
  each("NSDictionary::dictionaryWithObject_forKey",
       [](D& d) { return NSDictionary::dictionaryWithObject_forKey(d.dictionary, d.key); });
  each("NSDictionary::dictionaryWithEntries", [](D& d) {
    return NSDictionary::dictionaryWithEntries({{"a", 1}, {d.key, 2}, {"a", 3}});
  });
  each("NSDictionary::dictionaryWithEntries (none among them)",
       [](D& d) {
         return NSDictionary::dictionaryWithEntries({{"a", 1}, {d.key, nullptr}});
       },
       {.throwsAnyway = true});
  each("NSDictionary::of", [](D&) { return NSDictionary::of({{"a", 1}}); });
  each("NSDictionary::dictionaryWithDictionary",
       [](D& d) { return NSDictionary::dictionaryWithDictionary(d.changing); });
  each("NSDictionary::dictionaryByTaking", [](D& d) { return NSDictionary::dictionaryByTaking(d.taken); });
  each("NSDictionary::hashOfKey", [](D& d) { return NSDictionary::hashOfKey(*d.key); });
  each("NSDictionary::lookUp", [](D& d) { return d.dictionary->lookUp("Name") != nullptr; });
  each("NSDictionary::lookUp (object)", [](D& d) { return d.dictionary->lookUp(d.key.get()) != nullptr; });
  each("NSDictionary::objectForKey", [](D& d) { return d.dictionary->objectForKey(7); });
  each("NSDictionary::get", [](D& d) { return d.dictionary->get<std::string>("Name"); });
  each("valueAt", [](D& d) { return valueAt<std::string>(d.dictionary, "Name"); });
  each("NSDictionary::allKeys", [](D& d) { return d.dictionary->allKeys(); });
  each("NSDictionary::allValues", [](D& d) { return d.dictionary->allValues(); });
  each("NSDictionary::copy", [](D& d) { return d.changing->copy(); });
  each("NSDictionary::mutableCopy", [](D& d) { return d.dictionary->mutableCopy(); });
  each("NSDictionary::isEqual", [](D& d) { return d.dictionary->isEqual(d.dictionary->mutableCopy()); });
  each("NSDictionary::hash", [](D& d) { return d.dictionary->hash(); });
  each("NSDictionary::description", [](D& d) { return d.dictionary->description(); });
  each("NSDictionary::classObject", [](D&) { return NSDictionary::classObject(); });
}

TEST(AllocationFailureCollection, MutableDictionaries) {
  const EachOf<Dictionaries> each;
  using D = Dictionaries;
  each("NSMutableDictionary::dictionary", [](D&) { return NSMutableDictionary::dictionary(); });
  each("NSMutableDictionary::dictionaryWithCapacity",
       [](D&) { return NSMutableDictionary::dictionaryWithCapacity(40); });
  each("NSMutableDictionary::dictionaryWithDictionary",
       [](D& d) { return NSMutableDictionary::dictionaryWithDictionary(d.dictionary); });
  each("NSMutableDictionary::dictionaryByTaking",
       [](D& d) { return NSMutableDictionary::dictionaryByTaking(d.taken); });
  each("NSMutableDictionary::setObject_forKey", [](D& d) { d.changing->setObject_forKey("value", d.key); });
  each("NSMutableDictionary::setObject_forKey (a key that is there)",
       [](D& d) { d.changing->setObject_forKey("value", 5); });
  each("NSMutableDictionary::setObject_forKey (an empty one)", [](D&) {
    const Ref<NSMutableDictionary> fresh = NSMutableDictionary::dictionary();
    fresh->setObject_forKey("value", "key");
    return fresh;
  });
  each("NSMutableDictionary::removeObjectForKey", [](D& d) { d.changing->removeObjectForKey(5); });
  each("NSMutableDictionary::removeAllObjects", [](D& d) { d.changing->removeAllObjects(); });
  each("NSMutableDictionary::addEntriesFromDictionary",
       [](D& d) { d.changing->addEntriesFromDictionary(d.dictionary); });
  each("NSMutableDictionary::addEntriesFromDictionary (many)", [](D& d) {
    const Ref<NSMutableDictionary> few = d.dictionary->mutableCopy();
    few->addEntriesFromDictionary(d.changing);
    return few;
  });
  each("NSMutableDictionary::classObject", [](D&) { return NSMutableDictionary::classObject(); });
}

struct Sets {
  Ref<NSSet> set = NSSet::setWithObjects({"a", "b", 3});
  Ref<NSSet> subset = NSSet::setWithObjects({"a", 3});
  Ref<NSMutableSet> changing = full();
  Ref<NSArray> array = NSArray::of("x", "y", "x", 9);
  Ref<NSObject> object = "one more";

  static Ref<NSMutableSet> full() {
    const Ref<NSMutableSet> set = NSMutableSet::set();
    for (int i = 0; i < 4; ++i) set->addObject(i);
    return set;
  }
  std::string describe() const { return answerText(set).append(answerText(changing)); }
};

TEST(AllocationFailureCollection, Sets) {
  const EachOf<Sets> each;
  each("NSSet::set", [](Sets&) { return NSSet::set(); });
  each("NSSet::setWithObjects", [](Sets& s) { return NSSet::setWithObjects({s.object, "b", s.object}); });
  each("NSSet::setWithArray", [](Sets& s) { return NSSet::setWithArray(s.array); });
  each("NSSet::setWithSet", [](Sets& s) { return NSSet::setWithSet(s.changing); });
  each("NSSet::anyObject", [](Sets& s) { return s.set->anyObject(); });
  each("NSSet::containsObject", [](Sets& s) { return s.set->containsObject("c"); });
  each("NSSet::member", [](Sets& s) { return s.set->member("b"); });
  each("NSSet::allObjects", [](Sets& s) { return s.set->allObjects(); });
  each("NSSet::isSubsetOfSet", [](Sets& s) { return s.subset->isSubsetOfSet(s.set); });
  each("NSSet::copy", [](Sets& s) { return s.changing->copy(); });
  each("NSSet::mutableCopy", [](Sets& s) { return s.set->mutableCopy(); });
  each("NSSet::isEqual", [](Sets& s) { return s.set->isEqual(s.set->mutableCopy()); });
  each("NSSet::hash", [](Sets& s) { return s.set->hash(); });
  each("NSSet::description", [](Sets& s) { return s.set->description(); });
  each("NSSet::classObject", [](Sets&) { return NSSet::classObject(); });
  each("NSMutableSet::set", [](Sets&) { return NSMutableSet::set(); });
  each("NSMutableSet::setWithSet", [](Sets& s) { return NSMutableSet::setWithSet(s.set); });
  each("NSMutableSet::addObject", [](Sets& s) { s.changing->addObject(s.object); });
  each("NSMutableSet::removeObject", [](Sets& s) { s.changing->removeObject(3); });
  each("NSMutableSet::removeAllObjects", [](Sets& s) { s.changing->removeAllObjects(); });
  each("NSMutableSet::classObject", [](Sets&) { return NSMutableSet::classObject(); });
}

struct IndexSets {
  Ref<NSMutableIndexSet> changing = some(0);
  Ref<NSIndexSet> set = some(0)->copy();
  Ref<NSIndexSet> other = some(5)->copy();

  static Ref<NSMutableIndexSet> some(NSUInteger shift) {
    const Ref<NSMutableIndexSet> set = NSMutableIndexSet::indexSet();
    for (NSUInteger i = 0; i < 5; ++i) set->addIndexesInRange({shift + 20 * i, 10});
    return set;
  }
  std::string describe() const {
    return answerText(set).append(answerText(changing)).append(answerText(changing->count()));
  }
};

TEST(AllocationFailureCollection, IndexSets) {
  const EachOf<IndexSets> each;
  using I = IndexSets;
  each("NSIndexSet::indexSet", [](I&) { return NSIndexSet::indexSet(); });
  each("NSIndexSet::indexSetWithIndex", [](I&) { return NSIndexSet::indexSetWithIndex(3); });
  each("NSIndexSet::indexSetWithIndexesInRange", [](I&) { return NSIndexSet::indexSetWithIndexesInRange({3, 9}); });
  each("NSIndexSet::count", [](I& i) { return i.set->count(); });
  each("NSIndexSet::containsIndex", [](I& i) { return i.set->containsIndex(25); });
  each("NSIndexSet::containsIndexes", [](I& i) { return i.set->containsIndexes(i.other); });
  each("NSIndexSet::firstIndex", [](I& i) { return i.set->firstIndex(); });
  each("NSIndexSet::lastIndex", [](I& i) { return i.set->lastIndex(); });
  each("NSIndexSet::indexGreaterThanIndex", [](I& i) { return i.set->indexGreaterThanIndex(9); });
  each("NSIndexSet::mutableCopy", [](I& i) { return i.set->mutableCopy(); });
  each("NSIndexSet::isEqual", [](I& i) { return i.set->isEqual(i.changing); });
  each("NSIndexSet::hash", [](I& i) { return i.set->hash(); });
  each("NSIndexSet::description", [](I& i) { return i.set->description(); });
  each("NSIndexSet::classObject", [](I&) { return NSIndexSet::classObject(); });
  each("NSMutableIndexSet::indexSet", [](I&) { return NSMutableIndexSet::indexSet(); });
  each("NSMutableIndexSet::copy", [](I& i) { return i.changing->copy(); });
  each("NSMutableIndexSet::addIndex", [](I& i) { i.changing->addIndex(12); });
  each("NSMutableIndexSet::addIndex (joins)", [](I& i) { i.changing->addIndex(10); });
  each("NSMutableIndexSet::addIndexes", [](I& i) { i.changing->addIndexes(i.other); });
  each("NSMutableIndexSet::addIndexes (apart)", [](I& i) {
    i.changing->addIndexes(NSIndexSet::indexSetWithIndexesInRange({500, 3}));
  });
  each("NSMutableIndexSet::addIndexes (many apart)",
       [](I& i) { i.changing->addIndexes(IndexSets::some(210)->copy()); });
  each("NSMutableIndexSet::addIndexesInRange", [](I& i) { i.changing->addIndexesInRange({5, 50}); });
  each("NSMutableIndexSet::addIndexesInRange (apart)", [](I& i) { i.changing->addIndexesInRange({200, 5}); });
  each("NSMutableIndexSet::removeIndex", [](I& i) { i.changing->removeIndex(5); });
  each("NSMutableIndexSet::removeIndexes", [](I& i) { i.changing->removeIndexes(i.other); });
  each("NSMutableIndexSet::removeIndexes (inside)", [](I& i) {
    const Ref<NSMutableIndexSet> single = NSMutableIndexSet::indexSet();
    for (NSUInteger k = 0; k < 5; ++k) single->addIndex(20 * k + 4);
    i.changing->removeIndexes(single->copy());
  });
  each("NSMutableIndexSet::removeIndexesInRange", [](I& i) { i.changing->removeIndexesInRange({5, 2}); });
  each("NSMutableIndexSet::removeIndexesInRange (many)", [](I& i) { i.changing->removeIndexesInRange({5, 62}); });
  each("NSMutableIndexSet::removeAllIndexes", [](I& i) { i.changing->removeAllIndexes(); });
  each("NSMutableIndexSet::classObject", [](I&) { return NSMutableIndexSet::classObject(); });
}

struct CharacterSets {
  Ref<NSString> text = u"letters: aäz 日本語 \U0001F600";
  Ref<NSCharacterSet> set = NSCharacterSet::characterSetWithCharactersInString(text);
  Ref<NSCharacterSet> same = NSCharacterSet::characterSetWithCharactersInString(text);
};

TEST(AllocationFailureCollection, CharacterSets) {
  const EachOf<CharacterSets> each;
  using C = CharacterSets;
  const auto size = [](const Ref<NSCharacterSet>& set) {
    int members = 0;
    for (char32_t c = 0; c < 0x800; ++c) members += set->longCharacterIsMember(c) ? 1 : 0;
    return members;
  };
  each("NSCharacterSet::characterSetWithCharactersInString",
       [=](C& c) { return size(NSCharacterSet::characterSetWithCharactersInString(c.text)); });
  each("NSCharacterSet::characterSetWithRange", [=](C&) {
    return size(NSCharacterSet::characterSetWithRange({'a', 26}));
  });
  each("NSCharacterSet::whitespaceCharacterSet", [=](C&) { return size(NSCharacterSet::whitespaceCharacterSet()); });
  each("NSCharacterSet::whitespaceAndNewlineCharacterSet",
       [=](C&) { return size(NSCharacterSet::whitespaceAndNewlineCharacterSet()); });
  each("NSCharacterSet::newlineCharacterSet", [=](C&) { return size(NSCharacterSet::newlineCharacterSet()); });
  each("NSCharacterSet::decimalDigitCharacterSet",
       [=](C&) { return size(NSCharacterSet::decimalDigitCharacterSet()); });
  each("NSCharacterSet::letterCharacterSet", [=](C&) { return size(NSCharacterSet::letterCharacterSet()); });
  each("NSCharacterSet::alphanumericCharacterSet",
       [=](C&) { return size(NSCharacterSet::alphanumericCharacterSet()); });
  each("NSCharacterSet::invertedSet", [=](C& c) { return size(c.set->invertedSet()); });
  each("NSCharacterSet::isEqual", [](C& c) { return c.set->isEqual(c.same); });
  each("NSCharacterSet::hash", [](C& c) { return c.set->hash(); });
  each("NSCharacterSet::classObject", [](C&) { return NSCharacterSet::classObject(); });
}

}  // namespace
}  // namespace ZtFoundation::test
