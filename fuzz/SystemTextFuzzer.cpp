// Any bytes as the files in which a system tells of itself: the user's folders (user-dirs.dirs) and the version
// (os-release).

#include <optional>
#include <string>

#include "Input.h"
#include "platform/linux/folders/UserDirectories.h"
#include "platform/linux/system/SystemVersion.h"

using namespace ZtFoundation;
using namespace ZtFoundation::fuzz;

namespace {

constexpr std::string_view kKey = "XDG_MUSIC_DIR";

std::optional<std::string> folderIn(const std::string& text, const detail::Directory& home) {
  return detail::parsedUserDirectory(text, kKey, home);
}

void checkFolder(const std::string& text) {
  const detail::Directory home = "/home/me";
  const auto folder = folderIn(text, home);
  if (folder) {
    require(folder->starts_with('/') && folder->find('\0') == std::string::npos, "an absolute path");
    require(*folder == "/" || !folder->ends_with('/'), "without a slash at its end");
  }
  const auto homeless = folderIn(text, std::nullopt);
  require(!homeless || folder, "a home folder never makes an entry worse");
  const std::string key(kKey);
  require(folderIn(text + '\n' + key + "=\"/the/last\"\n", home) == "/the/last", "the last entry counts");
  require(folderIn(text + "\n# " + key + "=\"/comment\"\n", home) == folder, "a comment does not");
}

void checkVersion(const std::string& text) {
  const auto version = versionInOSRelease(text);
  require(!version || (!version->empty() && version->find('\n') == std::string::npos), "a version is a part of a line");
  require(!version || packedVersion(*version).has_value(), "a version begins with a number");
  const auto packed = packedVersion(text);
  require(!packed || (*packed >= 0 && *packed <= 0x9999), "four digits");
  require(versionInOSRelease(text + "\nVERSION_ID=\"4.2\"\n") == "4.2", "the last entry counts");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(Input(data, size).rest());
  checkFolder(text);
  checkVersion(text);
  return 0;
}
