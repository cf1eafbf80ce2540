#include <gmock/gmock.h>

#include <ZtFoundation/Utilities.h>
#include <ZtFoundation/platform/Exception.h>

namespace replacementtests {

using namespace ZtFoundation;

class Vehicle : public NSObject {
  ZT_OBJECT(Vehicle, NSObject)
 public:
  virtual int wheels() const { return 4; }
  int doors() const { return 2; }
  static int count() { return 10; }
};
ZT_REGISTER_CLASS(Vehicle, ZT_METHOD("wheels", &Vehicle::wheels), ZT_METHOD("doors", &Vehicle::doors),
                  ZT_CLASS_METHOD("count", &Vehicle::count));

class Truck : public Vehicle {
  ZT_OBJECT(Truck, Vehicle)
 public:
  int wheels() const override { return 6; }
};
ZT_REGISTER_CLASS(Truck, ZT_METHOD("wheels", &Truck::wheels));

class Zeroed : public NSObject {
  ZT_OBJECT(Zeroed, NSObject)
 public:
  static int count() { return 0; }
};
ZT_IMPLEMENT_CLASS(Zeroed, ZT_CLASS_METHOD("count", &Zeroed::count));

int five(const Vehicle&) { return 5; }
int hundredMore(const Ref<Vehicle>& self) { return send<int>(self, ZT_SELECTOR("originalWheels")) + 100; }
bool respondsToAll(NSObject&, SEL) { return true; }
double typedOtherwise(const Vehicle&) { return 0.5; }

// Every test has classes of its own: what is replaced stays replaced.
class Replacement : public testing::Test {
 protected:
  Class base = subclassOf(Vehicle::classObject());
  Class derived = subclassOf(base);
  Class sibling = subclassOf(base);
  Class overriding = subclassOf(base);

  void SetUp() override {
    class_addMethod<&Vehicle::wheels>(base, ZT_SELECTOR("wheels"));
    class_addMethod<&eight>(overriding, ZT_SELECTOR("wheels"));
  }

  static int wheels(Class one) { return send<int>(class_createInstance(one), ZT_SELECTOR("wheels")); }
  static IMP implementation(Class one, SEL selector) {
    return method_getImplementation(class_getInstanceMethod(one, selector));
  }
  static int eight(const Vehicle&) { return 8; }
  static Class subclassOf(Class one) {
    static int made = 0;
    return registerSubclass(one, "Vehicle" + std::to_string(++made));
  }
};

TEST_F(Replacement, OfAnInheritedMethodLeavesTheSuperclassAlone) {
  Class below = subclassOf(derived);
  EXPECT_EQ(wheels(derived), 4);  // so that caches are filled
  EXPECT_EQ(wheels(below), 4);
  const IMP old = implementation(base, ZT_SELECTOR("wheels"));
  EXPECT_EQ(QvReplaceMethodImplementation(derived, ZT_SELECTOR("wheels"), methodImplementation<&five>()), old);
  EXPECT_EQ(wheels(derived), 5);
  EXPECT_EQ(wheels(below), 5);
  EXPECT_EQ(wheels(base), 4);
  EXPECT_EQ(wheels(sibling), 4);
  EXPECT_STREQ(method_getTypeEncoding(class_getInstanceMethod(derived, ZT_SELECTOR("wheels"))), "i@:");
}

TEST_F(Replacement, OfAnOwnMethodReachesSubclassesWithoutOverride) {
  EXPECT_EQ(wheels(derived), 4);
  const IMP old = implementation(base, ZT_SELECTOR("wheels"));
  const Method entry = class_getInstanceMethod(base, ZT_SELECTOR("wheels"));
  EXPECT_EQ(QvReplaceMethodImplementation(base, ZT_SELECTOR("wheels"), methodImplementation<&five>()), old);
  EXPECT_EQ(class_getInstanceMethod(base, ZT_SELECTOR("wheels")), entry);
  EXPECT_EQ(wheels(base), 5);
  EXPECT_EQ(wheels(derived), 5);
  EXPECT_EQ(wheels(overriding), 8);
  EXPECT_EQ(send<int>(make<Vehicle>(), ZT_SELECTOR("wheels")), 4);
}

TEST_F(Replacement, TwiceAnswersTheFirstReplacement) {
  QvReplaceMethodImplementation(derived, ZT_SELECTOR("wheels"), methodImplementation<&five>());
  EXPECT_EQ(QvReplaceMethodImplementation(derived, ZT_SELECTOR("wheels"), methodImplementation<&eight>()),
            methodImplementation<&five>());
  EXPECT_EQ(wheels(derived), 8);
}

TEST_F(Replacement, OfAnUnknownSelectorChangesNothing) {
  EXPECT_EQ(QvReplaceMethodImplementation(derived, ZT_SELECTOR("wings"), methodImplementation<&five>()), nullptr);
  EXPECT_FALSE(instancesRespondToSelector(derived, ZT_SELECTOR("wings")));
  EXPECT_EQ(QvReplaceMethodImplementation(nullptr, ZT_SELECTOR("wheels"), methodImplementation<&five>()), nullptr);
  EXPECT_EQ(QvReplaceMethodImplementation(derived, nullptr, methodImplementation<&five>()), nullptr);
  EXPECT_EQ(wheels(derived), 4);
}

TEST_F(Replacement, WithSelectorTakesTheOtherMethod) {
  class_addMethod<&five>(base, ZT_SELECTOR("replacedWheels"));
  const IMP old = implementation(base, ZT_SELECTOR("wheels"));
  EXPECT_EQ(QvReplaceMethodImplementationWithSelector(derived, ZT_SELECTOR("wheels"), ZT_SELECTOR("replacedWheels")),
            old);
  EXPECT_EQ(wheels(derived), 5);
  EXPECT_EQ(wheels(base), 4);
}

TEST_F(Replacement, WithSelectorOnClassLooksThere) {
  const IMP old = implementation(base, ZT_SELECTOR("wheels"));
  EXPECT_EQ(
      QvReplaceMethodImplementationWithSelectorOnClass(base, ZT_SELECTOR("wheels"), overriding, ZT_SELECTOR("wheels")),
      old);
  EXPECT_EQ(wheels(derived), 8);
}

TEST_F(Replacement, WithMissingSourceEmptiesTheMethod) {
  const IMP old = implementation(base, ZT_SELECTOR("wheels"));
  EXPECT_EQ(QvReplaceMethodImplementationWithSelector(derived, ZT_SELECTOR("wheels"), ZT_SELECTOR("nothing")), old);
  EXPECT_NE(class_getInstanceMethod(derived, ZT_SELECTOR("wheels")), nullptr);
  EXPECT_EQ(implementation(derived, ZT_SELECTOR("wheels")), nullptr);
  EXPECT_THROW(wheels(derived), NSException);
  EXPECT_EQ(wheels(base), 4);
  EXPECT_EQ(QvReplaceMethodImplementation(derived, ZT_SELECTOR("wheels"), methodImplementation<&five>()), nullptr);
  EXPECT_EQ(wheels(derived), 5) << "what was emptied can be filled";
}

TEST_F(Replacement, WithMissingSourceClassEmptiesTheMethod) {
  QvReplaceMethodImplementationWithSelectorOnClass(derived, ZT_SELECTOR("wheels"), nullptr, ZT_SELECTOR("wheels"));
  EXPECT_THROW(wheels(derived), NSException);
}

TEST_F(Replacement, WithOtherTypesIsNotCalledWithTheWrongOnes) {
  QvReplaceMethodImplementation(derived, ZT_SELECTOR("wheels"), methodImplementation<&typedOtherwise>());
  EXPECT_THROW(wheels(derived), NSException);
}

TEST_F(Replacement, OfClassMethodsGoesThroughTheMetaclass) {
  EXPECT_EQ(send<int>(derived, ZT_SELECTOR("count")), 10);
  const IMP zero = method_getImplementation(class_getClassMethod(Zeroed::classObject(), ZT_SELECTOR("count")));
  QvReplaceMethodImplementation(derived->metaclass(), ZT_SELECTOR("count"), zero);
  EXPECT_EQ(send<int>(derived, ZT_SELECTOR("count")), 0);
  EXPECT_EQ(send<int>(base, ZT_SELECTOR("count")), 10);
}

TEST_F(Replacement, ReachesTheRootClass) {
  const IMP old = implementation(NSObject::classObject(), ZT_SELECTOR("respondsToSelector:"));
  EXPECT_EQ(QvReplaceMethodImplementation(NSObject::classObject(), ZT_SELECTOR("respondsToSelector:"), old), old);
  EXPECT_EQ(QvClassImplementingMethod(derived, ZT_SELECTOR("respondsToSelector:")), NSObject::classObject());
  const auto responds = [&] {
    return send<bool>(class_createInstance(derived), ZT_SELECTOR("respondsToSelector:"), SEL());
  };
  EXPECT_FALSE(responds());
  EXPECT_EQ(QvReplaceMethodImplementation(NSObject::classObject(), ZT_SELECTOR("respondsToSelector:"),
                                          methodImplementation<&respondsToAll>()),
            old);
  EXPECT_TRUE(responds());
  QvReplaceMethodImplementation(NSObject::classObject(), ZT_SELECTOR("respondsToSelector:"), old);
  EXPECT_FALSE(responds());
}

TEST_F(Replacement, DuplicateKeepsTheOldImplementation) {
  const IMP old = implementation(base, ZT_SELECTOR("wheels"));
  EXPECT_EQ(QvDuplicateInstanceMethodWithSelector(derived, ZT_SELECTOR("wheels"), ZT_SELECTOR("originalWheels")), old);
  EXPECT_EQ(implementation(derived, ZT_SELECTOR("originalWheels")), old);
  EXPECT_STREQ(method_getTypeEncoding(class_getInstanceMethod(derived, ZT_SELECTOR("originalWheels"))), "i@:");
  EXPECT_FALSE(instancesRespondToSelector(base, ZT_SELECTOR("originalWheels")));
  QvReplaceMethodImplementation(derived, ZT_SELECTOR("wheels"), methodImplementation<&hundredMore>());
  EXPECT_EQ(wheels(derived), 104);
}

TEST_F(Replacement, DuplicateLeavesAnExistingDefinitionAlone) {
  const IMP old = implementation(base, ZT_SELECTOR("wheels"));
  class_addMethod<&five>(derived, ZT_SELECTOR("spare"));
  EXPECT_EQ(QvDuplicateInstanceMethodWithSelector(derived, ZT_SELECTOR("wheels"), ZT_SELECTOR("spare")), old);
  EXPECT_EQ(implementation(derived, ZT_SELECTOR("spare")), methodImplementation<&five>());
}

TEST_F(Replacement, DuplicateHidesAnInheritedDefinition) {
  class_addMethod<&five>(base, ZT_SELECTOR("spare"));
  QvDuplicateInstanceMethodWithSelector(derived, ZT_SELECTOR("wheels"), ZT_SELECTOR("spare"));
  EXPECT_EQ(implementation(derived, ZT_SELECTOR("spare")), implementation(base, ZT_SELECTOR("wheels")));
  EXPECT_EQ(implementation(base, ZT_SELECTOR("spare")), methodImplementation<&five>());
}

TEST_F(Replacement, DuplicateOfAnUnknownSelectorIsNone) {
  EXPECT_EQ(QvDuplicateInstanceMethodWithSelector(derived, ZT_SELECTOR("wings"), ZT_SELECTOR("spare")), nullptr);
  EXPECT_FALSE(instancesRespondToSelector(derived, ZT_SELECTOR("spare")));
  EXPECT_EQ(QvDuplicateInstanceMethodWithSelector(nullptr, ZT_SELECTOR("wheels"), ZT_SELECTOR("spare")), nullptr);
  EXPECT_EQ(QvDuplicateInstanceMethodWithSelector(derived, nullptr, ZT_SELECTOR("spare")), nullptr);
}

TEST_F(Replacement, DuplicateOfAnEmptiedMethodIsNone) {
  QvReplaceMethodImplementation(derived, ZT_SELECTOR("wheels"), nullptr);
  EXPECT_EQ(QvDuplicateInstanceMethodWithSelector(derived, ZT_SELECTOR("wheels"), ZT_SELECTOR("doors")), nullptr);
  EXPECT_EQ(QvDuplicateInstanceMethodWithSelector(derived, ZT_SELECTOR("wheels"), ZT_SELECTOR("spare")), nullptr);
  EXPECT_EQ(send<int>(class_createInstance(derived), ZT_SELECTOR("doors")), 2);
  EXPECT_EQ(class_getInstanceMethod(derived, ZT_SELECTOR("spare")), nullptr);
}

TEST_F(Replacement, DuplicateWithoutNewSelectorStillAnswers) {
  EXPECT_EQ(QvDuplicateInstanceMethodWithSelector(derived, ZT_SELECTOR("wheels"), nullptr),
            implementation(base, ZT_SELECTOR("wheels")));
}

TEST_F(Replacement, ClassThatImplementsIsTheOneThatDefines) {
  EXPECT_EQ(QvClassImplementingMethod(derived, ZT_SELECTOR("wheels")), base);
  EXPECT_EQ(QvClassImplementingMethod(base, ZT_SELECTOR("wheels")), base);
  EXPECT_EQ(QvClassImplementingMethod(overriding, ZT_SELECTOR("wheels")), overriding);
  EXPECT_EQ(QvClassImplementingMethod(derived, ZT_SELECTOR("doors")), Vehicle::classObject());
  EXPECT_EQ(QvClassImplementingMethod(Truck::classObject(), ZT_SELECTOR("wheels")), Truck::classObject());
  EXPECT_EQ(QvClassImplementingMethod(derived, ZT_SELECTOR("wings")), nullptr);
  EXPECT_EQ(QvClassImplementingMethod(nullptr, ZT_SELECTOR("wheels")), nullptr);
  EXPECT_EQ(QvClassImplementingMethod(derived, nullptr), nullptr);
}

TEST_F(Replacement, ClassThatImplementsMovesWithTheReplacement) {
  QvReplaceMethodImplementation(derived, ZT_SELECTOR("wheels"), methodImplementation<&five>());
  EXPECT_EQ(QvClassImplementingMethod(derived, ZT_SELECTOR("wheels")), derived);
}

TEST(ReplacementOfCompiledClasses, KeepsListedOverrides) {
  QvReplaceMethodImplementation(Vehicle::classObject(), ZT_SELECTOR("doors"), methodImplementation<&five>());
  EXPECT_EQ(send<int>(make<Truck>(), ZT_SELECTOR("doors")), 5);
  EXPECT_EQ(send<int>(make<Truck>(), ZT_SELECTOR("wheels")), 6);
}

}  // namespace replacementtests
