#include <pthread.h>

#include "runtime/platform/platform.h"

namespace qsl::platform {
namespace {

bool (*before_fork)();
void (*after_fork_in_parent)();
void (*after_fork_in_child)();

// Whether the calling thread is between the two halves of its fork.
thread_local constinit bool is_prepared = false;

void prepare() {
  if (!is_prepared) is_prepared = before_fork();
}

void resume_parent() {
  if (!is_prepared) return;
  is_prepared = false;
  after_fork_in_parent();
}

void resume_child() {
  is_prepared = false;
  after_fork_in_child();
}

}  // namespace

// The C library forgets them when the library is unloaded.
bool at_fork(bool (*before)(), void (*in_parent)(), void (*in_child)()) {
  before_fork = before;
  after_fork_in_parent = in_parent;
  after_fork_in_child = in_child;
  return pthread_atfork(prepare, resume_parent, resume_child) == 0;
}

}  // namespace qsl::platform
