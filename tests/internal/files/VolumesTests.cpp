// The steps of the questions about volumes, their order, and what is logged, with services that keep what they are
// asked.

#include <ZtFoundation/Files.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "platform/services/FileCatalog.h"
#include "platform/services/Service.h"
#include "platform/services/Volumes.h"
#include "support/RecordingLog.h"
#include "support/ReplacedMethod.h"

namespace ZtFoundation {
namespace {

using namespace JxVolumeCatalogInformation;
using namespace QvFoundationExtensions;

using Calls = std::vector<std::string>;

constexpr FSVolumeRefNum kHome = -7;  // the volume of the item "/mnt/item"

std::string text(const Ref<NSString>& string) { return string ? string->utf8() : "none"; }
FSRef reference(const std::string& path) { return FSRef({}, NSString::stringWithFileSystemRepresentation(path)); }

class StandInCatalog final : public FileCatalog {
 public:
  explicit StandInCatalog(Calls& calls) : calls_(calls) {}

  OSErr FSPathMakeRef(const Ref<NSString>& path, FSRef* ref, bool*) override {
    calls_.push_back("FSPathMakeRef " + text(path));
    if (referenceError == noErr) *ref = reference(text(path));
    return referenceError;
  }
  bool CFURLGetFSRef(const Ref<NSURL>& url, FSRef* ref) override {
    calls_.push_back("CFURLGetFSRef " + (url ? text(url->absoluteString()) : "none"));
    if (!url) return false;
    if (referenceError == noErr) *ref = reference(text(url->path()));
    return referenceError == noErr;
  }
  Ref<NSURL> CFURLCreateFromFSRef(const FSRef* ref) override {
    calls_.push_back("CFURLCreateFromFSRef " + text(ref->path()));
    return text(ref->path()) != rootWithoutPath ? NSURL::fileURLWithPath(ref->path()) : nullptr;
  }
  OSErr FSGetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap wanted, FSCatalogInfo* info, FSSpec* spec) override {
    calls_.push_back("FSGetCatalogInfo " + text(ref->path()) + " " + std::to_string(wanted));
    EXPECT_EQ(spec, nullptr);
    info->volume = catalogError == noErr ? volume : FSVolumeRefNum{-99};  // at which nobody may look
    return catalogError;
  }
  OSErr FSSetCatalogInfo(const FSRef*, FSCatalogInfoBitmap, const FSCatalogInfo*) override { return paramErr; }
  OSErr FSCreateDirectoryUnicode(const FSRef*, const Ref<NSString>&) override { return paramErr; }
  OSErr FSRenameUnicode(const FSRef*, const Ref<NSString>&) override { return paramErr; }

  OSErr referenceError = noErr;
  OSErr catalogError = noErr;
  FSVolumeRefNum volume = kHome;
  std::string rootWithoutPath;

 private:
  Calls& calls_;
  ScopedService<FileCatalog> scope_{*this};
};

class StandInVolumes final : public Volumes {
 public:
  explicit StandInVolumes(Calls& calls) : calls_(calls) {}

  OSErr FSGetVolumeInfo(FSVolumeRefNum volume, std::uint32_t index, FSVolumeRefNum* actual, FSVolumeInfoBitmap wanted,
                        FSVolumeInfo* info, HFSUniStr255* name, FSRef* root) override {
    calls_.push_back("FSGetVolumeInfo " + std::to_string(volume) + " " + std::to_string(index) + " " +
                     std::to_string(wanted));
    EXPECT_EQ(actual, nullptr);
    EXPECT_EQ(name, nullptr);
    if (volume != 0 && infoError != noErr) return infoError;
    if (volume == 0 && (index < 1 || index > roots.size())) return nsvErr;
    if (root != nullptr) *root = reference(volume == 0 ? roots[index - 1] : rootOfVolume);
    if (info != nullptr) *info = {.totalBytes = 5'000'000'000'000, .freeBytes = 4'000'000'000'000};
    return noErr;
  }
  FSVolumeRefNum volumeHolding(const FSRef&) override { return 0; }
  FSVolumeRefNum volumeRootedAt(const Ref<NSString>& path) override {
    const auto found = numbers.find(text(path));
    return found != numbers.end() ? found->second : kFSInvalidVolumeRefNum;
  }
  OSErr FSGetVolumeParms(FSVolumeRefNum volume, GetVolParmsInfoBuffer* parameters, std::size_t size) override {
    calls_.push_back("FSGetVolumeParms " + std::to_string(volume) + " " + std::to_string(size));
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(parameters);
    parametersWereClear = std::all_of(bytes, bytes + size, [](unsigned char byte) { return byte == 0; });
    std::memcpy(reinterpret_cast<char*>(parameters) + 14, &serverAddress, 4);  // after an error nobody may look at it
    return parametersError;
  }
  OSErr FSGetVolumeMountInfoSize(FSVolumeRefNum volume, std::size_t* size) override {
    calls_.push_back("FSGetVolumeMountInfoSize " + std::to_string(volume));
    if (mountSizeError == noErr) *size = mountInformation.size();
    return mountSizeError;
  }
  OSErr FSGetVolumeMountInfo(FSVolumeRefNum volume, void* buffer, std::size_t size) override {
    calls_.push_back("FSGetVolumeMountInfo " + std::to_string(volume) + " " + std::to_string(size));
    mountInformation.copy(static_cast<char*>(buffer), size);  // after an error nobody may look at it
    return mountError;
  }
  OSErr FSUnmountVolumeSync(FSVolumeRefNum volume) override {
    calls_.push_back("FSUnmountVolumeSync " + std::to_string(volume));
    return unmountError;
  }
  std::vector<Ref<NSString>> mountedRemovableMedia() override {
    calls_.push_back("mountedRemovableMedia");
    return {"/elsewhere", NSString::stringWithFileSystemRepresentation(removable)};
  }
  bool unmountAndEjectDeviceAtPath(const Ref<NSString>& path) override {
    calls_.push_back("unmountAndEjectDeviceAtPath " + text(path));
    return ejects;
  }

  std::vector<std::string> roots{"/", "/mnt", "/card"};
  std::map<std::string, FSVolumeRefNum> numbers;
  std::string rootOfVolume = "/mnt";
  OSErr infoError = noErr, parametersError = noErr, mountSizeError = noErr, mountError = noErr, unmountError = noErr;
  std::uint32_t serverAddress = 0;
  bool parametersWereClear = false;
  std::string mountInformation;
  std::string removable = "/removable";
  bool ejects = true;

 private:
  Calls& calls_;
  ScopedService<Volumes> scope_{*this};
};

class VolumesTests : public ::testing::Test {
 protected:
  Calls since() { return std::exchange(calls_, {}); }
  Ref<NSFileManager> files() { return NSFileManager::defaultManager(); }

  Calls calls_;
  StandInCatalog catalog_{calls_};
  StandInVolumes volumes_{calls_};
  test::RecordingLog log_;
};

const Calls kReference{"CFURLGetFSRef file:///mnt/item", "FSGetCatalogInfo /mnt/item 4"};
const Calls kLoggedReference{"FSPathMakeRef /mnt/item", "FSGetCatalogInfo /mnt/item 4"};

Calls operator+(Calls left, const Calls& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

// --- Listing

TEST_F(VolumesTests, PathsOfAllVolumesInIndexOrder) {
  const Ref<NSArray> paths = volumePaths();
  ASSERT_EQ(paths->count(), 3U);
  EXPECT_EQ(text(as<NSString>(paths->objectAtIndex(0))), "/");
  EXPECT_EQ(text(as<NSString>(paths->objectAtIndex(1))), "/mnt");
  EXPECT_EQ(text(as<NSString>(paths->objectAtIndex(2))), "/card");
  EXPECT_EQ(since(), (Calls{"FSGetVolumeInfo 0 1 0", "CFURLCreateFromFSRef /", "FSGetVolumeInfo 0 2 0",
                            "CFURLCreateFromFSRef /mnt", "FSGetVolumeInfo 0 3 0", "CFURLCreateFromFSRef /card",
                            "FSGetVolumeInfo 0 4 0"}));
}

TEST_F(VolumesTests, VolumesWithoutAPathAreSkipped) {
  catalog_.rootWithoutPath = "/mnt";
  EXPECT_EQ(volumePaths()->count(), 2U);
  EXPECT_FALSE(isVolume("/mnt"));
  EXPECT_TRUE(isVolume("/card"));
}

TEST_F(VolumesTests, NoVolumesAreNone) {
  volumes_.roots.clear();
  EXPECT_FALSE(volumePaths());
  volumes_.roots = {"/"};
  catalog_.rootWithoutPath = "/";
  EXPECT_FALSE(volumePaths());
}

TEST_F(VolumesTests, IsVolumeStopsAtTheFirstThatIsEqual) {
  EXPECT_TRUE(isVolume("/mnt"));
  EXPECT_EQ(since(), (Calls{"FSGetVolumeInfo 0 1 0", "CFURLCreateFromFSRef /", "FSGetVolumeInfo 0 2 0",
                            "CFURLCreateFromFSRef /mnt"}));
  EXPECT_FALSE(isVolume("/card/"));
  EXPECT_EQ(since().size(), 7U);
}

TEST_F(VolumesTests, IsVolumeComparesUnitByUnit) {
  volumes_.roots = {"/", "/caf\xC3\xA9"};
  EXPECT_TRUE(isVolume("/caf\xC3\xA9"));
  EXPECT_FALSE(isVolume("/cafe\xCC\x81"));
  EXPECT_FALSE(isVolume("/CAF\xC3\x89"));
  EXPECT_FALSE(isVolume("/mnt/.."));
  EXPECT_FALSE(isVolume(""));
  EXPECT_FALSE(isVolume(nullptr));
}

// --- The volume of an item

TEST_F(VolumesTests, VolumePath) {
  EXPECT_EQ(text(volumePath("/mnt/item")), "/mnt");
  EXPECT_EQ(since(), kReference + Calls({"FSGetVolumeInfo -7 0 0", "CFURLCreateFromFSRef /mnt"}));
}

TEST_F(VolumesTests, ARootIsNotAskedForItsVolume) {
  volumes_.numbers["/mnt"] = -9;
  EXPECT_EQ(text(volumePath("/mnt")), "/mnt");
  EXPECT_EQ(since(), (Calls{"FSGetVolumeInfo -9 0 0", "CFURLCreateFromFSRef /mnt"}));
  EXPECT_EQ(volumeRefWithPath(files(), "/mnt"), -9);
  EXPECT_TRUE(volumeTotalSpace_freeSpace("/mnt", nullptr, nullptr));
  EXPECT_EQ(since(), Calls{"FSGetVolumeInfo -9 0 64"});
}

TEST_F(VolumesTests, VolumePathFailsWithEachOfItsCalls) {
  catalog_.referenceError = fnfErr;
  EXPECT_FALSE(volumePath("/mnt/item"));
  EXPECT_EQ(since().size(), 1U);
  catalog_.referenceError = noErr;
  catalog_.catalogError = ioErr;
  EXPECT_FALSE(volumePath("/mnt/item"));
  EXPECT_EQ(since().size(), 2U);
  catalog_.catalogError = noErr;
  catalog_.volume = 0;
  EXPECT_FALSE(volumePath("/mnt/item"));
  EXPECT_EQ(since().size(), 2U) << "0 would mean any volume";
  catalog_.volume = kHome;
  volumes_.infoError = nsvErr;
  EXPECT_FALSE(volumePath("/mnt/item"));
  EXPECT_EQ(since().size(), 3U);
  volumes_.infoError = noErr;
  catalog_.rootWithoutPath = "/mnt";
  EXPECT_FALSE(volumePath("/mnt/item"));
  EXPECT_EQ(since().size(), 4U);
  EXPECT_FALSE(volumePath(nullptr));
  EXPECT_FALSE(volumePath(""));
}

// --- Access

std::string accessible;
bool isAccessible(NSFileManager&, const Ref<NSString>& path) { return text(path) == accessible; }

TEST_F(VolumesTests, AccessIsThatToTheRoot) {
  const std::pair<bool (*)(const Ref<NSString>&), SEL> questions[] = {
      {isVolumeReadable, ZT_SELECTOR("isReadableFileAtPath:")},
      {isVolumeWritable, ZT_SELECTOR("isWritableFileAtPath:")},
  };
  for (const auto& [question, selector] : questions) {
    const test::ReplacedMethod<&isAccessible> replaced(NSFileManager::classObject(), selector);
    accessible = "/mnt";
    EXPECT_TRUE(question("/mnt/item"));
    accessible = "/mnt/item";
    EXPECT_FALSE(question("/mnt/item"));
    accessible = "none";
    EXPECT_FALSE(question(nullptr)) << "nobody is asked about no volume";
  }
}

// --- Space

TEST_F(VolumesTests, Space) {
  std::uint64_t total = 1, free = 2;
  EXPECT_TRUE(volumeTotalSpace_freeSpace("/mnt/item", &total, &free));
  EXPECT_EQ(total, 5'000'000'000'000U);
  EXPECT_EQ(free, 4'000'000'000'000U);
  EXPECT_EQ(since(), kReference + Calls{"FSGetVolumeInfo -7 0 64"});
  EXPECT_EQ(volumeTotalSpace("/mnt/item"), 5'000'000'000'000U);
  EXPECT_EQ(volumeFreeSpace("/mnt/item"), 4'000'000'000'000U);
  EXPECT_TRUE(volumeTotalSpace_freeSpace("/mnt/item", nullptr, nullptr));
  total = 0;
  EXPECT_TRUE(volumeTotalSpace_freeSpace("/mnt/item", &total, nullptr));
  EXPECT_EQ(total, 5'000'000'000'000U);
}

TEST_F(VolumesTests, SpaceOnFailure) {
  const std::vector<std::function<void()>> failures{[&] { catalog_.referenceError = fnfErr; },
                                                    [&] { catalog_.catalogError = ioErr; },
                                                    [&] { catalog_.volume = 0; }, [&] { volumes_.infoError = ioErr; }};
  for (const auto& fail : failures) {
    catalog_.referenceError = catalog_.catalogError = volumes_.infoError = noErr;
    catalog_.volume = kHome;
    fail();
    std::uint64_t total = 1, free = 2;
    EXPECT_FALSE(volumeTotalSpace_freeSpace("/mnt/item", &total, &free));
    EXPECT_EQ(total, 1U);
    EXPECT_EQ(free, 2U);
    EXPECT_EQ(volumeTotalSpace("/mnt/item"), 0U);
    EXPECT_EQ(volumeFreeSpace("/mnt/item"), 0U);
    const Calls calls = since();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "FSGetVolumeInfo 0 0 64"), 0) << "0 would mean any volume";
  }
  EXPECT_FALSE(volumeTotalSpace_freeSpace(nullptr, nullptr, nullptr));
}

// --- The network

TEST_F(VolumesTests, ANetworkVolumeHasAServerAddress) {
  EXPECT_FALSE(isNetworkVolume("/card"));
  EXPECT_EQ(since(), (Calls{"FSGetVolumeInfo 0 1 0", "CFURLCreateFromFSRef /", "FSGetVolumeInfo 0 2 0",
                            "CFURLCreateFromFSRef /mnt", "FSGetVolumeInfo 0 3 0", "CFURLCreateFromFSRef /card",
                            "CFURLGetFSRef file:///card", "FSGetCatalogInfo /card 4", "FSGetVolumeParms -7 44"}));
  EXPECT_TRUE(volumes_.parametersWereClear);
  volumes_.serverAddress = 0x7F000001;
  EXPECT_TRUE(isNetworkVolume("/card"));
  volumes_.serverAddress = 0x01000000;
  EXPECT_TRUE(isNetworkVolume("/card"));
}

TEST_F(VolumesTests, OnlyARootIsANetworkVolume) {
  volumes_.serverAddress = 1;
  EXPECT_FALSE(isNetworkVolume("/mnt/item"));
  EXPECT_EQ(since().back(), "FSGetVolumeInfo 0 4 0");
  EXPECT_FALSE(isNetworkVolume(nullptr));
}

TEST_F(VolumesTests, NetworkVolumesFailWithEachCall) {
  volumes_.serverAddress = 1;
  volumes_.parametersError = paramErr;
  EXPECT_FALSE(isNetworkVolume("/card"));
  volumes_.parametersError = noErr;
  catalog_.catalogError = ioErr;
  EXPECT_FALSE(isNetworkVolume("/card"));
  catalog_.catalogError = noErr;
  catalog_.referenceError = fnfErr;
  EXPECT_FALSE(isNetworkVolume("/card"));
}

// --- Unmounting

TEST_F(VolumesTests, EveryVolumeButTheFirstCanBeUnmounted) {
  EXPECT_TRUE(isUnmountableVolume("/card"));
  EXPECT_TRUE(isUnmountableVolume("/mnt"));
  since();
  EXPECT_FALSE(isUnmountableVolume("/"));
  EXPECT_FALSE(isUnmountableVolume("/mnt/item"));
  EXPECT_FALSE(isUnmountableVolume("/card/"));
  EXPECT_FALSE(isUnmountableVolume(nullptr));
  const Calls calls = since();
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "mountedRemovableMedia"), 0);
}

TEST_F(VolumesTests, RemovableMediaAreAskedForBeforeTheNetwork) {
  const Calls listing{"FSGetVolumeInfo 0 1 0",     "CFURLCreateFromFSRef /", "FSGetVolumeInfo 0 2 0",
                      "CFURLCreateFromFSRef /mnt", "FSGetVolumeInfo 0 3 0",  "CFURLCreateFromFSRef /card"};
  volumes_.removable = "/card";
  EXPECT_TRUE(isUnmountableVolume("/card"));
  EXPECT_EQ(since(), listing + Calls{"mountedRemovableMedia"});
  volumes_.removable = "/other";
  for (const std::uint32_t address : {0U, 1U}) {
    volumes_.serverAddress = address;
    EXPECT_TRUE(isUnmountableVolume("/card"));
    EXPECT_EQ(since(), listing + Calls{"mountedRemovableMedia"} + listing +
                           Calls({"CFURLGetFSRef file:///card", "FSGetCatalogInfo /card 4", "FSGetVolumeParms -7 44"}));
  }
}

TEST_F(VolumesTests, ANetworkVolumeIsUnmountedByItsNumber) {
  volumes_.serverAddress = 1;
  volumes_.rootOfVolume = "/card";
  EXPECT_TRUE(unmountVolume("/card"));
  const Calls calls = since();
  EXPECT_EQ(Calls(calls.end() - 6, calls.end()),
            (Calls{"FSGetVolumeParms -7 44", "CFURLGetFSRef file:///card", "FSGetCatalogInfo /card 4",
                   "FSGetVolumeInfo -7 0 0", "CFURLCreateFromFSRef /card", "FSUnmountVolumeSync -7"}));
  volumes_.unmountError = fBsyErr;
  EXPECT_FALSE(unmountVolume("/card"));
  const Calls failed = since();
  EXPECT_EQ(std::count(failed.begin(), failed.end(), "unmountAndEjectDeviceAtPath /card"), 0);
}

// Its folder then lies on the volume around.
TEST_F(VolumesTests, ANetworkVolumeThatHasGoneMeanwhileTakesNoOtherWithIt) {
  volumes_.serverAddress = 1;
  volumes_.rootOfVolume = "/";
  EXPECT_FALSE(unmountVolume("/card"));
  EXPECT_EQ(since().back(), "CFURLCreateFromFSRef /");
}

TEST_F(VolumesTests, OtherPathsAreUnmountedAndEjected) {
  EXPECT_TRUE(unmountVolume("/card"));
  EXPECT_EQ(since().back(), "unmountAndEjectDeviceAtPath /card");
  EXPECT_TRUE(unmountVolume("/mnt/item"));
  EXPECT_EQ(since().back(), "unmountAndEjectDeviceAtPath /mnt/item");
  volumes_.ejects = false;
  EXPECT_FALSE(unmountVolume("/card"));
  since();
  EXPECT_FALSE(unmountVolume(nullptr));
  EXPECT_EQ(since(), Calls{});
}

// --- The file manager

TEST_F(VolumesTests, NumberOfAVolume) {
  EXPECT_EQ(volumeRefWithPath(files(), "/mnt/item"), kHome);
  EXPECT_EQ(since(), kLoggedReference);
  EXPECT_EQ(log_.lines(), Calls{});
}

TEST_F(VolumesTests, EachFailureOfTheNumberIsLogged) {
  catalog_.referenceError = fnfErr;
  EXPECT_EQ(volumeRefWithPath(files(), "/mnt/item"), 0);
  catalog_.referenceError = noErr;
  catalog_.catalogError = ioErr;
  EXPECT_EQ(volumeRefWithPath(files(), "/mnt/item"), 0);
  EXPECT_EQ(log_.lines(), (Calls{"[NSFileManager volumeRefWithPath:] FSPathMakeRef failed with error: -43",
                                 "[NSFileManager volumeRefWithPath:] FSGetCatalogInfo failed with error: -36"}));
}

TEST_F(VolumesTests, WithoutANumberNothingElseIsAskedOrLogged) {
  catalog_.referenceError = fnfErr;
  EXPECT_FALSE(isNetworkVolumeAtPath(files(), "/mnt/item"));
  EXPECT_EQ(volumeTypeWithPath(files(), "/mnt/item"), 0U);
  EXPECT_FALSE(isAppleShareVolumeAtPath(files(), "/mnt/item"));
  EXPECT_FALSE(isWebDAVVolumeAtPath(files(), "/mnt/item"));
  EXPECT_EQ(since(), Calls(4, "FSPathMakeRef /mnt/item"));
  EXPECT_EQ(log_.lines(), Calls(4, "[NSFileManager volumeRefWithPath:] FSPathMakeRef failed with error: -43"));
}

TEST_F(VolumesTests, ANetworkVolumeAtAnyPath) {
  EXPECT_FALSE(isNetworkVolumeAtPath(files(), "/mnt/item"));
  EXPECT_EQ(since(), kLoggedReference + Calls{"FSGetVolumeParms -7 44"});
  volumes_.serverAddress = 1;
  EXPECT_TRUE(isNetworkVolumeAtPath(files(), "/mnt/item"));
  EXPECT_EQ(log_.lines(), Calls{});
  volumes_.parametersError = paramErr;
  EXPECT_FALSE(isNetworkVolumeAtPath(files(), "/mnt/item"));
  EXPECT_EQ(log_.lines(), Calls{"[NSFileManager isNetworkVolumeAtPath:] FSGetVolumeParms failed with error: -50"});
}

// A record of any length with the kind of server at its third byte.
std::string mountInformation(OSType media, std::size_t size) {
  std::string bytes(size, '\xEE');
  std::memcpy(bytes.data() + 2, &media, 4);
  return bytes;
}

TEST_F(VolumesTests, TypeOfAVolume) {
  volumes_.mountInformation = mountInformation(0x12345678, 6);
  EXPECT_EQ(volumeTypeWithPath(files(), "/mnt/item"), 0x12345678U);
  EXPECT_EQ(since(), kLoggedReference + Calls({"FSGetVolumeMountInfoSize -7", "FSGetVolumeMountInfo -7 6"}));
  volumes_.mountInformation = mountInformation(0x12345678, 400);
  EXPECT_EQ(volumeTypeWithPath(files(), "/mnt/item"), 0x12345678U);
  EXPECT_EQ(since().back(), "FSGetVolumeMountInfo -7 400");
  volumes_.mountInformation = "short";
  EXPECT_EQ(volumeTypeWithPath(files(), "/mnt/item"), 0U);
  volumes_.mountInformation = "";
  EXPECT_EQ(volumeTypeWithPath(files(), "/mnt/item"), 0U);
  EXPECT_EQ(log_.lines(), Calls{});
}

TEST_F(VolumesTests, EachFailureOfTheTypeIsLogged) {
  volumes_.mountInformation = mountInformation(0x12345678, 6);
  volumes_.mountSizeError = paramErr;
  EXPECT_EQ(volumeTypeWithPath(files(), "/mnt/item"), 0U);
  EXPECT_EQ(since(), kLoggedReference + Calls{"FSGetVolumeMountInfoSize -7"});
  volumes_.mountSizeError = noErr;
  volumes_.mountError = nsvErr;
  EXPECT_EQ(volumeTypeWithPath(files(), "/mnt/item"), 0U);
  EXPECT_EQ(log_.lines(), (Calls{"[NSFileManager volumeTypeWithPath:] FSGetVolumeMountInfoSize failed with error: -50",
                                 "[NSFileManager volumeTypeWithPath:] PBGetVolMountInfo failed with error: -35"}));
}

TEST_F(VolumesTests, KindsOfServers) {
  volumes_.mountInformation = mountInformation(0x6166706D, 6);
  EXPECT_TRUE(isAppleShareVolumeAtPath(files(), "/mnt/item"));
  EXPECT_FALSE(isWebDAVVolumeAtPath(files(), "/mnt/item"));
  volumes_.mountInformation = mountInformation(0x68747470, 6);
  EXPECT_FALSE(isAppleShareVolumeAtPath(files(), "/mnt/item"));
  EXPECT_TRUE(isWebDAVVolumeAtPath(files(), "/mnt/item"));
  volumes_.mountInformation = mountInformation(0x6E667320, 6);
  EXPECT_FALSE(isAppleShareVolumeAtPath(files(), "/mnt/item"));
  EXPECT_FALSE(isWebDAVVolumeAtPath(files(), "/mnt/item"));
}

TEST_F(VolumesTests, LocalVolumesLogOneLineEachTimeTheyAreAskedForTheirKind) {
  volumes_.mountSizeError = paramErr;
  EXPECT_FALSE(isWebDAVVolumeAtPath(files(), "/mnt/item"));
  EXPECT_FALSE(isAppleShareVolumeAtPath(files(), "/mnt/item"));
  EXPECT_EQ(log_.lines(),
            Calls(2, "[NSFileManager volumeTypeWithPath:] FSGetVolumeMountInfoSize failed with error: -50"));
}

TEST_F(VolumesTests, NoManagerOrPath) {
  EXPECT_EQ(volumeRefWithPath(nullptr, "/mnt/item"), 0);
  EXPECT_EQ(volumeTypeWithPath(nullptr, "/mnt/item"), 0U);
  EXPECT_FALSE(isNetworkVolumeAtPath(nullptr, "/mnt/item"));
  EXPECT_EQ(since(), Calls{});
  EXPECT_EQ(log_.lines(), Calls{});
  catalog_.referenceError = paramErr;
  EXPECT_EQ(volumeRefWithPath(files(), nullptr), 0);
  EXPECT_EQ(log_.lines(), Calls{"[NSFileManager volumeRefWithPath:] FSPathMakeRef failed with error: -50"});
}

TEST_F(VolumesTests, StringsLogNothing) {
  catalog_.referenceError = fnfErr;
  volumePath("/mnt/item");
  isNetworkVolume("/card");
  volumeFreeSpace("/mnt/item");
  volumes_.infoError = volumes_.parametersError = ioErr;
  catalog_.referenceError = noErr;
  volumePath("/mnt/item");
  isNetworkVolume("/card");
  volumeFreeSpace("/mnt/item");
  unmountVolume("/card");
  EXPECT_EQ(log_.lines(), Calls{});
}

}  // namespace
}  // namespace ZtFoundation
