#include "platform/linux/operations/FolderWalk.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

namespace ZtFoundation::detail {

namespace {

unsigned char typeOf(int folder, const char* name) {
  struct stat status;
  if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0) return DT_UNKNOWN;
  return static_cast<unsigned char>(IFTODT(status.st_mode));
}

}  // namespace

bool FolderWalk::run(int at, const char* name) {
  at_ = at;
  name_ = name;
  Step step = enter(name);
  while (step != Step::Stop && !levels_.empty()) step = goOn();
  return step != Step::Stop;
}

FolderWalk::Step FolderWalk::goOn() {
  FolderContents::Entry entry;
  if (!levels_.back().contents.next(entry)) return leave();
  if (entry.type == DT_UNKNOWN) entry.type = typeOf(current(), entry.name);
  return entry.type == DT_DIR ? enter(entry.name) : visitor_.item(current(), entry.name, entry.type);
}

FolderWalk::Step FolderWalk::enter(const char* name) {
  const int parent = current();
  Level level{{}, path_.size(), keyOfFolder(name)};
  if (!open(parent, name, level.contents)) return visitor_.failed(parent, name);
  const Step step = visitor_.entered(parent, name, descent_.folder());
  if (step != Step::GoOn) {
    descent_.leave();
    return step;
  }
  if (!levels_.empty()) path_.append(name).append("/");
  levels_.push_back(std::move(level));
  return step;
}

bool FolderWalk::descend(int parent, const char* name) {
  if (descent_.enter(parent, name)) return true;
  if (errno != EACCES) return false;
  if (visitor_.opensUp(parent, name)) return descent_.enter(parent, name);
  errno = EACCES;
  return false;
}

// False when the walk is where it was, for the reason in errno.
bool FolderWalk::open(int parent, const char* name, FolderContents& contents) {
  if (!descend(parent, name)) return false;
  if (contents.read(descent_.folder())) return true;
  const int error = errno;
  descent_.leave();
  errno = error;
  return false;
}

FolderWalk::Step FolderWalk::leave() {
  if (visitor_.leaving(descent_.folder()) == Step::Stop) return Step::Stop;
  const std::size_t nameAt = levels_.back().nameAt;
  levels_.pop_back();
  const std::string name = levels_.empty() ? name_ : path_.substr(nameAt, path_.size() - nameAt - 1);
  path_.resize(nameAt);
  if (descent_.leave()) return visitor_.left(current(), name.c_str());
  visitor_.lost(name.c_str());
  return Step::Stop;
}

}  // namespace ZtFoundation::detail
