/// \file SystemVersion.h
/// The system's version from the texts in which Linux keeps it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace ZtFoundation {

/// The unquoted value of VERSION_ID in the text of an os-release file (os-release(5)); none when it is absent, empty or
/// does not begin with a digit.
std::optional<std::string> versionInOSRelease(std::string_view text);

/// "12.4.1" as 0x1241; a part with no room reads as the largest that has, a missing part as 0. None when it begins with
/// no digit.
std::optional<std::int32_t> packedVersion(std::string_view version);

}  // namespace ZtFoundation
