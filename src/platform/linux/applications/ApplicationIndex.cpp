#include "platform/linux/applications/ApplicationIndex.h"

#include <dirent.h>
#include <fcntl.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <set>
#include <unordered_map>

#include <ZtFoundation/platform/Bundle.h>
#include <ZtFoundation/platform/Dictionary.h>

#include "platform/linux/applications/ApplicationSignature.h"
#include "platform/linux/applications/ItemInformation.h"
#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/files/FolderContents.h"
#include "platform/linux/files/SmallFile.h"
#include "platform/linux/folders/Folders.h"

namespace ZtFoundation::detail {

namespace {

constexpr std::string_view kEntryExtension = ".desktop";
constexpr int kDeepest = 8;  // folders in folders
// Stands for what could not be read, and so is tried again each time: descriptors may have run out.
constexpr FileStamp kNothing;

char lowercase(char byte) { return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte; }

bool equalInAnyCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lowercase(x) == lowercase(y); });
}

std::string_view withoutEntryExtension(std::string_view name) {
  if (name.size() < kEntryExtension.size()) return name;
  const std::size_t stem = name.size() - kEntryExtension.size();
  return equalInAnyCase(name.substr(stem), kEntryExtension) ? name.substr(0, stem) : name;
}

// The items of a folder by name, without those that begin with a dot.
class SortedItems {
 public:
  // False for a folder that cannot be read to its end; what comes before an error counts.
  bool read(const std::string& folder) {
    const FileDescriptor listed(
        retryInterrupted([&] { return ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    const bool isWhole = listed && contents_.read(listed.get());
    for (FolderContents::Entry entry; contents_.next(entry);) {
      if (entry.name[0] != '.') items_.push_back(entry);
    }
    std::sort(items_.begin(), items_.end(),
              [](const auto& a, const auto& b) { return std::strcmp(a.name, b.name) < 0; });
    return isWhole;
  }

  auto begin() const { return items_.begin(); }
  auto end() const { return items_.end(); }

 private:
  FolderContents contents_;  // holds the names
  std::vector<FolderContents::Entry> items_;
};

std::string joined(std::string_view a, std::string_view b, std::string_view c) {
  std::string result(a);
  result.append(b).append(c);
  return result;
}

bool mayBeLink(unsigned char type) { return type == DT_LNK || type == DT_UNKNOWN; }

bool isFolderItem(const std::string& path, unsigned char type) {
  return type == DT_DIR || (mayBeLink(type) && isFolder(path));
}

std::string textOf(const Ref<NSObject>& value) {
  const Ref<NSString> text = as<NSString>(value);
  return text ? text->fileSystemRepresentation() : std::string();
}

// None for a file that cannot be read.
std::optional<std::vector<OSType>> readSignatures(const std::string& path) {
  std::string text;
  const OSErr error = readEntryFile(path, &text);
  return error == noErr || error == fnfErr ? std::optional(signaturesInEntry(text)) : std::nullopt;
}

}  // namespace

// Looks through folders.
class ApplicationIndex::Lister {
 public:
  // A folder counts once, and rather where it is than where links lead to it: its entries have their names from there.
  void list(const ApplicationFolder& folder) {
    holdsEntries_ = folder.holdsEntries;
    seen_.clear();
    listFolder({folder.path, "", 0});
    for (; !links_.empty(); links_.pop_front()) listFolder(links_.front());
  }

  std::map<std::string, FileStamp> takeFolders() { return std::move(folders_); }
  Applications takeApplications() { return std::move(applications_); }

 private:
  struct Folder {
    std::string path;
    std::string prefix;  // of the identifiers of its entries
    int depth;
  };

  // Links may lead back to where they came from.
  void listFolder(const Folder& folder) {
    const FileStamp stamp(folder.path);
    folders_.emplace(folder.path, stamp);
    if (folder.depth > kDeepest || !seen_.insert(stamp.identity()).second) return;
    SortedItems items;
    if (!items.read(folder.path)) folders_[folder.path] = kNothing;
    for (const FolderContents::Entry& item : items) listItem(folder, item);
  }

  void listItem(const Folder& folder, const FolderContents::Entry& item) {
    std::string path = joined(folder.path, "/", item.name);
    if (isEntryName(path)) {
      if (holdsEntries_) addEntry(std::move(path), folder.prefix, item.name);
      return;
    }
    // What a link leads to may come later, and the folder around the link does not show that.
    if (mayBeLink(item.type)) folders_.emplace(path, FileStamp(path));
    if (!isFolderItem(path, item.type)) return;
    addFolder({std::move(path), joined(folder.prefix, item.name, "-"), folder.depth + 1}, item.type);
  }

  void addFolder(Folder folder, unsigned char type) {
    std::string end = mayBeLink(type) ? tellingPath(folder.path) : folder.path;
    if (isPackageName(end)) {
      applications_.push_back({std::move(end), false});
    } else if (end == folder.path) {
      listFolder(folder);
    } else {
      links_.push_back(std::move(folder));
    }
  }

  void addEntry(std::string path, const std::string& prefix, const char* name) {
    applications_.push_back({std::move(path), true, joined(prefix, withoutEntryExtension(name), "")});
  }

  bool holdsEntries_ = false;
  std::set<FileStamp::Identity> seen_;
  std::deque<Folder> links_;
  std::map<std::string, FileStamp> folders_;
  Applications applications_;
};

// Some identifiers end in ".desktop" themselves, so what is asked for is looked for as it is, too.
struct ApplicationIndex::Query {
  OSType creator;
  std::string identifier;
  std::string withoutExtension = std::string(withoutEntryExtension(identifier));

  bool fitsIdentifier(const Application& application, bool inAnyCase) const {
    if (identifier.empty()) return true;
    const std::string& own = application.identifier;
    if (own.empty()) return false;
    return inAnyCase ? equalInAnyCase(own, identifier) || equalInAnyCase(own, withoutExtension)
                     : own == identifier || own == withoutExtension;
  }
  bool mayFitSignature(const Application& application) const {
    const auto fits = [this](OSType code) { return code == creator || code == kAnySignature; };
    return creator == 0 || std::any_of(application.signatures.begin(), application.signatures.end(), fits);
  }
  bool fits(const DesktopEntry& entry) const {
    return creator == 0 || signatureCode(NSString::stringWithValidUTF8(entry.signature)) == creator;
  }
};

bool ApplicationIndex::isUpToDate(const std::vector<ApplicationFolder>& folders) const {
  return folders == folders_ && std::all_of(listed_.begin(), listed_.end(), [](const auto& folder) {
           return folder.second.stillHolds(FileStamp(folder.first));
         });
}

// What is known of the contents of files is kept: it has stamps of its own.
void ApplicationIndex::refresh() {
  std::vector<ApplicationFolder> folders = applicationFolders();
  if (isUpToDate(folders)) return;
  Lister lister;
  for (const ApplicationFolder& folder : folders) lister.list(folder);
  std::unordered_map<std::string_view, Application*> known;
  for (Application& application : applications_) known.emplace(application.path, &application);
  Applications applications = lister.takeApplications();
  // From here on nothing can fail, so what is known stays whole.
  for (Application& application : applications) {
    const auto found = known.find(application.path);
    if (found != known.end()) application.takeContents(*found->second);
  }
  applications_ = std::move(applications);
  listed_ = lister.takeFolders();
  folders_ = std::move(folders);
}

void ApplicationIndex::Application::takeContents(Application& other) noexcept {
  stamp = other.stamp;
  signatures = std::move(other.signatures);
  if (!isEntry) identifier = std::move(other.identifier);
}

void ApplicationIndex::updateBundle(Application& bundle) {
  const std::string path = bundleInformationPath(bundle.path);
  const FileStamp stamp(path);
  if (bundle.stamp.stillHolds(stamp)) return;
  // Cut off here, it is read again the next time.
  bundle.stamp = kNothing;
  bundle.identifier.clear();
  bundle.signatures.clear();
  if (isApplicationBundle(bundle.path) && isSmallFile(path) && !readInformation(bundle)) return;
  bundle.stamp = stamp;
}

// False for an Info.plist that says nothing, or cannot be read.
bool ApplicationIndex::readInformation(Application& bundle) {
  const Ref<NSBundle> contents = NSBundle::bundleWithPath(NSString::stringWithFileSystemRepresentation(bundle.path));
  if (!contents || contents->infoDictionary()->count() == 0) return false;
  bundle.identifier = textOf(contents->objectForInfoDictionaryKey("CFBundleIdentifier"));
  const OSType code = signatureCode(as<NSString>(contents->objectForInfoDictionaryKey("CFBundleSignature")));
  if (code != 0) bundle.signatures.push_back(code);
  return true;
}

void ApplicationIndex::updateEntry(Application& entry) {
  const FileStamp stamp(entry.path);
  if (entry.stamp.stillHolds(stamp)) return;
  std::optional<std::vector<OSType>> signatures = readSignatures(entry.path);
  entry.stamp = signatures ? stamp : kNothing;
  entry.signatures = std::move(signatures).value_or(std::vector<OSType>());
}

void ApplicationIndex::update(const Query& query) {
  for (Application& application : applications_) {
    if (!application.isEntry) {
      updateBundle(application);
    } else if (query.creator != 0) {
      updateEntry(application);
    }
  }
}

// Of several entries with one identifier the first that is an application's decides; hidden, it hides the others.
bool ApplicationIndex::isInstalled(const Application& application, const Query& query) const {
  if (!application.isEntry) return true;
  for (const Application& one : applications_) {
    if (one.identifier != application.identifier) continue;
    const std::optional<DesktopEntry> entry = entryInFile(one.path);
    if (entry) return &one == &application && !entry->isHidden && query.fits(*entry);
  }
  return false;
}

const ApplicationIndex::Application* ApplicationIndex::first(const Query& query, bool inAnyCase) const {
  const auto found = std::find_if(applications_.begin(), applications_.end(), [&](const Application& one) {
    return query.fitsIdentifier(one, inAnyCase) && query.mayFitSignature(one) && isInstalled(one, query);
  });
  return found != applications_.end() ? &*found : nullptr;
}

std::string ApplicationIndex::find(OSType creator, const std::string& identifier) {
  if (creator == 0 && identifier.empty()) return {};
  const Query query{creator, identifier};
  // First: both wait for the system's loader, under whose lock code that is being loaded may look for applications.
  DesktopEntries::production();
  NSBundle::mainBundle();
  const std::lock_guard guard(mutex_);
  refresh();
  update(query);
  const Application* found = first(query, false);
  if (found == nullptr && !identifier.empty()) found = first(query, true);
  return found != nullptr ? found->path : std::string();
}

}  // namespace ZtFoundation::detail
