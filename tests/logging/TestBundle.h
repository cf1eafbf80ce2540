/// \file TestBundle.h
/// Bundles that live as long as a test.
#pragma once

#include <filesystem>
#include <initializer_list>
#include <string>
#include <utility>

#include "support/ScratchFolder.h"

namespace testbundle {

namespace fs = std::filesystem;

/// "key = value" pairs as the text of an Info.plist.
inline std::string infoText(std::initializer_list<std::pair<std::string, std::string>> entries) {
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>";
  for (const auto& [key, value] : entries) text += "<key>" + key + "</key><string>" + value + "</string>";
  return text + "</dict></plist>\n";
}

/// A bundle "Test.bundle" in a folder of its own.
class TestBundle {
 public:
  /// With a copy of the code that was built from plugins/<code>.cpp, and that principal class unless it is empty.
  TestBundle(const std::string& code, const std::string& principalClass) : TestBundle() {
    addCode(code, "Executable");
    if (principalClass.empty()) {
      setInfo(infoText({{"CFBundleExecutable", "Executable"}}));
    } else {
      setInfo(infoText({{"CFBundleExecutable", "Executable"}, {"NSPrincipalClass", principalClass}}));
    }
  }
  /// An empty folder.
  TestBundle() { fs::create_directories(contents()); }

  void addCode(const std::string& code, const std::string& name) const {
    fs::create_directories(contents() / "Linux");
    fs::copy_file(fs::path(ZT_TEST_PLUGINS) / (code + ".so"), contents() / "Linux" / name);
  }
  void setInfo(const std::string& text) const { ZtFoundation::test::writeFile(contents() / "Info.plist", text); }
  void setExecutable(const std::string& bytes) const {
    ZtFoundation::test::writeFile(contents() / "Linux/Executable", bytes);
  }

  fs::path contents() const { return fs::path(path()) / "Contents"; }
  std::string path() const { return folder_ / "Test.bundle"; }

 private:
  ZtFoundation::test::ScratchFolder folder_;
};

}  // namespace testbundle
