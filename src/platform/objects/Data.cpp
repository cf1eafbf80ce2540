#include <ZtFoundation/platform/Data.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <new>
#include <string>

#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/String.h>

#include "platform/objects/StringHash.h"
#include "platform/services/LargeBlocks.h"

namespace ZtFoundation {

ZT_IMPLEMENT_CLASS(NSData);
ZT_IMPLEMENT_CLASS(NSMutableData);

namespace {

constexpr NSUInteger kMaximumLength = static_cast<NSUInteger>(std::numeric_limits<NSInteger>::max()) - 64;

void requireAllocatable(NSUInteger length) {
  if (length > kMaximumLength) throw std::bad_alloc();
}

void requireRange(NSRange range, NSUInteger length) {
  if (!isRangeWithin(range, length)) detail::raiseRange("range outside of the data");
}

// memcpy and its kin must not be given null, not even for no bytes.
void copyBytes(void* target, const void* source, NSUInteger length) {
  if (length != 0) std::memmove(target, source, length);
}

// Data whose bytes lie in a string that was given away.
class StringData final : public NSData {
 public:
  explicit StringData(std::string&& bytes) : NSData(nullptr, bytes.size(), 0), storage_(std::move(bytes)) {
    bytes_ = storage_.data();
  }

 private:
  std::string storage_;
};

}  // namespace

NSData* NSData::newUninitialised(NSUInteger length) {
  requireAllocatable(length);
  NSData* data = new (length) NSData(nullptr, length, 0);
  data->bytes_ = data + 1;
  expectToFill(data + 1, length);
  return data;
}

Ref<NSData> NSData::data() { return Ref<NSData>::adopt(newUninitialised(0)); }

Ref<NSData> NSData::dataWithBytes_length(const void* bytes, NSUInteger length) {
  return dataWithLength(length, [&](unsigned char* target) { copyBytes(target, bytes, length); });
}

Ref<NSData> NSData::dataWithString(std::string&& bytes) { return make<StringData>(std::move(bytes)); }

Ref<NSData> NSData::dataWithData(const Ref<NSData>& other) { return other ? other->copy() : nullptr; }

Ref<NSData> NSData::subdataWithRange(NSRange range) const {
  requireRange(range, length_);
  return dataWithBytes(view().substr(range.location, range.length));
}

bool NSData::isEqual(const NSObject* other) const {
  const NSData* data = as<NSData>(other);
  return data != nullptr && (data == this || data->view() == view());
}

NSUInteger NSData::hash() const { return detail::hashUnits(UnitView(view().data(), length_)); }

Ref<NSString> NSData::description() const {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text = "<";
  text.reserve(length_ * 2 + length_ / 4 + 2);
  for (NSUInteger index = 0; index < length_; ++index) {
    if (index != 0 && index % 4 == 0) text += ' ';
    const auto byte = static_cast<unsigned char>(view()[index]);
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return NSString::stringWithASCII(text += '>');
}

Ref<NSMutableData> NSData::mutableCopy() const {
  Ref<NSMutableData> result = NSMutableData::data();
  result->appendBytes_length(bytes_, length_);
  return result;
}

Ref<NSData> NSData::copy() const {
  return isMutable() ? dataWithBytes(view()) : Ref<NSData>(const_cast<NSData*>(this));
}

NSMutableData::~NSMutableData() { std::free(mutableBytes()); }

Ref<NSMutableData> NSMutableData::data() { return Ref<NSMutableData>::adopt(new NSMutableData()); }

Ref<NSMutableData> NSMutableData::dataWithLength(NSUInteger length) {
  Ref<NSMutableData> result = data();
  result->setLength(length);
  return result;
}

Ref<NSMutableData> NSMutableData::dataWithData(const Ref<NSData>& other) {
  return other ? other->mutableCopy() : nullptr;
}

void NSMutableData::reserve(NSUInteger length) {
  if (length <= capacity_) return;
  requireAllocatable(length);
  const NSUInteger capacity = std::max(length, std::min(capacity_ + capacity_ / 2, kMaximumLength));
  void* grown = std::realloc(mutableBytes(), capacity);
  if (grown == nullptr) throw std::bad_alloc();
  bytes_ = grown;
  capacity_ = capacity;
}

void NSMutableData::appendBytes_length(const void* bytes, NSUInteger length) {
  replaceBytesInRange_withBytes_length({length_, 0}, bytes, length);
}

void NSMutableData::appendData(const Ref<NSData>& other) {
  if (other) appendBytes_length(other->bytes(), other->length());
}

void NSMutableData::setLength(NSUInteger length) {
  reserve(length);
  if (length > length_) std::memset(static_cast<char*>(mutableBytes()) + length_, 0, length - length_);
  length_ = length;
}

void NSMutableData::replaceBytesInRange_withBytes_length(NSRange range, const void* bytes, NSUInteger length) {
  requireRange(range, length_);
  if (length > kMaximumLength - (length_ - range.length)) throw std::bad_alloc();
  // The source may be a part of this very data, which is about to move.
  const std::less<const void*> before;
  const bool own = !before(bytes, bytes_) && before(bytes, static_cast<const char*>(bytes_) + length_);
  const std::string kept = own ? std::string(static_cast<const char*>(bytes), length) : std::string();

  const NSUInteger tail = length_ - NSMaxRange(range);
  reserve(length_ - range.length + length);
  char* place = static_cast<char*>(mutableBytes()) + range.location;
  copyBytes(place + length, place + range.length, tail);
  copyBytes(place, own ? kept.data() : bytes, length);
  length_ = range.location + length + tail;
}

}  // namespace ZtFoundation
