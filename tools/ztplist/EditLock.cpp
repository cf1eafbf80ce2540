#include "EditLock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <system_error>
#include <thread>

#include "Failure.h"
#include "Streams.h"

namespace ztplist {

namespace {

constexpr std::chrono::seconds kPatience{30};
constexpr std::chrono::milliseconds kInterval{10};
constexpr int kNothing = -1;

// What is read from a pipe or device cannot be written back. Folders are refused by reading.
void checkPlace(const std::string& file) {
  std::error_code error;
  const auto status = std::filesystem::status(file, error);
  if (!std::filesystem::is_other(status)) return;
  throw Failure(Exit::InputOutput, file + ": no regular file, so nothing can be written back; use -o");
}

// What fails here fails with a reason when the file is read or saved.
int openFolderOf(const std::string& file) {
  std::error_code error;
  const auto path = std::filesystem::canonical(file, error);
  return error ? kNothing : ::open(path.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

int openToLock(const std::string& file, const std::string& destination) {
  if (destination != file || file == kStandardStream) return kNothing;
  checkPlace(file);
  return openFolderOf(file);
}

bool isTaken(int folder) { return ::flock(folder, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK; }

}  // namespace

EditLock::EditLock(const std::string& file, const std::string& destination) : folder_(openToLock(file, destination)) {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (folder_.get() != kNothing && isTaken(folder_.get())) {
    if (std::chrono::steady_clock::now() > end) throw Failure(Exit::InputOutput, file + ": others keep it locked");
    std::this_thread::sleep_for(kInterval);
  }
}

}  // namespace ztplist
