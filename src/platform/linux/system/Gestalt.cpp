#include "platform/services/Gestalt.h"

#include <sys/sysinfo.h>
#include <sys/utsname.h>

#include <algorithm>
#include <limits>
#include <optional>
#include <string>

#include "platform/linux/files/SmallFile.h"
#include "platform/linux/system/SystemVersion.h"

namespace ZtFoundation {

namespace {

// os-release(5): the file in /etc stands above the one in /usr/lib.
OSErr readRelease(std::string* text) {
  const OSErr error = detail::readSmallFile("/etc/os-release", text);
  return error != fnfErr ? error : detail::readSmallFile("/usr/lib/os-release", text);
}

std::optional<std::int32_t> kernelVersion() {
  utsname names;
  return uname(&names) == 0 ? packedVersion(names.release) : std::nullopt;
}

// The kernel's version is no answer where that of the distribution only cannot be read now.
std::optional<std::int32_t> systemVersion() {
  std::string text;
  if (const OSErr error = readRelease(&text); error != noErr && error != fnfErr) return std::nullopt;
  const auto version = versionInOSRelease(text);
  return version ? packedVersion(*version) : kernelVersion();
}

std::optional<std::int32_t> memory(std::uint64_t unit) {
  struct sysinfo information;
  if (sysinfo(&information) != 0) return std::nullopt;
  const std::uint64_t amount = std::uint64_t{information.totalram} * information.mem_unit / unit;
  return static_cast<std::int32_t>(std::min<std::uint64_t>(amount, std::numeric_limits<std::int32_t>::max()));
}

class LinuxGestalt : public Gestalt {
 public:
  std::int16_t ask(OSType selector, std::int32_t& response) override {
    switch (selector) {
      case gestaltSystemVersion:
        return answer(systemVersion(), response);
      case gestaltPhysicalRAMSize:
        return answer(memory(1), response);
      case gestaltPhysicalRAMSizeInMegabytes:
        return answer(memory(1 << 20), response);
      default:
        return gestaltUndefSelectorErr;
    }
  }

 private:
  static std::int16_t answer(std::optional<std::int32_t> value, std::int32_t& response) {
    if (!value) return gestaltUnknownErr;
    response = *value;
    return 0;
  }
};

}  // namespace

Gestalt& Gestalt::production() {
  static Gestalt& gestalt = *new LinuxGestalt;  // never destroyed, so it answers during exit too
  return gestalt;
}

}  // namespace ZtFoundation
