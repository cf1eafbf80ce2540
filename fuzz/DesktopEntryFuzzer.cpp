// Command lines of desktop entries, and documents, from anywhere. Whatever the line is, a document arrives whole: none
// of its bytes is lost, and none ends up in an argument of its own.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/linux/applications/ApplicationSignature.h"
#include "platform/linux/applications/CommandLine.h"

using namespace ZtFoundation;

namespace {

void require(bool good) {
  if (!good) std::abort();
}

bool hasCodeForURL(const std::string& line) {
  return line.find("%u") != std::string::npos || line.find("%U") != std::string::npos;
}

// With the document, escaped, behind each percent sign and at the end there may be more than a program takes.
bool couldBeTooLong(const DesktopEntry& entry, const std::string& document) {
  return (entry.command.size() + 1) * (3 * document.size() + 20) > 100'000;
}

void checkDocument(const DesktopEntry& entry, const std::string& document) {
  const auto without = detail::argumentsOfEntry(entry, "/k.desktop", "");
  const auto with = detail::argumentsOfEntry(entry, "/k.desktop", document);
  require(without.has_value() || !with.has_value());
  if (!with) return require(!without || couldBeTooLong(entry, document));
  require(with->front() == without->front() && with->size() >= without->size());
  const auto holds = [&](const std::string& argument) { return argument.find(document) != std::string::npos; };
  require(hasCodeForURL(entry.command) || std::any_of(with->begin(), with->end(), holds));
}

}  // namespace

// The line ends with a zero byte; the rest is the name of a document.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view all(reinterpret_cast<const char*>(data), size);
  const std::size_t end = std::min(all.find('\0'), all.size());
  DesktopEntry entry;
  entry.command = all.substr(0, end);
  entry.name = "The Name";
  std::string document = "/";
  for (const char byte : all.substr(std::min(end + 1, all.size()))) {
    if (byte != '\0') document += byte;
  }
  checkDocument(entry, document);
  detail::signaturesInEntry(all);
  return 0;
}
