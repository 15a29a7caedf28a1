#include "runtime/dispatch/override.h"

#include "runtime/dispatch/environment.h"
#include "runtime/messages/crt.h"

extern "C" {
int qsl_debug_cpu_state = -1;
int qsl_debug_cpu_value = 0;
}

namespace qsl {

bool cpu_override_active() {
  int state = __atomic_load_n(&qsl_debug_cpu_state, __ATOMIC_ACQUIRE);
  if (state == -1) {
    char text[30];
    state = 0;
    int value = 0;
    // %i: a leading 0x makes the number hexadecimal, a leading 0 octal.
    if (qsl_getenv("QSL_DEBUG_CPU_TYPE", text, sizeof text) > 0 &&
        qsl_sscanf(text, "%i", &value) == 1) {
      qsl_debug_cpu_value = value;
      state = 1;
    }
    __atomic_store_n(&qsl_debug_cpu_state, state, __ATOMIC_RELEASE);
  }
  return state == 1;
}

}  // namespace qsl
