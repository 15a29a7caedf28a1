// A forked child has one thread, the one that forked. A lock that another thread held at that
// moment would be held in the child for ever, so the forking thread takes them all first and both
// processes let go of them. The locks of the first use, those of the processor type and of the
// set-up, go before the others.
#include "runtime/dispatch/reproducibility.h"
#include "runtime/memory/high_bandwidth.h"
#include "runtime/memory/locks.h"
#include "runtime/memory/memory.h"
#include "runtime/memory/registry.h"
#include "runtime/memory/setup.h"
#include "runtime/memory/statistics.h"
#include "runtime/platform/platform.h"

namespace qsl::memory {
namespace {

void take_all() {
  acquire(&qsl_init_lock);
  acquire(&setup_lock);
  walker_lock();
  acquire(&registry_lock);
  acquire(&thread_slots_lock);
  acquire(&hbw_limit_lock);
  acquire(&totals_lock);
}

void let_go_of_all() {
  release(&totals_lock);
  release(&hbw_limit_lock);
  release(&thread_slots_lock);
  release(&registry_lock);
  walker_unlock();
  release(&setup_lock);
  release(&qsl_init_lock);
}

}  // namespace
}  // namespace qsl::memory

extern "C" void qsl_mm_survive_forks() {
  qsl::platform::at_fork(qsl::memory::take_all, qsl::memory::let_go_of_all);
}
