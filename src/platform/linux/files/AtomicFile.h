/// \file AtomicFile.h
/// Replacing a file as a whole or not at all. FileManager.h says what hosts may rely on.
#pragma once

#include <string>
#include <string_view>

namespace ZtFoundation::detail {

/// Makes `bytes` the contents of the file at `path`, flushed to the device. False leaves everything as it was.
bool replaceFile(const std::string& path, std::string_view bytes);

}  // namespace ZtFoundation::detail
