// The shut-down's lock and its two registries of callbacks; memory.h has the calls.
#pragma once

#include "runtime/memory/memory.h"

namespace qsl::memory {

struct Callback {
  qsl_shutdown_callback function;
  void* argument;
};

struct Callbacks {
  static constexpr int kMost = 32;

  volatile int add_lock;
  volatile int run_lock;
  int count;
  Callback list[kMost];
};

extern Callbacks service_callbacks;
extern Callbacks memory_callbacks;
extern volatile int shutdown_lock;

}  // namespace qsl::memory
