/// \file OpenStepCharacters.h
/// The character table that octal escapes of OpenStep text count in.
#pragma once

namespace ZtFoundation::codec {

/// The character with the code `code` in the format's own table: ASCII, and an upper half like no other character
/// set's; U+FFFD for the two codes that it leaves open.
char16_t characterOfOpenStepCode(unsigned char code);

}  // namespace ZtFoundation::codec
