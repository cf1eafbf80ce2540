// Classes, messages and method replacement with each of their allocations failing.
#include <string>

#include <gtest/gtest.h>

#include <ZtFoundation/Utilities.h>
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/Set.h>

#include <support/FailingAllocations.h>

namespace ZtFoundation::test {

// What a camera answers; each class for a run is made below it.
class FaultyCamera : public NSObject {
  ZT_OBJECT(FaultyCamera, NSObject)
 public:
  Ref<NSString> model() const { return "a model with a name that needs memory"; }
  Ref<NSString> modelOf_and(const Ref<NSString>& a, const Ref<NSString>& b) const {
    return a->stringByAppendingString(b);
  }
  int lens(int number) const { return number; }
  void note(const Ref<NSObject>&) { ++notes; }
  static Ref<FaultyCamera> camera() { return make<FaultyCamera>(); }

  int notes = 0;
};
ZT_REGISTER_CLASS(FaultyCamera, ZT_METHOD("model", &FaultyCamera::model), ZT_METHOD("lens:", &FaultyCamera::lens),
                  ZT_METHOD("modelOf:and:", &FaultyCamera::modelOf_and), ZT_METHOD("note:", &FaultyCamera::note),
                  ZT_CLASS_METHOD("camera", &FaultyCamera::camera));

namespace {

Ref<NSString> otherModel(const Ref<FaultyCamera>&) { return "another model"; }

// Each run has a class of its own, which so has neither methods nor caches yet.
struct NewClass {
  static std::string nextName() {
    static int made = 0;
    return "CameraOfRun" + std::to_string(++made);
  }
  Class camera = registerSubclass(FaultyCamera::classObject(), nextName());
  Ref<NSObject> object = class_createInstance(camera);
  Ref<NSArray> objects = NSArray::of("one", "two");
  SEL fresh = NSSelectorFromString(nextName());
  std::string freeName = nextName();
};

// What classes and selectors need stays for as long as the process lives.
const AllocationRules kept{.keepsMemory = true};

TEST(AllocationFailureRuntime, Names) {
  const EachOf<NewClass> each;
  using N = NewClass;
  each("NSClassFromString", [](N&) { return NSClassFromString("FaultyCamera"); });
  each("NSStringFromClass", [](N&) { return NSStringFromClass(FaultyCamera::classObject()); });
  each(
      "NSSelectorFromString", [](N& n) { return NSSelectorFromString(n.freeName) != nullptr; }, kept);
  each("NSSelectorFromString (known)", [](N&) { return NSSelectorFromString("model"); });
  each("NSStringFromSelector", [](N&) { return NSStringFromSelector(NSSelectorFromString("model")); });
  each("class_getName", [](N&) { return class_getName(FaultyCamera::classObject()); });
  each("class_getSuperclass", [](N& n) { return class_getSuperclass(n.camera); });
  each("class_createInstance", [](N& n) { return class_createInstance(n.camera) != nullptr; });
  each("RuntimeClass::createInstance", [](N& n) { return n.camera->createInstance() != nullptr; });
  each("RuntimeClass::isSubclassOfClass", [](N& n) { return n.camera->isSubclassOfClass(NSString::classObject()); });
  each(
      "registerSubclass", [](N& n) { return registerSubclass(n.camera, n.freeName) != nullptr; }, kept);
  each("registerSubclass (taken)", [](N& n) { return registerSubclass(n.camera, "FaultyCamera") != nullptr; });
}

TEST(AllocationFailureRuntime, Methods) {
  const EachOf<NewClass> each;
  using N = NewClass;
  each(
      "class_getInstanceMethod",
      [](N& n) { return class_getInstanceMethod(n.camera, ZT_SELECTOR("model")) != nullptr; }, kept);
  each(
      "class_getClassMethod", [](N& n) { return class_getClassMethod(n.camera, ZT_SELECTOR("camera")) != nullptr; },
      kept);
  each(
      "class_addMethod", [](N& n) { return class_addMethod<&otherModel>(n.camera, n.fresh); }, kept);
  each(
      "class_addMethod (types)",
      [](N& n) {
        return class_addMethod(n.camera, n.fresh, methodImplementation<&otherModel>(), ("@@:" + n.freeName).c_str());
      },
      kept);
  each(
      "method_getImplementation",
      [](N& n) { return method_getImplementation(class_getInstanceMethod(n.camera, ZT_SELECTOR("model"))) != nullptr; },
      kept);
  each(
      "method_getTypeEncoding",
      [](N& n) { return method_getTypeEncoding(class_getInstanceMethod(n.camera, ZT_SELECTOR("model"))); }, kept);
  each(
      "method_getName", [](N& n) { return method_getName(class_getInstanceMethod(n.camera, ZT_SELECTOR("model"))); },
      kept);
  each("method_setImplementation",
       [](N& n) {
         class_addMethod<&otherModel>(n.camera, n.fresh);
         const IMP before = method_setImplementation(class_getInstanceMethod(n.camera, n.fresh), nullptr);
         return std::string(before != nullptr ? "there was one" : "there was none");
       },
       {.leaves = Leaves::Part, .keepsMemory = true});
  each("_objc_flush_caches", [](N& n) { _objc_flush_caches(n.camera); });
  each(
      "instancesRespondToSelector", [](N& n) { return instancesRespondToSelector(n.camera, ZT_SELECTOR("model")); },
      kept);
  each(
      "respondsToSelector", [](N& n) { return respondsToSelector(n.object, ZT_SELECTOR("no such thing")); }, kept);
  each(
      "respondsToSelector (class)", [](N& n) { return respondsToSelector(n.camera, ZT_SELECTOR("camera")); }, kept);
  each(
      "QvDuplicateInstanceMethodWithSelector",
      [](N& n) { return QvDuplicateInstanceMethodWithSelector(n.camera, ZT_SELECTOR("model"), n.fresh) != nullptr; },
      kept);
  each(
      "QvReplaceMethodImplementation",
      [](N& n) {
        return QvReplaceMethodImplementation(n.camera, ZT_SELECTOR("model"), methodImplementation<&otherModel>()) !=
               nullptr;
      },
      kept);
  each(
      "QvReplaceMethodImplementationWithSelector",
      [](N& n) {
        return QvReplaceMethodImplementationWithSelector(n.camera, n.fresh, ZT_SELECTOR("model")) == nullptr;
      },
      kept);
  each(
      "QvReplaceMethodImplementationWithSelectorOnClass",
      [](N& n) {
        return QvReplaceMethodImplementationWithSelectorOnClass(
                   n.camera, ZT_SELECTOR("lens:"), FaultyCamera::classObject(), ZT_SELECTOR("model")) != nullptr;
      },
      kept);
  each(
      "QvClassImplementingMethod", [](N& n) { return QvClassImplementingMethod(n.camera, ZT_SELECTOR("model")); },
      kept);
}

TEST(AllocationFailureRuntime, Messages) {
  const EachOf<NewClass> each;
  using N = NewClass;
  each(
      "RuntimeClass::bindSlowly", [](N& n) { return n.camera->bind(ZT_SELECTOR("model")).selector; }, kept);
  each(
      "RuntimeClass::bindSlowly (send)", [](N& n) { return send<Ref<NSString>>(n.object, ZT_SELECTOR("model")); },
      kept);
  each(
      "RuntimeClass::bindSlowly (class)",
      [](N& n) { return send<Ref<NSObject>>(n.camera, ZT_SELECTOR("camera")) != nullptr; }, kept);
  each(
      "RuntimeClass::bindSlowly (more than fit a first cache)",
      [](N& n) {
        int sum = send<int>(n.object, ZT_SELECTOR("lens:"), 1);
        for (const char* name :
             {"hash", "description", "model", "copyOne", "copyTwo", "copyThree", "copyFour", "copyFive"}) {
          const SEL selector = NSSelectorFromString(name);
          QvDuplicateInstanceMethodWithSelector(n.camera, ZT_SELECTOR("lens:"), selector);
          if (QvClassImplementingMethod(n.camera, selector) == n.camera) sum += send<int>(n.object, selector, 1);
        }
        return sum;
      },
      kept);
  each("RuntimeClass::bindSlowly (nobody answers)",
       [](N&) { send(Ref<NSObject>(make<FaultyCamera>()), ZT_SELECTOR("nothing that it knows")); },
       {.throwsAnyway = true, .keepsMemory = true});
  each(
      "performSelector", [](N& n) { return performSelector(n.object, ZT_SELECTOR("model")); }, kept);
  each(
      "performSelector_withObject",
      [](N& n) { return performSelector_withObject(n.object, ZT_SELECTOR("note:"), "x"); }, kept);
  each(
      "performSelector_withObject_withObject",
      [](N& n) { return performSelector_withObject_withObject(n.object, ZT_SELECTOR("modelOf:and:"), "a", "b"); },
      kept);
  each(
      "QvFoundationExtensions::performSelector_withEachObjectInArray",
      [](N& n) {
        QvFoundationExtensions::performSelector_withEachObjectInArray(n.object, ZT_SELECTOR("note:"), n.objects);
      },
      kept);
  each(
      "QvFoundationExtensions::performSelector_withEachObjectInSet",
      [](N& n) {
        QvFoundationExtensions::performSelector_withEachObjectInSet(n.object, ZT_SELECTOR("note:"),
                                                                    NSSet::setWithArray(n.objects));
      },
      kept);
  each("detail::requireSameEncoding", [](N& n) { return send<int>(n.object, ZT_SELECTOR("model")); },
       {.throwsAnyway = true, .keepsMemory = true});
  each("detail::raiseWrongObject",
       [](N& n) { send<Ref<NSObject>>(n.object, ZT_SELECTOR("modelOf:and:"), n.objects, "b"); },
       {.throwsAnyway = true, .keepsMemory = true});
  each("detail::requireImplementation",
       [](N& n) { return callMethod<int>(methodImplementation<&otherModel>(), n.object, ZT_SELECTOR("lens:")); },
       {.throwsAnyway = true, .keepsMemory = true});
  each("detail::describe", [](N& n) { return detail::describe(n.objects.get()); });
  each(
      "detail::describe (by message)", [](N& n) { return detail::describe(n.object.get())->hasPrefix("<CameraOfRun"); },
      kept);
  each(
      "detail::hashOf", [](N& n) { return detail::hashOf(n.object.get()) != 0; }, kept);
  each(
      "detail::areEqual", [](N& n) { return detail::areEqual(n.object.get(), n.objects.get()); }, kept);
  each(
      "detail::areEqualTo", [](N& n) { return detail::areEqualTo(n.object.get(), n.objects.get()); }, kept);
  each("detail::registeredClasses", [](N&) { return detail::registeredClasses().empty(); });
  each(
      "detail::knowImplementation",
      [](N& n) { return detail::knowImplementation(reinterpret_cast<IMP>(n.camera), "v@:", nullptr) != nullptr; },
      kept);
  each(
      "detail::internSelector", [](N& n) { return detail::internSelector(n.freeName) != nullptr; }, kept);
}

// The library must work on with a class whose first cache could not be made.
TEST(AllocationFailureRuntime, CachesThatCouldNotBeMadeAreNoObstacle) {
  for (std::size_t k = 1; k < 12; ++k) {
    NewClass n;
    allocations::start("a first message", k, Failing::One);
    EXPECT_NO_THROW(try { n.camera->bind(ZT_SELECTOR("model")); } catch (const std::bad_alloc&){});
    allocations::stop();
    _objc_flush_caches(n.camera);
    _objc_flush_caches(nullptr);
    EXPECT_TRUE(send<Ref<NSString>>(n.object, ZT_SELECTOR("model"))) << k;
  }
}

}  // namespace
}  // namespace ZtFoundation::test
