/// \file TestBundle.h
/// Folders and bundles that live as long as a test.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace testbundle {

namespace fs = std::filesystem;

class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = (fs::temp_directory_path() / "zt-logging-XXXXXX").string();
    EXPECT_NE(::mkdtemp(pattern.data()), nullptr);
    path_ = pattern;
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() { fs::remove_all(path_); }

  const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

inline void writeFile(const fs::path& path, const std::string& contents) {
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << contents;
}

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
  void setInfo(const std::string& text) const { writeFile(contents() / "Info.plist", text); }
  void setExecutable(const std::string& bytes) const { writeFile(contents() / "Linux/Executable", bytes); }

  fs::path contents() const { return folder_.path() / "Test.bundle/Contents"; }
  std::string path() const { return (folder_.path() / "Test.bundle").string(); }

 private:
  TemporaryFolder folder_;
};

}  // namespace testbundle
