// An application package that carries the library inside: it sorts the names in its Info.plist as a person would. Its
// folder runs wherever it is put.
#include <ZtFoundation/Utilities.h>
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Bundle.h>
#include <ZtFoundation/platform/Dictionary.h>

#include <algorithm>
#include <iostream>
#include <vector>

using namespace ZtFoundation;

int main() {
  const Ref<NSBundle> application = NSBundle::mainBundle();
  if (!application || !application->bundleIdentifier()) {
    std::cerr << "sorter: not in its application package\n";
    return 1;
  }

  std::vector<Ref<NSString>> names;
  for (const auto& name : each<NSString>(application->infoDictionary()->get<NSArray>("SorterNames"))) {
    names.push_back(name);
  }
  std::ranges::stable_sort(names, [](const Ref<NSString>& a, const Ref<NSString>& b) {
    return QvFoundationExtensions::naturalCompare(a, b) == NSOrderedAscending;
  });

  std::cout << application->bundleIdentifier() << " in " << application->bundlePath() << '\n';
  for (const auto& name : names) std::cout << name << '\n';
}
