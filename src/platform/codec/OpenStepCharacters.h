/// \file OpenStepCharacters.h
/// The character set that octal escapes of OpenStep text count in.
#pragma once

namespace ZtFoundation::codec {

/// The character with the code `code` in the NEXTSTEP character set; U+FFFD for the two codes that it leaves open.
char16_t characterOfNextStepCode(unsigned char code);

}  // namespace ZtFoundation::codec
