// Any text as variables of the environment: the languages of the user, lists of folders, a folder, and the search for a
// program, each compared with taking the text apart at its colons first.

#include <unistd.h>

#include <filesystem>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "Input.h"
#include "platform/linux/applications/CommandLine.h"
#include "platform/linux/folders/BaseDirectories.h"
#include "platform/services/UserLanguages.h"

using namespace ZtFoundation;
using namespace ZtFoundation::fuzz;

namespace {

using Texts = std::vector<std::string>;

// Nothing but these, for as long as it lives. What setenv is given is kept for ever.
class Variables {
 public:
  explicit Variables(Texts texts) : texts_(std::move(texts)), former_(environ) {
    for (std::string& each : texts_) pointers_.push_back(each.data());
    pointers_.push_back(nullptr);
    environ = pointers_.data();
  }
  Variables(const Variables&) = delete;
  Variables& operator=(const Variables&) = delete;
  ~Variables() { environ = former_; }

 private:
  Texts texts_;
  std::vector<char*> pointers_;
  char** former_;
};

Texts parts(const std::string& text) {
  Texts found(1);
  for (const char c : text) {
    if (c == ':') {
      found.emplace_back();
    } else {
      found.back() += c;
    }
  }
  return found;
}

// Without encoding and modifier; empty where it names no language.
std::string language(const std::string& locale) {
  std::string name;
  for (const char c : locale) {
    if (c == '.' || c == '@') break;
    name += c;
  }
  return name == "C" || name == "POSIX" ? std::string() : name;
}

Texts languages(const std::string& list, const std::string& locale) {
  Texts found;
  if (language(locale).empty()) return found;
  for (const std::string& each : parts(list + ':' + locale)) {
    if (!language(each).empty()) found.push_back(language(each));
  }
  return found;
}

void checkLanguages(const std::string& text) {
  // A colon has no meaning in a locale.
  const std::string locale = parts(text).front();
  for (const std::string& chosen : {std::string("ja_JP.UTF-8"), std::string("POSIX"), locale}) {
    const Variables variables({"LC_ALL=", "LANG=" + chosen, "LANGUAGE=" + text});
    require(UserLanguages::production().inOrder() == languages(text, chosen), "the languages in their order");
  }
}

// None for what is no absolute path.
std::string folder(std::string text) {
  if (text.empty() || text.front() != '/') return {};
  while (text.size() > 1 && text.back() == '/') text.pop_back();
  return text;
}

void checkFolders(const std::string& text) {
  Texts expected;
  for (const std::string& each : parts(text)) {
    if (!folder(each).empty()) expected.push_back(folder(each));
  }
  if (expected.empty()) expected = {"/usr/local/share", "/usr/share"};
  const Variables variables({"XDG_DATA_DIRS=" + text, "TMPDIR=" + text, "HOME=/home/me", "XDG_CACHE_HOME=" + text});
  require(detail::dataDirectories() == expected, "the folders in their order");
  const std::string one = folder(text);
  require(detail::temporaryDirectory() == (one.empty() ? "/tmp" : one), "the folder for temporary files");
  require(detail::cacheHome() == (one.empty() ? "/home/me/.cache" : one), "the folder for caches");
}

bool isProgram(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::is_regular_file(path, ignored) && ::access(path.c_str(), X_OK) == 0;
}

void checkSearch(const std::string& text) {
  const std::string list = text + ":/proc/self";  // at the latest there is one
  const Variables variables({"PATH=" + list});
  for (const std::string& each : parts(list)) {
    const std::string program = (each.empty() ? "." : each) + "/exe";
    if (isProgram(program)) return require(detail::programNamed("exe") == program, "the first program of that name");
  }
  require(false, "a process has a program");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(Input(data, size).takeUntil('\0'));
  checkLanguages(text);
  checkFolders(text);
  checkSearch(text);
  return 0;
}
