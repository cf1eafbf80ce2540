#include <cstdint>

#include <ZtFoundation/System.h>
#include <ZtFoundation/platform/Log.h>

#include "platform/services/Gestalt.h"
#include "platform/services/Service.h"

namespace ZtFoundation {

namespace {

// The status is shown as a pointer of 32 bits, so -1 reads 0xffffffff.
void logStatus(std::int16_t status) {
  const auto widened = static_cast<std::uint32_t>(std::int32_t{status});
  NSLog("Gestalt Error = %p", reinterpret_cast<const void*>(static_cast<std::uintptr_t>(widened)));
}

NSInteger answerFor(OSType selector) {
  std::int32_t response = 0;
  const std::int16_t status = service<Gestalt>().ask(selector, response);
  if (status == 0) return response;
  logStatus(status);
  return 0;
}

}  // namespace

NSInteger ZtGestaltOSVersion() { return answerFor(gestaltSystemVersion); }

NSInteger ZtGestaltPhysicalRAMSize() {
  NSLog("You should use ZtGestaltPhysicalRAMSizeInMegabytes instead of ZtGestaltPhysicalRAMSize!");
  return answerFor(gestaltPhysicalRAMSize);
}

NSInteger ZtGestaltPhysicalRAMSizeInMegabytes() { return answerFor(gestaltPhysicalRAMSizeInMegabytes); }

}  // namespace ZtFoundation
