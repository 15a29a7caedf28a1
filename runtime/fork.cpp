// The forking thread takes the locks first, in the order in which they are taken inside each other
// (the table in DESIGN.md), and both processes let go of them.
//
// It does not wait for those under which others are waited for: the loader, which may be running
// start-up code that joins the thread that forks, or the reader of what is printed, which may be
// the child. What these locks guard is complete or can be done again, so the child just starts with
// them free. So it does with all of them when the first lock of all was taken in the middle of the
// fork.
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

volatile int* const not_awaited[] = {&banner_lock, &memory::setup_lock, &trace_binding_lock};

volatile int* const before_walker[] = {
    &memory::shutdown_lock,
    &memory::memory_callbacks.run_lock,
    &memory::service_callbacks.run_lock,
    &qsl_init_lock,
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

bool registered = false;
bool used = false;

bool take_all() {
  if (!any_lock_was_taken()) return false;
  for (volatile int* lock : before_walker) spin_acquire(lock);
  memory::take_all_words();
  for (volatile int* lock : after_walker) spin_acquire(lock);
  return true;
}

void let_go_of_all() {
  for (volatile int* lock : after_walker) spin_release(lock);
  memory::let_go_of_all_words();
  for (volatile int* lock : before_walker) spin_release(lock);
}

void start_child() {
  let_go_of_all();
  for (volatile int* lock : not_awaited) spin_release(lock);
}

}  // namespace

void survive_forks() {
  if (__atomic_load_n(&registered, __ATOMIC_ACQUIRE)) return;
  const bool done = platform::at_fork(take_all, let_go_of_all, start_child);
  __atomic_store_n(&registered, done, __ATOMIC_RELEASE);
}

void note_lock() {
  if (__atomic_load_n(&used, __ATOMIC_RELAXED)) [[likely]] {
    return;
  }
  survive_forks();  // if there was no memory for it at load
  __atomic_store_n(&used, true, __ATOMIC_SEQ_CST);
}

bool any_lock_was_taken() { return __atomic_load_n(&used, __ATOMIC_SEQ_CST); }

}  // namespace qsl
