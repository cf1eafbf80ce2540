#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Bundle.h>
#include <ZtFoundation/platform/Format.h>
#include <ZtFoundation/platform/Runtime.h>

#include "platform/services/LocalClock.h"
#include "platform/services/Service.h"

namespace ZtFoundation::QvFoundationExtensions {

namespace {

bool isEmpty(const Ref<NSString>& text) { return !text || text->length() == 0; }

Ref<NSString> nameOfProgram() {
  const Ref<NSBundle> program = NSBundle::mainBundle();
  Ref<NSString> identifier = send<Ref<NSString>>(program, ZT_SELECTOR("bundleIdentifier"));
  if (!isEmpty(identifier)) return identifier;
  const Ref<NSString> executable = program ? program->executablePath() : nullptr;
  return executable ? executable->lastPathComponent() : "ZtFoundation";
}

// Made once, however many threads and managers ask.
const Ref<NSString>& temporaryFolder() {
  static const Ref<NSString>& folder =
      *new Ref<NSString>(Ref<NSString>("/tmp")->stringByAppendingPathComponent(nameOfProgram()));
  return folder;
}

Ref<NSString> stamp() {
  const LocalTime now = service<LocalClock>().now();
  return NSString::stringWithFormat("%04d%02d%02d-%02d%02d%02d-%03d", now.year, now.month, now.day, now.hour,
                                    now.minute, now.second, now.millisecond);
}

}  // namespace

Ref<NSString> uniqueTemporaryPathWithPrefix_suffix_pathExtension(const Ref<NSFileManager>& self,
                                                                 const Ref<NSString>& prefix,
                                                                 const Ref<NSString>& suffix,
                                                                 const Ref<NSString>& pathExtension) {
  if (!self) return nullptr;
  const Ref<NSMutableString> name = NSMutableString::string();
  name->appendString(prefix);
  name->appendString(stamp());
  name->appendString(suffix);
  if (!isEmpty(pathExtension)) {
    name->appendString(".");
    name->appendString(pathExtension);
  }
  return temporaryFolder()->stringByAppendingPathComponent(name);
}

}  // namespace ZtFoundation::QvFoundationExtensions
