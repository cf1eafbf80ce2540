#include <ZtFoundation/Files.h>
#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Log.h>
#include <ZtFoundation/platform/Notification.h>
#include <ZtFoundation/platform/Runtime.h>

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
                  ZT_METHOD("discardChanges", &QvPropertyList::discardChanges),
                  ZT_METHOD("synchronize", &QvPropertyList::synchronize));

constinit const std::string_view QvPropertyListDidSaveValuesNotification = "QvPropertyListDidSaveValues";

namespace {

constexpr NSUInteger kImmutable = 0;
constexpr NSUInteger kMutableContainers = 1;

void logError(const Ref<NSString>& text) {
  if (text) NSLog("%@", text);
}

Ref<NSData> contentsOf(const Ref<NSString>& path) {
  const bool exists = send<bool>(NSFileManager::defaultManager(), ZT_SELECTOR("fileExistsAtPath:"), path);
  return exists ? NSData::dataWithContentsOfFile(path) : nullptr;
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
      bytes, mutabilityOption, &format_, &error);
  logError(error);
  return values;
}

void QvPropertyList::_init() {
  if (const Ref<NSData> bytes = contentsOf(path_)) {
    currentValues_ = readValues(bytes, 1);
    serializedValues_ = readValues(bytes, 0);
  }
  if (!currentValues_) currentValues_ = NSMutableDictionary::dictionary();
}

// --- Saving and discarding

bool QvPropertyList::hasUnsavedChanges() {
  return !serializedValues_ || !ZtFoundation::isEqual(currentValues_, serializedValues_);
}

bool QvPropertyList::saveChanges() {
  Ref<NSString> error;
  const Ref<NSData> bytes =
      QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(currentValues_, format_, &error);
  if (!bytes) {
    logError(error);
    return false;
  }
  if (!path_ || !makeFolderOf(path_) || !bytes->writeToFile_atomically(path_, true)) return false;
  serializedValues_ = snapshotOf(bytes);
  NSNotificationCenter::defaultCenter()->postNotificationName_object(QvPropertyListDidSaveValuesNotification, this);
  return true;
}

void QvPropertyList::discardChanges() { currentValues_ = mutableCopyOf(serializedValues_); }

bool QvPropertyList::synchronize() { return send<bool>(this, ZT_SELECTOR("saveChanges")); }

}  // namespace ZtFoundation
