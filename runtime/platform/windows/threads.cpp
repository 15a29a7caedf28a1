// Per-thread blocks: a slot index and a private heap a kind. Destroying the heap takes the blocks
// of every thread with it. The end-of-thread hook is the library's entry point.
#include "runtime/platform/platform.h"
#include "runtime/platform/windows/windows_api.h"

namespace qsl::platform {
namespace {

struct Slot {
  DWORD index = TLS_OUT_OF_INDEXES;
  HANDLE heap = nullptr;
};

Slot slots[2];

Slot& slot(ThreadBlock kind) { return slots[static_cast<int>(kind)]; }

bool is_open(const Slot& s) {
  return __atomic_load_n(&s.index, __ATOMIC_ACQUIRE) != TLS_OUT_OF_INDEXES;
}

// TlsGetValue clears the thread's last error, which belongs to the caller.
void* read(const Slot& s) {
  const DWORD error = GetLastError();
  void* block = TlsGetValue(s.index);
  SetLastError(error);
  return block;
}

}  // namespace

bool thread_blocks_open(ThreadBlock kind) {
  Slot& s = slot(kind);
  if (is_open(s)) return true;
  s.heap = HeapCreate(0, kThreadBlockSize[static_cast<int>(kind)], 0);
  if (s.heap == nullptr) return false;
  const DWORD index = TlsAlloc();
  if (index == TLS_OUT_OF_INDEXES) {
    HeapDestroy(s.heap);
    s.heap = nullptr;
    return false;
  }
  __atomic_store_n(&s.index, index, __ATOMIC_RELEASE);
  return true;
}

void thread_blocks_close(ThreadBlock kind) {
  Slot& s = slot(kind);
  if (!is_open(s)) return;
  const DWORD index = s.index;
  __atomic_store_n(&s.index, TLS_OUT_OF_INDEXES, __ATOMIC_RELEASE);
  TlsFree(index);
  HeapDestroy(s.heap);
  s.heap = nullptr;
}

void* thread_block(ThreadBlock kind) {
  const Slot& s = slot(kind);
  return is_open(s) ? read(s) : nullptr;
}

void* thread_block_make(ThreadBlock kind) {
  Slot& s = slot(kind);
  if (!is_open(s)) return nullptr;
  void* block = read(s);
  if (block != nullptr) return block;
  block = HeapAlloc(s.heap, HEAP_ZERO_MEMORY, kThreadBlockSize[static_cast<int>(kind)]);
  if (block != nullptr && !TlsSetValue(s.index, block)) {
    HeapFree(s.heap, 0, block);
    block = nullptr;
  }
  return block;
}

void thread_block_free(ThreadBlock kind) {
  Slot& s = slot(kind);
  if (!is_open(s)) return;
  if (void* block = read(s)) {
    TlsSetValue(s.index, nullptr);
    HeapFree(s.heap, 0, block);
  }
}

}  // namespace qsl::platform
