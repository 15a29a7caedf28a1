// The one-time set-up: settings, high-bandwidth memory, back end.
#pragma once

#include "runtime/memory/atomic.h"

namespace qsl::memory {

// Zero until the set-up is done; then it also says what every fast call has to know.
enum class Setup : int { none = 0, fast_layer_on = 1, fast_layer_off = 2 };

extern Setup setup_state;
extern volatile int setup_lock;

// Does the set-up, once, and returns the state.
[[gnu::noinline, gnu::cold]] Setup set_up();

inline Setup ensure_setup() {
  const Setup state = observe(setup_state);
  return state != Setup::none ? state : set_up();
}

}  // namespace qsl::memory
