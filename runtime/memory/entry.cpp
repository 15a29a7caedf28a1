// The exported calls.

#include "qsl/memory.h"

#include "runtime/memory/buffers.h"
#include "runtime/memory/plain.h"

extern "C" {

void* QSL_malloc(size_t size, int alignment) {
  return qsl::memory::allocate_plain(size, alignment);
}

void QSL_free(void* p) { qsl::memory::free_plain(p); }

void QSL_Free_Buffers(void) { qsl::memory::free_buffers(); }
}
