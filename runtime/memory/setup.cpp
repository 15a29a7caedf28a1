#include "runtime/memory/setup.h"

#include "runtime/memory/annotations.h"
#include "runtime/memory/back_end.h"
#include "runtime/memory/high_bandwidth.h"
#include "runtime/memory/locks.h"
#include "runtime/memory/memory.h"
#include "runtime/memory/registry.h"
#include "runtime/memory/settings.h"

namespace qsl::memory {

Setup setup_state = Setup::none;
volatile int setup_lock = 0;

Setup set_up() {
  Guard guard(&setup_lock);
  if (setup_state == Setup::none) {
    QSL_NOTE_ATOMIC_WORDS(&setup_state, sizeof setup_state);
    QSL_NOTE_ATOMIC_WORDS(&settings, sizeof settings);
    QSL_NOTE_ATOMIC_WORDS(&high_bandwidth, sizeof high_bandwidth);
    QSL_NOTE_ATOMIC_WORDS(&hbw_limit, sizeof hbw_limit);
    QSL_NOTE_ATOMIC_WORDS(&back_end, sizeof back_end);
    QSL_NOTE_ATOMIC_WORDS(&bound_allocator, sizeof bound_allocator);
    QSL_NOTE_ATOMIC_WORDS(&registry, sizeof registry);
    read_settings();
    open_high_bandwidth();
    qsl_mm_bind_backend();
    set_back_end();
    publish(setup_state, settings.fast_disabled ? Setup::fast_layer_off : Setup::fast_layer_on);
  }
  return setup_state;
}

}  // namespace qsl::memory
