// Per-thread blocks and the end-of-thread hook.
//
// The blocks lie in the thread's own static storage, so that they need no release: the C library
// takes them back when the thread ends or the library is unloaded, whichever threads are still
// running then. A pthread key serves for the hook alone. It is deleted with the last kind, so that
// a thread which outlives the library doesn't call into unmapped code.
#include <pthread.h>

#include <cstring>

#include "runtime/lifecycle.h"
#include "runtime/platform/platform.h"

namespace qsl::platform {
namespace {

constexpr int kKinds = 2;

struct alignas(8) Storage {
  void* block[kKinds];  // null until made
  char bytes[kKinds][kThreadBlockSize[1]];
};

thread_local constinit Storage storage = {};

pthread_key_t hook_key;
bool is_open[kKinds] = {};

bool any_open() { return is_open[0] || is_open[1]; }

void end_of_thread(void*) { qsl_thread_detach(); }

}  // namespace

bool thread_blocks_open(ThreadBlock kind) {
  if (!any_open() && pthread_key_create(&hook_key, end_of_thread) != 0) return false;
  __atomic_store_n(&is_open[static_cast<int>(kind)], true, __ATOMIC_RELEASE);
  return true;
}

void thread_blocks_close(ThreadBlock kind) {
  bool* open = &is_open[static_cast<int>(kind)];
  if (!*open) return;
  __atomic_store_n(open, false, __ATOMIC_RELEASE);
  if (!any_open()) pthread_key_delete(hook_key);
}

void* thread_block(ThreadBlock kind) {
  const int index = static_cast<int>(kind);
  return __atomic_load_n(&is_open[index], __ATOMIC_RELAXED) ? storage.block[index] : nullptr;
}

void* thread_block_make(ThreadBlock kind) {
  const int index = static_cast<int>(kind);
  if (!__atomic_load_n(&is_open[index], __ATOMIC_ACQUIRE)) return nullptr;
  Storage& own = storage;
  if (own.block[index] == nullptr) {
    // The value only has to be non-null for the hook to run.
    if (pthread_setspecific(hook_key, &own) != 0) return nullptr;
    std::memset(own.bytes[index], 0, sizeof own.bytes[index]);
    own.block[index] = own.bytes[index];
  }
  return own.block[index];
}

void thread_block_free(ThreadBlock kind) { storage.block[static_cast<int>(kind)] = nullptr; }

}  // namespace qsl::platform
