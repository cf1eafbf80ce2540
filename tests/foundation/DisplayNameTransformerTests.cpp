#include <ZtFoundation/Files.h>
#include <ZtFoundation/Utilities.h>
#include <ZtFoundation/platform/Format.h>
#include <gtest/gtest.h>

#include "support/ReplacedMethod.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {

Ref<NSString> shownName(NSFileManager&, const Ref<NSString>& path) {
  return Ref<NSString>("shown ")->stringByAppendingString(path->lastPathComponent());
}

/// Adds to what the library's transformer answers.
class QuotingTransformer : public QvDisplayNameTransformer {
  ZT_OBJECT(QuotingTransformer, QvDisplayNameTransformer)
 public:
  Ref<NSObject> transformedValue(const Ref<NSObject>& value) override {
    return NSString::stringWithFormat("<%@>", QvDisplayNameTransformer::transformedValue(value));
  }
};

ZT_IMPLEMENT_CLASS(QuotingTransformer);

namespace {

class DisplayNameTransformerTests : public ::testing::Test {
 protected:
  DisplayNameTransformerTests() { writeFile(folder / "a b.txt", ""); }

  ScratchFolder folder;
  Ref<NSValueTransformer> transformer = ZtFoundation::make<QvDisplayNameTransformer>();
};

TEST_F(DisplayNameTransformerTests, TheClassSaysWhatItDoes) {
  const Class one = QvDisplayNameTransformer::classObject();
  EXPECT_EQ(send<Class>(one, ZT_SELECTOR("transformedValueClass")), NSString::classObject());
  EXPECT_FALSE(send<bool>(one, ZT_SELECTOR("allowsReverseTransformation")));
  EXPECT_EQ(class_getSuperclass(one), NSValueTransformer::classObject());
  EXPECT_EQ(QvDisplayNameTransformer::transformedValueClass(), NSString::classObject());
  EXPECT_FALSE(QvDisplayNameTransformer::allowsReverseTransformation());
}

TEST_F(DisplayNameTransformerTests, IsFoundByItsName) {
  const Ref<NSObject> made = class_createInstance(NSClassFromString("QvDisplayNameTransformer"));
  EXPECT_EQ(send<Ref<NSObject>>(made, ZT_SELECTOR("transformedValue:"), "/x/y")->description()->utf8(), "y");
}

TEST_F(DisplayNameTransformerTests, APathGivesItsDisplayName) {
  EXPECT_TRUE(isEqual(transformer->transformedValue(folder.string("a b.txt")), Ref<NSString>("a b.txt")));
  EXPECT_TRUE(isEqual(transformer->transformedValue("/no/such/item"), Ref<NSString>("item")));
  EXPECT_TRUE(isEqual(transformer->transformedValue(NSMutableString::stringWithString("/x/y")), Ref<NSString>("y")));
  EXPECT_TRUE(isEqual(transformer->transformedValue("/"), NSFileManager::defaultManager()->displayNameAtPath("/")));
  EXPECT_TRUE(isEqual(transformer->transformedValue(""), Ref<NSString>("")));
}

TEST_F(DisplayNameTransformerTests, AFileURLGivesTheSame) {
  const Ref<NSObject> url = NSURL::fileURLWithPath(folder.string("a b.txt"));
  EXPECT_TRUE(isEqual(transformer->transformedValue(url), Ref<NSString>("a b.txt")));
  EXPECT_FALSE(transformer->transformedValue(NSURL::fileURLWithPath(folder.string("missing"))));
}

TEST_F(DisplayNameTransformerTests, AWebURLGivesNoneAndALogLine) {
  ::testing::internal::CaptureStderr();
  EXPECT_FALSE(transformer->transformedValue(NSURL::URLWithString("http://example.org/a")));
  EXPECT_TRUE(::testing::internal::GetCapturedStderr().ends_with("] IS NOT FILE URL: http://example.org/a\n"));
}

TEST_F(DisplayNameTransformerTests, AnythingElseGivesTheEmptyString) {
  for (const Ref<NSObject>& value : {Ref<NSObject>(7), Ref<NSObject>(true), Ref<NSObject>(NSArray::of("/x/y")),
                                     Ref<NSObject>(transformer), Ref<NSObject>()}) {
    EXPECT_TRUE(isEqual(transformer->transformedValue(value), NSString::string()));
  }
}

TEST_F(DisplayNameTransformerTests, TheManagerIsAskedByMessage) {
  const ReplacedMethod<&shownName> replaced(NSFileManager::classObject(), ZT_SELECTOR("displayNameAtPath:"));
  EXPECT_TRUE(isEqual(transformer->transformedValue("/x/y"), Ref<NSString>("shown y")));
  const Ref<NSObject> url = NSURL::fileURLWithPath(folder.string("a b.txt"));
  EXPECT_TRUE(isEqual(transformer->transformedValue(url), Ref<NSString>("shown a b.txt")));
}

TEST_F(DisplayNameTransformerTests, MayBeDerivedFrom) {
  const Ref<NSObject> quoting = ZtFoundation::make<QuotingTransformer>();
  EXPECT_EQ(send<Ref<NSObject>>(quoting, ZT_SELECTOR("transformedValue:"), "/x/y")->description()->utf8(), "<y>");
  EXPECT_EQ(send<Class>(quoting->isa(), ZT_SELECTOR("transformedValueClass")), NSString::classObject());
}

}  // namespace
}  // namespace ZtFoundation::test
