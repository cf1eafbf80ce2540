#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Bundle.h>
#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/Runtime.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

namespace fs = std::filesystem;

/// A bundle "Test.bundle" for a user whose languages the environment tells.
class BundleResourcesTests : public testing::Test {
 protected:
  BundleResourcesTests() {
    fs::create_directories(resources());
    setLanguages("C", "");
  }
  ~BundleResourcesTests() override {
    unsetenv("LC_ALL");
    unsetenv("LANGUAGE");
  }

  static void setLanguages(const char* locale, const char* languages) {
    setenv("LC_ALL", locale, 1);
    setenv("LANGUAGE", languages, 1);
  }
  std::string path() const { return folder / "Test.bundle"; }
  std::string resources() const { return path() + "/Contents/Resources"; }
  /// Makes a resource; answers its path.
  std::string add(const std::string& name) const {
    const std::string file = resources() + "/" + name;
    fs::create_directories(fs::path(file).parent_path());
    writeFile(file, "text");
    return file;
  }
  void setRegion(const std::string& region) const {
    writeFile(path() + "/Contents/Info.plist", "{CFBundleDevelopmentRegion = \"" + region + "\";}");
  }
  Ref<NSBundle> bundle() const { return NSBundle::bundleWithPath(path()); }

  static std::string text(const Ref<NSString>& path) { return path ? path->fileSystemRepresentation() : "none"; }
  std::string find(const Ref<NSString>& name, const Ref<NSString>& type = "txt") const {
    return text(bundle()->pathForResource_ofType(name, type));
  }
  std::string findIn(const Ref<NSString>& subfolder, const Ref<NSString>& name = "a") const {
    return text(bundle()->pathForResource_ofType_inDirectory(name, "txt", subfolder));
  }
  std::string findFor(const Ref<NSString>& localization, const Ref<NSString>& subfolder = nullptr) const {
    return text(bundle()->pathForResource_ofType_inDirectory_forLocalization("a", "txt", subfolder, localization));
  }

  ScratchFolder folder;
};

std::string joined(const Ref<NSArray>& names) { return names->componentsJoinedByString(" ")->utf8(); }

// ---- Names and types

TEST_F(BundleResourcesTests, AResourceIsFoundByNameAndType) {
  const std::string a = add("a.txt");
  EXPECT_EQ(find("a"), a);
  EXPECT_EQ(find("a.txt", ""), a);
  EXPECT_EQ(find("a.txt", nullptr), a);
  EXPECT_EQ(find("b"), "none");
}

TEST_F(BundleResourcesTests, NothingIsGuessedOfTheName) {
  const std::string a = add("a.txt");
  EXPECT_EQ(find("a", ""), "none");
  EXPECT_EQ(find("a.txt"), "none");
  EXPECT_EQ(find("a", ".txt"), "none");
  EXPECT_EQ(find("A"), "none");
  const std::string twice = add("a.txt.txt");
  EXPECT_EQ(find("a.txt"), twice);
}

TEST_F(BundleResourcesTests, AnEmptyNameFindsNothing) {
  add(".txt");
  for (const Ref<NSString>& name : {Ref<NSString>(), Ref<NSString>("")}) {
    EXPECT_EQ(find(name), "none");
    EXPECT_EQ(find(name, ""), "none");
    EXPECT_EQ(find(name, nullptr), "none");
  }
}

TEST_F(BundleResourcesTests, AFolderIsAResourceToo) {
  fs::create_directories(resources() + "/Help.pages");
  EXPECT_EQ(find("Help", "pages"), resources() + "/Help.pages");
}

TEST_F(BundleResourcesTests, NamesThatLeadOutsideFindNothing) {
  add("a.txt");
  add("sub/a.txt");
  writeFile(path() + "/Contents/outside.txt", "text");
  const std::string absolute = resources() + "/a";
  for (const std::string& name : {std::string("../outside"), std::string("sub/../a"), std::string("sub/../../outside"),
                                  std::string("./a"), std::string("sub/./a"), std::string("sub//a"), absolute}) {
    EXPECT_EQ(find(name), "none") << name;
  }
  for (const char* name : {".", "..", "/", "sub/", "sub/.", "sub/.."}) EXPECT_EQ(find(name, ""), "none") << name;
  EXPECT_EQ(find("sub", "x/../../a.txt"), "none");
  EXPECT_EQ(find(Ref<NSString>(u"a.txt\0"), ""), find("a.txt", "")) << "the literal ends before";
  EXPECT_EQ(find(Ref<NSString>(std::u16string_view(u"a.txt\0b", 7)), ""), "none");
}

TEST_F(BundleResourcesTests, ANameMayHaveSubfolders) {
  EXPECT_EQ(find("one/two/a"), "none");
  const std::string a = add("one/two/a.txt");
  EXPECT_EQ(find("one/two/a"), a);
}

TEST_F(BundleResourcesTests, NamesAreBytes) {
  const std::string odd = add("\xE9\xFF.txt");
  EXPECT_EQ(find(NSString::stringWithFileSystemRepresentation("\xE9\xFF")), odd);
  const std::string hostile = add("$(x) '\"\n;.txt");
  EXPECT_EQ(find("$(x) '\"\n;"), hostile);
  EXPECT_EQ(find(std::string(300, 'x')), "none");
}

TEST_F(BundleResourcesTests, LinksAreFollowed) {
  fs::create_symlink(add("a.txt"), resources() + "/link.txt");
  fs::create_symlink("nowhere", resources() + "/broken.txt");
  EXPECT_EQ(find("link"), resources() + "/link.txt");
  EXPECT_EQ(find("broken"), "none");
}

// ---- Subfolders

TEST_F(BundleResourcesTests, ASubfolderIsLookedAtAlone) {
  const std::string a = add("a.txt");
  EXPECT_EQ(findIn("sub"), "none");
  const std::string below = add("sub/deep/a.txt");
  EXPECT_EQ(findIn("sub"), "none");
  EXPECT_EQ(findIn("sub/deep"), below);
  EXPECT_EQ(findIn("sub/deep/"), below);
  EXPECT_EQ(findIn("sub", "deep/a"), below);
  EXPECT_EQ(findIn(""), a);
  EXPECT_EQ(findIn(nullptr), a);
}

TEST_F(BundleResourcesTests, SubfoldersThatLeadOutsideFindNothing) {
  add("a.txt");
  add("sub/a.txt");
  writeFile(path() + "/Contents/a.txt", "text");
  for (const std::string& subfolder : {std::string(".."), std::string("../"), std::string("sub/.."), std::string("."),
                                       std::string("/"), std::string("sub//"), std::string("//"), resources()}) {
    EXPECT_EQ(findIn(subfolder), "none") << subfolder;
  }
}

// ---- Languages

TEST_F(BundleResourcesTests, TheFolderItselfGoesBeforeAllLanguages) {
  add("de.lproj/a.txt");
  const std::string a = add("a.txt");
  setLanguages("de_DE.UTF-8", "");
  EXPECT_EQ(find("a"), a);
}

TEST_F(BundleResourcesTests, LanguagesAreLookedAtInTheUsersOrder) {
  setLanguages("de_DE.UTF-8", "pt_BR:fr");
  setRegion("en_GB");
  std::vector<std::string> files;
  for (const char* name : {"pt_BR", "pt-BR", "pt", "fr", "de_DE", "de-DE", "de", "en_GB", "en-GB", "en", "Base"}) {
    files.push_back(add(std::string(name) + ".lproj/a.txt"));
  }
  add("ja.lproj/a.txt");
  EXPECT_EQ(joined(bundle()->preferredLocalizations()), "pt_BR pt-BR pt fr de_DE de-DE de en_GB en-GB en Base");
  for (const std::string& file : files) {
    EXPECT_EQ(find("a"), file);
    fs::remove(file);
  }
  EXPECT_EQ(find("a"), "none");
}

TEST_F(BundleResourcesTests, EachResourceHasTheFirstLanguageThatHasIt) {
  setLanguages("de_DE.UTF-8", "");
  const std::string german = add("de.lproj/a.txt");
  const std::string base = add("Base.lproj/b.txt");
  add("Base.lproj/a.txt");
  EXPECT_EQ(find("a"), german);
  EXPECT_EQ(find("b"), base);
}

TEST_F(BundleResourcesTests, WithoutALanguageTheRegionAndBaseRemain) {
  const std::string base = add("Base.lproj/a.txt");
  EXPECT_EQ(find("a"), base);
  const std::string english = add("en.lproj/a.txt");
  EXPECT_EQ(find("a"), base);
  setRegion("en");
  EXPECT_EQ(find("a"), english);
  add("de.lproj/c.txt");
  EXPECT_EQ(find("c"), "none");
}

TEST_F(BundleResourcesTests, ALanguageFolderHoldsTheSubfolderOrLiesInIt) {
  setLanguages("de", "");
  const std::string base = add("Base.lproj/sub/a.txt");
  EXPECT_EQ(findIn("sub"), base);
  const std::string within = add("sub/de.lproj/a.txt");
  EXPECT_EQ(findIn("sub"), within);
  const std::string around = add("de.lproj/sub/a.txt");
  EXPECT_EQ(findIn("sub"), around);
  const std::string plain = add("sub/a.txt");
  EXPECT_EQ(findIn("sub"), plain);
  EXPECT_EQ(findIn("de.lproj/sub"), around);
}

TEST_F(BundleResourcesTests, RegionsThatAreNoFileNamesAreNotLookedAt) {
  const std::string outside = folder / "Test.bundle/Contents/x.lproj";
  fs::create_directories(outside);
  writeFile(outside + "/a.txt", "text");
  setRegion("../x");
  EXPECT_EQ(find("a"), "none");
  setRegion("");
  add(".lproj/a.txt");
  EXPECT_EQ(find("a"), "none");
  writeFile(path() + "/Contents/Info.plist", "{CFBundleDevelopmentRegion = (en);}");
  EXPECT_EQ(find("a"), "none");
}

// ---- A language of the caller's choice

TEST_F(BundleResourcesTests, AnExplicitLanguageIsTheOnlyOne) {
  setLanguages("fr", "");
  setRegion("fr");
  add("fr.lproj/a.txt");
  add("Base.lproj/a.txt");
  EXPECT_EQ(findFor("de"), "none");
  const std::string german = add("de.lproj/a.txt");
  EXPECT_EQ(findFor("de"), german);
  EXPECT_EQ(findFor("de_DE"), "none") << "by exactly that name";
  const std::string plain = add("a.txt");
  EXPECT_EQ(findFor("de"), plain);
}

TEST_F(BundleResourcesTests, AnExplicitLanguageWithASubfolder) {
  const std::string within = add("sub/de.lproj/a.txt");
  EXPECT_EQ(findFor("de", "sub"), within);
  const std::string around = add("de.lproj/sub/a.txt");
  EXPECT_EQ(findFor("de", "sub"), around);
  EXPECT_EQ(findFor("de", ".."), "none");
}

TEST_F(BundleResourcesTests, NoExplicitLanguageIsTheUsersOrder) {
  setLanguages("fr", "");
  const std::string french = add("fr.lproj/a.txt");
  EXPECT_EQ(findFor(nullptr), french);
  EXPECT_EQ(findFor(""), "none");
}

TEST_F(BundleResourcesTests, ExplicitLanguagesThatAreNoFileNamesFindOnlyTheFolderItself) {
  writeFile(path() + "/Contents/a.txt", "text");
  fs::create_directories(path() + "/Contents/x.lproj");
  writeFile(path() + "/Contents/x.lproj/a.txt", "text");
  for (const char* name : {"../x", "..", "/x", "y/../../x"}) EXPECT_EQ(findFor(name), "none") << name;
  const std::string plain = add("a.txt");
  EXPECT_EQ(findFor("../x"), plain);
}

// ---- Which languages there are

TEST_F(BundleResourcesTests, LocalizationsAreTheLanguageFolders) {
  add("de.lproj/a");
  add("pt_BR.lproj/a");
  add("Base.lproj/a");
  add("file.lproj");
  add("other/a");
  fs::create_directory_symlink("de.lproj", resources() + "/at.lproj");
  EXPECT_EQ(joined(bundle()->localizations()), "Base at de pt_BR");
  EXPECT_EQ(joined(bundle()->preferredLocalizations()), "Base");
  setLanguages("at", "");
  EXPECT_EQ(joined(bundle()->preferredLocalizations()), "at Base");
  fs::remove_all(resources());
  EXPECT_EQ(bundle()->localizations()->count(), 0U);
  EXPECT_EQ(bundle()->preferredLocalizations()->count(), 0U);
}

// ---- Bundles of other shapes

TEST_F(BundleResourcesTests, AFlatBundleHasItsResourcesInTheFolder) {
  fs::create_directories(folder / "Flat.bundle/de.lproj");
  writeFile(folder / "Flat.bundle/a.txt", "text");
  writeFile(folder / "Flat.bundle/de.lproj/b.txt", "text");
  setLanguages("de", "");
  const Ref<NSBundle> flat = NSBundle::bundleWithPath(folder / "Flat.bundle");
  EXPECT_EQ(flat->resourcePath()->utf8(), folder / "Flat.bundle");
  EXPECT_EQ(text(flat->pathForResource_ofType("a", "txt")), folder / "Flat.bundle/a.txt");
  EXPECT_EQ(text(flat->pathForResource_ofType("b", "txt")), folder / "Flat.bundle/de.lproj/b.txt");
  EXPECT_EQ(joined(flat->localizations()), "de");
}

TEST_F(BundleResourcesTests, BesideContentsNothingIsAResource) {
  writeFile(path() + "/a.txt", "text");
  fs::remove_all(resources());
  EXPECT_EQ(bundle()->resourcePath()->utf8(), resources());
  EXPECT_EQ(find("a"), "none");
}

// ---- Messages

bool nothingExists(NSFileManager&, const Ref<NSString>&) { return false; }

TEST_F(BundleResourcesTests, AnswersMessages) {
  const std::string a = add("de.lproj/sub/a.txt");
  const Ref<NSBundle> bundle = this->bundle();
  const Ref<NSString> found = send<Ref<NSString>>(
      bundle, ZT_SELECTOR("pathForResource:ofType:inDirectory:forLocalization:"), "a", "txt", "sub", "de");
  EXPECT_EQ(text(found), a);
  setLanguages("de", "");
  EXPECT_EQ(text(send<Ref<NSString>>(bundle, ZT_SELECTOR("pathForResource:ofType:inDirectory:"), "a", "txt", "sub")),
            a);
  EXPECT_EQ(text(send<Ref<NSString>>(bundle, ZT_SELECTOR("pathForResource:ofType:"), "sub/a", "txt")), a);
  EXPECT_EQ(text(send<Ref<NSString>>(bundle, ZT_SELECTOR("resourcePath"))), resources());
  EXPECT_EQ(joined(send<Ref<NSArray>>(bundle, ZT_SELECTOR("localizations"))), "de");
  EXPECT_EQ(joined(send<Ref<NSArray>>(bundle, ZT_SELECTOR("preferredLocalizations"))), "de");
}

TEST_F(BundleResourcesTests, AsksTheFileManagerByMessage) {
  const std::string a = add("a.txt");
  const Method method = class_getInstanceMethod(NSFileManager::classObject(), ZT_SELECTOR("fileExistsAtPath:"));
  const IMP before = method_setImplementation(method, methodImplementation<&nothingExists>());
  EXPECT_EQ(find("a"), "none");
  method_setImplementation(method, before);
  EXPECT_EQ(find("a"), a);
}

}  // namespace
}  // namespace ZtFoundation::test
