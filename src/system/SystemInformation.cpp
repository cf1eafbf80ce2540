#include <cstdint>
#include <new>

#include <ZtFoundation/System.h>
#include <ZtFoundation/platform/FileErrors.h>
#include <ZtFoundation/platform/Log.h>

#include "platform/services/Gestalt.h"
#include "platform/services/Service.h"

namespace ZtFoundation {

namespace {

// Callers from other languages cannot catch anything: a line that there is no memory for is dropped, as by the log
// itself.
template <class... Arguments>
void log(const char* format, const Arguments&... arguments) noexcept {
  try {
    NSLog(format, arguments...);
  } catch (const std::bad_alloc&) {
  }
}

// The status is shown as a pointer of 32 bits, so -1 reads 0xffffffff.
void logStatus(std::int16_t status) {
  const auto widened = static_cast<std::uint32_t>(std::int32_t{status});
  log("Gestalt Error = %p", reinterpret_cast<const void*>(static_cast<std::uintptr_t>(widened)));
}

std::int16_t ask(OSType selector, std::int32_t& response) noexcept {
  try {
    return service<Gestalt>().ask(selector, response);
  } catch (const std::bad_alloc&) {
    return memFullErr;
  }
}

NSInteger answerFor(OSType selector) {
  std::int32_t response = 0;
  const std::int16_t status = ask(selector, response);
  if (status == 0) return response;
  logStatus(status);
  return 0;
}

}  // namespace

NSInteger ZtGestaltOSVersion() { return answerFor(gestaltSystemVersion); }

NSInteger ZtGestaltPhysicalRAMSize() {
  log("You should use ZtGestaltPhysicalRAMSizeInMegabytes instead of ZtGestaltPhysicalRAMSize!");
  return answerFor(gestaltPhysicalRAMSize);
}

NSInteger ZtGestaltPhysicalRAMSizeInMegabytes() { return answerFor(gestaltPhysicalRAMSizeInMegabytes); }

}  // namespace ZtFoundation
