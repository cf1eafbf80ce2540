// Names of 65,535 bytes, and paths beyond what the system takes.

#include <ZtFoundation/Applications.h>
#include <ZtFoundation/Files.h>
#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Bundle.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/FileErrors.h>
#include <ZtFoundation/platform/Runtime.h>
#include <limits.h>

#include <filesystem>

#include "limits/Limits.h"
#include "support/QuietStandardError.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::limits {
namespace {

constexpr std::size_t kLong = 65535;
constexpr std::size_t kFileName = 255;  // bytes

Ref<NSString> textOf(std::size_t length) { return NSString::stringWithASCII(std::string(length, 'n')); }

// Of which every component is short.
Ref<NSString> longPath(const test::ScratchFolder& folder) {
  std::string path = folder.path();
  while (path.size() < kLong) path += "/component";
  return NSString::stringWithASCII(path);
}

class LongNameTests : public testing::Test {
 protected:
  LongNameTests() { test::writeFile(folder / "file", "text"); }

  Ref<NSString> inFolder(const Ref<NSString>& name) {
    return folder.string("").get()->stringByAppendingPathComponent(name);
  }

  const test::ScratchFolder folder;
  const Ref<NSFileManager> manager = NSFileManager::defaultManager();
};

TEST_F(LongNameTests, AreRefusedByTheFileSystemAndTheAnswerSaysSo) {
  Case measured("file operations with a name or a path too long", "256 to 65,535 bytes");
  const test::QuietStandardError quiet;
  const Ref<NSData> contents = NSData::dataWithBytes("text");
  const Ref<NSString> file = folder.string("file");
  measured.measure([&] {
    for (const Ref<NSString>& path : {inFolder(textOf(kFileName + 1)), inFolder(textOf(kLong)), longPath(folder)}) {
      EXPECT_FALSE(JxFileExistence::exists(path));
      EXPECT_FALSE(JxFileExistence::directoryExists(path));
      EXPECT_FALSE(JxFileAccessibility::isReadable(path));
      EXPECT_FALSE(JxFileAccessibility::isDeletable(path));
      EXPECT_FALSE(JxFileCatalogInformation::modificationDate(path));
      EXPECT_EQ(JxFileCatalogInformation::fileLogicalSize(path), 0U);
      EXPECT_NE(JxFileOperation::createFileWithContents(path, contents), noErr);
      EXPECT_NE(JxFileOperation::copyFileTo(file, path), noErr);
      EXPECT_EQ(JxFileOperation::copyFileTo(path, inFolder("copy")), fnfErr);
      EXPECT_EQ(JxFileOperation::removeFileForcefully(path, true), paramErr);
      EXPECT_EQ(JxFileOperation::renameFileTo(path, "name"), paramErr);
      EXPECT_FALSE(contents->writeToFile_atomically(path, true));
      EXPECT_FALSE(contents->writeToFile_atomically(path, false));
      EXPECT_FALSE(NSData::dataWithContentsOfFile(path));
      EXPECT_FALSE(manager->movePath_toPath_handler(file, path, nullptr));
      EXPECT_FALSE(manager->linkPath_toPath_handler(file, path, nullptr));
      EXPECT_FALSE(manager->directoryContentsAtPath(path));
      EXPECT_FALSE(QvFoundationExtensions::lockFileAtPath(manager, path));
      EXPECT_FALSE(QvFoundationExtensions::isFileLockedAtPath(manager, path));
      AliasHandle alias = nullptr;
      EXPECT_FALSE(JxFileSystemRepresentation::pathStringToAlias(path, &alias));
      FSRef reference;
      EXPECT_FALSE(JxFileSystemRepresentation::pathStringToFSRef(path, &reference));
      EXPECT_FALSE(ZtLSIsApplicationAtPath(path));
      EXPECT_FALSE(ZtLSLaunchApplicationAtPath(path));
      EXPECT_FALSE(ZtLSLaunchToolAtPathAndArguments(path, nullptr));
      EXPECT_FALSE(JxVolumeCatalogInformation::isVolume(path));
    }
    EXPECT_FALSE(QvPropertyList::initWithPath(inFolder(textOf(kLong)))->saveChanges());
    EXPECT_EQ(JxFileOperation::renameFileTo(file, textOf(kFileName + 1)), bdNamErr);
    EXPECT_EQ(JxFileOperation::renameFileTo(file, textOf(kLong)), bdNamErr);
    EXPECT_EQ(JxFileOperation::createDirectoryWithRecursively(inFolder(textOf(kFileName + 1)), true), bdNamErr);
    EXPECT_EQ(JxFileOperation::createDirectoryWithRecursively(inFolder(textOf(kLong)), false), bdNamErr);
    EXPECT_EQ(JxFileOperation::renameFileTo(file, textOf(kFileName)), noErr) << "the longest there may be";
  });
  EXPECT_EQ(folder.names().size(), 1U);
  measured.answer("refused with the documented status; nothing made");
}

// A name beside a taken one loses characters until it fits.
TEST_F(LongNameTests, FreeNamesFit) {
  Case measured("free name beside the longest that there may be", "255 bytes");
  const Ref<NSString> taken = inFolder(textOf(kFileName));
  ASSERT_EQ(JxFileOperation::createFileWithContents(taken, nullptr), noErr);
  const Ref<NSString> free = measured.measure([&] { return JxTalvoZtWdExensions::unusedTalvoFilePath(taken); });
  ASSERT_TRUE(free);
  EXPECT_EQ(free->lastPathComponent()->length(), kFileName);
  EXPECT_EQ(JxTalvoZtWdExensions::createFileWithContents_autoname(taken, nullptr, true), noErr);
  EXPECT_TRUE(JxFileExistence::exists(free));
  measured.answer("one of 255 bytes");
}

TEST_F(LongNameTests, DeepFoldersAreMadeAndRemovedAsFarAsPathsGo) {
  Case measured("folders in each other, made by one path", "4,000 bytes");
  std::string path = folder / "deep";
  while (path.size() < PATH_MAX - 100) path += "/component";
  measured.measure([&] {
    EXPECT_TRUE(QvFoundationExtensions::createDirectoryAtPath_attributes_recursively(
        manager, NSString::stringWithASCII(path), nullptr, true));
    EXPECT_TRUE(manager->removeFileAtPath_handler(folder.string("deep"), nullptr));
  });
}

TEST_F(LongNameTests, SelectorsAndClassesHaveNoLimit) {
  Case measured("selector and class with a name of that length", "65,535 bytes");
  const Ref<NSString> name = textOf(kLong);
  measured.measure([&] {
    const SEL selector = NSSelectorFromString(name);
    ASSERT_TRUE(selector);
    EXPECT_TRUE(isEqual(NSStringFromSelector(selector), name));
    EXPECT_EQ(NSSelectorFromString(name), selector);
    EXPECT_FALSE(respondsToSelector(manager, selector));
    const Class known = NSClassFromString(name);  // where the tests are repeated
    const Class made = known != nullptr ? known : registerSubclass(NSObject::classObject(), name);
    ASSERT_TRUE(made);
    EXPECT_EQ(NSClassFromString(name), made);
    EXPECT_TRUE(isEqual(NSStringFromClass(made), name));
    EXPECT_EQ(NSClassFromString(name->stringByAppendingString("n")), nullptr);
  });
}

TEST_F(LongNameTests, KeysHaveNoLimit) {
  Case measured("key of that length in XML, binary, OpenStep and INI", "65,535 bytes");
  const Ref<NSDictionary> value = NSDictionary::dictionaryWithObject_forKey(Ref<NSString>("value"), textOf(kLong));
  measured.measure([&] {
    for (const NSUInteger format : {NSPropertyListXMLFormat_v1_0, NSPropertyListBinaryFormat_v1_0}) {
      EXPECT_TRUE(isEqual(read(write(value, format).bytes).value, value));
    }
    EXPECT_TRUE(isEqual(read("{" + std::string(kLong, 'n') + " = value;}").value, value));
    const Ref<NSDictionary> settings = NSDictionary::dictionaryWithObject_forKey(value, textOf(kLong));
    EXPECT_TRUE(isEqual(readINI(writeINI(settings)), settings));
  });
}

TEST_F(LongNameTests, BundlesAndApplicationsWithSuchNamesAreNotFound) {
  Case measured("bundle, resource, application of such a name", "65,535 bytes");
  measured.measure([&] {
    EXPECT_FALSE(NSBundle::bundleWithPath(inFolder(textOf(kLong))));
    EXPECT_FALSE(NSBundle::bundleWithPath(longPath(folder)));
    EXPECT_FALSE(NSBundle::mainBundle()->pathForResource_ofType(textOf(kLong), "plist"));
    EXPECT_FALSE(ZtLSGetApplicationPathForIdentifier(textOf(kLong)));
    EXPECT_FALSE(ZtLSGetApplicationURLForIdentifier(textOf(kLong)));
    EXPECT_FALSE(ZtLSGetApplicationPathForSignature(textOf(kLong)));
  });
  measured.answer("none");
}

}  // namespace
}  // namespace ZtFoundation::limits
