#include <pthread.h>

#include "runtime/platform/platform.h"

namespace qsl::platform {
namespace {

using Handler = void (*)();

Handler before_fork;
Handler after_fork_in_parent;
Handler after_fork_in_child;

// How many handlers of the calling thread's fork are between their two calls: the first to begin
// and the last to end do the work.
thread_local constinit int handlers_begun = 0;

void call(Handler& handler) { __atomic_load_n(&handler, __ATOMIC_RELAXED)(); }

void prepare() {
  if (handlers_begun++ == 0) call(before_fork);
}

// A handler that was registered in the middle of a fork may be called for the second time alone.
bool is_last() { return handlers_begun > 0 && --handlers_begun == 0; }

void resume_parent() {
  if (is_last()) call(after_fork_in_parent);
}

void resume_child() {
  if (is_last()) call(after_fork_in_child);
}

}  // namespace

// The C library forgets them when the library is unloaded.
void at_fork(Handler before, Handler in_parent, Handler in_child) {
  __atomic_store_n(&before_fork, before, __ATOMIC_RELAXED);
  __atomic_store_n(&after_fork_in_parent, in_parent, __ATOMIC_RELAXED);
  __atomic_store_n(&after_fork_in_child, in_child, __ATOMIC_RELAXED);
  pthread_atfork(prepare, resume_parent, resume_child);
}

}  // namespace qsl::platform
