#include <ZtFoundation/platform/Runtime.h>

#include <dlfcn.h>
#include <gmock/gmock.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/Values.h>

#include "support/ScratchFolder.h"

namespace runtimetests {

using namespace ZtFoundation;

enum class Mode : std::uint8_t { Auto = 1, Manual = 7 };

struct Exposure {
  double seconds = 0;
  int iso = 0;
};

class Camera : public NSObject {
  ZT_OBJECT(Camera, NSObject)
 public:
  virtual Ref<NSString> model() const { return "camera"; }
  void setZoom_animated(double zoom, bool animated) {
    zoom_ = zoom;
    animated_ = animated;
  }
  double zoom() const noexcept { return zoom_; }
  bool isAnimated() const { return animated_; }
  Mode invertedMode(Mode mode) { return mode == Mode::Auto ? Mode::Manual : Mode::Auto; }
  Exposure doubled(const Exposure& exposure) { return {exposure.seconds * 2, exposure.iso * 2}; }
  bool readCount(NSUInteger* count) {
    *count = 42;
    return true;
  }
  Ref<NSString> labelled(const Ref<NSString>& text) { return text ? Ref<NSString>(text->utf8() + "!") : nullptr; }
  void fail() { throw std::runtime_error("broken"); }
  static Ref<NSString> family() { return "cameras"; }
  static Ref<NSString> nameOfReceiver(Class self) { return NSStringFromClass(self); }
  Ref<NSString> description() const override { return "a camera"; }

 private:
  NSInteger secret() { return 99; }
  float aperture() { return 0.1F; }

  double zoom_ = 1;
  bool animated_ = false;
};

int sumWith(Camera& self, int a, long long b) { return static_cast<int>(self.zoom()) + a + static_cast<int>(b); }

ZT_REGISTER_CLASS(Camera, ZT_METHOD("model", &Camera::model), ZT_METHOD("setZoom:animated:", &Camera::setZoom_animated),
                  ZT_METHOD("zoom", &Camera::zoom), ZT_METHOD("isAnimated", &Camera::isAnimated),
                  ZT_METHOD("invertedMode:", &Camera::invertedMode), ZT_METHOD("doubled:", &Camera::doubled),
                  ZT_METHOD("readCount:", &Camera::readCount), ZT_METHOD("labelled:", &Camera::labelled),
                  ZT_METHOD("fail", &Camera::fail), ZT_METHOD("secret", &Camera::secret),
                  ZT_METHOD("aperture", &Camera::aperture), ZT_METHOD("sum:with:", &sumWith),
                  ZT_CLASS_METHOD("family", &Camera::family),
                  ZT_CLASS_METHOD("nameOfReceiver", &Camera::nameOfReceiver));

class FilmCamera : public Camera {
  ZT_OBJECT(FilmCamera, Camera)
 public:
  Ref<NSString> model() const override { return "film camera"; }
};
ZT_REGISTER_CLASS(FilmCamera);

class Lens : public NSObject {
  ZT_OBJECT(Lens, NSObject)
 public:
  explicit Lens(int length) : length_(length) {}
  int length() const { return length_; }

 private:
  int length_;
};
ZT_REGISTER_CLASS(Lens, ZT_METHOD("length", &Lens::length));

class Hidden : public NSObject {
  ZT_OBJECT(Hidden, NSObject)
};
ZT_IMPLEMENT_CLASS(Hidden);

class Broken : public NSObject {
  ZT_OBJECT(Broken, NSObject)
 public:
  Broken() { throw std::runtime_error("no instance"); }
};
ZT_REGISTER_CLASS(Broken);

namespace second {
class Camera : public NSObject {
  ZT_OBJECT(Camera, NSObject)
};
ZT_REGISTER_CLASS(Camera);
}  // namespace second

testing::Matcher<const NSException&> aboutArguments(const std::string& part) {
  return testing::Property(&NSException::what,
                           testing::AllOf(testing::StartsWith("NSInvalidArgumentException"), testing::HasSubstr(part)));
}

template <class Statement>
void expectRefused(Statement&& statement, const std::string& part) {
  try {
    statement();
    ADD_FAILURE() << "nothing was raised";
  } catch (const NSException& raised) {
    EXPECT_THAT(raised, aboutArguments(part));
  }
}

// ---- Classes

TEST(RuntimeClasses, FindsBuiltinClassesByName) {
  EXPECT_EQ(NSClassFromString("NSString"), NSString::classObject());
  EXPECT_EQ(NSClassFromString("NSMutableDictionary"), NSMutableDictionary::classObject());
  EXPECT_EQ(NSClassFromString("NSObject"), NSObject::classObject());
}

TEST(RuntimeClasses, FindsRegisteredClassesByName) {
  EXPECT_EQ(NSClassFromString("FilmCamera"), FilmCamera::classObject());
  EXPECT_TRUE(isEqual(NSStringFromClass(FilmCamera::classObject()), Ref<NSString>("FilmCamera")));
  EXPECT_STREQ(class_getName(Lens::classObject()), "Lens");
}

TEST(RuntimeClasses, DoNotFindWhatIsNotRegistered) {
  EXPECT_EQ(NSClassFromString("Hidden"), nullptr);
  EXPECT_EQ(NSClassFromString(""), nullptr);
  EXPECT_EQ(NSClassFromString("nsstring"), nullptr);
  EXPECT_EQ(NSClassFromString(nullptr), nullptr);
}

TEST(RuntimeClasses, NameStaysWithTheFirstClassThatHasIt) {
  EXPECT_EQ(NSClassFromString("Camera"), Camera::classObject());
  EXPECT_NE(second::Camera::classObject(), Camera::classObject());
}

TEST(RuntimeClasses, FollowSuperclasses) {
  EXPECT_EQ(class_getSuperclass(FilmCamera::classObject()), Camera::classObject());
  EXPECT_EQ(class_getSuperclass(Camera::classObject()), NSObject::classObject());
  EXPECT_EQ(class_getSuperclass(NSObject::classObject()), nullptr);
  EXPECT_EQ(class_getSuperclass(nullptr), nullptr);
  EXPECT_TRUE(FilmCamera::classObject()->isSubclassOfClass(Camera::classObject()));
  EXPECT_TRUE(Camera::classObject()->isSubclassOfClass(Camera::classObject()));
  EXPECT_FALSE(Camera::classObject()->isSubclassOfClass(FilmCamera::classObject()));
  EXPECT_FALSE(Camera::classObject()->isSubclassOfClass(nullptr));
}

TEST(RuntimeClasses, TellKindFromMembership) {
  const Ref<NSObject> film = make<FilmCamera>();
  EXPECT_TRUE(film->isKindOfClass(Camera::classObject()));
  EXPECT_FALSE(film->isMemberOfClass(Camera::classObject()));
  EXPECT_TRUE(film->isMemberOfClass(FilmCamera::classObject()));
  EXPECT_FALSE(film->isKindOfClass(Lens::classObject()));
  EXPECT_FALSE(film->isKindOfClass(nullptr));
  EXPECT_FALSE(film->isMemberOfClass(nullptr));
  EXPECT_TRUE(as<Camera>(film));
  EXPECT_FALSE(as<Lens>(film));
}

TEST(RuntimeClasses, MakeInstancesByName) {
  const Ref<NSObject> made = class_createInstance(NSClassFromString("FilmCamera"));
  ASSERT_TRUE(as<FilmCamera>(made));
  EXPECT_EQ(made->retainCount(), 1U);
}

TEST(RuntimeClasses, MakeNoInstanceWithoutDefaultConstructor) {
  EXPECT_FALSE(class_createInstance(Lens::classObject()));
  EXPECT_FALSE(class_createInstance(nullptr));
}

TEST(RuntimeClasses, PassOnWhatAConstructorThrows) {
  EXPECT_THROW(class_createInstance(Broken::classObject()), std::runtime_error);
}

TEST(RuntimeClasses, OfNoneGiveNone) {
  EXPECT_FALSE(NSStringFromClass(nullptr));
  EXPECT_EQ(class_getName(nullptr), nullptr);
}

TEST(RuntimeClasses, MadeAtRunTimeHaveInstancesOfTheirOwn) {
  Class made = registerSubclass(FilmCamera::classObject(), "PocketCamera");
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(NSClassFromString("PocketCamera"), made);
  EXPECT_EQ(class_getSuperclass(made), FilmCamera::classObject());
  const Ref<NSObject> camera = class_createInstance(made);
  EXPECT_TRUE(camera->isMemberOfClass(made));
  EXPECT_TRUE(as<Camera>(camera));
  EXPECT_TRUE(isEqual(send<Ref<NSString>>(camera, ZT_SELECTOR("model")), Ref<NSString>("film camera")));
  EXPECT_TRUE(isEqual(send<Ref<NSString>>(made, ZT_SELECTOR("nameOfReceiver")), Ref<NSString>("PocketCamera")));
}

TEST(RuntimeClasses, MadeAtRunTimeCanBeSubclassedAgain) {
  Class first = registerSubclass(Camera::classObject(), "FirstGeneration");
  Class second = registerSubclass(first, "SecondGeneration");
  EXPECT_TRUE(class_createInstance(second)->isMemberOfClass(second));
  EXPECT_TRUE(second->isSubclassOfClass(first));
}

TEST(RuntimeClasses, AreNotMadeAtRunTimeWithoutSuperclassOrFreeName) {
  EXPECT_EQ(registerSubclass(nullptr, "Orphan"), nullptr);
  EXPECT_EQ(registerSubclass(Camera::classObject(), nullptr), nullptr);
  EXPECT_EQ(registerSubclass(Camera::classObject(), ""), nullptr);
  EXPECT_EQ(registerSubclass(Camera::classObject(), "FilmCamera"), nullptr);
  EXPECT_EQ(registerSubclass(Camera::classObject(), "NSString"), nullptr);
  EXPECT_EQ(registerSubclass(Camera::classObject(), std::string("FilmCamera\0x", 12)), nullptr);
  EXPECT_EQ(registerSubclass(Camera::classObject(), std::string("Free\0", 5)), nullptr);
}

TEST(RuntimeClasses, TheCodeThatRegistersThemStaysLoaded) {
  const test::ScratchFolder folder;
  const std::string path = folder / "Guest.so";
  std::filesystem::copy_file(ZT_TEST_BUNDLES "/Guest.so", path);
  void* const module = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(module, nullptr) << ::dlerror();
  Class registered = detail::registeredClasses().back();
  ::dlclose(module);
  ASSERT_NE(::dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr) << "unloaded";
  EXPECT_STREQ(registered->name(), "Guest");
}

// ---- Selectors

TEST(RuntimeSelectors, AreEqualByName) {
  EXPECT_EQ(NSSelectorFromString("model"), ZT_SELECTOR("model"));
  EXPECT_EQ(NSSelectorFromString("model"), NSSelectorFromString("model"));
  EXPECT_NE(NSSelectorFromString("model"), NSSelectorFromString("model:"));
  EXPECT_TRUE(isEqual(NSStringFromSelector(NSSelectorFromString("größe:")), Ref<NSString>("größe:")));
}

TEST(RuntimeSelectors, OfNoneAreNone) {
  EXPECT_EQ(NSSelectorFromString(nullptr), nullptr);
  EXPECT_FALSE(NSStringFromSelector(nullptr));
}

// ---- Sending

TEST(RuntimeMessages, CarryArgumentsAndResults) {
  const Ref<NSObject> camera = make<Camera>();
  send(camera, ZT_SELECTOR("setZoom:animated:"), 2.5, true);
  EXPECT_EQ(send<double>(camera, ZT_SELECTOR("zoom")), 2.5);
  EXPECT_TRUE(send<bool>(camera, ZT_SELECTOR("isAnimated")));
  EXPECT_EQ(send<Mode>(camera, ZT_SELECTOR("invertedMode:"), Mode::Auto), Mode::Manual);
  EXPECT_EQ(send<Exposure>(camera, ZT_SELECTOR("doubled:"), Exposure{0.5, 100}).iso, 200);
  NSUInteger count = 0;
  EXPECT_TRUE(send<bool>(camera, ZT_SELECTOR("readCount:"), &count));
  EXPECT_EQ(count, 42U);
  EXPECT_EQ(send<NSInteger>(camera, ZT_SELECTOR("secret")), 99);
  EXPECT_EQ(send<int>(camera, ZT_SELECTOR("sum:with:"), 3, 4LL), 9);
}

TEST(RuntimeMessages, CarryTextAsStrings) {
  const Ref<Camera> camera = make<Camera>();
  EXPECT_TRUE(isEqual(send<Ref<NSString>>(camera, ZT_SELECTOR("labelled:"), "ab"), Ref<NSString>("ab!")));
  EXPECT_TRUE(isEqual(send<Ref<NSObject>>(camera, ZT_SELECTOR("labelled:"), std::string("cd")), Ref<NSString>("cd!")));
  EXPECT_TRUE(
      isEqual(send<Ref<NSString>>(camera, ZT_SELECTOR("labelled:"), Ref<NSObject>("ef")), Ref<NSString>("ef!")));
  EXPECT_FALSE(send<Ref<NSString>>(camera, ZT_SELECTOR("labelled:"), nullptr));
}

TEST(RuntimeMessages, ReachOverrides) {
  const Ref<Camera> film = make<FilmCamera>();
  EXPECT_TRUE(isEqual(send<Ref<NSString>>(film, ZT_SELECTOR("model")), Ref<NSString>("film camera")));
  EXPECT_TRUE(isEqual(send<Ref<NSString>>(film, ZT_SELECTOR("description")), Ref<NSString>("a camera")));
}

TEST(RuntimeMessages, ReachClasses) {
  EXPECT_TRUE(isEqual(send<Ref<NSString>>(FilmCamera::classObject(), ZT_SELECTOR("family")), Ref<NSString>("cameras")));
  EXPECT_TRUE(isEqual(send<Ref<NSString>>(FilmCamera::classObject(), ZT_SELECTOR("nameOfReceiver")),
                      Ref<NSString>("FilmCamera")));
  EXPECT_TRUE(as<FilmCamera>(send<Ref<NSObject>>(FilmCamera::classObject(), ZT_SELECTOR("new"))));
  EXPECT_TRUE(send<bool>(FilmCamera::classObject(), ZT_SELECTOR("isSubclassOfClass:"), Camera::classObject()));
}

TEST(RuntimeMessages, ToNoneDoNothing) {
  EXPECT_EQ(send<double>(Ref<Camera>(), ZT_SELECTOR("zoom")), 0.0);
  EXPECT_FALSE(send<Ref<NSString>>(Ref<Camera>(), ZT_SELECTOR("model")));
  EXPECT_EQ(send<int>(static_cast<NSObject*>(nullptr), ZT_SELECTOR("sum:with:"), 1, 2), 0);
  EXPECT_FALSE(send<Ref<NSString>>(Class(), ZT_SELECTOR("family")));
  send(Ref<Camera>(), ZT_SELECTOR("no such method"));
  send(Ref<Camera>(), nullptr);
}

TEST(RuntimeMessages, NobodyAnswersAreRefused) {
  const Ref<NSObject> camera = make<Camera>();
  expectRefused([&] { send(camera, ZT_SELECTOR("explode")); }, "-[Camera explode]: unrecognized selector");
  expectRefused([&] { send(Camera::classObject(), ZT_SELECTOR("model")); }, "+[Camera model]: unrecognized selector");
  expectRefused([&] { send(camera, nullptr); }, "-[Camera (null)]");
}

TEST(RuntimeMessages, WithOtherTypesAreRefused) {
  const Ref<NSObject> camera = make<Camera>();
  EXPECT_NO_THROW(send<double>(camera, ZT_SELECTOR("zoom")));
  expectRefused([&] { send<float>(camera, ZT_SELECTOR("zoom")); }, "d@:, sent as f@:");
  expectRefused([&] { send<Ref<NSString>>(camera, ZT_SELECTOR("zoom")); }, "sent as @@:");
  expectRefused([&] { send(camera, ZT_SELECTOR("setZoom:animated:"), 2.5); }, "sent as v@:d");
  expectRefused([&] { send(camera, ZT_SELECTOR("setZoom:animated:"), 2, true); }, "sent as v@:iB");
  expectRefused([&] { send<int>(camera, ZT_SELECTOR("sum:with:"), 3, 4); }, "sent as i@:ii");
  expectRefused([&] { send<bool>(camera, ZT_SELECTOR("readCount:"), static_cast<int*>(nullptr)); }, "sent as B@:^i");
  expectRefused([&] { send<Exposure>(camera, ZT_SELECTOR("doubled:"), NSRange{}); }, "NSRange}");
}

TEST(RuntimeMessages, WithObjectsOfOtherClassesAreRefused) {
  const Ref<NSObject> camera = make<Camera>();
  expectRefused([&] { send<Ref<NSString>>(camera, ZT_SELECTOR("labelled:"), Ref<NSObject>(5)); },
                "a NSString is wanted");
  expectRefused([&] { send<Ref<NSArray>>(camera, ZT_SELECTOR("labelled:"), "a"); }, "a NSArray is wanted");
}

TEST(RuntimeMessages, PassOnWhatAMethodThrows) {
  EXPECT_THROW(send(make<Camera>(), ZT_SELECTOR("fail")), std::runtime_error);
}

TEST(RuntimeMessages, AskWhetherAnObjectResponds) {
  const Ref<NSObject> film = make<FilmCamera>();
  EXPECT_TRUE(respondsToSelector(film, ZT_SELECTOR("model")));
  EXPECT_TRUE(respondsToSelector(film, ZT_SELECTOR("description")));
  EXPECT_FALSE(respondsToSelector(film, ZT_SELECTOR("family")));
  EXPECT_FALSE(respondsToSelector(film, nullptr));
  EXPECT_FALSE(respondsToSelector(Ref<NSObject>(), ZT_SELECTOR("model")));
  EXPECT_FALSE(respondsToSelector(Class(), ZT_SELECTOR("family")));
  EXPECT_TRUE(respondsToSelector(FilmCamera::classObject(), ZT_SELECTOR("family")));
  EXPECT_FALSE(respondsToSelector(FilmCamera::classObject(), ZT_SELECTOR("model")));
  EXPECT_TRUE(instancesRespondToSelector(FilmCamera::classObject(), ZT_SELECTOR("model")));
  EXPECT_FALSE(instancesRespondToSelector(nullptr, ZT_SELECTOR("model")));
  EXPECT_TRUE(send<bool>(film, ZT_SELECTOR("respondsToSelector:"), ZT_SELECTOR("zoom")));
}

TEST(RuntimeMessages, PerformWithObjects) {
  const Ref<NSObject> camera = make<Camera>();
  EXPECT_TRUE(isEqual(performSelector_withObject(camera, ZT_SELECTOR("labelled:"), "x"), Ref<NSString>("x!")));
  EXPECT_TRUE(isEqual(performSelector(camera, ZT_SELECTOR("model")), Ref<NSString>("camera")));
  EXPECT_TRUE(isEqual(performSelector(camera, ZT_SELECTOR("secret")), Ref<NSObject>(99)));
  EXPECT_TRUE(isEqual(performSelector(camera, ZT_SELECTOR("zoom")), Ref<NSObject>(1.0)));
  EXPECT_EQ(performSelector(camera, ZT_SELECTOR("aperture"))->description()->utf8(), "0.1");
  EXPECT_TRUE(isEqual(performSelector_withObject(camera, ZT_SELECTOR("isEqual:"), camera), Ref<NSObject>(true)));
  EXPECT_FALSE(performSelector(nullptr, ZT_SELECTOR("model")));
  EXPECT_FALSE(performSelector_withObject_withObject(nullptr, ZT_SELECTOR("model"), 1, 2));
}

TEST(RuntimeMessages, PerformRefusesOtherArguments) {
  const Ref<NSObject> camera = make<Camera>();
  expectRefused([&] { performSelector_withObject(camera, ZT_SELECTOR("model"), 1); }, "sent as @@:@");
  expectRefused([&] { performSelector_withObject(camera, ZT_SELECTOR("invertedMode:"), 1); }, "sent as C@:@");
  expectRefused([&] { performSelector(camera, ZT_SELECTOR("class")); }, "sent as @@:");
  expectRefused([&] { performSelector(camera, nullptr); }, "unrecognized");
}

// ---- Methods

Ref<NSString> patchedModel(const Camera&) { return "patched"; }
NSInteger wrongModel(const Camera&) { return 5; }
int lensOnly(const Lens& self) { return self.length(); }

TEST(RuntimeMethods, AreOneEntryForAllThatInherit) {
  const Method own = class_getInstanceMethod(Camera::classObject(), ZT_SELECTOR("zoom"));
  ASSERT_NE(own, nullptr);
  EXPECT_EQ(class_getInstanceMethod(FilmCamera::classObject(), ZT_SELECTOR("zoom")), own);
  EXPECT_EQ(method_getName(own), ZT_SELECTOR("zoom"));
  EXPECT_STREQ(method_getTypeEncoding(own), "d@:");
  EXPECT_NE(method_getImplementation(own), nullptr);
}

TEST(RuntimeMethods, ShowTheirTypes) {
  const auto types = [](SEL selector) {
    return method_getTypeEncoding(class_getInstanceMethod(Camera::classObject(), selector));
  };
  EXPECT_STREQ(types(ZT_SELECTOR("setZoom:animated:")), "v@:dB");
  EXPECT_STREQ(types(ZT_SELECTOR("invertedMode:")), "C@:C");
  EXPECT_STREQ(types(ZT_SELECTOR("doubled:")), "{runtimetests::Exposure}@:{runtimetests::Exposure}");
  EXPECT_STREQ(types(ZT_SELECTOR("sum:with:")), "i@:iq");
  EXPECT_STREQ(types(ZT_SELECTOR("respondsToSelector:")), "B@::");
  EXPECT_STREQ(types(ZT_SELECTOR("isKindOfClass:")), "B@:#");
  EXPECT_STREQ(method_getTypeEncoding(class_getClassMethod(Camera::classObject(), ZT_SELECTOR("family"))), "@#:");
}

TEST(RuntimeMethods, OfNoneAreNone) {
  EXPECT_EQ(class_getInstanceMethod(nullptr, ZT_SELECTOR("zoom")), nullptr);
  EXPECT_EQ(class_getInstanceMethod(Camera::classObject(), nullptr), nullptr);
  EXPECT_EQ(class_getInstanceMethod(Camera::classObject(), ZT_SELECTOR("nothing")), nullptr);
  EXPECT_EQ(class_getClassMethod(nullptr, ZT_SELECTOR("family")), nullptr);
  EXPECT_EQ(method_getImplementation(nullptr), nullptr);
  EXPECT_EQ(method_getTypeEncoding(nullptr), nullptr);
  EXPECT_EQ(method_getName(nullptr), nullptr);
  EXPECT_EQ(method_setImplementation(nullptr, methodImplementation<&patchedModel>()), nullptr);
  EXPECT_FALSE(class_addMethod(nullptr, ZT_SELECTOR("a"), nullptr, "v@:"));
  EXPECT_FALSE(class_addMethod(Camera::classObject(), nullptr, nullptr, "v@:"));
  EXPECT_FALSE(class_addMethod(Camera::classObject(), ZT_SELECTOR("a"), nullptr, nullptr));
}

TEST(RuntimeMethods, AreAddedToOneClassOnly) {
  Class made = registerSubclass(Camera::classObject(), "AddsOne");
  EXPECT_TRUE(class_addMethod<&patchedModel>(made, ZT_SELECTOR("extra")));
  EXPECT_FALSE(instancesRespondToSelector(Camera::classObject(), ZT_SELECTOR("extra")));
  EXPECT_TRUE(isEqual(performSelector(class_createInstance(made), ZT_SELECTOR("extra")), Ref<NSString>("patched")));
}

TEST(RuntimeMethods, AreNotAddedTwiceButMayHideInherited) {
  Class made = registerSubclass(Camera::classObject(), "AddsTwo");
  const Ref<NSObject> camera = class_createInstance(made);
  EXPECT_TRUE(isEqual(performSelector(camera, ZT_SELECTOR("model")), Ref<NSString>("camera")));
  EXPECT_TRUE(class_addMethod<&patchedModel>(made, ZT_SELECTOR("model")));
  EXPECT_TRUE(isEqual(performSelector(camera, ZT_SELECTOR("model")), Ref<NSString>("patched")));
  EXPECT_FALSE(class_addMethod<&wrongModel>(made, ZT_SELECTOR("model")));
  EXPECT_TRUE(isEqual(performSelector(camera, ZT_SELECTOR("model")), Ref<NSString>("patched")));
  EXPECT_TRUE(isEqual(performSelector(make<Camera>(), ZT_SELECTOR("model")), Ref<NSString>("camera")));
}

TEST(RuntimeMethods, TakeEffectThoughCached) {
  Class made = registerSubclass(Camera::classObject(), "Cached");
  Class below = registerSubclass(made, "CachedBelow");
  class_addMethod<&patchedModel>(made, ZT_SELECTOR("custom"));
  const Ref<NSObject> camera = class_createInstance(below);
  EXPECT_TRUE(isEqual(send<Ref<NSString>>(camera, ZT_SELECTOR("custom")), Ref<NSString>("patched")));
  const Method model = class_getInstanceMethod(Camera::classObject(), ZT_SELECTOR("model"));
  method_setImplementation(class_getInstanceMethod(made, ZT_SELECTOR("custom")), method_getImplementation(model));
  EXPECT_TRUE(isEqual(send<Ref<NSString>>(camera, ZT_SELECTOR("custom")), Ref<NSString>("camera")));
}

TEST(RuntimeMethods, WithoutImplementationAreNotAnswered) {
  Class made = registerSubclass(Camera::classObject(), "Emptied");
  ASSERT_TRUE(class_addMethod(made, ZT_SELECTOR("model"), nullptr, "@@:"));
  const Ref<NSObject> camera = class_createInstance(made);
  EXPECT_NE(class_getInstanceMethod(made, ZT_SELECTOR("model")), nullptr);
  EXPECT_FALSE(respondsToSelector(camera, ZT_SELECTOR("model")));
  expectRefused([&] { performSelector(camera, ZT_SELECTOR("model")); }, "unrecognized selector");
}

TEST(RuntimeMethods, AreCalledByTheTypesOfTheirImplementation) {
  Class made = registerSubclass(Camera::classObject(), "Mistyped");
  class_addMethod<&patchedModel>(made, ZT_SELECTOR("model"));
  const Ref<NSObject> camera = class_createInstance(made);
  method_setImplementation(class_getInstanceMethod(made, ZT_SELECTOR("model")), methodImplementation<&wrongModel>());
  EXPECT_STREQ(method_getTypeEncoding(class_getInstanceMethod(made, ZT_SELECTOR("model"))), "@@:");
  expectRefused([&] { send<Ref<NSString>>(camera, ZT_SELECTOR("model")); }, "has the types");
  EXPECT_EQ(send<NSInteger>(camera, ZT_SELECTOR("model")), 5);
}

TEST(RuntimeMethods, WrittenForAnotherClassAreRefused) {
  Class made = registerSubclass(Camera::classObject(), "Foreign");
  EXPECT_TRUE(class_addMethod<&lensOnly>(made, ZT_SELECTOR("length")));
  expectRefused([&] { send<int>(class_createInstance(made), ZT_SELECTOR("length")); }, "written for Lens");
}

TEST(RuntimeMethods, ImplementationsCanBeCalled) {
  const Ref<Camera> camera = make<Camera>();
  const IMP model = method_getImplementation(class_getInstanceMethod(Camera::classObject(), ZT_SELECTOR("model")));
  EXPECT_TRUE(isEqual(callMethod<Ref<NSString>>(model, camera, ZT_SELECTOR("model")), Ref<NSString>("camera")));
  EXPECT_FALSE(callMethod<Ref<NSString>>(model, Ref<Camera>(), ZT_SELECTOR("model")));
  expectRefused([&] { callMethod<double>(model, camera, ZT_SELECTOR("model")); }, "other types");
  expectRefused([&] { callMethod(IMP(), camera, ZT_SELECTOR("model")); }, "not known");
  expectRefused([&] { callMethod<Ref<NSString>>(model, make<Lens>(5), ZT_SELECTOR("model")); }, "another class");
}

Ref<NSString> rawGreeting(NSObject*, SEL) { return "hello"; }
Ref<NSObject> rawGreetingAsItTravels(NSObject* self, SEL selector) { return rawGreeting(self, selector); }

TEST(RuntimeMethods, OfPlainFunctionsAreCalledByTheTypesGiven) {
  Class made = registerSubclass(Camera::classObject(), "Raw");
  EXPECT_TRUE(class_addMethod(made, ZT_SELECTOR("greet"), reinterpret_cast<IMP>(&rawGreetingAsItTravels), "@@:"));
  EXPECT_TRUE(isEqual(performSelector(class_createInstance(made), ZT_SELECTOR("greet")), Ref<NSString>("hello")));
}

TEST(RuntimeMethods, OfOneFunctionHaveTheTypesOfTheirOwnEntry) {
  Class one = registerSubclass(Camera::classObject(), "RawText"), other = registerSubclass(one, "RawNumber");
  const auto greeting = reinterpret_cast<IMP>(&rawGreetingAsItTravels);
  class_addMethod(one, ZT_SELECTOR("greet"), greeting, "@@:");
  class_addMethod(other, ZT_SELECTOR("greet"), greeting, "q@:");
  EXPECT_TRUE(isEqual(performSelector(class_createInstance(one), ZT_SELECTOR("greet")), Ref<NSString>("hello")));
  expectRefused([&] { send<Ref<NSString>>(class_createInstance(other), ZT_SELECTOR("greet")); }, "q@:, sent as @@:");
}

TEST(RuntimeMethods, OfOneFunctionHaveTheirOwnNames) {
  Class made = registerSubclass(Camera::classObject(), "TwoNames");
  class_addMethod<&patchedModel>(made, ZT_SELECTOR("oneName"));
  class_addMethod<&patchedModel>(made, ZT_SELECTOR("otherName"));
  const Ref<NSObject> camera = class_createInstance(made);
  expectRefused([&] { send<int>(camera, ZT_SELECTOR("oneName")); }, "[oneName]: has the types");
  expectRefused([&] { send<int>(camera, ZT_SELECTOR("otherName")); }, "[otherName]: has the types");
}

TEST(RuntimeMethods, ManyFitTheCache) {
  Class made = registerSubclass(Camera::classObject(), "Crowded");
  const Ref<NSObject> camera = class_createInstance(made);
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 200; ++i) {
      SEL selector = NSSelectorFromString("method" + std::to_string(i));
      if (round == 0) class_addMethod<&patchedModel>(made, selector);
      EXPECT_TRUE(send<Ref<NSString>>(camera, selector));
    }
  }
  _objc_flush_caches(made);
  EXPECT_TRUE(send<Ref<NSString>>(camera, NSSelectorFromString("method7")));
  _objc_flush_caches(nullptr);
  EXPECT_TRUE(send<Ref<NSString>>(camera, NSSelectorFromString("method8")));
}

// ---- The root class's operations as the library uses them

Ref<NSString> shout(const Camera&) { return "SHOUT"; }
NSUInteger isoNumber(const Camera&) { return 400; }
bool isNothing(const Camera&, const NSObject* other) { return other == nullptr; }

TEST(RuntimeRoot, ReplacedOperationsTakeEffect) {
  Class made = registerSubclass(Camera::classObject(), "Shouting");
  const Ref<NSObject> camera = class_createInstance(made);
  EXPECT_TRUE(isEqual(detail::describe(camera.get()), Ref<NSString>("a camera")));
  class_addMethod<&shout>(made, ZT_SELECTOR("description"));
  EXPECT_TRUE(isEqual(detail::describe(camera.get()), Ref<NSString>("SHOUT")));
  EXPECT_EQ(detail::hashOf(camera.get()), camera->hash());
  EXPECT_TRUE(detail::areEqual(camera.get(), camera.get()));
  EXPECT_FALSE(detail::areEqual(camera.get(), nullptr));
  class_addMethod<&isoNumber>(made, ZT_SELECTOR("hash"));
  EXPECT_EQ(detail::hashOf(camera.get()), 400U);
  EXPECT_TRUE(detail::areEqualTo(camera.get(), camera.get()));
  class_addMethod<&isNothing>(made, ZT_SELECTOR("isEqual:"));
  EXPECT_TRUE(detail::areEqual(camera.get(), nullptr));
  EXPECT_FALSE(detail::areEqualTo(camera.get(), camera.get()));
  class_addMethod<&isNothing>(registerSubclass(Camera::classObject(), "Unequal"), ZT_SELECTOR("isEqualTo:"));
  const Ref<NSObject> unequal = class_createInstance(NSClassFromString("Unequal"));
  EXPECT_FALSE(detail::areEqualTo(unequal.get(), unequal.get()));
}

TEST(RuntimeRoot, ValuesAreCalledPlainly) {
  const Ref<NSObject> text = "text";
  EXPECT_TRUE(isEqual(detail::describe(text.get()), text));
  EXPECT_EQ(detail::hashOf(text.get()), text->hash());
  EXPECT_TRUE(detail::areEqual(text.get(), Ref<NSObject>("text").get()));
}

// ---- Threads

TEST(RuntimeThreads, SendWhileMethodsAreReplaced) {
  Class made = registerSubclass(Camera::classObject(), "Busy");
  class_addMethod<&patchedModel>(made, ZT_SELECTOR("busy"));
  const Method busy = class_getInstanceMethod(made, ZT_SELECTOR("busy"));
  const IMP both[] = {methodImplementation<&patchedModel>(), methodImplementation<&shout>()};
  std::atomic<int> wrong = 0;
  std::vector<std::thread> senders;
  for (int t = 0; t < 3; ++t) {
    senders.emplace_back([&] {
      const Ref<NSObject> camera = class_createInstance(made);
      for (int i = 0; i < 3000; ++i) {
        const std::string answer = send<Ref<NSString>>(camera, ZT_SELECTOR("busy"))->utf8();
        if (answer != "patched" && answer != "SHOUT") ++wrong;
        send<Ref<NSString>>(camera, NSSelectorFromString("model"));
      }
    });
  }
  for (int i = 0; i < 300; ++i) method_setImplementation(busy, both[i % 2]);
  for (std::thread& sender : senders) sender.join();
  EXPECT_EQ(wrong, 0);
}

TEST(RuntimeThreads, LookUpAndMakeClasses) {
  std::vector<std::thread> threads;
  std::atomic<int> made = 0;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 50; ++i) {
        const Ref<NSString> name = std::string("Contested") + std::to_string(i);
        if (registerSubclass(Camera::classObject(), name) != nullptr) ++made;
        if (!class_createInstance(NSClassFromString(name))) --made;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(made, 50);
}

}  // namespace runtimetests
