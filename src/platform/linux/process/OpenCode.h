/// \file OpenCode.h
/// Loading code by the system's loader.
#pragma once

namespace ZtFoundation::detail {

struct OpenedCode {
  void* handle = nullptr;     ///< null when the code cannot be loaded
  bool hasThrown = false;     ///< what its static initialisers have thrown
  bool mayOpenLater = false;  ///< it cannot be loaded because descriptors are short or a disk does not answer
};

/// Loads the shared object at `path` for good; null stands for the program itself. std::bad_alloc when it cannot be loaded
/// while memory is short, which is no property of the file.
OpenedCode openCode(const char* path);

}  // namespace ZtFoundation::detail
