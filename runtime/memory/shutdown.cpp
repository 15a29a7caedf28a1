// The one-time shut-down and its two registries of callbacks.
//
// It may run in a process that was split off without the C library's knowledge (runtime/fork.cpp
// covers the usual way), where a thread that held a lock no longer exists: so no wait here is
// without end.

#include "runtime/memory/shutdown.h"

#include "runtime/memory/buffers.h"
#include "runtime/memory/locks.h"
#include "runtime/memory/memory.h"
#include "runtime/messages/messages.h"

namespace qsl::memory {

Callbacks service_callbacks = {};
Callbacks memory_callbacks = {};
volatile int shutdown_lock = 0;

namespace {

constexpr int kOverfullExitCode = 3;

bool shutdown_done = false;

bool append(Callbacks* callbacks, Callback callback) {
  Guard guard(&callbacks->add_lock);
  if (callbacks->count == Callbacks::kMost) return false;
  callbacks->list[callbacks->count] = callback;
  ++callbacks->count;
  return true;
}

void add(Callbacks* callbacks, Callback callback) {
  if (!append(callbacks, callback)) qsl_fatal_exit(kOverfullExitCode);
}

// The last callback, taken off the list before it is called: it may add others.
bool take_last(Callbacks* callbacks, Callback* callback) {
  if (!try_acquire(&callbacks->add_lock)) return false;
  const bool any = callbacks->count > 0;
  if (any) {
    --callbacks->count;
    *callback = callbacks->list[callbacks->count];
  }
  release(&callbacks->add_lock);
  return any;
}

void run(Callbacks* callbacks) {
  if (!try_acquire(&callbacks->run_lock)) return;
  Callback callback;
  while (take_last(callbacks, &callback)) callback.function(callback.argument);
  release(&callbacks->run_lock);
}

}  // namespace
}  // namespace qsl::memory

extern "C" {

void qsl_service_at_shutdown(qsl_shutdown_callback callback, void* argument) {
  qsl::memory::add(&qsl::memory::service_callbacks, {callback, argument});
}

void qsl_mm_at_shutdown(qsl_shutdown_callback callback, void* argument) {
  qsl::memory::add(&qsl::memory::memory_callbacks, {callback, argument});
}

void qsl_shutdown() {
  using namespace qsl::memory;
  if (observe(shutdown_done) || !try_acquire(&shutdown_lock)) return;
  if (!shutdown_done) {
    try_free_buffers();
    run(&service_callbacks);
    run(&memory_callbacks);
    publish(shutdown_done, true);
  }
  release(&shutdown_lock);
}
}
