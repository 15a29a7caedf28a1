// The spin lock of the frame, and the hooks by which an analysis tool is told to look away.
#pragma once

extern "C" {

// Takes the lock: a zero-initialised word, 1 while held. Spins 5000 pauses, then yields.
void qsl_lock_acquire(volatile int* word);
void qsl_lock_release(volatile int* word);

// Brackets of every lock hold and of every dispatcher's slow path: they call
// __itt_suppress_push(255) and __itt_suppress_pop() of the analysis tool's library when there is
// one. The library is looked for once, on first use, and never freed.
void qsl_trace_suppress_push();
void qsl_trace_suppress_pop();
}

namespace qsl {

// The same without the hooks. A thread that forks has no business with the loader, which the first
// use of a hook calls.
void spin_acquire(volatile int* word);
void spin_release(volatile int* word);

// Guards the binding of the hooks.
extern volatile int trace_binding_lock;

// Holds a spin lock for a scope.
class LockGuard {
 public:
  explicit LockGuard(volatile int* word) : word_(word) { qsl_lock_acquire(word_); }
  ~LockGuard() { qsl_lock_release(word_); }
  LockGuard(const LockGuard&) = delete;
  LockGuard& operator=(const LockGuard&) = delete;

 private:
  volatile int* word_;
};

// The bound hooks, read directly where even a call is too much; null when there is no tool. Before
// the first use they point to a function that binds both.
extern void (*volatile qsl_trace_push_hook)(unsigned mask);
extern void (*volatile qsl_trace_pop_hook)();

}  // namespace qsl
