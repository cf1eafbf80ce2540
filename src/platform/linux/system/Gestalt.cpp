#include "platform/services/Gestalt.h"

#include <fcntl.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>

#include <algorithm>
#include <limits>
#include <optional>

#include "platform/linux/files/FileContents.h"
#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/system/SystemVersion.h"

namespace ZtFoundation {

namespace {

std::optional<std::string> contentsOf(const char* path) {
  const detail::FileDescriptor file(detail::retryInterrupted([&] { return ::open(path, O_RDONLY | O_CLOEXEC); }));
  return detail::readToEnd(file.get());
}

// os-release(5): the file in /etc stands above the one in /usr/lib.
std::optional<std::string> distributionVersion() {
  for (const char* path : {"/etc/os-release", "/usr/lib/os-release"}) {
    if (const auto text = contentsOf(path)) return versionInOSRelease(*text);
  }
  return std::nullopt;
}

std::optional<std::int32_t> kernelVersion() {
  utsname names;
  return uname(&names) == 0 ? packedVersion(names.release) : std::nullopt;
}

std::optional<std::int32_t> systemVersion() {
  const auto version = distributionVersion();
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
