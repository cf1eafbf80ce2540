// Any bytes as a desktop entry on disk, as GIO reads it. What comes of it is a command line that can be carried out, or
// none.

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>

#include "Input.h"
#include "platform/linux/applications/ApplicationSignature.h"
#include "platform/linux/applications/CommandLine.h"

namespace ZtFoundation {
extern "C" DesktopEntries* ZtFoundationDesktopEntries();
}

using namespace ZtFoundation;
using namespace ZtFoundation::fuzz;

namespace {

// A file in memory.
class File {
 public:
  File() : descriptor_(::memfd_create("entry.desktop", MFD_CLOEXEC)) { require(descriptor_ >= 0, "a file in memory"); }

  std::string pathWith(std::string_view bytes) const {
    require(::ftruncate(descriptor_, 0) == 0, "it can be emptied");
    require(::pwrite(descriptor_, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()), "and written");
    return "/proc/self/fd/" + std::to_string(descriptor_);
  }

 private:
  const int descriptor_;
};

bool isBlank(const std::string& text) { return text.find_first_not_of(" \t\n\r") == std::string::npos; }

void check(const DesktopEntry& entry) {
  if (entry.isHidden) return;
  require(!isBlank(entry.command), "a command that says something");
  for (const std::string* each : {&entry.command, &entry.name, &entry.icon, &entry.workingFolder, &entry.signature}) {
    require(each->find('\0') == std::string::npos, "text without zero bytes");
  }
  const auto arguments = detail::argumentsOfEntry(entry, "/k.desktop", "/d");
  require(!arguments || (!arguments->empty() && !arguments->front().empty()), "a command line begins with a program");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const File& file = *new File;
  const std::string_view bytes = Input(data, size).rest();
  const auto entry = ZtFoundationDesktopEntries()->entryAtPath(file.pathWith(bytes));
  if (entry) check(*entry);
  detail::signaturesInEntry(bytes);
  return 0;
}
