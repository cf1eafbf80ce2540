// What a method or a message refuses, so that no argument arrives as something else.
#include <ZtFoundation/platform/Runtime.h>

#include <string>

using namespace ZtFoundation;

namespace {

struct Unnameable {};

}  // namespace

class Camera : public NSObject {
  ZT_OBJECT(Camera, NSObject)
 public:
  bool focus(int distance) { return distance > 0; }
  void report(int& distance) { distance = 1; }
  void label(const std::string& text) { static_cast<void>(text); }
  void adjust(const Unnameable& value) { static_cast<void>(value); }
};

#if CASE == 0  // compiles
ZT_REGISTER_CLASS(Camera, ZT_METHOD("focus:", &Camera::focus));
bool focus(const Ref<Camera>& camera) { return send<bool>(camera, ZT_SELECTOR("focus:"), 3); }
#elif CASE == 1  // error: a selector has one ':' for each argument
ZT_REGISTER_CLASS(Camera, ZT_METHOD("focus", &Camera::focus));
#elif CASE == 2  // error: a selector has one ':' for each argument
ZT_REGISTER_CLASS(Camera, ZT_METHOD("focus:again:", &Camera::focus));
#elif CASE == 3  // error: a message cannot carry a reference to a variable; use a pointer
ZT_REGISTER_CLASS(Camera, ZT_METHOD("report:", &Camera::report));
#elif CASE == 4  // error: text travels as a Ref<NSString>
ZT_REGISTER_CLASS(Camera, ZT_METHOD("label:", &Camera::label));
#elif CASE == 5  // error: types of anonymous namespaces and of functions cannot travel in a message
ZT_REGISTER_CLASS(Camera, ZT_METHOD("adjust:", &Camera::adjust));
#elif CASE == 6  // error: ask for a Ref, so that the result stays alive
void describe(const Ref<Camera>& camera) { static_cast<void>(send<NSString*>(camera, ZT_SELECTOR("description"))); }
#elif CASE == 7  // error: no matching function for call to 'send
void describe(const Ref<Camera>& camera) { send(camera, "description"); }
#elif CASE == 8  // error: no matching function for call to 'selectorNamed
void describe(const Ref<Camera>& camera, const char* name) { send(camera, ZT_SELECTOR(name)); }
#endif
