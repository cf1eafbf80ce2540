// Any text as a URL, taken apart as in appendix B of RFC 3986 too, and any bytes as the path of a file, there and back.

#include <optional>
#include <string>

#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/URL.h>

#include "Input.h"

using namespace ZtFoundation;
using namespace ZtFoundation::fuzz;

namespace {

std::optional<std::string> textOf(const Ref<NSString>& part) {
  return part ? std::optional(part->utf8()) : std::nullopt;
}

std::optional<std::string> takeTail(std::string& text, char mark) {
  const std::size_t at = text.find(mark);
  if (at == std::string::npos) return std::nullopt;
  const std::string tail = text.substr(at + 1);
  text.resize(at);
  return tail;
}

std::optional<std::string> takeScheme(std::string& text) {
  const std::size_t end = text.find_first_of(":/");
  if (end == std::string::npos || text[end] == '/') return std::nullopt;
  const std::string scheme = text.substr(0, end);
  text.erase(0, end + 1);
  return scheme;
}

void checkParts(const Ref<NSURL>& url) {
  std::string rest = url->absoluteString()->utf8();
  require(textOf(url->fragment()) == takeTail(rest, '#'), "the fragment");
  require(textOf(url->query()) == takeTail(rest, '?'), "the query");
  const auto scheme = takeScheme(rest);
  require(textOf(url->scheme()) == scheme, "the scheme");
  require(static_cast<bool>(url->host()) == rest.starts_with("//"), "a host if there is an authority");
  const Ref<NSNumber> port = url->port();
  require(!port || (port->intValue() >= 0 && port->intValue() <= 65535), "the range of ports");
  const std::string path = url->path()->fileSystemRepresentation();
  require(path.size() <= rest.size() && (path == "/" || !path.ends_with("/") || rest.ends_with("//") ||
                                         rest.ends_with("%2F") || rest.ends_with("%2f") || rest.ends_with("/")),
          "the path");
  require(!url->isFileURL() || scheme->size() == 4, "the scheme of files");
}

void readText(const Ref<NSString>& text) {
  const Ref<NSURL> url = NSURL::URLWithString(text);
  if (!url) return;
  require(isEqual(url->absoluteString(), text), "a URL is kept as it is written");
  checkParts(url);
  if (const Ref<NSString> path = url->path(); path->length() != 0) {
    const Ref<NSURL> file = NSURL::fileURLWithPath(path);
    require(file && file->isFileURL(), "a URL for the path");
  }
}

void makeFromPath(std::string_view bytes) {
  const Ref<NSURL> url = NSURL::fileURLWithPath(NSString::stringWithFileSystemRepresentation(bytes));
  require(static_cast<bool>(url) == !bytes.empty(), "a URL for each path but the empty one");
  if (!url) return;
  std::string expected(bytes);
  if (expected.size() > 1 && expected.ends_with('/')) expected.pop_back();
  require(url->path()->fileSystemRepresentation() == expected, "each byte of the path");
  const Ref<NSURL> again = NSURL::URLWithString(url->absoluteString());
  require(again && isEqual(again, url), "its text is a URL");
  require(isEqual(again->path(), url->path()) && again->isFileURL(), "the same");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = Input(data, size).rest();
  readText(NSString::stringWithUnits(UnitView(bytes.data(), bytes.size())));
  makeFromPath(bytes);
  return 0;
}
