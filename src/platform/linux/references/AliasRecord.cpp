#include "platform/linux/references/AliasRecord.h"

#include <concepts>

#include "platform/linux/files/ItemPath.h"

namespace ZtFoundation::detail {

namespace {

constexpr std::uint32_t kMark = 0x6C41745A;  // "ZtAl"
constexpr std::uint16_t kVersion = 1;
constexpr std::size_t kHeaderSize = 16;
constexpr std::size_t kLongestField = 65535;
constexpr std::uint32_t kSecond = 1'000'000'000;
constexpr std::uint8_t kFolderKind = 4;

// In a record they follow each other in this order; the two handles may be missing.
enum class Field : std::uint16_t {
  Path = 1,
  Item,
  VolumeType,
  VolumeSource,
  VolumeRoot,
  VolumeIdentifier,
  MountPoint,
  Handle,
  ParentHandle,
};

// --- Writing, the least significant byte first

template <std::unsigned_integral Number>
void append(std::string& bytes, Number value) {
  for (std::size_t i = 0; i < sizeof value; ++i) bytes += static_cast<char>(value >> (8 * i) & 0xFF);
}

std::string bytesOf(std::uint64_t value) {
  std::string bytes;
  append(bytes, value);
  return bytes;
}

std::string bytesOf(const ItemTraits& item) {
  std::string bytes;
  append(bytes, item.identity.number);
  append(bytes, item.identity.device);
  append(bytes, static_cast<std::uint64_t>(item.identity.bornSeconds));
  append(bytes, item.identity.bornNanoseconds);
  append(bytes, static_cast<std::uint8_t>(item.identity.hasBirth));
  append(bytes, item.kind);
  return bytes;
}

std::string bytesOf(const FileHandle& handle) {
  std::string bytes;
  append(bytes, static_cast<std::uint32_t>(handle.type));
  return bytes.append(handle.bytes);
}

class Writer {
 public:
  void field(Field tag, std::string_view bytes) {
    fits_ = fits_ && bytes.size() <= kLongestField;
    append(fields_, static_cast<std::uint16_t>(tag));
    append(fields_, static_cast<std::uint16_t>(bytes.size()));
    fields_.append(bytes);
  }

  std::optional<std::string> record(OSType userType) const {
    if (!fits_) return std::nullopt;
    const std::size_t size = kHeaderSize + fields_.size();
    std::string bytes;
    append(bytes, std::uint32_t{userType});
    append(bytes, static_cast<std::uint16_t>(size <= 0xFFFF ? size : 0));
    append(bytes, kVersion);
    append(bytes, kMark);
    append(bytes, static_cast<std::uint32_t>(size));
    return bytes.append(fields_);
  }

 private:
  std::string fields_;
  bool fits_ = true;
};

// --- Reading

class Reader {
 public:
  explicit Reader(std::string_view bytes) : rest_(bytes) {}

  // 0 behind the end, which `isGood` tells afterwards.
  template <std::unsigned_integral Number>
  Number number() {
    Number value = 0;
    const std::string_view taken = bytes(sizeof value);
    for (std::size_t i = taken.size(); i-- > 0;) {
      value = static_cast<Number>(std::uint64_t{value} << 8 | static_cast<unsigned char>(taken[i]));
    }
    return value;
  }

  std::string_view bytes(std::size_t count) {
    isGood_ = isGood_ && count <= rest_.size();
    if (!isGood_) return {};
    const std::string_view taken = rest_.substr(0, count);
    rest_.remove_prefix(count);
    return taken;
  }

  // The field `tag`, which must come next.
  std::string_view field(Field tag) {
    expect(number<std::uint16_t>() == static_cast<std::uint16_t>(tag));
    return bytes(number<std::uint16_t>());
  }

  // The same, or nothing when another field or the end comes next.
  std::optional<std::string_view> optionalField(Field tag) {
    Reader ahead = *this;
    if (ahead.number<std::uint16_t>() != static_cast<std::uint16_t>(tag)) return std::nullopt;
    return field(tag);
  }

  void expect(bool condition) { isGood_ = isGood_ && condition; }
  void end() { expect(rest_.empty()); }
  bool isGood() const { return isGood_; }

 private:
  std::string_view rest_;
  bool isGood_ = true;
};

bool readHeader(Reader& reader, std::size_t size, OSType& userType) {
  userType = reader.number<std::uint32_t>();
  reader.expect(reader.number<std::uint16_t>() == (size <= 0xFFFF ? size : 0));
  reader.expect(reader.number<std::uint16_t>() == kVersion);
  reader.expect(reader.number<std::uint32_t>() == kMark);
  reader.expect(reader.number<std::uint32_t>() == size);
  return reader.isGood();
}

// Absolute, and spelt in the only way: no component is empty, "." or "..".
bool isPlain(const std::string& path) {
  if (path == "/") return true;
  const std::string closed = path + '/';
  const auto has = [&closed](std::string_view part) { return closed.find(part) != std::string::npos; };
  return path.starts_with('/') && !has("//") && !has("/./") && !has("/../") && !has(std::string_view("\0", 1));
}

std::string readPath(Reader& reader, Field tag) {
  std::string path(reader.field(tag));
  reader.expect(isPlain(path));
  return path;
}

ItemTraits readItem(Reader& outer, Field tag) {
  Reader reader(outer.field(tag));
  ItemTraits item;
  item.identity.number = reader.number<std::uint64_t>();
  item.identity.device = reader.number<std::uint64_t>();
  item.identity.bornSeconds = static_cast<std::int64_t>(reader.number<std::uint64_t>());
  item.identity.bornNanoseconds = reader.number<std::uint32_t>();
  const auto hasBirth = reader.number<std::uint8_t>();
  item.identity.hasBirth = hasBirth != 0;
  item.kind = reader.number<std::uint8_t>();
  item.identity.isFolder = item.kind == kFolderKind;
  reader.expect(hasBirth <= 1 && item.kind <= 15 && item.identity.bornNanoseconds < kSecond);
  reader.expect(hasBirth == 1 || (item.identity.bornSeconds == 0 && item.identity.bornNanoseconds == 0));
  reader.end();
  outer.expect(reader.isGood());
  return item;
}

std::optional<FileHandle> readHandle(Reader& outer, Field tag) {
  const auto bytes = outer.optionalField(tag);
  if (!bytes) return std::nullopt;
  Reader reader(*bytes);
  FileHandle handle;
  handle.type = static_cast<std::int32_t>(reader.number<std::uint32_t>());
  outer.expect(reader.isGood() && bytes->size() <= kLongestHandle + sizeof handle.type);
  if (reader.isGood()) handle.bytes = bytes->substr(sizeof handle.type);
  return handle;
}

std::uint64_t readNumber(Reader& outer, Field tag) {
  Reader reader(outer.field(tag));
  const auto value = reader.number<std::uint64_t>();
  reader.end();
  outer.expect(reader.isGood());
  return value;
}

}  // namespace

std::optional<std::string> encodeAlias(const AliasContents& contents) {
  Writer writer;
  writer.field(Field::Path, contents.path);
  writer.field(Field::Item, bytesOf(contents.item));
  writer.field(Field::VolumeType, contents.volume.type);
  writer.field(Field::VolumeSource, contents.volume.source);
  writer.field(Field::VolumeRoot, bytesOf(contents.volume.root));
  writer.field(Field::VolumeIdentifier, bytesOf(contents.volume.identifier));
  writer.field(Field::MountPoint, contents.volume.mountPoint);
  if (contents.handle) writer.field(Field::Handle, bytesOf(*contents.handle));
  if (contents.parentHandle) writer.field(Field::ParentHandle, bytesOf(*contents.parentHandle));
  return writer.record(contents.userType);
}

std::optional<AliasContents> decodeAlias(std::string_view bytes) {
  Reader reader(bytes);
  AliasContents contents;
  if (!readHeader(reader, bytes.size(), contents.userType)) return std::nullopt;
  contents.path = readPath(reader, Field::Path);
  contents.item = readItem(reader, Field::Item);
  contents.volume.type = reader.field(Field::VolumeType);
  contents.volume.source = reader.field(Field::VolumeSource);
  contents.volume.root = readItem(reader, Field::VolumeRoot);
  contents.volume.identifier = readNumber(reader, Field::VolumeIdentifier);
  contents.volume.mountPoint = readPath(reader, Field::MountPoint);
  contents.handle = readHandle(reader, Field::Handle);
  contents.parentHandle = readHandle(reader, Field::ParentHandle);
  reader.end();
  if (!reader.isGood() || !isInFolder(contents.path, contents.volume.mountPoint)) return std::nullopt;
  return contents;
}

}  // namespace ZtFoundation::detail
