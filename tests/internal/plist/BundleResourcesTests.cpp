// The bundle of a class, asked of a stand-in: a test program has no code but its own.

#include <ZtFoundation/PropertyLists.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "platform/services/BundleCode.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

/// All classes come with one plug-in, and the program lies elsewhere.
class PlugInCode : public BundleCode {
 public:
  explicit PlugInCode(const ScratchFolder& folder)
      : program_(folder / "Program.app/Contents/Linux/code"), plugIn_(folder / "PlugIn.bundle/Contents/Linux/code") {}

  CodeModule load(const std::string&) override { return nullptr; }
  CodeModule program() override { return &program_; }
  CodeModule moduleAt(const void*) override { return &plugIn_; }
  std::string fileOf(CodeModule module) override { return *static_cast<const std::string*>(module); }
  std::optional<std::string> contentsOfSmallFile(const std::string&) override { return ""; }

 private:
  const std::string program_;
  const std::string plugIn_;
};

TEST(BundlePropertyListSteps, TheClassFormsAskTheBundleThatHoldsTheClass) {
  const ScratchFolder folder;
  for (const std::string name : {"Program.app", "PlugIn.bundle"}) {
    std::filesystem::create_directories(folder / name + "/Contents/Resources");
    writeFile(folder / name + "/Contents/Resources/a.plist", "(\"" + name + "\")");
  }
  // Bundles of code live as long as the process, and so does what they know it by.
  PlugInCode& code = *new PlugInCode(folder);
  const ScopedService<BundleCode> scope(code);
  const Class one = NSObject::classObject();
  const auto value = as<NSArray>(JxResourcesExtensions::propertyListWithResourceNamed_bundleForClass("a.plist", one));
  const auto changeable =
      as<NSArray>(JxResourcesExtensions::mutablePropertyListWithResourceNamed_bundleForClass("a.plist", one));
  ASSERT_TRUE(value && changeable);
  EXPECT_EQ(as<NSString>(value->objectAtIndex(0))->utf8(), "PlugIn.bundle");
  EXPECT_EQ(as<NSString>(changeable->objectAtIndex(0))->utf8(), "PlugIn.bundle");
  EXPECT_FALSE(value->isMutable());
  EXPECT_TRUE(changeable->objectAtIndex(0)->isMutable());
}

}  // namespace
}  // namespace ZtFoundation::test
