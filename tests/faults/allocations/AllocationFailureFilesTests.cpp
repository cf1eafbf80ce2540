// Questions about files, paths and folders with each of their allocations failing.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Number.h>

#include <support/FailingAllocations.h>
#include <support/FileTree.h>
#include <support/QuietStandardError.h>
#include <support/ScopedEnvironment.h>

namespace ZtFoundation::test {
namespace {

// Questions leave the tree alone, as each test checks in the end.
struct Questions {
  Ref<NSString> file = FileTree::path("file.txt");
  Ref<NSString> folder = FileTree::path("folder");
  Ref<NSString> link = FileTree::path("link.txt");
  Ref<NSString> locked = FileTree::path("locked.txt");
  Ref<NSString> missing = FileTree::path("missing.txt");
  Ref<NSURL> fileURL = NSURL::fileURLWithPath(file);
  Ref<NSURL> folderURL = NSURL::fileURLWithPath(folder);
  Ref<NSURL> webURL = NSURL::URLWithString("http://example.org/a%20file.txt?query#fragment");
  Ref<NSFileManager> files = NSFileManager::defaultManager();

  std::string describe() const { return describeProcess(); }
};

class AllocationFailureFiles : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(describeTree(FileTree::root()), before_); }

 private:
  QuietStandardError quiet_;
  FileTree tree_;
  std::string before_ = describeTree(FileTree::root());
};

TEST_F(AllocationFailureFiles, Existence) {
  const EachOf<Questions> each;
  each("JxFileExistence::exists", [](Questions& q) { return JxFileExistence::exists(q.file); });
  each("JxFileExistence::exists (URL)", [](Questions& q) { return JxFileExistence::exists(q.fileURL); });
  each("JxFileExistence::fileExists", [](Questions& q) { return JxFileExistence::fileExists(q.link); });
  each("JxFileExistence::fileExists (URL)", [](Questions& q) { return JxFileExistence::fileExists(q.fileURL); });
  each("JxFileExistence::directoryExists", [](Questions& q) { return JxFileExistence::directoryExists(q.folder); });
  each("JxFileExistence::directoryExists (URL)",
       [](Questions& q) { return JxFileExistence::directoryExists(q.folderURL); });
  each("QvFoundationExtensions::fileExistsAtURL",
       [](Questions& q) { return QvFoundationExtensions::fileExistsAtURL(q.files, q.fileURL); });
  each("QvFoundationExtensions::fileExistsAtURL (no file URL)",
       [](Questions& q) { return QvFoundationExtensions::fileExistsAtURL(q.files, q.webURL); });
  each("QvFoundationExtensions::fileExistsAtURL_isDirectory", [](Questions& q) {
    bool isFolder = false;
    const bool exists = QvFoundationExtensions::fileExistsAtURL_isDirectory(q.files, q.folderURL, &isFolder);
    return std::pair(exists, isFolder);
  });
  each("NSFileManager::fileExistsAtPath", [](Questions& q) { return q.files->fileExistsAtPath(q.file); });
  each("NSFileManager::fileExistsAtPath_isDirectory", [](Questions& q) {
    bool isFolder = false;
    const bool exists = q.files->fileExistsAtPath_isDirectory(q.folder, &isFolder);
    return std::pair(exists, isFolder);
  });
}

TEST_F(AllocationFailureFiles, Access) {
  const EachOf<Questions> each;
  each("JxFileAccessibility::isReadable", [](Questions& q) { return JxFileAccessibility::isReadable(q.file); });
  each("JxFileAccessibility::isWritable", [](Questions& q) { return JxFileAccessibility::isWritable(q.file); });
  each("JxFileAccessibility::isWritable (locked)",
       [](Questions& q) { return JxFileAccessibility::isWritable(q.locked); });
  each("JxFileAccessibility::isExecutable", [](Questions& q) { return JxFileAccessibility::isExecutable(q.folder); });
  each("JxFileAccessibility::isDeletable", [](Questions& q) { return JxFileAccessibility::isDeletable(q.file); });
  each("JxFileAccessibility::userPrivileges", [](Questions& q) {
    std::uint8_t privileges = 0;
    const bool isTold = JxFileAccessibility::userPrivileges(q.file, &privileges);
    return std::pair(isTold, privileges);
  });
  each("JxFileAccessibility::canUserAccessToRead",
       [](Questions& q) { return JxFileAccessibility::canUserAccessToRead(q.file); });
  each("JxFileAccessibility::canUserAccessToWrite",
       [](Questions& q) { return JxFileAccessibility::canUserAccessToWrite(q.file); });
  each("JxFileAccessibility::canUserAccessToExecute",
       [](Questions& q) { return JxFileAccessibility::canUserAccessToExecute(q.file); });
  each("QvFoundationExtensions::isReadableFileAtURL",
       [](Questions& q) { return QvFoundationExtensions::isReadableFileAtURL(q.files, q.fileURL); });
  each("QvFoundationExtensions::isWritableFileAtURL",
       [](Questions& q) { return QvFoundationExtensions::isWritableFileAtURL(q.files, q.fileURL); });
  each("QvFoundationExtensions::isExecutableFileAtURL",
       [](Questions& q) { return QvFoundationExtensions::isExecutableFileAtURL(q.files, q.folderURL); });
  each("QvFoundationExtensions::isDeletableFileAtURL",
       [](Questions& q) { return QvFoundationExtensions::isDeletableFileAtURL(q.files, q.fileURL); });
  each("NSFileManager::isReadableFileAtPath", [](Questions& q) { return q.files->isReadableFileAtPath(q.file); });
  each("NSFileManager::isWritableFileAtPath", [](Questions& q) { return q.files->isWritableFileAtPath(q.locked); });
  each("NSFileManager::isExecutableFileAtPath", [](Questions& q) { return q.files->isExecutableFileAtPath(q.folder); });
  each("NSFileManager::isDeletableFileAtPath", [](Questions& q) { return q.files->isDeletableFileAtPath(q.locked); });
  each("NSFileManager::fileAttributesAtPath_traverseLink", [](Questions& q) {
    const Ref<NSDictionary> attributes = q.files->fileAttributesAtPath_traverseLink(q.link, true);
    return std::pair(attributes->get<std::string>(NSFileOwnerAccountName), attributes->get<int>(NSFileSize));
  });
}

TEST_F(AllocationFailureFiles, Catalog) {
  using namespace JxFileCatalogInformation;
  const EachOf<Questions> each;
  each("JxFileCatalogInformation::catalogInformations", [](Questions& q) { return catalogInformations(q.file); });
  each("JxFileCatalogInformation::creationDate", [](Questions& q) { return creationDate(q.file); });
  each("JxFileCatalogInformation::modificationDate", [](Questions& q) { return modificationDate(q.file); });
  each("JxFileCatalogInformation::fileLogicalSize", [](Questions& q) { return fileLogicalSize(q.file); });
  each("JxFileCatalogInformation::filePhysicalSize", [](Questions& q) { return filePhysicalSize(q.file); });
  each("JxFileCatalogInformation::dataLogicalSize", [](Questions& q) { return dataLogicalSize(q.file); });
  each("JxFileCatalogInformation::dataPhysicalSize", [](Questions& q) { return dataPhysicalSize(q.file); });
  each("JxFileCatalogInformation::resourceLogicalSize", [](Questions& q) { return resourceLogicalSize(q.file); });
  each("JxFileCatalogInformation::resourcePhysicalSize", [](Questions& q) { return resourcePhysicalSize(q.file); });
  each("JxFileCatalogInformation::isLockedByFinder", [](Questions& q) { return isLockedByFinder(q.locked); });
}

TEST_F(AllocationFailureFiles, References) {
  using namespace JxFileSystemRepresentation;
  const EachOf<Questions> each;
  each("JxFileSystemRepresentation::pathStringToFSRef", [](Questions& q) {
    FSRef ref;
    const bool isMade = pathStringToFSRef(q.file, &ref);
    return std::pair(isMade, ref.path());
  });
  each("JxFileSystemRepresentation::URLToFSRef", [](Questions& q) {
    FSRef ref;
    const bool isMade = URLToFSRef(q.fileURL, &ref);
    return std::pair(isMade, ref.path());
  });
  each("JxFileSystemRepresentation::pathStringToFSSpec", [](Questions& q) {
    FSSpec description;
    const bool isMade = pathStringToFSSpec(q.file, &description);
    return std::pair(isMade, description.vRefNum < 0);  // a number tried in vain is not given again
  });
  each("JxFileSystemRepresentation::URLToFSSpec", [](Questions& q) {
    FSSpec description;
    const bool isMade = URLToFSSpec(q.fileURL, &description);
    return std::pair(isMade, description.name[0]);
  });
}

struct Referred : Questions {
  FSRef ref;
  Referred() { EXPECT_TRUE(JxFileSystemRepresentation::pathStringToFSRef(file, &ref)); }
};

// A tree that differs from the usual one as long as this lives.
struct Changed {
  FileTree tree;
  Changed() = default;
  Changed(const Changed&) = delete;
  Changed& operator=(const Changed&) = delete;
  ~Changed() { FileTree(); }
  std::string describe() const { return tree.describe(); }
};

// A reference to an item that has another name since.
struct Moved : Changed {
  FSRef ref;
  Moved() {
    EXPECT_TRUE(JxFileSystemRepresentation::pathStringToFSRef(FileTree::path("folder/inner.txt"), &ref));
    std::filesystem::rename(FileTree::root() + "/folder/inner.txt", FileTree::root() + "/moved.txt");
  }
};

TEST_F(AllocationFailureFiles, PathsOfReferences) {
  using namespace JxFileSystemRepresentation;
  const EachOf<Referred> each;
  each("JxFileSystemRepresentation::pathStringFromFSRef", [](Referred& r) { return pathStringFromFSRef(&r.ref); });
  each("JxFileSystemRepresentation::URLFromFSRef", [](Referred& r) { return URLFromFSRef(&r.ref); });
  EachOf<Moved>()("JxFileSystemRepresentation::pathStringFromFSRef (moved)",
                  [](Moved& m) { return pathStringFromFSRef(&m.ref); });
}

class OwnedAlias {
 public:
  OwnedAlias() = default;
  OwnedAlias(const OwnedAlias&) = delete;
  OwnedAlias& operator=(const OwnedAlias&) = delete;
  ~OwnedAlias() { DisposeHandle(handle); }
  std::string bytes() const {
    return handle != nullptr ? std::string(reinterpret_cast<const char*>(*handle), GetHandleSize(handle)) : "none";
  }

  AliasHandle handle = nullptr;
};

struct Aliased : Questions {
  OwnedAlias alias;
  Aliased() { EXPECT_TRUE(JxFileSystemRepresentation::pathStringToAlias(file, &alias.handle)); }
  std::string describe() const { return alias.bytes() + Questions::describe(); }
};

struct MovedAlias : Changed {
  OwnedAlias alias;
  MovedAlias() {
    EXPECT_TRUE(JxFileSystemRepresentation::pathStringToAliasMinimal(FileTree::path("file.txt"), &alias.handle));
    std::filesystem::rename(FileTree::root() + "/file.txt", FileTree::root() + "/folder/moved.txt");
  }
};

TEST_F(AllocationFailureFiles, Aliases) {
  using namespace JxFileSystemRepresentation;
  const EachOf<Questions> each;
  const auto madeBy = [](auto make, auto member) {
    return [make, member](Questions& q) {
      OwnedAlias alias;
      const bool isMade = make(q.*member, &alias.handle);
      return std::pair(isMade, GetHandleSize(alias.handle));
    };
  };
  each("JxFileSystemRepresentation::pathStringToAlias", madeBy(&pathStringToAlias, &Questions::file));
  each("JxFileSystemRepresentation::pathStringToAliasMinimal", madeBy(&pathStringToAliasMinimal, &Questions::file));
  each("JxFileSystemRepresentation::URLToAlias", madeBy(&URLToAlias, &Questions::fileURL));
  each("JxFileSystemRepresentation::URLToAliasMinimal", madeBy(&URLToAliasMinimal, &Questions::fileURL));
}

TEST_F(AllocationFailureFiles, ItemsOfAliases) {
  using namespace JxFileSystemRepresentation;
  const EachOf<Aliased> each;
  each("JxFileSystemRepresentation::pathStringFromAliasHandle",
       [](Aliased& a) { return pathStringFromAliasHandle(a.alias.handle); });
  each("JxFileSystemRepresentation::URLFromAliasHandle", [](Aliased& a) { return URLFromAliasHandle(a.alias.handle); });
  // The alias is brought up to date before the path is made of what it found.
  EachOf<MovedAlias>()("JxFileSystemRepresentation::pathStringFromAliasHandle (moved)",
                       [](MovedAlias& m) { return pathStringFromAliasHandle(m.alias.handle); },
                       {.leaves = Leaves::Part});
}

TEST_F(AllocationFailureFiles, Handles) {
  const std::string nothingMade = answerText(std::pair(memFullErr, false));
  const EachOf<Aliased> each;
  each("PtrToHand (of any kind)",
       [](Aliased&) {
         Handle handle = nullptr;
         const OSErr error = PtrToHand("bytes of a block", &handle, 16);
         DisposeHandle(handle);
         return std::pair(error, handle != nullptr);
       },
       {.documented = {nothingMade}});
  each("PtrToHand",
       [](Aliased& a) {
         AliasHandle handle = nullptr;
         const OSErr error = PtrToHand(*a.alias.handle, &handle, GetHandleSize(a.alias.handle));
         DisposeHandle(handle);
         return std::pair(error, handle != nullptr);
       },
       {.documented = {nothingMade}});
  each("GetHandleSize", [](Aliased& a) { return GetHandleSize(a.alias.handle); });
  each("SetHandleSize", [](Aliased& a) { return SetHandleSize(a.alias.handle, 40); },
       {.documented = {std::to_string(memFullErr)}});
  each("DisposeHandle", [](Aliased& a) { DisposeHandle(std::exchange(a.alias.handle, nullptr)); });
}

// --- Locks, special folders, visibility

TEST_F(AllocationFailureFiles, Locks) {
  using namespace QvFoundationExtensions;
  const EachOf<Questions> each;
  each("QvFoundationExtensions::isFileLockedAtPath",
       [](Questions& q) { return isFileLockedAtPath(q.files, q.locked); });
  each("QvFoundationExtensions::isVolumeLockedAtPath",
       [](Questions& q) { return isVolumeLockedAtPath(q.files, q.file); });
  each("QvFoundationExtensions::isLockedAtPath_volumeLocked_fileLocked", [](Questions& q) {
    bool volume = false;
    bool file = false;
    const bool isTold = isLockedAtPath_volumeLocked_fileLocked(q.files, q.locked, &volume, &file);
    return std::pair(isTold, std::pair(volume, file));
  });
  each("QvFoundationExtensions::isFileLockedAtPath (missing)",
       [](Questions& q) { return isFileLockedAtPath(q.files, q.missing); });
}

struct Homes : Questions {
  static const std::string& home() {
    static const std::string path = FileTree::beside("home of a user");
    return path;
  }
  ScopedEnvironment environment;
  Homes() {
    environment.set("HOME", home());
    for (const char* name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"}) environment.set(name, std::nullopt);
    std::filesystem::remove_all(home());
    std::filesystem::create_directories(home() + "/.config");
    writeFile(home() + "/.config/user-dirs.dirs", "XDG_PICTURES_DIR=\"$HOME/all my pictures\"\n");
  }
  std::string describe() const { return describeTree(home()) + Questions::describe(); }
};

struct HomesWithPictures : Homes {
  HomesWithPictures() { std::filesystem::create_directories(home() + "/all my pictures"); }
};

TEST_F(AllocationFailureFiles, SpecialFolders) {
  using namespace QvFoundationExtensions;
  const EachOf<HomesWithPictures> each;
  each("QvFoundationExtensions::findFolderForType_inDomain_create", [](Homes& h) {
    return findFolderForType_inDomain_create(h.files, kPictureDocumentsFolderType, kUserDomain, false);
  });
  each("QvFoundationExtensions::findFolderForType_inDomain_create (system)", [](Homes& h) {
    return findFolderForType_inDomain_create(h.files, kApplicationSupportFolderType, kSystemDomain, false);
  });
  each("QvFoundationExtensions::findFolderForType_inDomain_create (no such type)",
       [](Homes& h) { return findFolderForType_inDomain_create(h.files, 0x3F3F3F3F, kUserDomain, false); });
  each("QvFoundationExtensions::findFolderForType_inVolume_create", [](Homes& h) {
    const FSVolumeRefNum volume = volumeRefWithPath(h.files, h.file);
    return findFolderForType_inVolume_create(h.files, kPictureDocumentsFolderType, volume, false);
  });
  each("QvFoundationExtensions::findFolderForType_inVolumeWithPath_create", [](Homes& h) {
    return findFolderForType_inVolumeWithPath_create(h.files, kPictureDocumentsFolderType, h.file, false);
  });
  each("QvFoundationExtensions::findFolderForType_inVolumeWithPath_create (temporary)", [](Homes& h) {
    return findFolderForType_inVolumeWithPath_create(h.files, kTemporaryFolderType, h.file, false) != nullptr;
  });
}

// Folders that were made stay.
TEST_F(AllocationFailureFiles, MadeSpecialFolders) {
  using namespace QvFoundationExtensions;
  const EachOf<Homes> each;
  each("QvFoundationExtensions::findFolderForType_inDomain_create (made)",
       [](Homes& h) {
         return findFolderForType_inDomain_create(h.files, kApplicationSupportFolderType, kUserDomain, true);
       },
       {.leaves = Leaves::Part});
  each("JxFindFolderExtensions::homePicturesDirectory",
       [](Homes&) { return JxFindFolderExtensions::homePicturesDirectory(); }, {.leaves = Leaves::Part});
}

TEST_F(AllocationFailureFiles, DeletabilityAndVisibility) {
  const EachOf<Homes> each;
  each("JxTalvoZtWdExensions::isTalvoDeletable",
       [](Homes& h) { return JxTalvoZtWdExensions::isTalvoDeletable(h.file); });
  each("QvPathExtensions::isRootDirectoryPath", [](Homes& h) { return QvPathExtensions::isRootDirectoryPath(h.file); });
  each("QvPathExtensions::isVolumesDirectoryPath",
       [](Homes& h) { return QvPathExtensions::isVolumesDirectoryPath(h.file); });
  each("QvFoundationExtensions::isVisibleFileAtPath",
       [](Homes& h) { return QvFoundationExtensions::isVisibleFileAtPath(h.files, h.file); });
  each("QvFoundationExtensions::isVisibleFileAtPath (at the root)",
       [](Homes& h) { return QvFoundationExtensions::isVisibleFileAtPath(h.files, "/etc"); });
  each("QvFoundationExtensions::isVisibleFileAtURL",
       [](Homes& h) { return QvFoundationExtensions::isVisibleFileAtURL(h.files, h.fileURL); });
  each("QvFoundationExtensions::pathForFileDescriptor", [](Homes& h) {
    struct Open {
      int descriptor = ::open(FileTree::root().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
      ~Open() { ::close(descriptor); }
    };
    const Open open;
    return QvFoundationExtensions::pathForFileDescriptor(h.files, open.descriptor);
  });
}

TEST_F(AllocationFailureFiles, DisplayAndURLs) {
  using namespace JxURLPathExtensions;
  const EachOf<Questions> each;
  each("JxTalvoZtWdExensions::displayPathWithSeparetor",
       [](Questions& q) { return JxTalvoZtWdExensions::displayPathWithSeparetor(q.file, " > "); });
  each("JxTalvoZtWdExensions::displayPathWithSeparetor (dots)", [](Questions&) {
    return JxTalvoZtWdExensions::displayPathWithSeparetor(FileTree::path("folder/../file.txt"), ":");
  });
  each("JxTalvoZtWdExensions::convertSlashToColon",
       [](Questions& q) { return JxTalvoZtWdExensions::convertSlashToColon(q.file); });
  each("JxTalvoZtWdExensions::convertColonToSlash",
       [](Questions& q) { return JxTalvoZtWdExensions::convertColonToSlash(q.file); });
  each("JxURLPathExtensions::lastURLComponent", [](Questions& q) { return lastURLComponent(q.webURL); });
  each("JxURLPathExtensions::fileURLByDeletingLastURLComponent",
       [](Questions& q) { return fileURLByDeletingLastURLComponent(q.webURL); });
  each("JxURLPathExtensions::fileURLByAppendingURLComponent",
       [](Questions& q) { return fileURLByAppendingURLComponent(q.fileURL, "another component"); });
  each("QvFoundationExtensions::displayNameAtURL",
       [](Questions& q) { return QvFoundationExtensions::displayNameAtURL(q.files, q.fileURL); });
  each("QvFoundationExtensions::displayNameAtURL (no file URL)",
       [](Questions& q) { return QvFoundationExtensions::displayNameAtURL(q.files, q.webURL); });
  each("QvFoundationExtensions::rootVolumeName",
       [](Questions& q) { return QvFoundationExtensions::rootVolumeName(q.files); });
  each("NSFileManager::displayNameAtPath", [](Questions& q) { return q.files->displayNameAtPath(q.file); });
  each("NSFileManager::displayNameAtPath (root)", [](Questions& q) { return q.files->displayNameAtPath("/"); });
  each("NSFileManager::componentsToDisplayForPath",
       [](Questions& q) { return q.files->componentsToDisplayForPath(q.file); });
}

// --- Names and contents

struct Taken : Questions {
  static const std::string& root() {
    static const std::string path = [] {
      const std::string folder = FileTree::beside("many names");
      std::filesystem::create_directories(folder);
      for (int i = 1; i <= 70; ++i) writeFile(folder + "/name_" + std::to_string(i) + ".txt", "");
      writeFile(folder + "/name.txt", "");
      return folder;
    }();
    return path;
  }
  Ref<NSString> many = NSString::stringWithFileSystemRepresentation(root() + "/name.txt");
};

TEST_F(AllocationFailureFiles, FreeNames) {
  using namespace JxTalvoZtWdExensions;
  const EachOf<Taken> each;
  each("JxTalvoZtWdExensions::unusedFinderPathForDirectory",
       [](Taken& t) { return unusedFinderPathForDirectory(t.folder, true); });
  each("JxTalvoZtWdExensions::unusedFinderFilePath", [](Taken& t) { return unusedFinderFilePath(t.file); });
  each("JxTalvoZtWdExensions::unusedTalvoPathForDirectory",
       [](Taken& t) { return unusedTalvoPathForDirectory(t.folder, true); });
  each("JxTalvoZtWdExensions::unusedTalvoFilePath", [](Taken& t) { return unusedTalvoFilePath(t.file); });
  each("JxTalvoZtWdExensions::unusedTalvoFilePath (listed)", [](Taken& t) { return unusedTalvoFilePath(t.many); });
  each("QvFoundationExtensions::uniqueTemporaryPathWithPrefix_suffix_pathExtension", [](Taken& t) {
    const Ref<NSString> path = QvFoundationExtensions::uniqueTemporaryPathWithPrefix_suffix_pathExtension(
        t.files, "a prefix, ", ", a suffix", "txt");
    return path->stringByDeletingLastPathComponent();
  });
}

TEST_F(AllocationFailureFiles, Contents) {
  const EachOf<Questions> each;
  each("NSFileManager::defaultManager", [](Questions&) { return NSFileManager::defaultManager() != nullptr; });
  each("NSFileManager::classObject", [](Questions&) { return NSFileManager::classObject(); });
  each("NSFileManager::contentsAtPath", [](Questions& q) { return q.files->contentsAtPath(q.file); });
  each("NSFileManager::contentsAtPath (missing)", [](Questions& q) { return q.files->contentsAtPath(q.missing); });
  each("NSData::dataWithContentsOfFile", [](Questions& q) { return NSData::dataWithContentsOfFile(q.file); });
  each("NSFileManager::directoryContentsAtPath",
       [](Questions& q) { return q.files->directoryContentsAtPath(q.folder)->count(); });
}

}  // namespace
}  // namespace ZtFoundation::test
