#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Runtime.h>

#include "platform/services/NewFiles.h"

namespace ZtFoundation::JxTalvoZtWdExensions {

namespace {

using Answer = NewFiles::Answer;

// The first free path that `make` makes an item at. A path that is offered again looks free and cannot be taken.
template <class Make>
Ref<NSString> firstMade(const Ref<NSString>& wanted, bool isFolder, Make make) {
  Ref<NSString> last;
  for (;;) {
    Ref<NSString> path = unusedFinderPathForDirectory(wanted, isFolder);
    if (!path || isEqual(path, last)) return nullptr;
    const Answer answer = make(path);
    if (answer == Answer::Impossible) return nullptr;
    if (answer == Answer::Made) return path;
    last = std::move(path);
  }
}

}  // namespace

Ref<NSString> createUnusedFinderFile(const Ref<NSString>& self, const Ref<NSData>& contents) {
  return firstMade(self, false, [&](const Ref<NSString>& path) {
    return service<NewFiles>().make(path, contents ? contents->view() : std::string_view());
  });
}

Ref<NSString> createUnusedFinderFolder(const Ref<NSString>& self) {
  return firstMade(self, true, [](const Ref<NSString>& path) {
    const bool isMade = send<bool>(NSFileManager::defaultManager(), ZT_SELECTOR("createDirectoryAtPath:attributes:"),
                                   path, Ref<NSDictionary>());
    return isMade ? Answer::Made : Answer::Taken;
  });
}

}  // namespace ZtFoundation::JxTalvoZtWdExensions
