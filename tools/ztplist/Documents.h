/// \file Documents.h
/// Property lists in files: their formats by name, loading and encoding.
#pragma once

#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Object.h>

#include <string>
#include <string_view>

#include "Arguments.h"

namespace ztplist {

/// A loaded property list and the format that it was in. Dictionaries and arrays are mutable.
struct Document {
  ZtFoundation::Ref<ZtFoundation::NSData> bytes;
  ZtFoundation::Ref<ZtFoundation::NSObject> root;
  Format format = kDetect;
};

std::string_view nameOfFormat(Format format);
/// Throws Failure for a name that is none of the formats'.
Format formatNamed(std::string_view name);
/// The same for a format to write in, which OpenStep text is not.
Format outputFormatNamed(std::string_view name);

/// Reads and parses `file`, in `format` or, with kDetect, in whatever format it is. Throws Failure.
Document load(const std::string& file, Format format);
/// Parses bytes; `name` is for messages. Throws Failure.
Document parse(const ZtFoundation::Ref<ZtFoundation::NSData>& bytes, Format format, const std::string& name);
/// The bytes of `value` in `format`; `name` is for messages. Throws Failure.
ZtFoundation::Ref<ZtFoundation::NSData> encode(const ZtFoundation::Ref<ZtFoundation::NSObject>& value, Format format,
                                               const std::string& name);
/// Refuses to put binary on a terminal, unless `arguments` force it.
void checkTerminal(const Arguments& arguments, Format format);

}  // namespace ztplist
