/// \file EncodingTable.h
/// The numbers and registered names of byte encodings.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <ZtFoundation/platform/StringEncoding.h>

namespace ZtFoundation::detail {

/// The encodings that need no conversion tables.
enum class Transformation {
  None,
  ASCII,
  Latin1,
  UTF8,
  UTF16,
  UTF16BigEndian,
  UTF16LittleEndian,
  UTF32,
  UTF32BigEndian,
  UTF32LittleEndian
};

/// The transformation that `encoding` stands for, None when it needs tables.
Transformation transformationOf(NSStringEncoding encoding) noexcept;

/// The preferred registered name of an encoding that needs tables; none when its number is unknown.
std::optional<std::string> charsetOf(NSStringEncoding encoding);

}  // namespace ZtFoundation::detail
