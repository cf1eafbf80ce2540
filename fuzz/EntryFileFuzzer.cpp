// Any bytes as a desktop entry, as GIO reads it. What comes of it is a command line that can be carried out, or
// none.

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
  const std::string bytes(Input(data, size).rest());
  const auto entry = ZtFoundationDesktopEntries()->entryInText(bytes);
  if (entry) check(*entry);
  detail::signaturesInEntry(bytes);
  return 0;
}
