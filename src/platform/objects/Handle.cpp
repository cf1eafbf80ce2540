#include <ZtFoundation/platform/FileReference.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

namespace ZtFoundation {

namespace {

// A handle points at the first member.
struct Block {
  char* bytes = nullptr;
  NSUInteger size = 0;
};

struct ReleaseBlock {
  void operator()(Block* block) const noexcept {
    std::free(block->bytes);
    delete block;
  }
};

Block* blockOf(void* handle) noexcept { return static_cast<Block*>(handle); }
const Block* blockOf(const void* handle) noexcept { return static_cast<const Block*>(handle); }

// False leaves the block as it is. An empty block has an address too.
bool resize(Block& block, NSUInteger size) noexcept {
  void* bytes = std::realloc(block.bytes, size > 0 ? size : 1);
  if (bytes == nullptr) return false;
  block.bytes = static_cast<char*>(bytes);
  block.size = size;
  return true;
}

template <class AnyHandle>
OSErr newHandle(const void* source, AnyHandle* result, NSUInteger size) {
  if (source == nullptr || result == nullptr) return paramErr;
  std::unique_ptr<Block, ReleaseBlock> block(new (std::nothrow) Block);
  if (!block || !resize(*block, size)) return memFullErr;
  std::memcpy(block->bytes, source, size);
  *result = reinterpret_cast<AnyHandle>(block.release());
  return noErr;
}

}  // namespace

OSErr PtrToHand(const void* source, Handle* result, NSUInteger size) { return newHandle(source, result, size); }

OSErr PtrToHand(const void* source, AliasHandle* result, NSUInteger size) { return newHandle(source, result, size); }

NSUInteger GetHandleSize(const void* handle) { return handle != nullptr ? blockOf(handle)->size : 0; }

OSErr SetHandleSize(void* handle, NSUInteger size) {
  if (handle == nullptr) return paramErr;
  return resize(*blockOf(handle), size) ? noErr : memFullErr;
}

void DisposeHandle(void* handle) {
  if (handle != nullptr) ReleaseBlock()(blockOf(handle));
}

}  // namespace ZtFoundation
