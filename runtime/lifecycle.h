// Load and unload of the library, end of a thread.
#pragma once

extern "C" {

// Load: binds the allocator back end and decides nothing else.
void qsl_process_attach();

// End of a thread that used the library: its small state block, then its memory-manager state.
void qsl_thread_detach();

// Unload. With `process_ending` nothing is released.
void qsl_process_detach(bool process_ending);
}
