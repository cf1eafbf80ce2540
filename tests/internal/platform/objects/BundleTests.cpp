// Bundles of code that the system tells little about, told by a stand-in.

#include <ZtFoundation/platform/Bundle.h>
#include <ZtFoundation/platform/Runtime.h>
#include <gtest/gtest.h>

#include <deque>
#include <filesystem>
#include <string>

#include "platform/services/BundleCode.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

/// Bundles live as long as the process, and are known by their modules.
CodeModule newModule() {
  static std::deque<char>& modules = *new std::deque<char>;
  return &modules.emplace_back();
}

/// A program and a plug-in, which all classes come with. No file: nobody knows it.
struct Code : BundleCode {
  CodeModule load(const std::string&) override { return nullptr; }
  CodeModule program() override { return programModule; }
  CodeModule moduleAt(const void*) override { return plugIn; }
  std::string fileOf(CodeModule module) override {
    return module == nullptr ? "" : module == plugIn ? fileOfPlugIn : fileOfProgram;
  }
  std::optional<std::string> contentsOfSmallFile(const std::string&) override { return ""; }

  CodeModule programModule = newModule();
  CodeModule plugIn = newModule();
  std::string fileOfProgram;
  std::string fileOfPlugIn;
  ScopedService<BundleCode> scope{*this};
};

Ref<NSBundle> bundleOfAnyClass() { return NSBundle::bundleForClass(NSObject::classObject()); }

TEST(BundlesOfLittleKnownCode, AProgramWithoutAFileHasNone) {
  const Code code;
  EXPECT_FALSE(NSBundle::mainBundle());
  EXPECT_FALSE(bundleOfAnyClass());
}

TEST(BundlesOfLittleKnownCode, APlugInWithoutAFileBelongsToTheMainBundle) {
  const ScratchFolder folder;
  Code code;
  code.fileOfProgram = folder / "program";
  ASSERT_TRUE(NSBundle::mainBundle());
  EXPECT_TRUE(bundleOfAnyClass() == NSBundle::mainBundle());
}

TEST(BundlesOfLittleKnownCode, WhatIsNotLoadedIsNotTheUnknownProgram) {
  const ScratchFolder folder;
  std::filesystem::create_directories(folder / "a.bundle/Contents/Linux");
  Code code;
  code.fileOfPlugIn = folder / "a.bundle/Contents/Linux/a";
  const Ref<NSBundle> bundle = bundleOfAnyClass();
  ASSERT_TRUE(bundle);
  code.programModule = nullptr;
  EXPECT_FALSE(NSBundle::mainBundle());
  EXPECT_EQ(bundle->executablePath()->utf8(), folder / "a.bundle/Contents/Linux/a");
}

}  // namespace
}  // namespace ZtFoundation::test
