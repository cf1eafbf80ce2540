#include "platform/linux/process/OpenCode.h"

#include <dlfcn.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <new>
#include <string_view>

namespace ZtFoundation::detail {

namespace {

// The system declares that loading never throws, which makes an exception of a static constructor fatal. Called through
// a pointer that does not say so, the exception arrives here. Afterwards the system's loader stays locked for other
// threads: they wait for ever if they load code, or ask where loaded code comes from, by dladdr or dlinfo.
void* open(const char* path) {
  void* (*volatile const load)(const char*, int) = &::dlopen;
  return load(path, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
}

// The loader tells why only by a message. The text of the error stands in it, in whatever language; that of one of the
// libraries that the file needs does, too.
bool isPassing(std::string_view message) {
  for (const int error : {EMFILE, ENFILE, EIO}) {
    if (message.find(std::strerror(error)) != std::string_view::npos) return true;
  }
  return false;
}

// Messages about memory are of many kinds. Whether there is room for what large libraries take shows it.
bool isMemoryShort() noexcept {
  constexpr std::size_t kLarge = std::size_t{64} << 20;
  void* const room = ::mmap(nullptr, kLarge, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return room == MAP_FAILED || ::munmap(room, kLarge) != 0;
}

}  // namespace

OpenedCode openCode(const char* path) {
  OpenedCode opened;
  try {
    opened.handle = open(path);
  } catch (...) {
    opened.hasThrown = true;
  }
  if (opened.handle != nullptr || opened.hasThrown) return opened;
  const char* const message = ::dlerror();
  opened.mayOpenLater = message != nullptr && isPassing(message);
  if (!opened.mayOpenLater && isMemoryShort()) throw std::bad_alloc();
  return opened;
}

}  // namespace ZtFoundation::detail
