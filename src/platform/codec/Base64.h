/// \file Base64.h
/// Bytes as Base64 text (RFC 4648, the standard alphabet with padding).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace ZtFoundation::codec {

/// Replaces `bytes` by what `text` stands for. White space may stand between digits; false on anything else that is no
/// digit, on missing or superfluous padding, and on digits after the padding. Then `bytes` means nothing.
bool decodeBase64(std::string_view text, std::string& bytes);

/// How many characters `length` bytes become.
constexpr std::size_t base64Length(std::size_t length) { return (length / 3 + (length % 3 != 0 ? 1 : 0)) * 4; }

/// Writes the digits of `bytes` to `buffer`, which has room for base64Length(bytes.size()), and answers their end.
char* encodeBase64(std::string_view bytes, char* buffer);

}  // namespace ZtFoundation::codec
