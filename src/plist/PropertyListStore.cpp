#include <ZtFoundation/Files.h>
#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Log.h>
#include <ZtFoundation/platform/Notification.h>
#include <ZtFoundation/platform/Runtime.h>

#include <new>
#include <utility>

#include "platform/services/SaveLocks.h"
#include "plist/INIText.h"
#include "plist/MergedValues.h"

namespace ZtFoundation {

ZT_REGISTER_CLASS(QvPropertyList, ZT_METHOD("_serializedValues", &QvPropertyList::_serializedValues),
                  ZT_METHOD("_currentValues", &QvPropertyList::_currentValues),
                  ZT_METHOD("_init", &QvPropertyList::_init),
                  ZT_METHOD("initWithPath:", &QvPropertyList::initialiseAsXML),
                  ZT_METHOD("initWithPath:format:", &QvPropertyList::initialiseInFormat),
                  ZT_METHOD("path", &QvPropertyList::path), ZT_METHOD("values", &QvPropertyList::values),
                  ZT_METHOD("format", &QvPropertyList::format), ZT_METHOD("setValues:", &QvPropertyList::setValues),
                  ZT_METHOD("setFormat:", &QvPropertyList::setFormat),
                  ZT_METHOD("hasUnsavedChanges", &QvPropertyList::hasUnsavedChanges),
                  ZT_METHOD("saveChanges", &QvPropertyList::saveChanges),
                  ZT_METHOD("saveMergedChanges", &QvPropertyList::saveMergedChanges),
                  ZT_METHOD("readError", &QvPropertyList::readError),
                  ZT_METHOD("discardChanges", &QvPropertyList::discardChanges),
                  ZT_METHOD("synchronize", &QvPropertyList::synchronize));

constinit const std::string_view QvPropertyListDidSaveValuesNotification = "QvPropertyListDidSaveValues";

namespace {

constexpr std::int32_t kImmutable = 0;
constexpr std::int32_t kMutableContainers = 1;
constexpr const char* kUnreadable = "The file cannot be read.";

// A line that there is no memory for is dropped, as by the log itself: what it belongs to has succeeded or failed
// without it.
void logError(const Ref<NSString>& text) noexcept {
  try {
    if (text) NSLog("%@", text);
  } catch (const std::bad_alloc&) {
  }
}

bool exists(const Ref<NSString>& path) {
  return send<bool>(NSFileManager::defaultManager(), ZT_SELECTOR("fileExistsAtPath:"), path);
}

// The reader has no errors. What this calls one would be lost with the next save.
Ref<NSString> errorInINIText(const Ref<NSData>& bytes) {
  if (!NSString::stringWithValidUTF8(bytes->view())) return "The file is no text in UTF-8.";
  return detail::isINIText(bytes->view()) ? Ref<NSString>() : "The file is no INI text.";
}

bool makeFolderOf(const Ref<NSString>& path) {
  return QvFoundationExtensions::createDirectoryAtPath_attributes_recursively(
      NSFileManager::defaultManager(), path->stringByDeletingLastPathComponent(), nullptr, true);
}

struct Snapshot {
  Ref<NSObject> values;
  Ref<NSString> error;
};

// What a writer has just made in this format, as the file will be read.
Ref<NSObject> readBack(const Ref<NSData>& bytes, QvPropertyListFormat format) {
  return QvPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(bytes, kImmutable,
                                                                                                    &format, nullptr);
}

// What a file in this format would be read as if it were written now; none when it cannot hold the values.
Ref<NSObject> asInFile(const Ref<NSObject>& values, QvPropertyListFormat format) {
  Ref<NSString> error;
  const Ref<NSData> bytes =
      QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(values, format, &error);
  return bytes ? readBack(bytes, format) : nullptr;
}

// Always by the platform's codec, whatever the format of the store; see saveChanges.
Snapshot snapshotOf(const Ref<NSData>& bytes) {
  Snapshot snapshot;
  snapshot.values = NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
      bytes, kImmutable, nullptr, &snapshot.error);
  return snapshot;
}

// That a store is saved, ready to be told: made before the file is written, as nothing may fail afterwards but the
// observers.
class Announcement {
 public:
  explicit Announcement(const Ref<QvPropertyList>& store)
      : center_(NSNotificationCenter::defaultCenter()),
        notification_(NSNotification::notificationWithName_object_userInfo(QvPropertyListDidSaveValuesNotification,
                                                                           store, nullptr)) {}

  void post() const { center_->postNotification(notification_); }

 private:
  NSNotificationCenter* center_;
  Ref<NSNotification> notification_;
};

// Code of the host that is asked under the lock, such as a key for its description, may want to save too; for the lock
// that its own thread holds it would wait in vain.
[[gnu::tls_model("initial-exec")]] constinit thread_local bool isMerging = false;

class Merging {
 public:
  Merging() noexcept : isNested_(std::exchange(isMerging, true)) {}
  Merging(const Merging&) = delete;
  Merging& operator=(const Merging&) = delete;
  ~Merging() { isMerging = isNested_; }

  bool isNested() const noexcept { return isNested_; }

 private:
  bool isNested_;
};

Ref<NSObject> mutableCopyOf(const Ref<NSObject>& snapshot) {
  if (!snapshot) return NSMutableDictionary::dictionary();
  Ref<NSString> error;
  Ref<NSObject> copy = QvFoundationExtensions::propertyListFromPropertyList_mutabilityOption_errorDescription(
      snapshot, kMutableContainers, &error);
  logError(error);
  return copy;
}

}  // namespace

// --- Making

Ref<NSObject> QvPropertyList::initialise(const Ref<QvPropertyList>& store, const Ref<NSString>& path) {
  return send<Ref<NSObject>>(store, ZT_SELECTOR("initWithPath:"), path);
}

Ref<NSObject> QvPropertyList::initialise(const Ref<QvPropertyList>& store, const Ref<NSString>& path,
                                         QvPropertyListFormat format) {
  return send<Ref<NSObject>>(store, ZT_SELECTOR("initWithPath:format:"), path, format);
}

Ref<QvPropertyList> QvPropertyList::initialiseAsXML(const Ref<NSString>& path) {
  return as<QvPropertyList>(initialise(this, path, NSPropertyListXMLFormat_v1_0));
}

Ref<QvPropertyList> QvPropertyList::initialiseInFormat(const Ref<NSString>& path, QvPropertyListFormat format) {
  path_ = path;
  format_ = format;
  serializedValues_.reset();
  unreadBytes_.reset();
  currentValues_.reset();
  send(this, ZT_SELECTOR("_init"));
  return this;
}

Ref<NSObject> QvPropertyList::readValues(const Ref<NSData>& bytes, std::int32_t mutabilityOption) {
  Ref<NSString> error;
  Ref<NSObject> values = QvPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
      bytes, mutabilityOption, &fileFormat_, &error);
  logError(error);
  readError_ = fileFormat_ == QvPropertyListINIFormat ? errorInINIText(bytes) : error;
  return values;
}

// None, with or without an error, when there is nothing to read.
Ref<NSData> QvPropertyList::bytesOfFile() {
  readError_.reset();
  if (!exists(path_)) return nullptr;
  const Ref<NSData> bytes = NSData::dataWithContentsOfFile(path_);
  if (!bytes) readError_ = kUnreadable;
  return bytes;
}

void QvPropertyList::_init() {
  fileFormat_ = format_;
  if (const Ref<NSData> bytes = bytesOfFile()) {
    currentValues_ = readValues(bytes, kMutableContainers);
    serializedValues_ = readValues(bytes, kImmutable);
    format_ = fileFormat_;
  }
  if (!currentValues_) currentValues_ = NSMutableDictionary::dictionary();
}

// --- Saving and discarding

bool QvPropertyList::hasUnsavedChanges() { return !ZtFoundation::isEqual(currentValues_, serializedValues_); }

bool QvPropertyList::saveChanges() {
  const Ref<NSData> bytes = bytesOfValues();
  if (!bytes) return false;
  const Snapshot snapshot = snapshotOf(bytes);
  const Announcement announcement(this);
  if (!writeFile(bytes)) return false;
  serializedValues_ = snapshot.values;
  unreadBytes_ = snapshot.values ? nullptr : bytes;
  logError(snapshot.error);
  announcement.post();
  return true;
}

// None when the format cannot hold the values.
Ref<NSData> QvPropertyList::bytesOfValues() const {
  Ref<NSString> error;
  Ref<NSData> bytes =
      QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(currentValues_, format_, &error);
  if (!bytes) logError(error);
  return bytes;
}

bool QvPropertyList::writeFile(const Ref<NSData>& bytes) {
  if (!path_ || !makeFolderOf(path_) || !bytes->writeToFile_atomically(path_, true)) return false;
  fileFormat_ = format_;
  return true;
}

// --- Saving together with others

bool QvPropertyList::saveMergedChanges() {
  const Announcement announcement(this);
  if (!mergeAndWriteFile()) return false;
  announcement.post();  // without the lock: an observer may save another store
  return true;
}

bool QvPropertyList::mergeAndWriteFile() {
  const Merging merging;
  if (merging.isNested() || !path_ || !makeFolderOf(path_)) return false;
  const std::unique_ptr<SaveLocks::Lock> lock = service<SaveLocks>().lock(path_);
  if (!lock) return false;
  const Ref<NSData> inFile = NSData::dataWithContentsOfFile(path_);
  return (inFile ? mergeFile(inFile) : forgetFile()) && writeMerged();
}

// False when nobody can tell whether there is a file: what cannot be read for any other reason is not replaced.
bool QvPropertyList::forgetFile() {
  readError_.reset();
  if (!service<SaveLocks>().isFileMissing(path_)) {
    readError_ = kUnreadable;
    return false;
  }
  serializedValues_.reset();
  unreadBytes_.reset();
  return true;
}

// Afterwards the snapshot is what the file holds now. False when nobody can tell what that is.
bool QvPropertyList::mergeFile(const Ref<NSData>& inFile) {
  const QvPropertyListFormat formatBefore = fileFormat_;
  const Ref<NSObject> theirs = readValues(inFile, kMutableContainers);
  if (readError_) return false;
  Ref<NSObject> snapshot = readValues(inFile, kImmutable);
  const Ref<NSObject> base = unreadBytes_ ? readBack(unreadBytes_, formatBefore) : serializedValues_;
  if (!detail::isSame(theirs, base)) {
    currentValues_ = detail::merged(currentValues_, asInFile(currentValues_, formatBefore), base, theirs);
  }
  serializedValues_ = std::move(snapshot);
  unreadBytes_.reset();
  return true;
}

// Nothing when the file holds the values already, as well as it can.
bool QvPropertyList::writeMerged() {
  const bool hasFormat = format_ == fileFormat_;
  if (hasFormat && ZtFoundation::isEqual(currentValues_, serializedValues_)) return true;
  const Ref<NSData> bytes = bytesOfValues();
  if (!bytes) return false;
  Ref<NSObject> snapshot = readBack(bytes, format_);
  if (hasFormat && ZtFoundation::isEqual(snapshot, serializedValues_)) return true;
  if (!writeFile(bytes)) return false;
  serializedValues_ = std::move(snapshot);
  return true;
}

void QvPropertyList::discardChanges() {
  currentValues_ = mutableCopyOf(serializedValues_);
  unreadBytes_.reset();  // an empty store has removed nothing
}

bool QvPropertyList::synchronize() { return send<bool>(this, ZT_SELECTOR("saveChanges")); }

}  // namespace ZtFoundation
