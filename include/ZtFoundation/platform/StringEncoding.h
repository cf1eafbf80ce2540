/// \file StringEncoding.h
/// Byte encodings by their registered names.
/// \code
///   NSStringEncoding encoding = CFStringConvertEncodingToNSStringEncoding(CFStringConvertIANACharSetNameToEncoding("shift_jis"));
///   Ref<NSString> text = NSString::stringWithData_encoding(data, encoding);
/// \endcode
/// Threads: may be called by any thread.
#pragma once

#include <cstdint>

#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

/// 32-bit number of a byte encoding.
using CFStringEncoding = std::uint32_t;
inline constexpr CFStringEncoding kCFStringEncodingInvalidId = 0xFFFFFFFF;

/// The encoding whose name or alias in the IANA registry is `name`, in any case; kCFStringEncodingInvalidId for a name
/// that is not registered, for the empty name and none. Names of ASCII, Latin-1 and the UTFs need no Unicode module;
/// without the module no other name is known. The number of an encoding without a number of its own is valid in this
/// process only.
ZT_EXPORT CFStringEncoding CFStringConvertIANACharSetNameToEncoding(const Ref<NSString>& name);

/// The number under which strings know the encoding: a small one for the well-known encodings, 0x80000000 | `encoding`
/// for the others, kInvalidStringEncoding for kCFStringEncodingInvalidId.
ZT_EXPORT NSStringEncoding CFStringConvertEncodingToNSStringEncoding(CFStringEncoding encoding);

/// The encoding of text from before Unicode, by the user's first language: Shift-JIS for Japanese, Mac Roman for every
/// other and for none. Asks the environment each time (LANGUAGE, LC_ALL, LC_MESSAGES, LANG).
ZT_EXPORT CFStringEncoding CFStringGetSystemEncoding();

}  // namespace ZtFoundation
