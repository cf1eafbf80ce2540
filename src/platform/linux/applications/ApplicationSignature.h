/// \file ApplicationSignature.h
/// The signatures that applications declare.
#pragma once

#include <string>
#include <vector>

#include <ZtFoundation/platform/String.h>

namespace ZtFoundation::detail {

/// Stands for a signature that only the reader of desktop entries can tell.
inline constexpr OSType kAnySignature = 0;

/// The code of a signature: its first four bytes in Shift-JIS, big-endian, zero for each that is missing. A byte of
/// 0x80 or more that is not the first sets every bit above its own. 0 for what is none: no text, text that begins with
/// U+0000, and "????".
OSType signatureCode(const Ref<NSString>& text);

/// The codes of all that looks like a signature in the text of a desktop entry; kAnySignature for one with escapes.
std::vector<OSType> signaturesInEntry(std::string_view text);

}  // namespace ZtFoundation::detail
