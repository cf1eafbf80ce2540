#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/ValueTransformer.h>
#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace ZtFoundation {

/// Asks for a transformer while it goes away.
class AskingTransformer : public NSValueTransformer {
  ZT_OBJECT(AskingTransformer, NSValueTransformer)
 public:
  ~AskingTransformer() override { valueTransformerForName("Asking"); }
};

ZT_IMPLEMENT_CLASS(AskingTransformer);

namespace {

TEST(ValueTransformer, ByItselfChangesNothing) {
  const Ref<NSValueTransformer> transformer = make<NSValueTransformer>();
  const Ref<NSObject> value = "text";
  EXPECT_EQ(send<Ref<NSObject>>(transformer, ZT_SELECTOR("transformedValue:"), value), value);
  EXPECT_FALSE(transformer->transformedValue(nullptr));
  EXPECT_EQ(send<Class>(transformer->isa(), ZT_SELECTOR("transformedValueClass")), NSObject::classObject());
  EXPECT_FALSE(send<bool>(transformer->isa(), ZT_SELECTOR("allowsReverseTransformation")));
}

TEST(ValueTransformer, IsKnownByItsName) {
  const Ref<NSValueTransformer> one = make<NSValueTransformer>();
  const Ref<NSValueTransformer> other = make<NSValueTransformer>();
  EXPECT_FALSE(NSValueTransformer::valueTransformerForName("One"));
  NSValueTransformer::setValueTransformer_forName(one, "One");
  NSValueTransformer::setValueTransformer_forName(one, "Also");
  EXPECT_EQ(NSValueTransformer::valueTransformerForName("One"), one);
  NSValueTransformer::setValueTransformer_forName(other, "One");
  EXPECT_EQ(NSValueTransformer::valueTransformerForName("One"), other);
  EXPECT_EQ(NSValueTransformer::valueTransformerForName("Also"), one);
  NSValueTransformer::setValueTransformer_forName(nullptr, "One");
  NSValueTransformer::setValueTransformer_forName(nullptr, "Also");
  EXPECT_FALSE(NSValueTransformer::valueTransformerForName("One"));
  EXPECT_EQ(one->retainCount(), 1U);
}

TEST(ValueTransformer, WithoutANameNothingHappens) {
  NSValueTransformer::setValueTransformer_forName(make<NSValueTransformer>(), nullptr);
  EXPECT_FALSE(NSValueTransformer::valueTransformerForName(nullptr));
}

TEST(ValueTransformer, ANameThatIsChangedLaterStaysTheSame) {
  const Ref<NSMutableString> name = NSMutableString::stringWithString("Changing");
  const Ref<NSValueTransformer> one = make<NSValueTransformer>();
  NSValueTransformer::setValueTransformer_forName(one, name);
  name->appendString("!");
  EXPECT_EQ(NSValueTransformer::valueTransformerForName("Changing"), one);
  NSValueTransformer::setValueTransformer_forName(nullptr, "Changing");
}

TEST(ValueTransformer, OneThatGoesMayAskForOthers) {
  NSValueTransformer::setValueTransformer_forName(make<AskingTransformer>(), "Asking");
  NSValueTransformer::setValueTransformer_forName(nullptr, "Asking");
  EXPECT_FALSE(NSValueTransformer::valueTransformerForName("Asking"));
}

TEST(ValueTransformer, NamesAreForAnyThread) {
  std::vector<std::thread> threads;
  for (const char* name : {"A", "B", "A", "B"}) {
    threads.emplace_back([name] {
      for (int round = 0; round < 500; ++round) {
        NSValueTransformer::setValueTransformer_forName(make<NSValueTransformer>(), name);
        EXPECT_TRUE(NSValueTransformer::valueTransformerForName(name));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const char* name : {"A", "B"}) NSValueTransformer::setValueTransformer_forName(nullptr, name);
}

}  // namespace
}  // namespace ZtFoundation
