/// \file Codec.h
/// The readers and writers of property-list formats. Each takes bytes, never a path, and either succeeds as a whole or
/// answers none with an error text; nothing partial is handed out.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Object.h>

namespace ZtFoundation::codec {

/// Which flavours a reader produces.
enum class Mutability : std::uint8_t {
  Immutable,            ///< every container and string immutable
  Containers,           ///< dictionaries and arrays mutable
  ContainersAndLeaves,  ///< dictionaries, arrays and strings mutable (keys stay immutable)
};

/// Why an operation failed, for people: what was expected or not possible, and where (line and column, byte offset, or
/// the path of keys to the value). Meaningful only after a failure.
struct CodecError {
  std::string text;
};

/// XML, in the encoding that the byte-order mark or the declaration says.
Ref<NSObject> readXML(std::string_view bytes, Mutability mutability, CodecError& error);
/// `value` may be null, which is an error.
Ref<NSData> writeXML(const NSObject* value, CodecError& error);

/// Binary, version "00".
Ref<NSObject> readBinary(std::string_view bytes, Mutability mutability, CodecError& error);
Ref<NSData> writeBinary(const NSObject* value, CodecError& error);

/// OpenStep text; there is no writer.
Ref<NSObject> readOpenStep(std::string_view bytes, Mutability mutability, CodecError& error);

}  // namespace ZtFoundation::codec
