#include "platform/linux/process/OpenCode.h"

#include <dlfcn.h>
#include <sys/mman.h>

#include <cstddef>
#include <new>

namespace ZtFoundation::detail {

namespace {

// The system declares that loading never throws, which makes an exception of a static constructor fatal. Called through
// a pointer that does not say so, the exception arrives here. Afterwards the system's loader stays locked for other
// threads: they wait if they load code themselves.
void* open(const char* path) {
  void* (*volatile const load)(const char*, int) = &::dlopen;
  return load(path, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
}

// The system's loader does not say why it fails. Whether there is room for what large libraries take shows it.
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
  if (opened.handle == nullptr && !opened.hasThrown && isMemoryShort()) throw std::bad_alloc();
  return opened;
}

}  // namespace ZtFoundation::detail
