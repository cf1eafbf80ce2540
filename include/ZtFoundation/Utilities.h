/// \file Utilities.h
/// Small utilities: services on strings; replacing methods at run time.
#pragma once

#include <cstdint>

#include <ZtFoundation/platform/CharacterSet.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Export.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

// --- Strings
//
//   QvFoundationExtensions::naturalCompare("file9", "file10");                                // NSOrderedAscending
//   QvFoundationExtensions::abbreviatedStringForByteLength(1536);                             // "1.5 kB"
//   QvFoundationExtensions::stringByDeletingAllOccurrencesOfString("a-b-c", "-");             // "abc"
//
// Positions and lengths count UTF-16 units. Nothing is ever changed in place; a replacing or deleting operation that finds nothing answers the
// receiver itself, the very object. A receiver that is none answers none, false, or the same (0). `options` are the bits of
// NSStringCompareOptions; searches without NSLiteralSearch take composed and decomposed forms of a character for the same. Threads: safe.

/// The collation options of `naturalCompare`, for use with `UCCompareTextDefault`: composition, width and case ignored, punctuation
/// significant, numbers by value.
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

/// A byte count for people: "999 bytes", then with one decimal kB, MB, GB, TB, PB. Each unit is 1024 of the one before it; the next one is
/// taken from 1000 on, so 1023999 is "1000.0 kB" and 1024000 "1.0 MB".
ZT_EXPORT Ref<NSString> abbreviatedStringForByteLength(std::uint64_t length);

/// The order in which people list names: numbers by value, without regard to case, width and composition; diacritics and punctuation count.
/// Follows the root collation of the Unicode data. Different texts may be the same ("ABC", "abc"; "a1", "a01").
/// \returns ascending (-1), same (0) or descending (+1); same when either is none, or when texts that are not ASCII cannot be compared because
/// the Unicode module is missing.
ZT_EXPORT NSComparisonResult naturalCompare(const Ref<NSString>& self, const Ref<NSString>& other);

/// True when the search finds `substring`, which it never does when that is empty or none.
/// \throws NSException NSRangeException when `range` does not lie inside `self`.
ZT_EXPORT bool containsString(const Ref<NSString>& self, const Ref<NSString>& substring);
ZT_EXPORT bool containsString_options(const Ref<NSString>& self, const Ref<NSString>& substring, NSUInteger options);
ZT_EXPORT bool containsString_options_range(const Ref<NSString>& self, const Ref<NSString>& substring,
                                            NSUInteger options, NSRange range);
/// True when a member of `set` occurs.
/// \throws NSException NSRangeException when `range` does not lie inside `self`.
ZT_EXPORT bool containsCharacterInSet(const Ref<NSString>& self, const Ref<NSCharacterSet>& set);
ZT_EXPORT bool containsCharacterInSet_options(const Ref<NSString>& self, const Ref<NSCharacterSet>& set,
                                              NSUInteger options);
ZT_EXPORT bool containsCharacterInSet_options_range(const Ref<NSString>& self, const Ref<NSCharacterSet>& set,
                                                    NSUInteger options, NSRange range);

/// Puts `replacement` in place of each `target`, from left to right; what was put in is not searched again. No replacement is the empty one.
ZT_EXPORT Ref<NSString> stringByReplacingAllOccurrencesOfString_withString(const Ref<NSString>& self,
                                                                           const Ref<NSString>& target,
                                                                           const Ref<NSString>& replacement);
/// Puts `replacement` in place of each single member of `set`; a run of three becomes three replacements.
ZT_EXPORT Ref<NSString> stringByReplacingAllOccurrencesOfCharactersInSet_withString(const Ref<NSString>& self,
                                                                                    const Ref<NSCharacterSet>& set,
                                                                                    const Ref<NSString>& replacement);
/// Writes carriage return, line feed and tab as the two characters \r, \n and \t. Spaces stay.
ZT_EXPORT Ref<NSString> stringByReplacingAllOccurrencesOfWhiteSpaces(const Ref<NSString>& self);
ZT_EXPORT Ref<NSString> stringByDeletingAllOccurrencesOfString(const Ref<NSString>& self, const Ref<NSString>& target);
ZT_EXPORT Ref<NSString> stringByDeletingAllOccurrencesOfCharactersInSet(const Ref<NSString>& self,
                                                                        const Ref<NSCharacterSet>& set);

}  // namespace QvFoundationExtensions

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
// The replacement takes effect for messages: every `send`, and the calls that the library itself makes on objects of classes that hosts may
// derive from. To change class methods, pass the class's `metaclass()`. An implementation must take what the method's callers send: a message
// whose types it does not have raises NSInvalidArgumentException. Threads: safe at any time; meant for start-up.

/// Gives `one` a method `copy` with the implementation that instances of `one` have for `existing`, inherited ones included. A method
/// `copy` that `one` itself defines already stays as it is.
/// \returns that implementation; null, and nothing changes, when instances of `one` do not respond to `existing`.
ZT_EXPORT IMP QvDuplicateInstanceMethodWithSelector(Class one, SEL existing, SEL copy);

/// Has instances of `one`, and of subclasses without a method of their own, answer `selector` with `implementation`. The superclass of `one`
/// keeps its behaviour, also when `one` has only inherited the method. With a null implementation they stop responding.
/// \returns the implementation that was in force for `one`; null, and nothing changes, when there was no such method.
ZT_EXPORT IMP QvReplaceMethodImplementation(Class one, SEL selector, IMP implementation);

/// The same with the implementation that `one` has for `source`, which must exist: else instances stop responding to `selector`.
ZT_EXPORT IMP QvReplaceMethodImplementationWithSelector(Class one, SEL selector, SEL source);

/// The same with the implementation that `sourceClass` has for `source`, which must exist: else instances stop responding to `selector`.
ZT_EXPORT IMP QvReplaceMethodImplementationWithSelectorOnClass(Class one, SEL selector, Class sourceClass, SEL source);

/// The class that defines the method that instances of `one` have for `selector`: `one` or the ancestor it is inherited from.
/// \returns null when there is no such method.
ZT_EXPORT Class QvClassImplementingMethod(Class one, SEL selector);

}  // namespace ZtFoundation
