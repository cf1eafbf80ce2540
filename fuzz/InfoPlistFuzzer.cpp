// Any bytes as the Info.plist of a bundle. Whatever it says, names stay inside of the bundle, and what it does not say
// is what it is by custom.

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Bundle.h>

#include "PropertyLists.h"

using namespace ZtFoundation;
using namespace ZtFoundation::fuzz;

namespace {

namespace fs = std::filesystem;

// Of the file, only the region has a say in where resources are found, and finding them takes longer than all else: a
// long region leads to hundreds of folders. So they are found for short ones, and for one of this many other files.
constexpr NSUInteger kLongestShortRegion = 24;
constexpr std::size_t kFilesForOneSearch = 16;

fs::path privateFolder() {
  const fs::path memory = "/dev/shm";
  std::error_code error;
  std::string name =
      ((fs::is_directory(memory, error) ? memory : fs::temp_directory_path()) / "zt-fuzz-XXXXXX").string();
  require(::mkdtemp(name.data()) != nullptr, "a folder can be made");
  return name;
}

void writeFile(const fs::path& path, std::string_view bytes) {
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  const bool complete = ::write(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
  require(::close(file) == 0 && complete, "a file can be written");
}

// A bundle in three languages. What is Info.plist is a resource too.
class BundleFolder {
 public:
  BundleFolder() : around_(privateFolder()), contents_(around_ / "Name.bundle" / "Contents") {
    const fs::path resources = contents_ / "Resources";
    for (const char* language : {"de.lproj", "en_GB.lproj", "Base.lproj"}) fs::create_directories(resources / language);
    fs::create_directory(contents_ / "Linux");
    writeFile(resources / "Base.lproj" / "Words.strings", "{a = b;}");
    writeFile(resources / "de.lproj" / "Words.strings", "{a = c;}");
    writeFile(information(), "");
    fs::create_hard_link(information(), resources / "Same.plist");
  }
  BundleFolder(const BundleFolder&) = delete;
  BundleFolder& operator=(const BundleFolder&) = delete;
  ~BundleFolder() {
    std::error_code ignored;
    fs::remove_all(around_, ignored);
  }

  Ref<NSBundle> bundleWith(std::string_view bytes) const {
    writeFile(information(), bytes);
    return NSBundle::bundleWithPath(contents_.parent_path().string());
  }

 private:
  fs::path information() const { return contents_ / "Info.plist"; }

  const fs::path around_;
  const fs::path contents_;
};

Ref<NSString> textFor(const Ref<NSDictionary>& information, const char* key) {
  return as<NSString>(information->objectForKey(Ref<NSString>(key)));
}

void checkIdentifier(const Ref<NSBundle>& bundle, const Ref<NSDictionary>& information) {
  const Ref<NSString> identifier = bundle->bundleIdentifier();
  const Ref<NSString> expected = textFor(information, "CFBundleIdentifier");
  require(static_cast<bool>(identifier) == static_cast<bool>(expected), "an identifier if there is one");
  require(!expected || isEqual(identifier, expected), "the identifier that is told");
}

void checkExecutable(const Ref<NSBundle>& bundle, const Ref<NSDictionary>& information) {
  const Ref<NSString> named = textFor(information, "CFBundleExecutable");
  if (const Ref<NSString> path = bundle->executablePath()) {
    const fs::path executable = path->fileSystemRepresentation();
    const fs::path folder = fs::path(bundle->bundlePath()->utf8()) / "Contents" / "Linux";
    require(executable.lexically_normal() == executable && executable.parent_path() == folder,
            "the executable lies inside");
    require(path->lastPathComponent()->isEqualToString(named ? named : "Name"),
            "it is called as told, or as the bundle");
  } else {
    require(static_cast<bool>(named), "without a name the executable is called as the bundle");
  }
  require(!bundle->load() && !bundle->isLoaded() && bundle->principalClass() == nullptr, "there is no code");
}

bool hasShortRegion(const Ref<NSDictionary>& information) {
  const Ref<NSString> region = textFor(information, "CFBundleDevelopmentRegion");
  return region && region->length() <= kLongestShortRegion;
}

void checkResources(const Ref<NSBundle>& bundle) {
  const Ref<NSArray> all = bundle->localizations();
  const Ref<NSArray> preferred = bundle->preferredLocalizations();
  for (const Ref<NSObject>& each : *preferred) {
    require(all->containsObject(each), "a localization that is preferred is there");
  }
  const Ref<NSString> words = bundle->pathForResource_ofType("Words", "strings");
  require(words && words->hasPrefix(bundle->resourcePath()->stringByAppendingString("/")), "resources lie inside");
  require(static_cast<bool>(JxResourcesExtensions::propertyListWithResourceNamed(bundle, "Words.strings")),
          "a table of texts is read");
}

// Each name in the file asks for a resource of that name.
void checkNames(const Ref<NSBundle>& bundle, const Ref<NSDictionary>& information) {
  for (const DictionaryEntry& entry : *information) {
    const Ref<NSString> key = as<NSString>(entry.key), value = as<NSString>(entry.value);
    const Ref<NSString> path = bundle->pathForResource_ofType_inDirectory_forLocalization(key, value, nullptr, value);
    require(!path || path->hasPrefix(bundle->resourcePath()), "a resource of any name lies inside");
  }
}

void checkSame(const Ref<NSBundle>& bundle, const Ref<NSObject>& value) {
  if (!value) return;  // each would be a line in the log
  require(isEqual(JxResourcesExtensions::propertyListWithResourceNamed(bundle, "Same.plist"), value),
          "a resource is read");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const BundleFolder folder;
  const Input input(data, size);
  const Ref<NSObject> value = read(NSData::dataWithBytes(input.rest()));
  const Ref<NSBundle> bundle = folder.bundleWith(input.rest());
  const Ref<NSDictionary> information = bundle->infoDictionary();
  if (!isLarge(value)) {
    require(as<NSDictionary>(value) ? isEqual(information, value) : information->count() == 0, "what the file tells");
    checkSame(bundle, value);
  }
  checkIdentifier(bundle, information);
  checkExecutable(bundle, information);
  if (hasShortRegion(information) || std::hash<std::string_view>()(input.rest()) % kFilesForOneSearch == 0) {
    checkResources(bundle);
  }
  checkNames(bundle, information);
  return 0;
}
