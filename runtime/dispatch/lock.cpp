#include "runtime/dispatch/lock.h"

#include "runtime/fork.h"
#include "runtime/platform/platform.h"

namespace qsl {

volatile int trace_binding_lock = 0;

// A waiter pauses this often before it starts to give its time slice away.
constexpr int kSpinLimit = 5000;

void spin_acquire(volatile int* word) {
  note_lock();
  int passes = 0;
  for (;;) {
    int expected = 0;
    if (__atomic_load_n(word, __ATOMIC_RELAXED) == 0 &&
        __atomic_compare_exchange_n(word, &expected, 1, false, __ATOMIC_ACQUIRE,
                                    __ATOMIC_RELAXED)) {
      return;
    }
    if (passes < kSpinLimit) {
      ++passes;
      __builtin_ia32_pause();
    } else {
      platform::yield();
    }
  }
}

void spin_release(volatile int* word) { __atomic_store_n(word, 0, __ATOMIC_RELEASE); }

namespace {

using PushHook = void (*)(unsigned);
using PopHook = void (*)();

bool bound = false;

// Looks for the analysis tool's library once; both hooks become null when it is not there.
void bind_trace_hooks() {
  spin_acquire(&trace_binding_lock);
  if (!bound) {
    PushHook push = nullptr;
    PopHook pop = nullptr;
    if (platform::Module* module = platform::module_load_any(platform::kTraceModuleNames)) {
      push = reinterpret_cast<PushHook>(platform::module_symbol(module, "__itt_suppress_push"));
      pop = reinterpret_cast<PopHook>(platform::module_symbol(module, "__itt_suppress_pop"));
    }
    __atomic_store_n(&qsl_trace_push_hook, push, __ATOMIC_RELEASE);
    __atomic_store_n(&qsl_trace_pop_hook, pop, __ATOMIC_RELEASE);
    bound = true;
  }
  spin_release(&trace_binding_lock);
}

void bind_then_push(unsigned mask) {
  bind_trace_hooks();
  if (PushHook push = __atomic_load_n(&qsl_trace_push_hook, __ATOMIC_ACQUIRE)) push(mask);
}

void bind_then_pop() {
  bind_trace_hooks();
  if (PopHook pop = __atomic_load_n(&qsl_trace_pop_hook, __ATOMIC_ACQUIRE)) pop();
}

}  // namespace

PushHook volatile qsl_trace_push_hook = bind_then_push;
PopHook volatile qsl_trace_pop_hook = bind_then_pop;

}  // namespace qsl

extern "C" {

void qsl_trace_suppress_push() {
  constexpr unsigned kSuppressEverything = 255;
  if (qsl::PushHook push = __atomic_load_n(&qsl::qsl_trace_push_hook, __ATOMIC_ACQUIRE)) {
    push(kSuppressEverything);
  }
}

void qsl_trace_suppress_pop() {
  if (qsl::PopHook pop = __atomic_load_n(&qsl::qsl_trace_pop_hook, __ATOMIC_ACQUIRE)) pop();
}

void qsl_lock_acquire(volatile int* word) {
  qsl_trace_suppress_push();
  qsl::spin_acquire(word);
}

void qsl_lock_release(volatile int* word) {
  qsl::spin_release(word);
  qsl_trace_suppress_pop();
}
}
