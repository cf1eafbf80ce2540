/// \file FileContents.h
/// Reading and writing open files as a whole.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ZtFoundation::detail {

/// Everything from the present position to the end; none on an error, also for a folder. The size that the system tells is
/// only a hint, so files that grow or shrink meanwhile, or tell 0, are read to where they end.
std::optional<std::string> readToEnd(int file);

/// False on an error; part of the bytes may have been written then.
bool writeAll(int file, std::string_view bytes);

}  // namespace ZtFoundation::detail
