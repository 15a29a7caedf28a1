// QSL_DEBUG_CPU_TYPE: the user's processor type, taken without a test of the processor.
#pragma once

extern "C" {
extern int qsl_debug_cpu_state;  // -1 not read, 0 no override, 1 active
extern int qsl_debug_cpu_value;
}

namespace qsl {

// True when an override is active; reads the variable on first use.
bool cpu_override_active();

}  // namespace qsl
