#include <ZtFoundation/Applications.h>
#include <ZtFoundation/Text.h>

#include "platform/services/LaunchServices.h"
#include "platform/services/Service.h"

namespace ZtFoundation {

namespace {

// The path of the application; none when there is none.
Ref<NSString> findApplication(OSType creator, const Ref<NSString>& identifier) {
  Ref<NSURL> application;
  if (service<LaunchServices>().LSFindApplicationForInfo(creator, identifier, &application) != noErr) return nullptr;
  const Ref<NSString> path = application ? application->path() : nullptr;
  return path ? NSString::stringWithUnits(path->units()) : nullptr;
}

}  // namespace

Ref<NSString> ZtLSGetApplicationPathForSignature(const Ref<NSString>& signature) {
  return signature ? findApplication(static_cast<OSType>(JxOSExtensions::osType(signature)), nullptr) : nullptr;
}

Ref<NSURL> ZtLSGetApplicationURLForSignature(const Ref<NSString>& signature) {
  return NSURL::fileURLWithPath(ZtLSGetApplicationPathForSignature(signature));
}

Ref<NSString> ZtLSGetApplicationPathForIdentifier(const Ref<NSString>& identifier) {
  return identifier ? findApplication(kLSUnknownCreator, identifier) : nullptr;
}

Ref<NSURL> ZtLSGetApplicationURLForIdentifier(const Ref<NSString>& identifier) {
  return NSURL::fileURLWithPath(ZtLSGetApplicationPathForIdentifier(identifier));
}

}  // namespace ZtFoundation
