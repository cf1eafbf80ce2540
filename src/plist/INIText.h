/// \file INIText.h
/// Telling INI text from what is none; its reader takes everything.
#pragma once

#include <string_view>

namespace ZtFoundation::detail {

/// False for bytes that begin as XML or a binary property list do, and for text without a line that begins with "[",
/// though there is more in it than comments.
bool isINIText(std::string_view bytes) noexcept;

}  // namespace ZtFoundation::detail
