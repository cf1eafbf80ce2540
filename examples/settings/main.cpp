// A host that keeps its settings in two files, as INI text and as a property list, each bound to a store.
//
//   settings [FOLDER]     default: a new folder under TMPDIR
//
// It starts from files that a user may have written by hand, changes values, saves, and reads back what was saved.

#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Notification.h>
#include <ZtFoundation/platform/Number.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>

using namespace ZtFoundation;

namespace {

constexpr std::string_view kHandWritten =
    "; written by hand\n"
    "[Window]\n"
    "Title=Notes\n"
    "Width=640\n"
    "\n"
    "[Recent]\n"
    "1=/home/alice/todo.txt\n";

void require(bool good, const std::string& what) {
  if (!good) throw std::runtime_error(what);
}

std::string textOf(const Ref<NSObject>& value) { return value ? value->description()->utf8() : "(none)"; }

// --- Showing

void show(const std::string& title, const std::string& text) {
  std::cout << "\n--- " << title << '\n' << (text.empty() ? "(empty)\n" : text);
  if (!text.empty() && text.back() != '\n') std::cout << '\n';
}

void showFile(const std::string& when, const std::filesystem::path& path) {
  const Ref<NSData> contents = NSData::dataWithContentsOfFile(path.string());
  show(path.filename().string() + ", " + when, contents ? std::string(contents->view()) : "(there is no such file)");
}

// --- The host's work

Ref<NSMutableDictionary> sectionOf(const Ref<QvPropertyList>& store, const std::string& name) {
  const Ref<NSMutableDictionary> file = as<NSMutableDictionary>(store->values());
  require(static_cast<bool>(file), "the store's values are no dictionary");
  Ref<NSMutableDictionary> section = as<NSMutableDictionary>(file->objectForKey(name));
  if (!section) {
    section = NSMutableDictionary::dictionary();
    file->setObject_forKey(section, name);
  }
  return section;
}

void save(const Ref<QvPropertyList>& store) {
  require(store->hasUnsavedChanges(), "there is nothing to save");
  require(store->saveChanges(), "saving " + store->path()->utf8() + " failed");
}

void changeINISettings(const Ref<QvPropertyList>& store) {
  const Ref<NSMutableDictionary> window = sectionOf(store, "Window");
  window->setObject_forKey("800", "Width");
  window->setObject_forKey("Notes of today", "Title");
  sectionOf(store, "Search")->setObject_forKey("needle", "Last");
  save(store);
}

void changeListSettings(const Ref<QvPropertyList>& store) {
  const Ref<NSMutableDictionary> window = sectionOf(store, "Window");
  window->setObject_forKey("Notes of today", "Title");
  window->setObject_forKey(800, "Width");
  window->setObject_forKey(1.5, "Zoom");
  window->setObject_forKey(true, "Visible");
  sectionOf(store, "Recent")->setObject_forKey(NSArray::of("/home/alice/todo.txt", "/home/alice/büro.txt"), "Files");
  sectionOf(store, "Recent")->setObject_forKey(NSDate::dateWithTimeIntervalSinceReferenceDate(728000000), "Opened");
  save(store);
  require(!store->hasUnsavedChanges(), "what was saved counts as unsaved");
}

void tryAndDiscard(const Ref<QvPropertyList>& store) {
  sectionOf(store, "Window")->setObject_forKey(9999, "Width");
  require(store->hasUnsavedChanges(), "a change was not noticed");
  store->discardChanges();
  require(!store->hasUnsavedChanges(), "discarding left a change");
}

// What a program that starts later finds.
void showSaved(const std::filesystem::path& path, QvPropertyListFormat format, const Ref<NSObject>& expected) {
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath_format(path.string(), format);
  show(path.filename().string() + ", read by a new store", textOf(store->values()));
  require(isEqual(store->values(), expected), "another store reads something else from " + path.string());
}

// The values as the INI file gives them back: a string with a space keeps the quotes that it was written in.
Ref<NSDictionary> expectedINIValues() {
  return NSDictionary::dictionaryWithEntries({
      {"Window", NSDictionary::dictionaryWithEntries({{"Title", "\"Notes of today\""}, {"Width", "800"}})},
      {"Recent", NSDictionary::dictionaryWithObject_forKey("/home/alice/todo.txt", "1")},
      {"Search", NSDictionary::dictionaryWithObject_forKey("needle", "Last")},
  });
}

void run(const std::filesystem::path& folder) {
  const std::filesystem::path ini = folder / "settings.ini";
  const std::filesystem::path list = folder / "settings.plist";
  std::filesystem::remove(list);
  require(NSData::dataWithBytes(kHandWritten)->writeToFile_atomically(ini.string(), true), "preparing the file failed");
  std::cout << "Settings in " << folder.string() << '\n';

  int saves = 0;
  auto* const center = NSNotificationCenter::defaultCenter();
  const Ref<NSObject> observer = center->addObserverForName_object_usingBlock(
      QvPropertyListDidSaveValuesNotification, nullptr, [&](const Ref<NSNotification>&) { ++saves; });

  showFile("before", ini);
  const Ref<QvPropertyList> iniStore = QvPropertyList::initWithPath_format(ini.string(), QvPropertyListINIFormat);
  std::cout
      << "\n(The log complains now that INI text is no property list. A store says so at each save of such a file.)"
      << std::endl;
  changeINISettings(iniStore);
  showFile("after", ini);

  showFile("before", list);
  const Ref<QvPropertyList> listStore = QvPropertyList::initWithPath(list.string());
  changeListSettings(listStore);
  tryAndDiscard(listStore);
  showFile("after", list);

  center->removeObserver(observer);
  require(saves == 2, "each of the two saves should have been announced once");

  showSaved(ini, QvPropertyListINIFormat, expectedINIValues());
  showSaved(list, NSPropertyListXMLFormat_v1_0, listStore->values());
  std::cout << "\nBoth files hold what was saved.\n";
}

std::filesystem::path newFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "settings-XXXXXX").string();
  require(::mkdtemp(name.data()) != nullptr, "cannot make a folder like " + name);
  return name;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const std::filesystem::path folder = argc > 1 ? std::filesystem::absolute(argv[1]) : newFolder();
    std::filesystem::create_directories(folder);
    run(folder);
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "settings: " << error.what() << '\n';
    return 1;
  }
}
