#include "runtime/lifecycle.h"

#include "runtime/fork.h"
#include "runtime/memory/memory.h"

extern "C" {

void qsl_process_attach() {
  qsl_mm_bind_backend();
  qsl::survive_forks();
}

void qsl_thread_detach() {
  qsl_thread_state_free();
  qsl_mm_thread_exit();
}

void qsl_process_detach(bool process_ending) {
  // Unused, the library ends as quietly as it was loaded.
  if (process_ending || !qsl::any_lock_was_taken()) return;
  qsl_thread_state_free();
  qsl_thread_state_shutdown();
  qsl_shutdown();
}
}
