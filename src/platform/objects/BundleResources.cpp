// Where the resources of bundles are found.

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Bundle.h>
#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/Runtime.h>

#include <algorithm>
#include <string_view>

#include "platform/objects/BundleNames.h"
#include "platform/services/FolderNames.h"
#include "platform/services/UserLanguages.h"

namespace ZtFoundation {

using detail::isFileName;
using detail::isFolder;
using detail::leadsInside;

namespace {

using Localizations = std::vector<Ref<NSString>>;

constexpr std::string_view kFolderExtension = ".lproj";
constexpr std::size_t kLongestName = 255;

bool exists(const Ref<NSString>& path) {
  return send<bool>(NSFileManager::defaultManager(), ZT_SELECTOR("fileExistsAtPath:"), path);
}

bool isEmpty(const Ref<NSString>& text) { return !text || text->length() == 0; }

Ref<NSString> append(const Ref<NSString>& folder, const Ref<NSString>& path) {
  return folder->stringByAppendingPathComponent(path);
}

Ref<NSString> localizedFolder(const Ref<NSString>& folder, const Ref<NSString>& localization) {
  return append(folder, localization->stringByAppendingString(kFolderExtension));
}

// None when there cannot be such a file.
Ref<NSString> fileNamed(const Ref<NSString>& name, const Ref<NSString>& type) {
  if (isEmpty(name)) return nullptr;
  const Ref<NSString> file = isEmpty(type) ? name : name->stringByAppendingString(".")->stringByAppendingString(type);
  return leadsInside(file) ? file : nullptr;
}

Ref<NSString> withoutSlashAtEnd(const Ref<NSString>& folder) {
  const bool hasSlash = folder && folder->length() > 1 && folder->hasSuffix("/");
  return hasSlash ? folder->substringToIndex(folder->length() - 1) : folder;
}

Ref<NSString> firstExisting(std::initializer_list<Ref<NSString>> paths) {
  const auto found = std::find_if(paths.begin(), paths.end(), exists);
  return found != paths.end() ? *found : nullptr;
}

Ref<NSString> find(const Ref<NSString>& resources, const Ref<NSString>& subfolder, const Ref<NSString>& file,
                   const Localizations& localizations) {
  const Ref<NSString> folder = append(resources, subfolder);
  if (const Ref<NSString> path = append(folder, file); exists(path)) return path;
  for (const Ref<NSString>& each : localizations) {
    const Ref<NSString> path = firstExisting({append(append(localizedFolder(resources, each), subfolder), file),
                                              append(localizedFolder(folder, each), file)});
    if (path) return path;
  }
  return nullptr;
}

void addUnlessThere(Localizations& localizations, std::string_view name) {
  const Ref<NSString> text = NSString::stringWithFileSystemRepresentation(name);
  const bool isThere = std::any_of(localizations.begin(), localizations.end(),
                                   [&](const Ref<NSString>& each) { return each->isEqualToString(text); });
  if (!isThere && isFileName(text)) localizations.push_back(text);
}

// "pt_BR" as pt_BR, pt-BR and pt; the same for names of more parts. What is longer than a name of a file can be is no
// language.
void addForms(Localizations& localizations, std::string language) {
  if (language.size() > kLongestName) return;
  for (;;) {
    addUnlessThere(localizations, language);
    for (const auto& [from, to] : {std::pair('_', '-'), std::pair('-', '_')}) {
      std::string other = language;
      std::replace(other.begin(), other.end(), from, to);
      addUnlessThere(localizations, other);
    }
    const std::size_t end = language.find_last_of("_-");
    if (end == std::string::npos) return;
    language.resize(end);
  }
}

}  // namespace

std::vector<Ref<NSString>> NSBundle::localizationsInOrder() {
  Localizations localizations;
  for (std::string& language : service<UserLanguages>().inOrder()) addForms(localizations, std::move(language));
  if (const auto region = as<NSString>(objectForInfoDictionaryKey("CFBundleDevelopmentRegion"))) {
    addForms(localizations, region->fileSystemRepresentation());
  }
  addUnlessThere(localizations, "Base");
  return localizations;
}

Ref<NSString> NSBundle::resourcePath() const {
  const Ref<NSString> contents = contentsPath();
  return contents == path_ ? path_ : contents->stringByAppendingPathComponent("Resources");
}

Ref<NSString> NSBundle::pathForResource_ofType(const Ref<NSString>& name, const Ref<NSString>& type) {
  return pathForResource_ofType_inDirectory(name, type, nullptr);
}

Ref<NSString> NSBundle::pathForResource_ofType_inDirectory(const Ref<NSString>& name, const Ref<NSString>& type,
                                                           const Ref<NSString>& subfolder) {
  return pathForResource(name, type, subfolder, localizationsInOrder());
}

Ref<NSString> NSBundle::pathForResource_ofType_inDirectory_forLocalization(const Ref<NSString>& name,
                                                                           const Ref<NSString>& type,
                                                                           const Ref<NSString>& subfolder,
                                                                           const Ref<NSString>& localization) {
  if (!localization) return pathForResource_ofType_inDirectory(name, type, subfolder);
  Localizations only;
  if (isFileName(localization)) only.push_back(localization);
  return pathForResource(name, type, subfolder, only);
}

Ref<NSString> NSBundle::pathForResource(const Ref<NSString>& name, const Ref<NSString>& type,
                                        const Ref<NSString>& subfolder,
                                        const std::vector<Ref<NSString>>& localizations) const {
  const Ref<NSString> file = fileNamed(name, type);
  const Ref<NSString> folder = withoutSlashAtEnd(subfolder);
  if (!file || (!isEmpty(folder) && !leadsInside(folder))) return nullptr;
  return find(resourcePath(), folder, file, localizations);
}

Ref<NSArray> NSBundle::localizations() const {
  const Ref<NSString> resources = resourcePath();
  const Ref<NSMutableArray> found = NSMutableArray::array();
  for (const std::string& name : service<FolderNames>().sorted(resources->fileSystemRepresentation())) {
    const Ref<NSString> folder = NSString::stringWithFileSystemRepresentation(name);
    if (!folder->hasSuffix(kFolderExtension) || !isFolder(append(resources, folder))) continue;
    found->addObject(folder->substringToIndex(folder->length() - kFolderExtension.size()));
  }
  return found->copy();
}

Ref<NSArray> NSBundle::preferredLocalizations() {
  const Ref<NSString> resources = resourcePath();
  const Ref<NSMutableArray> found = NSMutableArray::array();
  for (const Ref<NSString>& each : localizationsInOrder()) {
    if (isFolder(localizedFolder(resources, each))) found->addObject(each);
  }
  return found->copy();
}

}  // namespace ZtFoundation
