/// \file ValueText.h
/// Values from the words of a command line.
#pragma once

#include <ZtFoundation/platform/Object.h>

#include <string_view>

namespace ztplist {

/// The value of the type (as `typeName` calls them) that `text` tells:
/// - string: the text itself, which must be UTF-8;
/// - integer: decimal, or hexadecimal after 0x, from -2^63 to 2^64 - 1;
/// - real: decimal, with an exponent or not, "inf", "nan";
/// - boolean: true, false, yes, no;
/// - date: `2024-02-29T13:45:00Z`, or the day alone;
/// - data: hexadecimal digits, with blanks between bytes or not;
/// - array, dictionary: a property list in XML or OpenStep text, `(a, b)`, `{ a = 1; }`.
/// Throws Failure for anything else.
ZtFoundation::Ref<ZtFoundation::NSObject> valueFromText(std::string_view type, std::string_view text);

}  // namespace ztplist
