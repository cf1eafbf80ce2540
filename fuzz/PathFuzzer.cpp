// Any text as a path, taken apart and put together by the rules that hold for all of them.

#include <string>
#include <vector>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/String.h>

#include "Input.h"

using namespace ZtFoundation;
using namespace ZtFoundation::fuzz;

namespace {

using Units = std::u16string;

std::vector<Units> namesIn(const Units& path) {
  std::vector<Units> names;
  if (path.starts_with(u'/')) names.push_back(u"/");
  Units name;
  for (const char16_t unit : path + u'/') {
    if (unit != u'/') {
      name += unit;
    } else if (!name.empty()) {
      names.push_back(name);
      name.clear();
    }
  }
  return names;
}

void checkComponents(const Ref<NSString>& path) {
  const std::vector<Units> expected = namesIn(path->utf16());
  const Ref<NSArray> components = path->pathComponents();
  require(components->count() == expected.size(), "as many names");
  Ref<NSString> joined = NSString::string();
  for (NSUInteger at = 0; at < components->count(); ++at) {
    const Ref<NSString> name = as<NSString>(components->objectAtIndex(at));
    require(name->utf16() == expected[at], "the same names");
    joined = joined->stringByAppendingPathComponent(name);
  }
  require(isEqual(joined->pathComponents(), components), "put together they are the same path");
  const Units last = expected.empty() ? Units() : expected.back();
  require(path->lastPathComponent()->utf16() == last, "the last name");
}

void checkFolder(const Ref<NSString>& path) {
  const Ref<NSString> folder = path->stringByDeletingLastPathComponent();
  const Ref<NSString> again = folder->stringByAppendingPathComponent(path->lastPathComponent());
  require(isEqual(again->pathComponents(), path->pathComponents()), "the folder and the name are the path");
  require(path->isAbsolutePath() == folder->isAbsolutePath(), "both are absolute, or none");
}

void checkExtension(const Ref<NSString>& path) {
  const Ref<NSString> extension = path->pathExtension();
  const Ref<NSString> stem = path->stringByDeletingPathExtension();
  require(extension->utf16().find(u'/') == Units::npos && extension->utf16().find(u'.') == Units::npos,
          "no dot in an extension");
  const Ref<NSString> again = stem->stringByAppendingPathExtension(extension);
  require(isEqual(again->pathComponents(), path->pathComponents()), "the rest and the extension are the path");
}

}  // namespace

// The first byte tells bytes from units.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const bool isWide = input.takeByte() % 2 == 1;
  const std::string_view bytes = input.rest();
  const Ref<NSString> path =
      isWide ? Ref<NSString>(unitsIn(bytes)) : NSString::stringWithFileSystemRepresentation(bytes);
  checkComponents(path);
  checkFolder(path);
  checkExtension(path);
  return 0;
}
