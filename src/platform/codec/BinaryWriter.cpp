#include <bit>
#include <cstring>
#include <new>
#include <utility>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Number.h>

#include "platform/codec/BinaryFlattening.h"
#include "platform/codec/BinaryFormat.h"
#include "platform/codec/Codec.h"

namespace ZtFoundation::codec {

namespace {

using Byte = unsigned char;

/// The smallest of 1, 2, 4 and 8 bytes that hold `value`.
unsigned bytesFor(std::uint64_t value) {
  if (value <= 0xFF) return 1;
  if (value <= 0xFFFF) return 2;
  return value <= 0xFFFFFFFF ? 4 : 8;
}

/// Writes to memory that is known to be large enough.
class Output {
 public:
  explicit Output(Byte* at) : at_(at) {}

  void putByte(unsigned value) { *at_++ = static_cast<Byte>(value); }
  void putBytes(const void* bytes, std::size_t count) {
    if (count != 0) std::memcpy(at_, bytes, count);
    at_ += count;
  }
  /// The low `width` bytes of `value`, big-endian.
  void putNumber(std::uint64_t value, unsigned width) {
    for (unsigned shift = 8 * width; shift != 0; shift -= 8) *at_++ = static_cast<Byte>(value >> (shift - 8));
  }
  Byte* position() const { return at_; }

 private:
  Byte* at_;
};

// --- Sizes, each what the function of the same subject below writes

std::uint64_t sizeOfLengthHeader(std::uint64_t length) {
  return length < binary::kLengthFollows ? 1 : 2 + bytesFor(length);
}

std::uint64_t sizeOfNumber(const NSNumber& number) {
  switch (number.type()) {
    case NumberType::Boolean:
      return 1;
    case NumberType::Float:
      return 1 + 4;
    case NumberType::Double:
      return 1 + 8;
    case NumberType::Unsigned:
      return 1 + 16;
    default:
      return 1 + bytesFor(number.unsignedLongLongValue());
  }
}

std::uint64_t sizeOfString(const NSString& string) {
  return sizeOfLengthHeader(string.length()) + string.length() * (string.isASCII() ? 1 : 2);
}

/// Without the references of a container.
std::uint64_t sizeOf(const NSObject& object) {
  switch (object.kind()) {
    case ObjectKind::String:
      return sizeOfString(static_cast<const NSString&>(object));
    case ObjectKind::Number:
      return sizeOfNumber(static_cast<const NSNumber&>(object));
    case ObjectKind::Date:
      return 1 + 8;
    case ObjectKind::Array:
      return sizeOfLengthHeader(static_cast<const NSArray&>(object).count());
    case ObjectKind::Dictionary:
      if (const auto uid = binary::uidOf(object)) return 1 + bytesFor(*uid);
      return sizeOfLengthHeader(static_cast<const NSDictionary&>(object).count());
    default: {
      const NSUInteger length = static_cast<const NSData&>(object).length();
      return sizeOfLengthHeader(length) + length;
    }
  }
}

// --- Objects

void putMarker(Output& out, unsigned kind, unsigned low) { out.putByte(kind << 4 | low); }

/// An integer marker's low half is the binary logarithm of the width.
void putInteger(Output& out, std::uint64_t value) {
  const unsigned width = bytesFor(value);
  putMarker(out, binary::kInteger, static_cast<unsigned>(std::countr_zero(width)));
  out.putNumber(value, width);
}

void putLengthHeader(Output& out, unsigned kind, std::uint64_t length) {
  if (length < binary::kLengthFollows) return putMarker(out, kind, static_cast<unsigned>(length));
  putMarker(out, kind, binary::kLengthFollows);
  putInteger(out, length);
}

/// Eight bytes are read as signed, so what does not fit takes sixteen.
void putLargeInteger(Output& out, std::uint64_t value) {
  putMarker(out, binary::kInteger, 4);
  out.putNumber(0, 8);
  out.putNumber(value, 8);
}

void putNumber(Output& out, const NSNumber& number) {
  switch (number.type()) {
    case NumberType::Boolean:
      out.putByte(number.boolValue() ? binary::kTrueMarker : binary::kFalseMarker);
      break;
    case NumberType::Float:
      putMarker(out, binary::kReal, 2);
      out.putNumber(std::bit_cast<std::uint32_t>(number.floatValue()), 4);
      break;
    case NumberType::Double:
      putMarker(out, binary::kReal, 3);
      out.putNumber(std::bit_cast<std::uint64_t>(number.doubleValue()), 8);
      break;
    case NumberType::Unsigned:
      putLargeInteger(out, number.unsignedLongLongValue());
      break;
    case NumberType::Signed:
      putInteger(out, number.unsignedLongLongValue());
      break;
  }
}

void putDate(Output& out, const NSDate& date) {
  putMarker(out, binary::kDate, 3);
  out.putNumber(std::bit_cast<std::uint64_t>(date.timeIntervalSinceReferenceDate()), 8);
}

void putData(Output& out, const NSData& data) {
  putLengthHeader(out, binary::kData, data.length());
  out.putBytes(data.bytes(), data.length());
}

void putString(Output& out, const NSString& string) {
  const UnitView units = string.units();
  putLengthHeader(out, string.isASCII() ? binary::kASCIIString : binary::kUTF16String, units.size());
  if (string.isASCII()) return out.putBytes(units.narrow().data(), units.size());
  for (NSUInteger at = 0; at < units.size(); ++at) out.putNumber(units[at], 2);
}

void putUID(Output& out, std::uint64_t uid) {
  const unsigned width = bytesFor(uid);
  putMarker(out, binary::kUID, width - 1);
  out.putNumber(uid, width);
}

/// Writes the parts of a file one after the other; their sizes are settled before the first byte is written.
class BinaryWriter {
 public:
  explicit BinaryWriter(const binary::Flattening& flattening);

  std::uint64_t fileSize() const;
  void write(Byte* file);

 private:
  const NSObject* soonAfter(std::size_t at) const;
  void putObject(Output& out, const NSObject& object);
  void putContainer(Output& out, unsigned kind, std::uint64_t count, std::uint64_t references);
  void putTrailer(Output& out) const;

  const std::vector<const NSObject*>& objects_;
  const std::vector<std::uint32_t>& references_;
  unsigned referenceSize_;
  std::uint64_t tableOffset_;
  unsigned offsetSize_;
  std::size_t nextReference_ = 0;
};

BinaryWriter::BinaryWriter(const binary::Flattening& flattening)
    : objects_(flattening.objects()),
      references_(flattening.references()),
      referenceSize_(bytesFor(objects_.size() - 1)),
      tableOffset_(binary::kMagic.size() + references_.size() * std::uint64_t{referenceSize_}) {
  for (std::size_t at = 0; at < objects_.size(); ++at) {
    __builtin_prefetch(soonAfter(at));
    tableOffset_ += sizeOf(*objects_[at]);
  }
  offsetSize_ = bytesFor(tableOffset_);
}

std::uint64_t BinaryWriter::fileSize() const {
  return tableOffset_ + objects_.size() * std::uint64_t{offsetSize_} + binary::kTrailerSize;
}

void BinaryWriter::write(Byte* file) {
  Output out(file);
  Output table(file + tableOffset_);
  out.putBytes(binary::kMagic.data(), binary::kMagic.size());
  for (std::size_t at = 0; at < objects_.size(); ++at) {
    __builtin_prefetch(soonAfter(at));
    table.putNumber(static_cast<std::uint64_t>(out.position() - file), offsetSize_);
    putObject(out, *objects_[at]);
  }
  putTrailer(table);
}

/// The object that is wanted a little after that number `at`; for fetching it early.
const NSObject* BinaryWriter::soonAfter(std::size_t at) const {
  constexpr std::size_t kDistance = 8;
  return at + kDistance < objects_.size() ? objects_[at + kDistance] : nullptr;
}

void BinaryWriter::putObject(Output& out, const NSObject& object) {
  switch (object.kind()) {
    case ObjectKind::String:
      return putString(out, static_cast<const NSString&>(object));
    case ObjectKind::Number:
      return putNumber(out, static_cast<const NSNumber&>(object));
    case ObjectKind::Date:
      return putDate(out, static_cast<const NSDate&>(object));
    case ObjectKind::Array: {
      const NSUInteger count = static_cast<const NSArray&>(object).count();
      return putContainer(out, binary::kArray, count, count);
    }
    case ObjectKind::Dictionary: {
      if (const auto uid = binary::uidOf(object)) return putUID(out, *uid);
      const NSUInteger count = static_cast<const NSDictionary&>(object).count();
      return putContainer(out, binary::kDictionary, count, 2 * count);
    }
    default:
      return putData(out, static_cast<const NSData&>(object));
  }
}

void BinaryWriter::putContainer(Output& out, unsigned kind, std::uint64_t count, std::uint64_t references) {
  putLengthHeader(out, kind, count);
  for (; references != 0; --references) out.putNumber(references_[nextReference_++], referenceSize_);
}

void BinaryWriter::putTrailer(Output& out) const {
  out.putNumber(0, 6);
  out.putByte(offsetSize_);
  out.putByte(referenceSize_);
  out.putNumber(objects_.size(), 8);
  out.putNumber(0, 8);  // the root is the first object
  out.putNumber(tableOffset_, 8);
}

/// What is written can be read again.
bool isWithinExpansion(const binary::Flattening& flattening, std::uint64_t fileSize, CodecError& error) {
  if (flattening.cost() <= binary::largestExpansion(fileSize)) return true;
  error.text = "Objects are shared between so many places that they expand to more than " +
               std::to_string(binary::largestExpansion(fileSize)) + " values.";
  return false;
}

}  // namespace

Ref<NSData> writeBinary(const NSObject* value, CodecError& error) {
  binary::Flattening flattening;
  if (!flattening.run(value, error)) return nullptr;
  BinaryWriter writer(flattening);
  const std::uint64_t size = writer.fileSize();
  if (!isWithinExpansion(flattening, size, error)) return nullptr;
  if (!std::in_range<NSUInteger>(size)) throw std::bad_alloc();
  return NSData::dataWithLength(static_cast<NSUInteger>(size), [&](Byte* file) { writer.write(file); });
}

}  // namespace ZtFoundation::codec
