#include "platform/linux/files/FileContents.h"

#include <ZtFoundation/platform/Data.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <new>
#include <utility>

#include "platform/linux/files/AtomicFile.h"
#include "platform/linux/files/FinderLock.h"
#include "platform/linux/files/PlaceInFolder.h"

namespace ZtFoundation {

namespace detail {

namespace {

constexpr std::size_t kSmallestRead = 4096;

// One byte more than the file has, so that the end shows without another round. A 32-bit build has no addresses for
// large files.
std::size_t sizeHint(int file) {
  struct stat status;
  if (::fstat(file, &status) != 0 || status.st_size <= 0) return kSmallestRead;
  if (!std::in_range<std::ptrdiff_t>(status.st_size)) throw std::bad_alloc();
  return static_cast<std::size_t>(status.st_size) + 1;
}

// Fills `bytes` up to its size; answers how far it got before the end, none on an error.
std::optional<std::size_t> readInto(int file, std::string& bytes, std::size_t filled) {
  while (filled < bytes.size()) {
    const ssize_t got = retryInterrupted([&] { return ::read(file, &bytes[filled], bytes.size() - filled); });
    if (got < 0) return std::nullopt;
    if (got == 0) break;
    filled += static_cast<std::size_t>(got);
  }
  return filled;
}

void resize(std::string& bytes, std::size_t size) {
  if (size > bytes.max_size()) throw std::bad_alloc();
  bytes.resize(size);
}

constexpr int kWriting = O_WRONLY | O_CLOEXEC | O_NOCTTY;

FileDescriptor openToWrite(int at, const std::string& path, int flags, mode_t mode) {
  return FileDescriptor(retryInterrupted([&] { return ::openat(at, path.c_str(), kWriting | flags, mode); }));
}

// At the end of a link that leads nowhere, the folder there counts. Another process may have been quicker.
FileDescriptor makeFile(const std::string& path, mode_t mode) {
  const PlaceInFolder place = endOfLinks(path);
  if (!place || isLocked(place.folder.get())) return {};
  return openToWrite(place.folder.get(), place.name, O_CREAT | O_NOFOLLOW, mode);
}

bool writeInPlace(const std::string& path, std::string_view bytes) {
  FileDescriptor file = openUnlocked(path, 0600);
  return file && makeEmpty(file.get()) && writeAll(file.get(), bytes) && closeWritten(std::move(file));
}

}  // namespace

FileDescriptor openUnlocked(const std::string& path, mode_t mode) {
  FileDescriptor file = openToWrite(AT_FDCWD, path, 0, 0);
  if (!file && errno == ENOENT) file = makeFile(path, mode);
  return file && !isLocked(file.get()) ? std::move(file) : FileDescriptor();
}

bool makeEmpty(int file) noexcept {
  struct stat status;
  if (::fstat(file, &status) != 0) return false;
  return !S_ISREG(status.st_mode) || retryInterrupted([&] { return ::ftruncate(file, 0); }) == 0;
}

bool closeWritten(FileDescriptor file) { return ::close(file.release()) == 0 || errno == EINTR; }

std::optional<std::string> readToEnd(int file) {
  std::string bytes;
  std::size_t filled = 0;
  for (resize(bytes, sizeHint(file));; resize(bytes, bytes.size() * 2)) {
    const auto reached = readInto(file, bytes, filled);
    if (!reached) return std::nullopt;
    filled = *reached;
    if (filled < bytes.size()) break;
  }
  bytes.resize(filled);
  return bytes;
}

bool writeAll(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = retryInterrupted([&] { return ::write(file, bytes.data(), bytes.size()); });
    if (written <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

}  // namespace detail

Ref<NSData> NSData::dataWithContentsOfFile(const Ref<NSString>& path) {
  const auto name = detail::systemPath(path);
  if (!name) return nullptr;
  constexpr int flags = O_RDONLY | O_CLOEXEC | O_NOCTTY;
  const detail::FileDescriptor file(detail::retryInterrupted([&] { return ::open(name->c_str(), flags); }));
  auto bytes = file ? detail::readToEnd(file.get()) : std::nullopt;
  return bytes ? NSData::dataWithString(std::move(*bytes)) : nullptr;
}

bool NSData::writeToFile_atomically(const Ref<NSString>& path, bool atomically) const {
  const auto name = detail::systemPath(path);
  if (!name) return false;
  return atomically ? detail::replaceFile(*name, view()) : detail::writeInPlace(*name, view());
}

}  // namespace ZtFoundation
