#include <ZtFoundation/Files.h>
#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Log.h>
#include <ZtFoundation/platform/Notification.h>
#include <ZtFoundation/platform/Runtime.h>

#include "platform/services/SaveLocks.h"
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

void logError(const Ref<NSString>& text) {
  if (text) NSLog("%@", text);
}

bool exists(const Ref<NSString>& path) {
  return send<bool>(NSFileManager::defaultManager(), ZT_SELECTOR("fileExistsAtPath:"), path);
}

// The reader has no errors. What this calls one would be lost with the next save.
Ref<NSString> errorInINIText(const Ref<NSData>& bytes) {
  const Ref<NSString> text = NSString::stringWithValidUTF8(bytes->view());
  return text ? Ref<NSString>() : "The file is no text in UTF-8.";
}

bool makeFolderOf(const Ref<NSString>& path) {
  return QvFoundationExtensions::createDirectoryAtPath_attributes_recursively(
      NSFileManager::defaultManager(), path->stringByDeletingLastPathComponent(), nullptr, true);
}

// Always by the platform's codec, whatever the format of the store; see
// saveChanges.
Ref<NSObject> snapshotOf(const Ref<NSData>& bytes) {
  Ref<NSString> error;
  Ref<NSObject> snapshot = NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
      bytes, kImmutable, nullptr, &error);
  logError(error);
  return snapshot;
}

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
  if (!bytes) readError_ = "The file cannot be read.";
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

bool QvPropertyList::hasUnsavedChanges() {
  return !serializedValues_ || !ZtFoundation::isEqual(currentValues_, serializedValues_);
}

bool QvPropertyList::saveChanges() {
  const Ref<NSData> bytes = writeFile();
  if (!bytes) return false;
  serializedValues_ = snapshotOf(bytes);
  tellThatValuesAreSaved();
  return true;
}

// None when the values cannot be written.
Ref<NSData> QvPropertyList::writeFile() {
  Ref<NSString> error;
  const Ref<NSData> bytes =
      QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(currentValues_, format_, &error);
  if (!bytes) {
    logError(error);
    return nullptr;
  }
  if (!path_ || !makeFolderOf(path_) || !bytes->writeToFile_atomically(path_, true)) return nullptr;
  fileFormat_ = format_;
  return bytes;
}

void QvPropertyList::tellThatValuesAreSaved() {
  NSNotificationCenter::defaultCenter()->postNotificationName_object(QvPropertyListDidSaveValuesNotification, this);
}

// --- Saving together with others

bool QvPropertyList::saveMergedChanges() {
  if (!mergeAndWriteFile()) return false;
  tellThatValuesAreSaved();  // without the lock: an observer may save another store
  return true;
}

bool QvPropertyList::mergeAndWriteFile() {
  if (!path_ || !makeFolderOf(path_)) return false;
  const std::unique_ptr<SaveLocks::Lock> lock = service<SaveLocks>().lock(path_);
  if (!lock || !mergeFile()) return false;
  const bool isInFile = format_ == fileFormat_ && ZtFoundation::isEqual(currentValues_, serializedValues_);
  if (isInFile) return true;
  const Ref<NSData> bytes = writeFile();
  if (bytes) serializedValues_ = readValues(bytes, kImmutable);
  return bytes != nullptr;
}

// Afterwards the snapshot is what the file holds now. False when nobody can tell what that is.
bool QvPropertyList::mergeFile() {
  const Ref<NSData> bytes = bytesOfFile();
  if (!bytes) {
    if (!readError_) serializedValues_.reset();
    return !readError_;
  }
  const Ref<NSObject> theirs = readValues(bytes, kMutableContainers);
  if (readError_) return false;
  currentValues_ = detail::merged(currentValues_, serializedValues_, theirs);
  serializedValues_ = readValues(bytes, kImmutable);
  return true;
}

void QvPropertyList::discardChanges() { currentValues_ = mutableCopyOf(serializedValues_); }

bool QvPropertyList::synchronize() { return send<bool>(this, ZT_SELECTOR("saveChanges")); }

}  // namespace ZtFoundation
