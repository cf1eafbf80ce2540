/// \file Detection.h
/// Telling the formats of property lists apart by their first bytes.
#pragma once

#include <string_view>

namespace ZtFoundation::codec {

enum class Format { OpenStep, XML, Binary };

/// The only format that `bytes` could be in; whether they are is for its reader to say. Blanks, a byte-order mark and
/// any form of Unicode before the first character are understood. Text that does not begin like XML could only be
/// OpenStep text.
Format detectFormat(std::string_view bytes);

}  // namespace ZtFoundation::codec
