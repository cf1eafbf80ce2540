/// \file Data.h
/// `NSData` and `NSMutableData`: byte buffers.
/// \code
///   Ref<NSMutableData> buffer = NSMutableData::data();
///   buffer->appendBytes_length("abc", 3);
///   if (!buffer->writeToFile_atomically("/tmp/abc", true)) NSLog("not saved");
///   Ref<NSData> contents = NSData::dataWithContentsOfFile("/tmp/abc");
/// \endcode
/// Threads: an immutable buffer may be used by many threads at once, a mutable one by one at a time.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include <ZtFoundation/platform/Object.h>

namespace ZtFoundation {

class NSMutableData;

class ZT_EXPORT NSData : public NSObject {
  ZT_OBJECT(NSData, NSObject)
 public:
  static constexpr ObjectKind kKind = ObjectKind::Data;

  /// Empty data.
  static Ref<NSData> data();
  /// A copy of the bytes; `bytes` may be null when `length` is 0.
  static Ref<NSData> dataWithBytes_length(const void* bytes, NSUInteger length);
  /// A copy of the bytes.
  static Ref<NSData> dataWithBytes(std::string_view bytes) { return dataWithBytes_length(bytes.data(), bytes.size()); }
  /// Takes the string over without copying its bytes.
  static Ref<NSData> dataWithString(std::string&& bytes);
  /// `length` bytes whose contents `fill` writes before anybody else sees them; for producers that know the size
  /// beforehand.
  template <class Fill>
  static Ref<NSData> dataWithLength(NSUInteger length, Fill&& fill) {
    NSData* data = newUninitialised(length);
    Ref<NSData> result = Ref<NSData>::adopt(data);
    std::forward<Fill>(fill)(static_cast<unsigned char*>(const_cast<void*>(data->bytes_)));
    return result;
  }
  /// Immutable data with the same bytes; `other` itself when it is immutable, none for none.
  static Ref<NSData> dataWithData(const Ref<NSData>& other);

  /// How many bytes there are.
  NSUInteger length() const noexcept { return length_; }
  /// The bytes where they lie, good until the data changes or goes.
  const void* bytes() const noexcept { return bytes_; }
  /// The same.
  std::string_view view() const noexcept { return {static_cast<const char*>(bytes_), length_}; }
  /// The bytes of `range`, copied. Raises NSRangeException.
  Ref<NSData> subdataWithRange(NSRange range) const;

  bool isEqual(const NSObject* other) const override;
  using NSObject::isEqual;
  NSUInteger hash() const override;
  /// "<00010203 0405>": hexadecimal digits in groups of four bytes.
  Ref<NSString> description() const override;
  /// Mutable data with the same bytes.
  Ref<NSMutableData> mutableCopy() const;
  /// Immutable data with the same bytes: the receiver itself when it is immutable.
  Ref<NSData> copy() const;

  // File convenience; see FileManager.h for what atomically means.
  /// The whole file, following links; none when it cannot be read.
  static Ref<NSData> dataWithContentsOfFile(const Ref<NSString>& path);
  /// Writes all bytes to the file, following links. False when that fails; if atomically, the old file is then as it
  /// was.
  bool writeToFile_atomically(const Ref<NSString>& path, bool atomically) const;

 protected:
  NSData(const void* bytes, NSUInteger length, std::uint8_t flags) noexcept
      : NSObject(ObjectKind::Data, flags), bytes_(bytes), length_(length) {}
  static NSData* newUninitialised(NSUInteger length);

  const void* bytes_;
  NSUInteger length_;
};

/// Data that can be changed in place.
class ZT_EXPORT NSMutableData : public NSData {
  ZT_OBJECT(NSMutableData, NSData)
 public:
  static constexpr bool kIsMutable = true;

  ~NSMutableData() override;

  /// Empty data.
  static Ref<NSMutableData> data();
  static Ref<NSMutableData> dataWithLength(NSUInteger length);  ///< zero-filled
  /// Mutable data with the same bytes, none for none.
  static Ref<NSMutableData> dataWithData(const Ref<NSData>& other);

  /// The bytes for writing, good until the length changes.
  void* mutableBytes() noexcept { return const_cast<void*>(bytes_); }
  /// Adds a copy of the bytes, which may be a part of this very data.
  void appendBytes_length(const void* bytes, NSUInteger length);
  /// Adds the bytes of `other`; nothing for none.
  void appendData(const Ref<NSData>& other);
  /// New bytes are zero.
  void setLength(NSUInteger length);
  /// Puts `length` bytes in place of `range`; `bytes` may be a part of this very data. Raises NSRangeException when the
  /// range does not lie inside.
  void replaceBytesInRange_withBytes_length(NSRange range, const void* bytes, NSUInteger length);

 private:
  NSMutableData() noexcept : NSData(nullptr, 0, kMutableFlag) {}
  void reserve(NSUInteger length);

  NSUInteger capacity_ = 0;
};

}  // namespace ZtFoundation
