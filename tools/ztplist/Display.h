/// \file Display.h
/// Values as text for people.
#pragma once

#include <ZtFoundation/platform/Object.h>
#include <ZtFoundation/platform/String.h>

#include <string>
#include <string_view>

namespace ztplist {

class Output;

/// "dictionary", "array", "string", "integer", "real", "boolean", "date" or "data".
std::string_view typeName(const ZtFoundation::NSObject& value);

/// Appends the units of `text` as UTF-8, with control characters and unpaired surrogates as escapes, and a backslash
/// before backslashes and the characters of `special`.
void appendEscaped(std::string& to, const ZtFoundation::NSString& text, std::string_view special);

/// A string, number, date or data without its type: a string as it is, data in hexadecimal digits. Unpaired surrogates
/// are shown as U+FFFD.
std::string plainText(const ZtFoundation::NSObject& value);

/// One line: the type and the value, `integer 5`; of a container the type and how many it holds; of long data the
/// beginning.
std::string typedText(const ZtFoundation::NSObject& value);

/// Writes `typedText` after `prefix` and `label`, and the contents below it, each level two columns further in.
void printTree(Output& output, std::string_view prefix, const std::string& label, const ZtFoundation::NSObject& value);

}  // namespace ztplist
