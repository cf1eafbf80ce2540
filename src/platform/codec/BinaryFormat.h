/// \file BinaryFormat.h
/// What reader and writer of binary property lists, version "00", share.
///
/// A file is the magic, the objects, a table with the offset of each object, and a trailer of 32 bytes that says where
/// the table is. An object is a marker byte, whose high half is the kind and whose low half mostly a length, and its
/// contents; arrays and dictionaries hold the numbers of other objects. All numbers are big-endian.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation::codec::binary {

inline constexpr std::string_view kMagic = "bplist00";
inline constexpr std::size_t kTrailerSize = 32;

/// High halves of markers.
enum Kind : unsigned char {
  kSimple = 0x0,
  kInteger = 0x1,
  kReal = 0x2,
  kDate = 0x3,
  kData = 0x4,
  kASCIIString = 0x5,
  kUTF16String = 0x6,
  kUID = 0x8,
  kArray = 0xA,
  kDictionary = 0xD,
};

inline constexpr unsigned char kFalseMarker = 0x08;
inline constexpr unsigned char kTrueMarker = 0x09;
/// The low half that says that the length follows as an integer of its own.
inline constexpr unsigned kLengthFollows = 0xF;

/// The one key of the dictionary that stands for a UID.
inline constexpr std::string_view kUIDKey = "CF$UID";

/// How many bytes the contents of a text or data take in a file; in memory no more.
inline std::uint64_t payloadOf(const NSObject& leaf) {
  if (leaf.kind() == ObjectKind::Data) return static_cast<const NSData&>(leaf).length();
  if (leaf.kind() != ObjectKind::String) return 0;
  const NSString& string = static_cast<const NSString&>(leaf);
  return std::uint64_t{string.length()} * (string.isASCII() ? 1 : 2);
}

/// What a value that is no container counts: one for its place, and one for each 32 bytes of its contents.
inline std::uint64_t costOfLeaf(const NSObject& leaf) {
  constexpr std::uint64_t kBytesPerUnit = 32;
  return 1 + payloadOf(leaf) / kBytesPerUnit;
}

/// What all places of a tree may count together, whatever is really shared, so that each flavour can be read. Since
/// places can share objects, a file of a few hundred bytes could otherwise stand for a tree that nothing can hold or
/// walk. Each place takes at least a byte in a file that shares no containers, so that there 127 bytes at each place
/// are never too much.
inline constexpr std::uint64_t largestExpansion(std::uint64_t fileLength) {
  return (std::uint64_t{1} << 19) + 4 * fileLength;
}

}  // namespace ZtFoundation::codec::binary
