/// \file FileReference.h
/// Records that name an item of a file system other than by its path: references, aliases and file description records.
///
/// - A reference (`FSRef`) stands for one existing item: its identity, and the path that it was made from. A symbolic
///   link is an item of its own.
/// - An alias (`AliasHandle`) finds its item again after the item has been moved inside its volume or given another
///   name. It is a flat record: its bytes may be stored and turned into a handle again in another process.
/// - A file description record (`FSSpec`) is the older record: a volume, the number of a folder and a name.
/// \code
///   AliasHandle alias = nullptr;
///   if (JxFileSystemRepresentation::pathStringToAlias("/home/me/Photo.jpg", &alias)) {
///     Ref<NSData> bytes = NSData::dataWithBytes_length(*alias, GetHandleSize(alias));
///     DisposeHandle(alias);
///     ...
///     if (PtrToHand(bytes->bytes(), &alias, bytes->length()) == noErr) {
///       Ref<NSString> path = JxFileSystemRepresentation::pathStringFromAliasHandle(alias);
///       DisposeHandle(alias);
///     }
///   }
/// \endcode
/// Threads: different records may be used by different threads at once.
#pragma once

#include <cstdint>

#include <ZtFoundation/platform/FileErrors.h>
#include <ZtFoundation/platform/String.h>
#include <ZtFoundation/platform/Types.h>

namespace ZtFoundation {

/// Names a mounted volume; 0 for none. The number stays the same as long as the volume is mounted.
using FSVolumeRefNum = std::int16_t;

/// A reference to an item. Filled by the calls that take a pointer to one; empty before. Copies name the same item.
class FSRef {
 public:
  /// What tells one item from another. The time of birth, where the file system keeps it, tells an item from a later
  /// one that was given the same number.
  struct Identity {
    std::uint64_t device = 0;
    std::uint64_t number = 0;
    std::int64_t bornSeconds = 0;
    std::uint32_t bornNanoseconds = 0;
    bool hasBirth = false;
    bool isFolder = false;

    friend bool operator==(const Identity&, const Identity&) = default;
  };

  /// The empty reference.
  FSRef() = default;
  /// A reference to the item with that identity, made from `path`; the catalog makes them.
  FSRef(Identity identity, Ref<NSString> path) : identity_(identity), path_(std::move(path)) {}

  /// True for a reference to nothing.
  bool isEmpty() const noexcept { return path_ == nullptr; }
  /// What tells the item from every other one.
  const Identity& identity() const noexcept { return identity_; }
  /// Where the item was when the reference was made, absolute; none in an empty reference.
  const Ref<NSString>& path() const noexcept { return path_; }

 private:
  Identity identity_;
  Ref<NSString> path_;
  // Hosts reserve 80 bytes for a reference, in every build.
  [[maybe_unused]] unsigned char reserved_[80 - sizeof(Identity) - sizeof(Ref<NSString>)] = {};
};
static_assert(sizeof(FSRef) == 80);

/// A file description record. `name` begins with the count of the bytes that follow, 63 at most.
#pragma pack(push, 2)
struct FSSpec {
  FSVolumeRefNum vRefNum = 0;
  std::int32_t parID = 0;
  unsigned char name[64] = {};
};
#pragma pack(pop)
static_assert(sizeof(FSSpec) == 70);

/// A block of memory that can change its size: a pointer to the pointer to its bytes.
using Handle = char**;

/// The bytes of an alias; what is in them is the library's affair.
struct AliasRecord {
  OSType userType;          ///< free for the host; 0 in a new alias
  std::uint16_t aliasSize;  ///< of the whole record in bytes; 0 in a record that is larger than 65535
};
/// A handle that holds an alias. Whoever receives one releases it with `DisposeHandle`.
using AliasHandle = AliasRecord**;

/// A new block with a copy of `size` bytes at `source`. memFullErr, or paramErr for a null pointer, leaves `result` as
/// it is.
ZT_EXPORT OSErr PtrToHand(const void* source, Handle* result, NSUInteger size);
ZT_EXPORT OSErr PtrToHand(const void* source, AliasHandle* result, NSUInteger size);
/// The bytes in the block; 0 for null.
ZT_EXPORT NSUInteger GetHandleSize(const void* handle);
/// Changes how many bytes the block has; it keeps those at its beginning, new ones have any value. The bytes may move,
/// the handle stays. memFullErr, or paramErr for null, leaves the block as it is.
ZT_EXPORT OSErr SetHandleSize(void* handle, NSUInteger size);
/// Releases the block; null is allowed.
ZT_EXPORT void DisposeHandle(void* handle);

}  // namespace ZtFoundation
