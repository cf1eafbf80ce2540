/// \file PropertyListSerialization.h
/// `NSPropertyListSerialization`: property lists as bytes and back.
///
/// A property list is a tree of dictionaries with strings as keys, arrays, strings, numbers, booleans, dates and data.
/// Three formats are read: XML, binary (version "00") and OpenStep text; two are written: XML and binary.
/// \code
///   Ref<NSString> error;
///   NSUInteger format = 0;
///   Ref<NSObject> value = NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
///       data, NSPropertyListMutableContainers, &format, &error);
///   if (!value) std::cerr << error << "\n";
/// \endcode
/// Containers more than 512 deep inside each other, lengths that the bytes cannot back, objects that hold themselves,
/// and entity declarations are errors. Reading text takes time and memory in proportion to its bytes, whatever they
/// hold (but finding the place of the error in invalid bytes of an encoding with shifts takes longer by their
/// logarithm).
///
/// A binary file may share one object between many places, each of which may get a copy of its own. So all places
/// together are limited to 2^19 values and 4 more for each byte of the file, where text and data count one more for
/// each whole 32 bytes that they take (a unit takes one byte in ASCII text, otherwise two). Files beyond the limit are
/// neither read nor written. Reading takes time and memory in proportion to the limit at most, with every option: text
/// and data take less than 16 MiB and 128 bytes for each byte of the file, everything else about a hundred bytes for
/// each value. As long as no containers are shared, what takes up to 127 bytes may stand in any number of places, and
/// an ASCII text of a million units in 144.
///
/// A UID of a binary file reads as the dictionary with the one key "CF$UID", and such a dictionary is written as a UID
/// to binary.
///
/// Equal keys in one dictionary: the last value counts, in the place of the first. Keys are immutable strings always.
///
/// Threads: all operations may be called from any thread; nobody may change a value while it is written.
#pragma once

#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Object.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

/// Numbers of the formats.
enum NSPropertyListFormat : NSUInteger {
  NSPropertyListOpenStepFormat = 1,  ///< read only
  NSPropertyListXMLFormat_v1_0 = 100,
  NSPropertyListBinaryFormat_v1_0 = 200,
};

/// Which flavours reading produces. Other numbers mean the same as NSPropertyListMutableContainers.
enum NSPropertyListMutabilityOptions : NSUInteger {
  NSPropertyListImmutable = 0,                   ///< nothing can be changed
  NSPropertyListMutableContainers = 1,           ///< dictionaries and arrays can
  NSPropertyListMutableContainersAndLeaves = 2,  ///< strings can, too
};

/// Reads and writes property lists; there are no instances.
class ZT_EXPORT NSPropertyListSerialization {
 public:
  NSPropertyListSerialization() = delete;

  /// Whether `propertyList` can be written in `format`. False for none, for OpenStep text, which is not written, and
  /// for an unknown format. Takes as long as writing.
  static bool propertyList_isValidForFormat(const Ref<NSObject>& propertyList, NSUInteger format);

  /// The bytes of `propertyList` in `format`, the same from run to run, dictionaries in their own order.
  ///
  /// None when it cannot be written: it is none or holds an object that is no property list, a key that is no string, a
  /// date that is not a finite number of seconds, containers more than 512 deep inside each other or inside themselves,
  /// what the format cannot carry, or the format is OpenStep text or unknown. XML cannot carry most control characters,
  /// unpaired surrogates, and dates 2^63 seconds away or further, for which there is no calendar; binary cannot carry
  /// more shared values than the limit above. `error`, if not null, gets the reason then, and none on success.
  static Ref<NSData> dataFromPropertyList_format_errorDescription(const Ref<NSObject>& propertyList, NSUInteger format,
                                                                  Ref<NSString>* error);

  /// The property list that `data` holds, in whichever format: what it begins with decides. The data is not kept.
  ///
  /// None when it is none, empty, or not a whole and valid property list with nothing after it; `error`, if not null,
  /// gets the reason then (what was expected, and line and column or the offset of the byte), and none on success.
  /// `format`, if not null, gets the number of the format on success and is left alone on failure. With mutable
  /// containers each place has a container of its own, even where a binary file shares one.
  static Ref<NSObject> propertyListFromData_mutabilityOption_format_errorDescription(const Ref<NSData>& data,
                                                                                     NSUInteger mutabilityOption,
                                                                                     NSUInteger* format,
                                                                                     Ref<NSString>* error);
};

}  // namespace ZtFoundation
