// Code for a plug-in that asks what another thread is asking for the first time while this is being loaded.

#include <chrono>
#include <thread>

#include <ZtFoundation/Applications.h>
#include <ZtFoundation/platform/Bundle.h>

namespace {

using namespace ZtFoundation;

void ask() {
  Ref<NSString>("\u00C4")->lowercaseString();
  NSBundle::mainBundle();
  ZtLSGetApplicationPathForIdentifier("org.example.none");
}

// The other thread has to wait for the system's loader, which is locked here.
[[gnu::constructor]] void askTogether() {
  std::thread([] { ask(); }).detach();
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  ask();
}

}  // namespace
