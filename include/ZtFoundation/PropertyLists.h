/// \file PropertyLists.h
/// Property lists: settings kept as trees of dictionaries, arrays, strings, numbers, booleans, dates and data, in the
/// formats XML, binary, OpenStep text (read only) and INI text, and a store that binds such a tree to a file.
/// \code
///   Ref<QvPropertyList> settings = QvPropertyList::initWithPath_format(path, QvPropertyListINIFormat);
///   Ref<NSMutableDictionary> sections = as<NSMutableDictionary>(settings->values());
///   ...                                             // change what is in there
///   if (settings->hasUnsavedChanges() && !settings->saveChanges()) { ... }
/// \endcode
/// The INI text format holds a dictionary of sections, each a dictionary of entries:
/// \code{.unparsed}
///   [Main]
///   Name=Alice
///   Motto="to be or not to be"
///   Count="5"
///
/// \endcode
/// It is deliberately minimal. What is written is not escaped, strings with a space and everything that is no string go
/// between double quotes, and reading gives all that follows the first "=" as a string, quotes included. So only
/// strings without a space come back as they were.
///
/// Threads: everything here may be used by any thread; a store and the values in it by one at a time.
#pragma once

#include <cstdint>
#include <string_view>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Bundle.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Object.h>
#include <ZtFoundation/platform/PropertyListSerialization.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

/// The format of a property list: 1 OpenStep text, 100 XML, 200 binary, 65535 INI text. Writing refuses OpenStep text
/// and values that name no format; for reading it only matters whether it is INI text.
using QvPropertyListFormat = std::int32_t;
inline constexpr QvPropertyListFormat QvPropertyListINIFormat = 0xFFFF;

/// Reads and writes property lists in all formats. There is no need for instances.
///
/// A host may derive from the class and answer an operation differently. Writing INI text then asks the class that it
/// was sent to whether the value is valid:
/// \code
///   class Anything : public QvPropertyListSerialization {
///     ZT_OBJECT(Anything, QvPropertyListSerialization)
///    public:
///     static bool propertyList_isValidForFormat(const Ref<NSObject>&, QvPropertyListFormat) { return true; }
///   };
///   Anything::dataFromPropertyList_format_errorDescription<Anything>(value, QvPropertyListINIFormat, nullptr);
/// \endcode
/// A class that is only known at run time is given as the first argument; what its method table has for the selector is
/// in force then, for the class itself as well.
class ZT_EXPORT QvPropertyListSerialization : public NSObject {
  ZT_OBJECT(QvPropertyListSerialization, NSObject)
 public:
  /// Whether the value can be written in `format`. INI text takes a dictionary of dictionaries of strings, numbers,
  /// booleans, dates and data, whatever the keys; for other formats the platform's codec answers.
  static bool propertyList_isValidForFormat(const Ref<NSObject>& propertyList, QvPropertyListFormat format);
  static bool propertyList_isValidForFormat(Class receiver, const Ref<NSObject>& propertyList,
                                            QvPropertyListFormat format);

  /// The bytes, none when the value cannot be written. For INI text the receiving class is asked whether the value is
  /// valid; keys and values that are no strings are written as their descriptions, and text with an unpaired surrogate
  /// is refused. `errorDescription` may be null; INI text never touches it.
  static Ref<NSData> dataFromPropertyList_format_errorDescription(const Ref<NSObject>& propertyList,
                                                                  QvPropertyListFormat format,
                                                                  Ref<NSString>* errorDescription) {
    return dataFromPropertyList_format_errorDescription(classObject(), propertyList, format, errorDescription);
  }
  static Ref<NSData> dataFromPropertyList_format_errorDescription(Class receiver, const Ref<NSObject>& propertyList,
                                                                  QvPropertyListFormat format,
                                                                  Ref<NSString>* errorDescription);
  template <class Receiver>
  static Ref<NSData> dataFromPropertyList_format_errorDescription(const Ref<NSObject>& propertyList,
                                                                  QvPropertyListFormat format,
                                                                  Ref<NSString>* errorDescription) {
    const ValidityTest test = &Receiver::propertyList_isValidForFormat;
    const bool isInherited = test == ValidityTest{&QvPropertyListSerialization::propertyList_isValidForFormat};
    return dataFromTested(isInherited ? nullptr : test, Receiver::classObject(), propertyList, format,
                          errorDescription);
  }

  /// The value that the bytes hold. When `*format` is INI text on entry they are read as that, which never fails: bytes
  /// that are not UTF-8 anywhere give an empty dictionary, and lines that say nothing are passed over. Else the format is detected and, on success, stored in
  /// `*format`; none on failure, with a text in `errorDescription`, which may be null. `mutabilityOption` is 0 for an
  /// immutable result, 1 for mutable containers, 2 for mutable containers and strings (keys stay immutable); other numbers mean 1. Raises
  /// NSInvalidArgumentException when `format` is null.
  static Ref<NSObject> propertyListFromData_mutabilityOption_format_errorDescription(const Ref<NSData>& data,
                                                                                     std::int32_t mutabilityOption,
                                                                                     QvPropertyListFormat* format,
                                                                                     Ref<NSString>* errorDescription) {
    return propertyListFromData_mutabilityOption_format_errorDescription(classObject(), data, mutabilityOption, format,
                                                                         errorDescription);
  }
  static Ref<NSObject> propertyListFromData_mutabilityOption_format_errorDescription(Class receiver,
                                                                                     const Ref<NSData>& data,
                                                                                     std::int32_t mutabilityOption,
                                                                                     QvPropertyListFormat* format,
                                                                                     Ref<NSString>* errorDescription);

 private:
  using ValidityTest = bool (*)(const Ref<NSObject>&, QvPropertyListFormat);

  /// Writes INI text if `test` says so; sends all else, and what has no test of its own, to `receiver`. The addresses of
  /// tests are compared in the host alone: in the library a function may have another one.
  static Ref<NSData> dataFromTested(ValidityTest test, Class receiver, const Ref<NSObject>& propertyList,
                                    QvPropertyListFormat format, Ref<NSString>* errorDescription);
  static Ref<NSData> write(Class receiver, const Ref<NSObject>& propertyList, QvPropertyListFormat format,
                           Ref<NSString>* errorDescription);
  static Ref<NSObject> read(const Ref<NSData>& data, std::int32_t mutabilityOption, QvPropertyListFormat* format,
                            Ref<NSString>* errorDescription);
};

// --- Copies through the binary format

/// Operations on the platform's property-list codec.
namespace QvFoundationExtensions {

/// A deep copy of `propertyList` in which every container is new, made by writing it as binary and reading that again.
/// `mutabilityOption` decides the flavours as it does for NSPropertyListSerialization.
/// \returns none when the value cannot be written as binary; the reason is in `errorDescription` then, which may be
/// null and is set to none on success.
ZT_EXPORT Ref<NSObject> propertyListFromPropertyList_mutabilityOption_errorDescription(
    const Ref<NSObject>& propertyList, NSUInteger mutabilityOption, Ref<NSString>* errorDescription);

}  // namespace QvFoundationExtensions

// --- Deep copies, differences, arrays of objects
//
// Copies and differences go to any depth, for shared containers within the limit of PropertyListCopy.h; beyond it they
// are none. So is the copy of a container inside itself, and a difference that comes to compare a dictionary inside
// itself. A receiver that is none gives none. Nobody may change a value while it is looked at.

namespace JxPropertyListExtensions {

/// A copy in which every object but keys and the two booleans is new, and all dictionaries, arrays and strings but keys
/// are mutable.
/// \returns none when the receiver is no property list.
ZT_EXPORT Ref<NSMutableArray> deepCopyWithMutabilityContainersAndLeavesOption(const Ref<NSArray>& self);
ZT_EXPORT Ref<NSMutableDictionary> deepCopyWithMutabilityContainersAndLeavesOption(const Ref<NSDictionary>& self);

/// What the elements tell of themselves: for each that responds to `propertyListRepresentation` the dictionary that it
/// answers, with the name of its class added under "ClassForPlistRep"; in that dictionary itself if it is mutable.
/// Other elements are left out.
ZT_EXPORT Ref<NSMutableArray> propertyListRepresentation(const Ref<NSArray>& self);
/// The other way round: for each dictionary of the receiver a new object of the class that "ClassForPlistRep" names,
/// sent `initWithPropertyListRepresentation:` with that dictionary. What is no dictionary, names no known class or one
/// whose instances do not respond, or have no default constructor, is left out, and so are objects whose initialisation
/// answers none. What a constructor or an initialisation throws passes through.
ZT_EXPORT Ref<NSMutableArray> arrayFromPropertyListRepresentation(const Ref<NSArray>& self);

}  // namespace JxPropertyListExtensions

namespace QvFoundationExtensions {

/// A copy in which all arrays and dictionaries are new and mutable; everything else is the very object that the
/// receiver holds.
ZT_EXPORT Ref<NSMutableArray> deepMutableCopy(const Ref<NSArray>& self);
ZT_EXPORT Ref<NSMutableDictionary> deepMutableCopy(const Ref<NSDictionary>& self);

/// What `self` holds that `other` does not hold equally, keys from the last to the first. Of dictionaries that differ
/// only the difference is there, which is empty when `other` merely has more keys. No `other` is the same as an empty
/// one.
ZT_EXPORT Ref<NSMutableDictionary> differencesFromDictionary(const Ref<NSDictionary>& self,
                                                             const Ref<NSDictionary>& other);

}  // namespace QvFoundationExtensions

/// The name of the notification that a store posts after each successful save, with itself as the object.
ZT_EXPORT extern const std::string_view QvPropertyListDidSaveValuesNotification;

/// One property list bound to one file.
///
/// The file is read when the store is made and, but for `saveMergedChanges`, never again; it is written when asked for,
/// atomically (FileManager.h says what that means). In between the store knows its working value and a snapshot of the
/// file.
///
/// A host may derive from the class. The library's own calls on a store are messages, so that methods replaced at run
/// time count.
class ZT_EXPORT QvPropertyList : public NSObject {
  ZT_OBJECT(QvPropertyList, NSObject)
 public:
  /// A store on no file yet, which `initWithPath_format` or a message with that selector loads.
  QvPropertyList() noexcept = default;

  /// The same with XML as the format.
  template <class Store = QvPropertyList>
  static Ref<Store> initWithPath(const Ref<NSString>& path) {
    return as<Store>(initialise(make<Store>(), path));
  }
  /// A new store on the file at `path`, loaded. Without a file, or with one that cannot be read or parsed, it starts
  /// with an empty mutable dictionary and without a snapshot; parse errors go to the log, one for each of the two
  /// values. A file in another of the platform's formats keeps it: `format` then tells the one found. Never none.
  /// OpenStep text is read but never written, so a store on such a file cannot be saved until `setFormat` chooses
  /// another format.
  template <class Store = QvPropertyList>
  static Ref<Store> initWithPath_format(const Ref<NSString>& path, QvPropertyListFormat format) {
    return as<Store>(initialise(make<Store>(), path, format));
  }

  /// The file's path.
  Ref<NSString> path() const { return path_; }
  /// The format of the next save.
  QvPropertyListFormat format() const { return format_; }
  /// Converts nothing until the next save.
  void setFormat(QvPropertyListFormat format) { format_ = format; }

  /// The working value itself; what is changed in it is changed in the store.
  Ref<NSObject> values() const { return currentValues_; }
  /// Keeps `values` itself, neither copied nor examined.
  void setValues(const Ref<NSObject>& values) { currentValues_ = values; }

  /// True when the working value differs from the snapshot, or there is no snapshot.
  virtual bool hasUnsavedChanges();
  /// Writes the working value to the file, making the folders on the way to it, renews the snapshot and posts
  /// QvPropertyListDidSaveValuesNotification before it returns. False on failure, which leaves file, snapshot and
  /// working value as they were, though folders that were made stay; an error text of the writer goes to the log. Links
  /// are followed, and stay links. Blocks until the file is on the device. All memory is asked for before the file is
  /// written: std::bad_alloc means that nothing is saved, unless it comes from telling the observers.
  ///
  /// The snapshot is what the platform's codec reads back. It reads no INI text, so a store of that format has no
  /// snapshot after a save: it logs an error text, keeps telling that there are unsaved changes, and `discardChanges`
  /// empties it.
  virtual bool saveChanges();
  /// Makes the working value a mutable copy of the snapshot, or an empty mutable dictionary if there is none. When the
  /// snapshot cannot be copied the reason goes to the log and the working value is none.
  virtual void discardChanges();
  /// The same as `saveChanges`.
  virtual bool synchronize();

  /// Saves what this store has changed, and takes in what others have changed in the file meanwhile; for a file that
  /// several processes or stores share. Reads the file anew and brings both together key by key, in dictionaries of any
  /// depth: what only one side has changed, added or removed counts, compared with the file as this store last read or
  /// wrote it; what both have changed stays as it is here; an array is one value. Then it writes, if the file does not
  /// hold that already, renews the snapshot, in INI text too, and posts the notification. Mutable dictionaries of the
  /// working value stay the objects that they are; new keys of others come last.
  ///
  /// Those who save in this way wait for each other, so that nothing is lost: by a lock (flock) of the file's folder,
  /// among the processes of one machine. `saveChanges` heeds no lock. A value that does not read back as it was written
  /// (a date with a fraction in XML, a string with a space in INI text) stays as it is here and is no change.
  ///
  /// False on failure: the file exists and cannot be read (`readError` tells; a file that a hand has broken is not
  /// replaced), no lock is had within ten seconds, or as for `saveChanges`; also at once for code that this thread runs
  /// inside another `saveMergedChanges`, such as a key's description. The file stays as it was then; what was taken in
  /// from it stays in the working value and in the snapshot.
  virtual bool saveMergedChanges();
  /// Why the file could not be read when it was last tried, with line and column or byte where there is one; none when
  /// it could be, or there was no file. So a host tells a broken file from a missing one before it saves. INI text has
  /// two faults only: not to be UTF-8, and to be something else, without a line that begins with "[" though others say
  /// something, or with the first bytes of XML or binary.
  Ref<NSString> readError() const { return readError_; }

  // --- Group QvPrivate

  /// The snapshot of the file, none if there is none.
  Ref<NSObject> _serializedValues() const { return serializedValues_; }
  /// The working value.
  Ref<NSObject> _currentValues() const { return currentValues_; }

 protected:
  /// Reads the file; called once, when the store is made.
  virtual void _init();

 private:
  static Ref<NSObject> initialise(const Ref<QvPropertyList>& store, const Ref<NSString>& path);
  static Ref<NSObject> initialise(const Ref<QvPropertyList>& store, const Ref<NSString>& path,
                                  QvPropertyListFormat format);
  Ref<QvPropertyList> initialiseAsXML(const Ref<NSString>& path);
  Ref<QvPropertyList> initialiseInFormat(const Ref<NSString>& path, QvPropertyListFormat format);
  Ref<NSData> bytesOfFile();
  Ref<NSObject> readValues(const Ref<NSData>& bytes, std::int32_t mutabilityOption);
  Ref<NSData> bytesOfValues() const;
  bool writeFile(const Ref<NSData>& bytes);
  bool mergeAndWriteFile();
  bool forgetFile();
  bool mergeFile(const Ref<NSData>& inFile);
  bool writeMerged();

  Ref<NSString> path_;
  QvPropertyListFormat format_ = NSPropertyListXMLFormat_v1_0;
  QvPropertyListFormat fileFormat_ = NSPropertyListXMLFormat_v1_0;  // of what was last read or written
  Ref<NSString> readError_;
  Ref<NSObject> serializedValues_;
  Ref<NSData> unreadBytes_;  // what was saved and gave no snapshot
  Ref<NSObject> currentValues_;
};

// --- Property lists among a bundle's resources
//
// A resource is looked for as `NSBundle::pathForResource_ofType` tells. Only
// the platform's formats are read: INI text is a parse error. Every operation
// is none for a bundle, a name or a class that is none, and for a resource that
// does not exist; nothing is logged then.

namespace JxResourcesExtensions {

/// The value in the resource `name`, which ends with the extension
/// ("Defaults.plist"). Immutable in the first form; in the second all
/// containers and strings but keys are mutable, and it is a value of its own at
/// each call. None, with the error text in the log, when it is no property
/// list; none without a word when the file cannot be read.
ZT_EXPORT Ref<NSObject> propertyListWithResourceNamed(const Ref<NSBundle>& self, const Ref<NSString>& name);
ZT_EXPORT Ref<NSObject> mutablePropertyListWithResourceNamed(const Ref<NSBundle>& self, const Ref<NSString>& name);
/// The same from the bundle that the class's code came with
/// (`NSBundle::bundleForClass`).
ZT_EXPORT Ref<NSObject> propertyListWithResourceNamed_bundleForClass(const Ref<NSString>& name, Class one);
ZT_EXPORT Ref<NSObject> mutablePropertyListWithResourceNamed_bundleForClass(const Ref<NSString>& name, Class one);

/// The value in the file at `path`, with the flavours that `mutabilityOption`
/// (0, 1 or 2) gives; failures as above.
ZT_EXPORT Ref<NSObject> _plistWithPath_mutabilityOption(const Ref<NSBundle>& self, const Ref<NSString>& path,
                                                        NSUInteger mutabilityOption);

}  // namespace JxResourcesExtensions

namespace QvPropertyListExtensions {

/// A new store on the resource file, made by `QvPropertyList::initWithPath`;
/// one that is no property list gives an empty store, with the error texts in
/// the log. Saving writes the resource file.
ZT_EXPORT Ref<QvPropertyList> propertyListForResourceNamed_ofType(const Ref<NSBundle>& self, const Ref<NSString>& name,
                                                                  const Ref<NSString>& type);
ZT_EXPORT Ref<QvPropertyList> propertyListForResourceNamed_ofType_inDirectory(const Ref<NSBundle>& self,
                                                                              const Ref<NSString>& name,
                                                                              const Ref<NSString>& type,
                                                                              const Ref<NSString>& subfolder);
ZT_EXPORT Ref<QvPropertyList> propertyListForResourceNamed_ofType_inDirectory_forLocalization(
    const Ref<NSBundle>& self, const Ref<NSString>& name, const Ref<NSString>& type, const Ref<NSString>& subfolder,
    const Ref<NSString>& localization);

}  // namespace QvPropertyListExtensions

}  // namespace ZtFoundation
