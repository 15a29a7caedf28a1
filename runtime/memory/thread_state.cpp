// The small block that the vector-math frame keeps for every thread.

#include "runtime/memory/locks.h"
#include "runtime/memory/memory.h"
#include "runtime/messages/messages.h"
#include "runtime/platform/platform.h"

namespace qsl::memory {
namespace {

bool state_open = false;

// Opening and making go together: a shut-down in between would take the slot away again.
void* make_state() {
  Guard guard(&thread_slots_lock);
  if (!state_open) state_open = platform::thread_blocks_open(platform::ThreadBlock::state);
  return state_open ? platform::thread_block_make(platform::ThreadBlock::state) : nullptr;
}

[[gnu::noinline, gnu::cold]] void* make_state_or_exit() {
  void* state = make_state();
  if (state == nullptr) {
    constexpr int kExitCode = 3;
    qsl_print_message(0, QSL_MSG_MEMORY, 0);
    qsl_fatal_exit(kExitCode);
  }
  return state;
}

}  // namespace
}  // namespace qsl::memory

extern "C" {

void* qsl_thread_state() {
  void* state = qsl::platform::thread_block(qsl::platform::ThreadBlock::state);
  return state != nullptr ? state : qsl::memory::make_state_or_exit();
}

void qsl_thread_state_free() {
  qsl::platform::thread_block_free(qsl::platform::ThreadBlock::state);
}

void qsl_thread_state_shutdown() {
  using namespace qsl::memory;
  const bool locked = try_acquire(&thread_slots_lock);
  if (state_open) {
    state_open = false;
    qsl::platform::thread_blocks_close(qsl::platform::ThreadBlock::state);
  }
  if (locked) release(&thread_slots_lock);
}
}
