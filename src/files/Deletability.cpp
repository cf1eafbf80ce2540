#include <mutex>

#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Array.h>

#include "platform/services/FolderManager.h"
#include "platform/services/Service.h"

namespace ZtFoundation {

namespace {

// None as long as there is no telling which the user's folders are.
Ref<NSArray> makeProtectedLocations() {
  const Ref<NSString> home = service<FolderManager>().homeFolder();
  if (!home) return nullptr;
  const Ref<NSMutableArray> locations = NSMutableArray::array();
  for (const char* const folder : {"/Applications", "/Library", "/System", "/Users"}) locations->addObject(folder);
  locations->addObject(home);
  for (const char* const folder : {"Desktop", "Documents", "Library", "Movies", "Music", "Pictures", "Sites"}) {
    locations->addObject(home->stringByAppendingPathComponent(folder));
  }
  return locations->copy();
}

Ref<NSArray> protectedLocations() {
  static std::mutex& making = *new std::mutex;
  static Ref<NSArray>& locations = *new Ref<NSArray>;
  const std::lock_guard guard(making);
  if (!locations) locations = makeProtectedLocations();
  return locations;
}

}  // namespace

bool JxTalvoZtWdExensions::isTalvoDeletable(const Ref<NSString>& self) {
  if (!JxFileAccessibility::isDeletable(self) || !JxFileAccessibility::canUserAccessToWrite(self)) return false;
  const Ref<NSArray> locations = protectedLocations();
  return locations && !locations->containsObject(self);
}

}  // namespace ZtFoundation
