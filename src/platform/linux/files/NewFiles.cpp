#include "platform/services/NewFiles.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <optional>
#include <utility>

#include "platform/linux/files/FileContents.h"
#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/files/FinderLock.h"
#include "platform/linux/files/PlaceInFolder.h"

namespace ZtFoundation {

namespace {

using detail::FileDescriptor;
using detail::PlaceInFolder;
using Answer = NewFiles::Answer;

constexpr int kWriting = O_WRONLY | O_CLOEXEC | O_NOCTTY;
constexpr mode_t kMode = 0666;

FileDescriptor openIn(const PlaceInFolder& place, const char* name, int flags) {
  return FileDescriptor(
      detail::retryInterrupted([&] { return ::openat(place.folder.get(), name, kWriting | flags, kMode); }));
}

bool giveName(int file, const PlaceInFolder& place) {
  const detail::PathOfDescriptor opened(file);
  return ::linkat(AT_FDCWD, opened.get(), place.folder.get(), place.name.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

// Closing a second descriptor makes the file system tell what it tells only then, while there is no name yet.
bool isWritten(int file) {
  FileDescriptor second(::fcntl(file, F_DUPFD_CLOEXEC, 0));
  return second && detail::closeWritten(std::move(second));
}

// The file gets its name with all its contents; until then it goes with its descriptor, even when the process is
// killed. None where the file system has no files without a name, or "/proc" is not mounted.
std::optional<Answer> makeAtOnce(const PlaceInFolder& place, std::string_view contents) {
  const FileDescriptor file = openIn(place, ".", O_TMPFILE);
  if (!file) return std::nullopt;
  if (!detail::writeAll(file.get(), contents) || !isWritten(file.get())) return Answer::Impossible;
  if (giveName(file.get(), place)) return Answer::Made;
  return errno == EEXIST ? std::optional(Answer::Taken) : std::nullopt;
}

Answer makeUnderItsName(const PlaceInFolder& place, std::string_view contents) {
  FileDescriptor file = openIn(place, place.name.c_str(), O_CREAT | O_EXCL | O_NOFOLLOW);
  if (!file) return errno == EEXIST ? Answer::Taken : Answer::Impossible;
  if (detail::writeAll(file.get(), contents) && detail::closeWritten(std::move(file))) return Answer::Made;
  ::unlinkat(place.folder.get(), place.name.c_str(), 0);
  return Answer::Impossible;
}

class LinuxNewFiles final : public NewFiles {
 public:
  Answer make(const Ref<NSString>& path, std::string_view contents) override {
    const auto bytes = detail::systemPath(path);
    if (!bytes || bytes->empty() || bytes->back() == '/') return Answer::Impossible;
    const PlaceInFolder place = detail::placeOf(*bytes);
    if (!place || detail::isLocked(place.folder.get())) return Answer::Impossible;
    const std::optional<Answer> answer = makeAtOnce(place, contents);
    return answer ? *answer : makeUnderItsName(place, contents);
  }
};

}  // namespace

NewFiles& NewFiles::production() {
  static NewFiles& files = *new LinuxNewFiles;
  return files;
}

}  // namespace ZtFoundation
