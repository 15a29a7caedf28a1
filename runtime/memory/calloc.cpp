#include <cstring>

#include "runtime/memory/memory.h"
#include "runtime/memory/plain.h"

extern "C" void* qsl_mm_calloc(std::size_t count, std::size_t size, int alignment) {
  const std::size_t bytes = count * size;
  void* block = qsl::memory::allocate_plain(bytes, alignment);
  if (block != nullptr) std::memset(block, 0, bytes);
  return block;
}
