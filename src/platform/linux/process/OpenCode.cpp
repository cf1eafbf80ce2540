#include "platform/linux/process/OpenCode.h"

#include <dlfcn.h>

#include <cerrno>
#include <new>

namespace ZtFoundation::detail {

namespace {

// The system declares that loading never throws, which makes an exception of a static constructor fatal. Called
// through a pointer that does not say so, the exception arrives here. Afterwards the system's loader stays locked for other
// threads: they wait if they load code themselves.
void* open(const char* path) {
  void* (*volatile const load)(const char*, int) = &::dlopen;
  return load(path, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
}

}  // namespace

OpenedCode openCode(const char* path) {
  OpenedCode opened;
  errno = 0;
  try {
    opened.handle = open(path);
  } catch (...) {
    opened.hasThrown = true;
  }
  if (opened.handle == nullptr && !opened.hasThrown && errno == ENOMEM) throw std::bad_alloc();
  return opened;
}

}  // namespace ZtFoundation::detail
