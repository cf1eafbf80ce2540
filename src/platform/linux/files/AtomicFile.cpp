#include "platform/linux/files/AtomicFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>

#include "platform/linux/files/FileAttributes.h"
#include "platform/linux/files/FileContents.h"
#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/files/FinderLock.h"
#include "platform/linux/files/ItemStatus.h"
#include "platform/linux/files/PlaceInFolder.h"

namespace ZtFoundation::detail {

namespace {

// --- Where the file is

FileDescriptor openFolder(int at, const std::string& path, int flags) {
  return FileDescriptor(retryInterrupted([&] { return ::openat(at, path.c_str(), flags | O_DIRECTORY | O_CLOEXEC); }));
}

// --- The temporary file

constexpr std::string_view kTemporaryPrefix = ".ztsave-";
constexpr std::size_t kRandomBytes = 16;

std::optional<std::string> unpredictableName() {
  std::array<unsigned char, kRandomBytes> random;
  if (::getentropy(random.data(), random.size()) != 0) return std::nullopt;
  std::string name(kTemporaryPrefix);
  for (const unsigned char byte : random) {
    name += "0123456789abcdef"[byte >> 4];
    name += "0123456789abcdef"[byte & 15];
  }
  return name;
}

bool isTemporaryName(std::string_view name) {
  return name.starts_with(kTemporaryPrefix) && name.size() == kTemporaryPrefix.size() + 2 * kRandomBytes &&
         name.find_first_not_of("0123456789abcdef", kTemporaryPrefix.size()) == std::string_view::npos;
}

// A file that vanishes with this object unless it took another's place. It is locked as long as it is in use, which
// tells it from one that a killed process left behind.
class TemporaryFile {
 public:
  explicit TemporaryFile(int folder) : folder_(folder) {
    constexpr int kAttempts = 100;
    for (int attempt = 0; attempt < kAttempts && !isUsable_; ++attempt) {
      if (!create()) return;
    }
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (file_) ::unlinkat(folder_, name_.c_str(), 0);
  }

  explicit operator bool() const noexcept { return isUsable_; }
  int get() const noexcept { return file_.get(); }

  // Answers the file, nothing on an error.
  FileDescriptor renameTo(const std::string& name) && {
    const bool isRenamed = ::renameat(folder_, name_.c_str(), folder_, name.c_str()) == 0;
    return isRenamed ? std::move(file_) : FileDescriptor();
  }

 private:
  // False when another attempt is pointless.
  bool create() {
    const auto name = unpredictableName();
    if (!name) return false;
    name_ = *name;
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    file_ = FileDescriptor(retryInterrupted([&] { return ::openat(folder_, name_.c_str(), flags, 0600); }));
    if (!file_) return errno == EEXIST;
    return lock();
  }

  // Another process may take the file for an abandoned one in the moment before it is locked.
  bool lock() {
    retryInterrupted([&] { return ::flock(file_.get(), LOCK_EX); });
    struct stat status;
    if (::fstat(file_.get(), &status) != 0) return false;
    isUsable_ = status.st_nlink != 0;
    return true;
  }

  int folder_;
  FileDescriptor file_;
  std::string name_;
  bool isUsable_ = false;
};

// Nobody else can take the file for theirs as long as it is open here.
FileDescriptor openAbandoned(int folder, const char* name) {
  constexpr int flags = O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  FileDescriptor file(retryInterrupted([&] { return ::openat(folder, name, flags); }));
  struct stat status;
  const bool isAbandoned = file && ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) &&
                           status.st_uid == ::geteuid() &&
                           retryInterrupted([&] { return ::flock(file.get(), LOCK_EX | LOCK_NB); }) == 0;
  return isAbandoned ? std::move(file) : FileDescriptor();
}

void removeIfAbandoned(int folder, const char* name) {
  if (const FileDescriptor file = openAbandoned(folder, name)) ::unlinkat(folder, name, 0);
}

struct CloseListing {
  void operator()(DIR* listing) const noexcept { ::closedir(listing); }
};

// Tells the folder from others, for this process; none where the system does not.
std::optional<std::uint32_t> hashOfFolder(int folder) {
  const auto status = statusOfDescriptor(folder);
  if (!status) return std::nullopt;
  const FSRef::Identity identity = identityOf(*status);
  const std::array<std::uint64_t, 5> what{identity.device, identity.number,
                                          static_cast<std::uint64_t>(identity.bornSeconds), identity.bornNanoseconds,
                                          static_cast<std::uint64_t>(::getpid())};
  const std::string_view bytes(reinterpret_cast<const char*>(what.data()), sizeof what);
  return static_cast<std::uint32_t>(std::hash<std::string_view>{}(bytes));
}

// Not for a folder that was looked into within the last minute: to read all of a large one takes longer than a save.
// What is forgotten is looked into once more.
bool isTimeToCleanUp(int folder) {
  using namespace std::chrono;
  static std::array<std::atomic<std::uint64_t>, 64> looks;  // the folder in the upper half, seconds in the lower one
  const auto hash = hashOfFolder(folder);
  if (!hash) return true;
  const auto now = static_cast<std::uint32_t>(floor<seconds>(steady_clock::now().time_since_epoch()).count());
  std::atomic<std::uint64_t>& look = looks[*hash % looks.size()];
  const std::uint64_t last = look.load(std::memory_order_relaxed);
  if (last >> 32 == *hash && now - static_cast<std::uint32_t>(last) < 60) return false;
  look.store(std::uint64_t{*hash} << 32 | now, std::memory_order_relaxed);
  return true;
}

void removeAbandonedFiles(int folder) {
  if (!isTimeToCleanUp(folder)) return;
  FileDescriptor copy = openFolder(folder, ".", O_RDONLY);
  if (!copy) return;
  const std::unique_ptr<DIR, CloseListing> listing(::fdopendir(copy.get()));
  if (!listing) return;
  copy.release();
  while (const dirent* entry = ::readdir(listing.get())) {
    if (isTemporaryName(entry->d_name)) removeIfAbandoned(folder, entry->d_name);
  }
}

// --- Replacing

// The system has no error of its own for what a user has locked.
bool refusesChange(int item) {
  if (!isLocked(item)) return false;
  errno = EPERM;
  return true;
}

// True as well where the file system has no way to flush such an item.
bool flush(int item) {
  return retryInterrupted([&] { return ::fsync(item); }) == 0 || errno == EINVAL || errno == ENOTSUP;
}

class Replacement {
 public:
  explicit Replacement(PlaceInFolder place) : place_(std::move(place)) {}

  bool run(std::string_view bytes) {
    if (refusesChange(folder()) || !examineExisting()) return false;
    removeAbandonedFiles(folder());
    if (!install(bytes)) return false;
    if (flushFolder()) return true;
    undo();
    return false;
  }

 private:
  int folder() const noexcept { return place_.folder.get(); }

  // False when what exists may not be replaced.
  bool examineExisting() {
    if (::fstatat(folder(), place_.name.c_str(), &status_, AT_SYMLINK_NOFOLLOW) != 0) return errno == ENOENT;
    if (!S_ISREG(status_.st_mode) || ::faccessat(folder(), place_.name.c_str(), W_OK, AT_EACCESS) != 0) return false;
    constexpr int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    existing_ = FileDescriptor(retryInterrupted([&] { return ::openat(folder(), place_.name.c_str(), flags); }));
    return existing_ && ::fstat(existing_.get(), &status_) == 0 && S_ISREG(status_.st_mode) &&
           !refusesChange(existing_.get());
  }

  bool install(std::string_view bytes) {
    TemporaryFile temporary(folder());
    return temporary && writeAll(temporary.get(), bytes) &&
           (!existing_ || copyAttributes(existing_.get(), status_, temporary.get())) && flush(temporary.get()) &&
           ::fstat(temporary.get(), &installed_) == 0 && (written_ = std::move(temporary).renameTo(place_.name));
  }

  // A folder that may not be read cannot be flushed alone.
  bool flushFolder() const {
    const bool isReadable = (::fcntl(folder(), F_GETFL) & O_PATH) == 0;
    return isReadable ? flush(folder()) : retryInterrupted([&] { return ::syncfs(written_.get()); }) == 0;
  }

  // The device did not take the folder's change. Nobody can say what a crash would leave now, but until then the file
  // is as the answer says.
  void undo() {
    if (!isStillInstalled()) return;
    if (!existing_) {
      ::unlinkat(folder(), place_.name.c_str(), 0);
    } else if (const auto bytes = readToEnd(existing_.get())) {
      install(*bytes);
    }
  }

  // Not another process's file by now.
  bool isStillInstalled() const {
    struct stat now;
    return ::fstatat(folder(), place_.name.c_str(), &now, AT_SYMLINK_NOFOLLOW) == 0 &&
           now.st_ino == installed_.st_ino && now.st_dev == installed_.st_dev;
  }

  PlaceInFolder place_;
  FileDescriptor existing_, written_;
  struct stat status_ {};
  struct stat installed_ {};
};

}  // namespace

bool replaceFile(const std::string& path, std::string_view bytes) {
  PlaceInFolder place = endOfLinks(path);
  if (!place) return false;
  FileDescriptor readable = openFolder(place.folder.get(), ".", O_RDONLY);
  if (!readable && errno != EACCES) return false;
  if (readable) place.folder = std::move(readable);
  return Replacement(std::move(place)).run(bytes);
}

}  // namespace ZtFoundation::detail
