/// \file Text.h
/// Text services: numbered placeholders, scrambling of short strings, identifier strings.
/// \code
///   Ref<NSString> text = "%2 of %1";
///   JxReplacementExtensions::stringWithParameterArray(text, NSArray::of("ten", "three"));   // "three of ten"
///   ZtSimpleDecriptedKey(ZtSimpleEncriptedKey("secret", "key"), "key");                     // "secret"
/// \endcode
/// Threads: all operations are pure functions and may be called from any thread.
#pragma once

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

// --- Numbered placeholders

/// Placeholders in strings.
namespace JxReplacementExtensions {

/// Fills the placeholders %1, %2, ... of `self` with the strings of `parameters`.
///
/// Placeholders are filled in ascending order, each at every occurrence, until the first that does not occur: the
/// template "%1 %3" keeps its %3. As each search begins anew at the start of the text, what a parameter brings in is searched too, and
/// %10 is found as %1 followed by 0. An element that is no string takes part with its description.
/// \returns a new mutable string; a copy of `self` when `parameters` is none; none when `self` is none.
/// \throws NSException NSInvalidArgumentException when a parameter that is wanted holds its own placeholder, so that filling
/// it would never end, or when the text would grow beyond 2^24 UTF-16 units.
ZT_EXPORT Ref<NSMutableString> stringWithParameterArray(const Ref<NSString>& self, const Ref<NSArray>& parameters);

}  // namespace JxReplacementExtensions

// --- Scrambling and identifiers

/// A new random identifier: 36 characters in upper case, 8-4-4-4-12 (RFC 9562, version 4). None when the system has no
/// randomness to give.
ZT_EXPORT Ref<NSString> ZtIdentifierString();

/// Scrambles `text` with `key`: each UTF-16 unit becomes two upper-case hexadecimal digits, the low byte of its exclusive-or with a unit of
/// the key, which repeats. This keeps a value from being read in passing; it is not encryption.
///
/// Only pairs of units whose exclusive-or has a low byte of at most 0x7F are allowed, which holds for ASCII text with an ASCII
/// key; anything else stops the process with a message, because its result could not be read back.
/// \returns none when text or key is none or the key is empty.
ZT_EXPORT Ref<NSString> ZtSimpleEncriptedKey(const Ref<NSString>& text, const Ref<NSString>& key);

/// Turns the result of `ZtSimpleEncriptedKey` back into the text, given the same key.
///
/// Digits may be in either case. A pair that is no number repeats the value of the pair before it (0 at the start), one whose second
/// character is no digit has the value of its first; an odd last character is ignored.
/// \returns none when text or key is none or the key is empty.
ZT_EXPORT Ref<NSString> ZtSimpleDecriptedKey(const Ref<NSString>& scrambled, const Ref<NSString>& key);

/// The worker of `ZtSimpleEncriptedKey`, with the same rules.
ZT_EXPORT Ref<NSString> __EncriptedKey(const Ref<NSString>& text,
                                       const Ref<NSString>& key);  // NOLINT(bugprone-reserved-identifier)
/// The worker of `ZtSimpleDecriptedKey`, with the same rules.
ZT_EXPORT Ref<NSString> __DecriptedKey(const Ref<NSString>& scrambled,
                                       const Ref<NSString>& key);  // NOLINT(bugprone-reserved-identifier)

}  // namespace ZtFoundation
