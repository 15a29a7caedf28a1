// The forking thread takes all locks first, in the order in which they are taken inside each other
// (the table in DESIGN.md), and both processes let go of them.
//
// One is left out: the binding of the trace hooks loads a module, whose start-up code may fork
// itself, and waits for the loader, for which another thread may hold up the one that forks. What
// it guards is complete or can be done again, so the child just starts with it free.
#include "runtime/fork.h"

#include "runtime/config/threads.h"
#include "runtime/dispatch/lock.h"
#include "runtime/dispatch/reproducibility.h"
#include "runtime/memory/high_bandwidth.h"
#include "runtime/memory/locks.h"
#include "runtime/memory/registry.h"
#include "runtime/memory/settings.h"
#include "runtime/memory/setup.h"
#include "runtime/memory/shutdown.h"
#include "runtime/memory/statistics.h"
#include "runtime/platform/platform.h"
#include "runtime/verbose/clock.h"
#include "runtime/verbose/verbose.h"

namespace qsl {
namespace {

volatile int* const before_walker[] = {
    &memory::shutdown_lock,
    &memory::memory_callbacks.run_lock,
    &memory::service_callbacks.run_lock,
    &banner_lock,
    &qsl_init_lock,
    &memory::setup_lock,
    &memory::settings_lock,
    &thread_settings_lock,
    &verbose_mode_lock,
    &verbose_file_lock,
    &clock_lock,
};

volatile int* const after_walker[] = {
    &memory::registry_lock, &memory::thread_slots_lock,         &memory::hbw_limit_lock,
    &memory::totals_lock,   &memory::memory_callbacks.add_lock, &memory::service_callbacks.add_lock,
};

void take_all() {
  for (volatile int* lock : before_walker) spin_acquire(lock);
  memory::take_all_words();
  for (volatile int* lock : after_walker) spin_acquire(lock);
}

void let_go_of_all() {
  for (volatile int* lock : after_walker) spin_release(lock);
  memory::let_go_of_all_words();
  for (volatile int* lock : before_walker) spin_release(lock);
}

void let_go_in_child() {
  let_go_of_all();
  spin_release(&trace_binding_lock);
}

bool registered = false;

}  // namespace

// Two threads may both find nothing registered: the platform calls the handlers once all the same.
void survive_forks() {
  if (__atomic_load_n(&registered, __ATOMIC_ACQUIRE)) [[likely]] {
    return;
  }
  platform::at_fork(take_all, let_go_of_all, let_go_in_child);
  __atomic_store_n(&registered, true, __ATOMIC_RELEASE);
}

bool any_lock_was_taken() { return __atomic_load_n(&registered, __ATOMIC_ACQUIRE); }

}  // namespace qsl
