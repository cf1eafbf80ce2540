#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Notification.h>
#include <ZtFoundation/platform/Values.h>

#include <iostream>

#include "Steps.h"

using namespace ZtFoundation;

namespace {

std::string_view yesOrNo(bool answer) { return answer ? "yes" : "no"; }

}  // namespace

void tour::firstStart() {
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath("settings/notes.plist");
  const Ref<NSMutableDictionary> settings = as<NSMutableDictionary>(store->values());
  std::cout << "entries: " << settings->count() << '\n';
  std::cout << "unsaved changes: " << yesOrNo(store->hasUnsavedChanges()) << '\n';
}

void tour::defaults() {
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath("settings/notes.plist");
  const Ref<NSObject> settings = store->values();

  const int width = valueAt<int>(settings, "Window", "Size", 0).value_or(800);
  const std::string title = valueAt<std::string>(settings, "Window", "Title").value_or("Untitled");
  const bool visible = valueAt<bool>(settings, "Window", "Visible").value_or(true);
  std::cout << title << ", " << width << " wide, " << (visible ? "visible" : "hidden") << '\n';
}

namespace {

Ref<NSMutableDictionary> sectionOf(const Ref<QvPropertyList>& store, const Ref<NSString>& name) {
  const Ref<NSMutableDictionary> settings = as<NSMutableDictionary>(store->values());
  if (!settings) return nullptr;  // somebody has put something else into the file
  if (!settings->containsKey(name)) settings->setObject_forKey(NSMutableDictionary::dictionary(), name);
  return as<NSMutableDictionary>(settings->objectForKey(name));
}

}  // namespace

void tour::save() {
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath("settings/notes.plist");
  auto* const center = NSNotificationCenter::defaultCenter();
  const Ref<NSObject> observer = center->addObserverForName_object_usingBlock(
      QvPropertyListDidSaveValuesNotification, store, [](const Ref<NSNotification>& note) {
        std::cout << as<QvPropertyList>(note->object())->path() << " was saved\n";
      });

  const Ref<NSMutableDictionary> window = sectionOf(store, "Window");
  window->setObject_forKey("Notes of today", "Title");
  window->setObject_forKey(NSArray::of(1024, 768), "Size");
  sectionOf(store, "Recent")->setObject_forKey(NSArray::of("todo.txt", "büro.txt"), "Files");
  if (store->hasUnsavedChanges() && !store->saveChanges()) std::cout << "could not be saved\n";

  window->setObject_forKey("Oops", "Title");
  store->discardChanges();
  std::cout << "unsaved changes: " << yesOrNo(store->hasUnsavedChanges()) << '\n';

  const Ref<QvPropertyList> later = QvPropertyList::initWithPath("settings/notes.plist");
  std::cout << valueAt<std::string>(later->values(), "Window", "Title").value_or("none") << '\n';
  std::cout << valueAt<int>(later->values(), "Window", "Size", 1).value_or(0) << '\n';
  std::cout << valueAt<std::string>(later->values(), "Recent", "Files", 1).value_or("none") << '\n';
  std::cout << valueAt<std::string>(later->values(), "Recent", "Files", 2).value_or("no third file") << '\n';
  center->removeObserver(observer);
}

void tour::share() {
  const Ref<QvPropertyList> mine = QvPropertyList::initWithPath("settings/notes.plist");
  const Ref<QvPropertyList> theirs = QvPropertyList::initWithPath("settings/notes.plist");

  sectionOf(mine, "Window")->setObject_forKey("My notes", "Title");
  sectionOf(theirs, "Window")->setObject_forKey("dark", "Theme");
  sectionOf(theirs, "Window")->setObject_forKey("Their notes", "Title");
  if (!theirs->saveMergedChanges() || !mine->saveMergedChanges()) std::cout << "could not be saved\n";

  const Ref<NSDictionary> window = valueAt<NSDictionary>(mine->values(), "Window");
  std::cout << window->get<std::string>("Title").value_or("none") << '\n';
  std::cout << window->get<std::string>("Theme").value_or("none") << '\n';
}
