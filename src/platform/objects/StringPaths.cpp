#include <algorithm>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

namespace {

constexpr unichar kSlash = u'/';
constexpr unichar kDot = u'.';

// The path without slashes at its end; the root stays.
UnitView withoutTrailingSlashes(UnitView path) {
  NSUInteger length = path.size();
  while (length > 1 && path[length - 1] == kSlash) --length;
  return path.slice({0, length});
}

UnitView withoutLeadingSlashes(UnitView path) {
  NSUInteger start = 0;
  while (start < path.size() && path[start] == kSlash) ++start;
  return path.slice({start, path.size() - start});
}

bool isRoot(UnitView path) { return path.size() == 1 && path[0] == kSlash; }

// Where the last component of a path without trailing slashes begins.
NSUInteger startOfLastComponent(UnitView path) {
  if (isRoot(path)) return 0;
  NSUInteger start = path.size();
  while (start > 0 && path[start - 1] != kSlash) --start;
  return start;
}

UnitView lastComponent(UnitView path) {
  const NSUInteger start = startOfLastComponent(path);
  return path.slice({start, path.size() - start});
}

// Where the dot before the extension stands, from the start of `name`; its size when there is none. A dot at either end
// of the name makes no extension.
NSUInteger dotOfExtension(UnitView name) {
  NSUInteger at = name.size();
  while (at > 0 && name[at - 1] != kDot) --at;
  return at > 1 && at < name.size() ? at - 1 : name.size();
}

Ref<NSString> joined(UnitView first, unichar separator, UnitView second) {
  Ref<NSMutableString> path = NSMutableString::stringWithUnits(first);
  path->appendCharacter(separator);
  path->appendUnits(second);
  return path->copy();
}

}  // namespace

bool NSString::isAbsolutePath() const { return length() != 0 && units()[0] == kSlash; }

Ref<NSArray> NSString::pathComponents() const {
  const Ref<NSMutableArray> components = NSMutableArray::array();
  if (isAbsolutePath()) components->addObject("/");
  UnitView rest = withoutLeadingSlashes(units());
  while (!rest.empty()) {
    NSUInteger end = 0;
    while (end < rest.size() && rest[end] != kSlash) ++end;
    components->addObject(stringWithUnits(rest.slice({0, end})));
    rest = withoutLeadingSlashes(rest.slice({end, rest.size() - end}));
  }
  return components->copy();
}

Ref<NSString> NSString::lastPathComponent() const {
  return stringWithUnits(lastComponent(withoutTrailingSlashes(units())));
}

Ref<NSString> NSString::pathExtension() const {
  const UnitView name = lastComponent(withoutTrailingSlashes(units()));
  const NSUInteger start = std::min(dotOfExtension(name) + 1, name.size());
  return stringWithUnits(name.slice({start, name.size() - start}));
}

Ref<NSString> NSString::stringByDeletingLastPathComponent() const {
  const UnitView path = withoutTrailingSlashes(units());
  if (isRoot(path)) return stringWithUnits(path);
  return stringWithUnits(withoutTrailingSlashes(path.slice({0, startOfLastComponent(path)})));
}

Ref<NSString> NSString::stringByDeletingPathExtension() const {
  const UnitView path = withoutTrailingSlashes(units());
  const NSUInteger start = startOfLastComponent(path);
  return stringWithUnits(path.slice({0, start + dotOfExtension(lastComponent(path))}));
}

Ref<NSString> NSString::stringByAppendingPathComponent(const Ref<NSString>& component) const {
  const UnitView path = withoutTrailingSlashes(units());
  if (!component) return stringWithUnits(path);
  const UnitView appended = withoutTrailingSlashes(component->units());
  if (path.empty()) return stringWithUnits(appended);
  const UnitView name = withoutLeadingSlashes(appended);
  if (name.empty()) return stringWithUnits(path);
  return isRoot(path) ? joined({}, kSlash, name) : joined(path, kSlash, name);
}

Ref<NSString> NSString::stringByAppendingPathExtension(const Ref<NSString>& extension) const {
  const UnitView path = withoutTrailingSlashes(units());
  if (!extension || extension->length() == 0 || path.empty() || isRoot(path)) return stringWithUnits(path);
  return joined(path, kDot, extension->units());
}

}  // namespace ZtFoundation
