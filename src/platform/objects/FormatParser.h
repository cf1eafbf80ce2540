// The grammar of formats: what stands between a "%" and the letter that ends its conversion.
#pragma once

#include <optional>

#include <ZtFoundation/platform/String.h>

namespace ZtFoundation::detail {

/// A width or precision as the format gives it.
struct FormatCount {
  enum class Source : std::uint8_t { None, Number, NextArgument, NumberedArgument };
  Source source = Source::None;
  NSUInteger value = 0;  ///< the number itself, or the argument's, counted from 1
};

enum class FormatLength : std::uint8_t { Own, Byte, Short };

struct Conversion {
  bool left = false;
  bool plus = false;
  bool blank = false;
  bool alternate = false;
  bool zero = false;
  FormatCount argument;  ///< NextArgument or NumberedArgument
  FormatCount width;
  FormatCount precision;
  FormatLength length = FormatLength::Own;
  bool wide = false;  ///< `l` stood before the letter
  char letter = 0;    ///< 0 when this is no conversion
  NSRange range;      ///< from the "%" to the letter
};

/// Parses what stands at the "%" at `start`, which no other "%" follows.
Conversion parseConversion(UnitView format, NSUInteger start);

}  // namespace ZtFoundation::detail
