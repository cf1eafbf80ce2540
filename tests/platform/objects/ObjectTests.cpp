#include <array>
#include <cstdint>
#include <sstream>
#include <thread>
#include <unordered_set>
#include <vector>

#include <gtest/gtest.h>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/Object.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {
namespace {

// Tells when it is destroyed.
class Witness : public NSObject {
  ZT_OBJECT(Witness, NSObject)
 public:
  explicit Witness(int* deaths) : deaths_(deaths) {}
  ~Witness() override { ++*deaths_; }

 private:
  int* deaths_;
};
ZT_IMPLEMENT_CLASS(Witness);

TEST(RefTests, AnObjectLivesAsLongAsItsLastOwner) {
  int deaths = 0;
  Ref<Witness> first = make<Witness>(&deaths);
  EXPECT_EQ(first->retainCount(), 1U);
  {
    const Ref<NSObject> second = first;
    EXPECT_EQ(first->retainCount(), 2U);
    EXPECT_TRUE(first == second);
  }
  EXPECT_EQ(first->retainCount(), 1U);
  EXPECT_EQ(deaths, 0);
  first.reset();
  EXPECT_EQ(deaths, 1);
}

TEST(RefTests, MovingNeitherRetainsNorReleases) {
  int deaths = 0;
  Ref<Witness> first = make<Witness>(&deaths);
  Ref<NSObject> second = std::move(first);
  EXPECT_EQ(second->retainCount(), 1U);
  EXPECT_FALSE(first);  // NOLINT(bugprone-use-after-move)
}

TEST(RefTests, AssigningAnObjectToItselfKeepsIt) {
  int deaths = 0;
  Ref<Witness> ref = make<Witness>(&deaths);
  const Ref<Witness>& alias = ref;
  ref = alias;
  EXPECT_EQ(deaths, 0);
  EXPECT_EQ(ref->retainCount(), 1U);
}

TEST(RefTests, AdoptAndLeakHandOwnershipOver) {
  int deaths = 0;
  Witness* owned = make<Witness>(&deaths).leak();
  EXPECT_EQ(owned->retainCount(), 1U);
  Ref<Witness>::adopt(owned).reset();
  EXPECT_EQ(deaths, 1);
}

TEST(RefTests, UsingAnEmptyRefRaises) {
  const Ref<NSString> none;
  try {
    none->length();
    FAIL() << "nothing was raised";
  } catch (const NSException& exception) {
    EXPECT_TRUE(isEqual(exception.name(), NSInvalidArgumentException()));
  }
}

TEST(RefTests, ValuesConvert) {
  EXPECT_EQ(as<NSString>(Ref<NSObject>("text"))->utf8(), "text");
  EXPECT_EQ(as<NSNumber>(Ref<NSObject>(42))->longLongValue(), 42);
  EXPECT_EQ(as<NSNumber>(Ref<NSObject>(18446744073709551615ULL))->unsignedLongLongValue(), 18446744073709551615ULL);
  EXPECT_TRUE(as<NSNumber>(Ref<NSObject>(true))->isBoolean());
  EXPECT_EQ(as<NSNumber>(Ref<NSObject>(0.5))->doubleValue(), 0.5);
  EXPECT_FALSE(Ref<NSObject>(nullptr));
  EXPECT_FALSE(Ref<NSString>(static_cast<const char*>(nullptr)));
  EXPECT_EQ(Ref<NSString>(u"\xD83D\xDE00")->length(), 2U);
}

TEST(ObjectTests, CastsAreChecked) {
  const Ref<NSObject> text = "text";
  EXPECT_TRUE(as<NSString>(text));
  EXPECT_FALSE(as<NSMutableString>(text));
  EXPECT_FALSE(as<NSNumber>(text));
  EXPECT_FALSE(as<NSString>(Ref<NSObject>()));
  const Ref<NSObject> changing = NSMutableString::string();
  EXPECT_TRUE(as<NSMutableString>(changing));
  EXPECT_TRUE(as<NSString>(changing));
  int deaths = 0;
  const Ref<NSObject> witness = make<Witness>(&deaths);
  EXPECT_TRUE(as<Witness>(witness));
  EXPECT_FALSE(as<Witness>(text));
}

TEST(ObjectTests, KindsFollowTheClassTree) {
  const Ref<NSObject> text = NSMutableString::string();
  EXPECT_TRUE(text->isKindOfClass(NSMutableString::classObject()));
  EXPECT_TRUE(text->isKindOfClass(NSString::classObject()));
  EXPECT_TRUE(text->isKindOfClass(NSObject::classObject()));
  EXPECT_FALSE(text->isKindOfClass(NSArray::classObject()));
  EXPECT_FALSE(text->isKindOfClass(nullptr));
  EXPECT_FALSE(text->isMemberOfClass(NSString::classObject()));
  EXPECT_TRUE(text->isMemberOfClass(NSMutableString::classObject()));
}

TEST(ObjectTests, PlainObjectsAreEqualByIdentity) {
  int deaths = 0;
  const Ref<Witness> a = make<Witness>(&deaths);
  const Ref<Witness> b = make<Witness>(&deaths);
  EXPECT_TRUE(isEqual(a, a));
  EXPECT_FALSE(isEqual(a, b));
  EXPECT_FALSE(isEqual(a, Ref<NSObject>()));
  EXPECT_FALSE(isEqual(Ref<NSObject>(), Ref<NSObject>()));
  EXPECT_EQ(a->hash(), a->hash());
}

TEST(ObjectTests, TheDefaultDescriptionNamesTheClass) {
  int deaths = 0;
  const std::string text = make<Witness>(&deaths)->description()->utf8();
  EXPECT_EQ(text.substr(0, 12), "<Witness: 0x");
  EXPECT_EQ(text.back(), '>');
}

TEST(ObjectTests, PrintsAsUTF8) {
  std::ostringstream stream;
  stream << Ref<NSString>("Gr\xC3\xBC\xC3\x9F") << ' ' << Ref<NSObject>() << ' ' << Ref<NSObject>(7);
  EXPECT_EQ(stream.str(), "Gr\xC3\xBC\xC3\x9F (null) 7");
}

// Tells of itself by a method of its own, which C++ callers do not reach.
class Speaker : public NSObject {
  ZT_OBJECT(Speaker, NSObject)
 public:
  explicit Speaker(const char* text = "spoken") : text_(text) {}
  Ref<NSString> speak() const { return text_ != nullptr ? Ref<NSString>(text_) : nullptr; }

 private:
  const char* text_;
};
ZT_IMPLEMENT_CLASS(Speaker, ZT_METHOD("description", &Speaker::speak));

TEST(ObjectTests, DescriptionsAreAskedForByMessage) {
  const Ref<NSObject> spoken = make<Speaker>();
  const Ref<NSObject> silent = make<Speaker>(nullptr);
  std::ostringstream stream;
  stream << spoken << ' ' << silent;
  EXPECT_EQ(stream.str(), "spoken (null)");
  EXPECT_EQ(NSArray::of(spoken, silent, 1)->componentsJoinedByString("+")->utf8(), "spoken+(null)+1");
  EXPECT_EQ(NSArray::of(silent)->description()->utf8(), "(\n    \"(null)\"\n)");
}

TEST(ObjectTests, RootClassInitialisesByMessage) {
  const Ref<NSObject> object = make<NSObject>();
  EXPECT_EQ(send<Ref<NSObject>>(object, ZT_SELECTOR("init")), object);
  EXPECT_EQ(object->retainCount(), 1U);
  Class speakers = Speaker::classObject();
  EXPECT_EQ(send<Ref<NSObject>>(speakers, ZT_SELECTOR("alloc"))->isa(), speakers);
  EXPECT_EQ(send<Ref<NSObject>>(speakers, ZT_SELECTOR("new"))->isa(), speakers);
  EXPECT_FALSE(send<Ref<NSObject>>(Witness::classObject(), ZT_SELECTOR("new")));
}

class Wide : public NSObject {
 public:
  alignas(64) std::array<char, 64> contents{};
};

TEST(ObjectTests, AClassHasTheAlignmentThatItAsksFor) {
  std::vector<Ref<Wide>> objects;
  for (int count = 0; count < 16; ++count) {
    objects.push_back(make<Wide>());
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(objects.back()->contents.data()) % 64, 0U);
  }
}

Ref<NSObject> nested(int depth, Ref<NSObject> innermost) {
  Ref<NSObject> value = std::move(innermost);
  for (int level = 0; level < depth; ++level) {
    if (level % 2 == 0) {
      value = NSArray::arrayWithObject(value);
    } else {
      value = NSDictionary::dictionaryWithObject_forKey(value, "k");
    }
  }
  return value;
}

TEST(ObjectTests, DestroyingACollectionDestroysAllInside) {
  int deaths = 0;
  const auto list = [&] { return NSArray::of(make<Witness>(&deaths)); };
  Ref<NSArray> value = NSArray::of(list(), NSArray::of(list(), list()), list());
  EXPECT_EQ(deaths, 0);
  value.reset();
  EXPECT_EQ(deaths, 4);
}

TEST(ObjectTests, DestroyingAMillionLevelsCostsNoStack) {
  int deaths = 0;
  nested(1000000, make<Witness>(&deaths)).reset();
  EXPECT_EQ(deaths, 1);
}

TEST(ObjectTests, OwnersInManyThreadsAddUp) {
  int deaths = 0;
  {
    const Ref<Witness> shared = make<Witness>(&deaths);
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
      threads.emplace_back([shared] {
        for (int round = 0; round < 20000; ++round) const Ref<NSObject> another = shared;
      });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(deaths, 0);
  }
  EXPECT_EQ(deaths, 1);
}

TEST(ObjectTests, TheLastOwnerMayBeInAnyThread) {
  for (int round = 0; round < 200; ++round) {
    int deaths = 0;
    Ref<NSObject> value = nested(10, make<Witness>(&deaths));
    Ref<NSObject> copy = value;
    std::thread other([moved = std::move(copy)]() mutable { moved.reset(); });
    value.reset();
    other.join();
    EXPECT_EQ(deaths, 1);
  }
}

TEST(RefTests, HashesByIdentity) {
  const Ref<NSString> a = "same";
  const Ref<NSString> b = "same";
  const std::unordered_set<Ref<NSString>> set = {a, b, a};
  EXPECT_EQ(set.size(), a == b ? 1U : 2U);
}

}  // namespace
}  // namespace ZtFoundation
