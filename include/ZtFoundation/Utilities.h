/// \file Utilities.h
/// Small utilities: services on strings; bytes as hexadecimal text; conveniences on collections; numbers and
/// comparators; a stopwatch; replacing methods at run time; display names for labels; the rectangle of two points.
#pragma once

#include <cstdint>
#include <type_traits>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/AttributedString.h>
#include <ZtFoundation/platform/CharacterSet.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Export.h>
#include <ZtFoundation/platform/Geometry.h>
#include <ZtFoundation/platform/IndexSet.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/Set.h>
#include <ZtFoundation/platform/String.h>
#include <ZtFoundation/platform/ValueTransformer.h>

namespace ZtFoundation {

// --- Strings
//
//   QvFoundationExtensions::naturalCompare("file9", "file10");                                // NSOrderedAscending
//   QvFoundationExtensions::abbreviatedStringForByteLength(1536);                             // "1.5 kB"
//   QvFoundationExtensions::stringByDeletingAllOccurrencesOfString("a-b-c", "-");             // "abc"
//
// Positions and lengths count UTF-16 units. Nothing is ever changed in place; a replacing or deleting operation that
// finds nothing answers the receiver itself, the very object. A receiver that is none answers none, false, or the same
// (0). `options` are the bits of NSStringCompareOptions; searches without NSLiteralSearch take composed and decomposed
// forms of a character for the same. Threads: safe.

/// The collation options of `naturalCompare`, for use with `UCCompareTextDefault`: composition, width and case ignored,
/// punctuation significant, numbers by value.
ZT_EXPORT extern const std::uint32_t kNaturalComparisonUCCollateOptions;

namespace QvFoundationExtensions {

/// The bytes decoded by the charset that the IANA registry knows as `charset` (a name or alias, in any case).
/// \returns none when there is no such charset or the bytes are not valid in it. Nothing is guessed.
ZT_EXPORT Ref<NSString> initWithData_charset(const Ref<NSData>& data, const Ref<NSString>& charset);
/// The same.
ZT_EXPORT Ref<NSString> stringWithData_charset(const Ref<NSData>& data, const Ref<NSString>& charset);
/// The bytes decoded by the encoding with this number.
/// \returns none when there is no such encoding or the bytes are not valid in it.
ZT_EXPORT Ref<NSString> stringWithData_encoding(const Ref<NSData>& data, NSStringEncoding encoding);

/// A byte count for people: "999 bytes", then with one decimal kB, MB, GB, TB, PB. Each unit is 1024 of the one before
/// it; the next one is taken from 1000 on, so 1023999 is "1000.0 kB" and 1024000 "1.0 MB". PB is the last: 1000 of them
/// and more stay PB.
ZT_EXPORT Ref<NSString> abbreviatedStringForByteLength(std::uint64_t length);

/// The order in which people list names: numbers by value, without regard to case, width and composition; diacritics
/// and punctuation count. Follows the root collation of the Unicode data. Different texts may be the same ("ABC",
/// "abc"; "a1", "a01").
/// \returns ascending (-1), same (0) or descending (+1); same when either is none, or when texts that are not ASCII
/// cannot be compared because the Unicode module is missing.
ZT_EXPORT NSComparisonResult naturalCompare(const Ref<NSString>& self, const Ref<NSString>& other);

/// True when `substring` occurs in `self`, searched without options. Empty text and none never occur.
ZT_EXPORT bool containsString(const Ref<NSString>& self, const Ref<NSString>& substring);
/// The same, searched as `options` say.
ZT_EXPORT bool containsString_options(const Ref<NSString>& self, const Ref<NSString>& substring, NSUInteger options);
/// The same within `range`.
/// \throws NSException NSRangeException when `range` does not lie inside `self`.
ZT_EXPORT bool containsString_options_range(const Ref<NSString>& self, const Ref<NSString>& substring,
                                            NSUInteger options, NSRange range);
/// True when a member of `set` occurs in `self`; false for no set.
ZT_EXPORT bool containsCharacterInSet(const Ref<NSString>& self, const Ref<NSCharacterSet>& set);
/// The same, searched as `options` say.
ZT_EXPORT bool containsCharacterInSet_options(const Ref<NSString>& self, const Ref<NSCharacterSet>& set,
                                              NSUInteger options);
/// The same within `range`.
/// \throws NSException NSRangeException when `range` does not lie inside `self`.
ZT_EXPORT bool containsCharacterInSet_options_range(const Ref<NSString>& self, const Ref<NSCharacterSet>& set,
                                                    NSUInteger options, NSRange range);

/// Puts `replacement` in place of each `target`, from left to right; what was put in is not searched again. No
/// replacement is the empty one.
ZT_EXPORT Ref<NSString> stringByReplacingAllOccurrencesOfString_withString(const Ref<NSString>& self,
                                                                           const Ref<NSString>& target,
                                                                           const Ref<NSString>& replacement);
/// Puts `replacement` in place of each single member of `set`; a run of three becomes three replacements.
ZT_EXPORT Ref<NSString> stringByReplacingAllOccurrencesOfCharactersInSet_withString(const Ref<NSString>& self,
                                                                                    const Ref<NSCharacterSet>& set,
                                                                                    const Ref<NSString>& replacement);
/// Writes carriage return, line feed and tab as the two characters `\r`, `\n` and `\t`. Spaces stay.
ZT_EXPORT Ref<NSString> stringByReplacingAllOccurrencesOfWhiteSpaces(const Ref<NSString>& self);
/// Leaves out each `target`, from left to right; what then stands side by side is not searched again.
ZT_EXPORT Ref<NSString> stringByDeletingAllOccurrencesOfString(const Ref<NSString>& self, const Ref<NSString>& target);
/// Leaves out each member of `set`.
ZT_EXPORT Ref<NSString> stringByDeletingAllOccurrencesOfCharactersInSet(const Ref<NSString>& self,
                                                                        const Ref<NSCharacterSet>& set);

}  // namespace QvFoundationExtensions

// --- Hexadecimal text of bytes
//
//   QvFoundationExtensions::hexRepresentation(data);             // "00010203 04050607 08090a0b 0c0d0e0f\n10111213"
//   QvFoundationExtensions::dataWithHexRepresentation("0xC0FFEE");

namespace QvFoundationExtensions {

/// Two lower-case digits for each byte, a blank after every fourth byte and a line feed after every sixteenth, except
/// at the end.
/// \returns the empty string for empty data, none for none. Data of 2^31 bytes and more gives none.
ZT_EXPORT Ref<NSString> hexRepresentation(const Ref<NSData>& self);

/// The bytes that `text` spells in hexadecimal digits of either case. White space may stand anywhere, one "0x" at the
/// start; of an odd number of digits the first alone is the first byte. Only the low byte of each unit is looked at.
/// \returns empty data for text of white space alone, none for none. Text of 2^31 digits and more gives none.
/// \throws NSException "IllegalHexDigit" at the first unit that is no digit.
ZT_EXPORT Ref<NSData> initWithHexRepresentation(const Ref<NSString>& text);
/// The same.
ZT_EXPORT Ref<NSData> dataWithHexRepresentation(const Ref<NSString>& text);

}  // namespace QvFoundationExtensions

// --- Collections
//
//   QvFoundationExtensions::arrayByRemovingObject(names, "Alice");
//   QvFoundationExtensions::objectsKindOfClass(mixed, NSString::classObject());
//   QvFoundationExtensions::indexSetByAddingIndexesInRange(rows, {10, 5});
//
// Each answers a new immutable collection, never the receiver itself, even when nothing changes; none for no receiver.
// An argument that is none changes nothing.

namespace QvFoundationExtensions {

/// Without all elements equal to `object`.
ZT_EXPORT Ref<NSArray> arrayByRemovingObject(const Ref<NSArray>& self, const Ref<NSObject>& object);
/// Without all elements equal to any of `objects`.
ZT_EXPORT Ref<NSArray> arrayByRemovingObjects(const Ref<NSArray>& self, const Ref<NSArray>& objects);
/// The elements whose class is `wanted` or derives from it, in order; no element is of the null class.
ZT_EXPORT Ref<NSArray> objectsKindOfClass(const Ref<NSArray>& self, Class wanted);
/// How many elements answer true when asked whether they are equal (`isEqualTo`) to `object`; 0 for none.
ZT_EXPORT NSUInteger numberOfObjectsEqualTo(const Ref<NSArray>& self, const Ref<NSObject>& object);

/// A new set of class `Set`, NSIndexSet or NSMutableIndexSet, with the indexes of `other`.
template <class Set = NSIndexSet>
Ref<Set> indexSetWithIndexSet(const Ref<NSIndexSet>& other) {
  if (!other) return nullptr;
  const Ref<NSMutableIndexSet> copy = other->mutableCopy();
  if constexpr (std::is_same_v<Set, NSMutableIndexSet>) {
    return copy;
  } else {
    return copy->copy();
  }
}
/// With `index` as well.
ZT_EXPORT Ref<NSIndexSet> indexSetByAddingIndex(const Ref<NSIndexSet>& self, NSUInteger index);
/// With all of `indexes` as well.
ZT_EXPORT Ref<NSIndexSet> indexSetByAddingIndexes(const Ref<NSIndexSet>& self, const Ref<NSIndexSet>& indexes);
/// With the indexes of `range` as well; a range that would run past the largest index is cut there.
ZT_EXPORT Ref<NSIndexSet> indexSetByAddingIndexesInRange(const Ref<NSIndexSet>& self, NSRange range);
/// Without `index`.
ZT_EXPORT Ref<NSIndexSet> indexSetByRemovingIndex(const Ref<NSIndexSet>& self, NSUInteger index);
/// Without any of `indexes`.
ZT_EXPORT Ref<NSIndexSet> indexSetByRemovingIndexes(const Ref<NSIndexSet>& self, const Ref<NSIndexSet>& indexes);
/// Without the indexes of `range`, which is cut like that of `indexSetByAddingIndexesInRange`.
ZT_EXPORT Ref<NSIndexSet> indexSetByRemovingIndexesInRange(const Ref<NSIndexSet>& self, NSRange range);

/// A new attributed string of class `String`, which is NSAttributedString or derives from it and has its constructors.
/// None for no text.
template <class String = NSAttributedString>
Ref<String> attributedStringWithString(const Ref<NSString>& text) {
  return text ? make<String>(text) : nullptr;
}
/// With the same attributes throughout; none for `attributes` is the same as no attributes.
template <class String = NSAttributedString>
Ref<String> attributedStringWithString_attributes(const Ref<NSString>& text, const Ref<NSDictionary>& attributes) {
  return text ? make<String>(text, attributes) : nullptr;
}
/// A copy of `other`, text and attributes, of class `String`; none for none.
template <class String = NSAttributedString>
Ref<String> attributedStringWithAttributedString(const Ref<NSAttributedString>& other) {
  return other ? make<String>(other) : nullptr;
}

/// Sends `selector` to `self` once for each element, in order, with the element as the argument. Answers are dropped.
/// Does nothing for none; raises what `performSelector_withObject` raises. The array must not change meanwhile.
ZT_EXPORT void performSelector_withEachObjectInArray(const Ref<NSObject>& self, SEL selector,
                                                     const Ref<NSArray>& objects);
/// The same for each member of a set, in its order.
ZT_EXPORT void performSelector_withEachObjectInSet(const Ref<NSObject>& self, SEL selector, const Ref<NSSet>& objects);

}  // namespace QvFoundationExtensions

// --- Numbers
//
//   QvCompareDouble(1.0, 2.0);                                                     // -1
//   std::sort(values.begin(), values.end(), QvComparatorAdapter<QvCompareInt>());  // or std::qsort(..., &...::pointers)
//   JxArithmeticExtensions::plus(NSNumber::numberWithInt(2), NSNumber::numberWithInt(3));

extern "C" {

/// Three-way comparison: -1 when the first is less, 0 when they are the same, +1 when it is greater. A NaN is the same
/// as everything.
ZT_EXPORT NSInteger QvCompareChar(signed char a, signed char b);
ZT_EXPORT NSInteger QvCompareUnsignedChar(unsigned char a, unsigned char b);
ZT_EXPORT NSInteger QvCompareShort(short a, short b);
ZT_EXPORT NSInteger QvCompareUnsignedShort(unsigned short a, unsigned short b);
ZT_EXPORT NSInteger QvCompareInt(int a, int b);
ZT_EXPORT NSInteger QvCompareUnsignedInt(unsigned a, unsigned b);
ZT_EXPORT NSInteger QvCompareLong(long a, long b);
ZT_EXPORT NSInteger QvCompareUnsignedLong(unsigned long a, unsigned long b);
ZT_EXPORT NSInteger QvCompareLongLong(long long a, long long b);
ZT_EXPORT NSInteger QvCompareUnsignedLongLong(unsigned long long a, unsigned long long b);
ZT_EXPORT NSInteger QvCompareFloat(float a, float b);
ZT_EXPORT NSInteger QvCompareDouble(double a, double b);
/// Booleans stored as signed bytes order by their byte.
ZT_EXPORT NSInteger QvCompareBool(signed char a, signed char b);
/// Machine words and graphics floats, in the width of the build.
ZT_EXPORT NSInteger QvCompareNSInteger(NSInteger a, NSInteger b);
ZT_EXPORT NSInteger QvCompareNSUInteger(NSUInteger a, NSUInteger b);
ZT_EXPORT NSInteger QvCompareCGFloat(CGFloat a, CGFloat b);

}  // extern "C"

namespace detail {

template <class Comparator>
struct ComparedType;
template <class T>
struct ComparedType<NSInteger (*)(T, T)> : std::type_identity<T> {};

}  // namespace detail

/// Makes one of the comparators above what sorting functions take: an object for std::sort, `pointers` for qsort and
/// bsearch.
template <auto comparator>
struct QvComparatorAdapter {
  using Value = typename detail::ComparedType<decltype(comparator)>::type;

  /// Whether `a` comes before `b`.
  bool operator()(Value a, Value b) const { return comparator(a, b) < 0; }
  /// The order of what two pointers point to.
  static int pointers(const void* a, const void* b) {
    return static_cast<int>(comparator(*static_cast<const Value*>(a), *static_cast<const Value*>(b)));
  }
};

/// Arithmetic on numbers read as signed 32-bit integers (`intValue`); what does not fit wraps. None when either number
/// is none.
namespace JxArithmeticExtensions {

/// The sum, the difference and the product.
ZT_EXPORT Ref<NSNumber> plus(const Ref<NSNumber>& self, const Ref<NSNumber>& other);
ZT_EXPORT Ref<NSNumber> minus(const Ref<NSNumber>& self, const Ref<NSNumber>& other);
ZT_EXPORT Ref<NSNumber> times(const Ref<NSNumber>& self, const Ref<NSNumber>& other);
/// Cut toward zero; 0 for a divisor that is 0 or negative.
ZT_EXPORT Ref<NSNumber> dividedBy(const Ref<NSNumber>& self, const Ref<NSNumber>& other);

}  // namespace JxArithmeticExtensions

/// Numbers made of, and read as, machine words.
namespace QvFoundationExtensions {

/// A number with this signed value.
ZT_EXPORT Ref<NSNumber> numberWithInteger(NSInteger value);
/// A number with this unsigned value.
ZT_EXPORT Ref<NSNumber> numberWithUnsignedInteger(NSUInteger value);
/// The same as `numberWithInteger`.
ZT_EXPORT Ref<NSNumber> initWithInteger(NSInteger value);
/// The same as `numberWithUnsignedInteger`.
ZT_EXPORT Ref<NSNumber> initWithUnsignedInteger(NSUInteger value);
/// The value as a signed word; 0 for none.
ZT_EXPORT NSInteger integerValue(const Ref<NSNumber>& self);
/// The value as an unsigned word; 0 for none.
ZT_EXPORT NSUInteger unsignedIntegerValue(const Ref<NSNumber>& self);

}  // namespace QvFoundationExtensions

// --- Elapsed time

/// A stopwatch on the monotonic clock of the machine, which runs from its creation on.
/// \code
///   Ref<QvElapsedTime> watch = QvElapsedTime::elapsedTime();
///   ...
///   NSLog("took %.3f ms", watch->elapsedMillisecondsAsFloat64());
/// \endcode
/// Threads: one at a time.
class ZT_EXPORT QvElapsedTime : public NSObject {
  ZT_OBJECT(QvElapsedTime, NSObject)
 public:
  /// A running stopwatch.
  QvElapsedTime();

  /// A new stopwatch of exactly this class, sent `init`; none when that answers none.
  static Ref<QvElapsedTime> elapsedTime();

  /// Reads the time base and starts the measurement; answers the receiver. None, and nothing is started, when the root
  /// class's `init` answers none.
  Ref<QvElapsedTime> init();
  /// Starts the measurement anew.
  void resetEpochTime();
  /// Whole milliseconds since the start; begins again at 0 after 2^32 of them (49.7 days).
  std::uint32_t elapsedMillisecondsAsUInt32() const;
  /// Milliseconds since the start, to the nanosecond.
  double elapsedMillisecondsAsFloat64() const;

 protected:
  /// Nanoseconds are ticks times the numerator, of which the low 64 bits count, divided by the denominator.
  struct TimebaseInfo {
    std::uint32_t numerator;
    std::uint32_t denominator;
  };

  TimebaseInfo timebaseInfo{1, 1};
  std::uint64_t epochTime = 0;

 private:
  struct NotRunning {};
  explicit QvElapsedTime(NotRunning) noexcept {}

  std::uint64_t elapsedNanoseconds() const;
};

// --- Method replacement
//
// To patch a method and still reach the old behaviour, keep the old implementation under a new selector, then replace:
//
//   Ref<NSString> patched(const Ref<Camera>& self) {
//     return send<Ref<NSString>>(self, ZT_SELECTOR("originalModel"))->stringByAppendingString(" (patched)");
//   }
//   QvDuplicateInstanceMethodWithSelector(Camera::classObject(), ZT_SELECTOR("model"), ZT_SELECTOR("originalModel"));
//   QvReplaceMethodImplementation(Camera::classObject(), ZT_SELECTOR("model"), methodImplementation<&patched>());
//
// The replacement takes effect for messages: every `send`, and the calls that the library itself makes on objects of
// classes that hosts may derive from. To change class methods, pass the class's `metaclass()`. An implementation must
// take what the method's callers send: a message whose types it does not have raises NSInvalidArgumentException.
// Threads: safe at any time; meant for start-up.

/// Gives `one` a method `copy` with the implementation that instances of `one` have for `existing`, inherited ones
/// included. A method `copy` that `one` itself defines already stays as it is.
/// \returns that implementation; null, and nothing changes, when instances of `one` do not respond to `existing`.
ZT_EXPORT IMP QvDuplicateInstanceMethodWithSelector(Class one, SEL existing, SEL copy);

/// Has instances of `one`, and of subclasses without a method of their own, answer `selector` with `implementation`.
/// The superclass of `one` keeps its behaviour, also when `one` has only inherited the method. With a null
/// implementation they stop responding.
/// \returns the implementation that was in force for `one`; null, and nothing changes, when there was no such method.
ZT_EXPORT IMP QvReplaceMethodImplementation(Class one, SEL selector, IMP implementation);

/// The same with the implementation that `one` has for `source`, which must exist: else instances stop responding to
/// `selector`.
ZT_EXPORT IMP QvReplaceMethodImplementationWithSelector(Class one, SEL selector, SEL source);

/// The same with the implementation that `sourceClass` has for `source`, which must exist: else instances stop
/// responding to `selector`.
ZT_EXPORT IMP QvReplaceMethodImplementationWithSelectorOnClass(Class one, SEL selector, Class sourceClass, SEL source);

/// The class that defines the method that instances of `one` have for `selector`: `one` or the ancestor it is inherited
/// from.
/// \returns null when there is no such method.
ZT_EXPORT Class QvClassImplementingMethod(Class one, SEL selector);

// --- Display names and geometry
//
//   make<QvDisplayNameTransformer>()->transformedValue("/tmp/a.txt");   // "a.txt"
//   ZtRectFromPoints({10, 20}, {4, 25});                                // origin (4, 20), size (6, 5)

/// Turns a path or the URL of a file into the name that people see for the item. Threads: safe.
class ZT_EXPORT QvDisplayNameTransformer : public NSValueTransformer {
  ZT_OBJECT(QvDisplayNameTransformer, NSValueTransformer)
 public:
  /// The class of strings.
  static Class transformedValueClass();
  /// False: names do not tell where an item is.
  static bool allowsReverseTransformation();

  /// A string: the default manager's `displayNameAtPath` for a path, `displayNameAtURL` for a URL (none for one that is
  /// not of a file or whose item does not exist), and the empty string for everything else, none too. Blocks as long as
  /// the file system does.
  Ref<NSObject> transformedValue(const Ref<NSObject>& value) override;
};

/// The rectangle between two corners, given in either order; its size is never negative. Where a coordinate of either
/// point is a NaN, the origin has that of `b` and the size is a NaN; equal infinities have the size NaN, others an
/// infinite one.
extern "C" ZT_EXPORT NSRect ZtRectFromPoints(NSPoint a, NSPoint b);

}  // namespace ZtFoundation
