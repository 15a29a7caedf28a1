// The memory manager: aligned blocks (plain layer) and a small per-thread cache of them (fast
// layer). The exported calls QSL_malloc, QSL_free and QSL_Free_Buffers are declared in
// qsl/memory.h.
#pragma once

#include <cstddef>

extern "C" {

// Fast layer. As QSL_malloc, but served from the calling thread's cache of up to five blocks of at
// most 40 MiB.
void* qsl_mm_allocate(std::size_t size, int alignment);
// Takes any pointer of either layer; null is ignored.
void qsl_mm_deallocate(void* p);
// Zero-filled block of count * size bytes from the plain layer; the product is not checked.
void* qsl_mm_calloc(std::size_t count, std::size_t size, int alignment);

// 1 when QSL_DISABLE_FAST_MM switches the fast layer off.
int qsl_mm_fast_disabled();

// Binds the allocator back end; called at load and again by the one-time set-up if it was not.
void qsl_mm_bind_backend();
// End of a thread: gives its cached blocks back.
void qsl_mm_thread_exit();

// The small per-thread block of the vector-math frame, made on first use; ends the process when it
// can't be had.
void* qsl_thread_state();
void qsl_thread_state_free();
void qsl_thread_state_shutdown();

// Shut-down callbacks, run once, last registered first. Each registry holds 32; one more ends the
// process.
using qsl_shutdown_callback = void (*)(void* argument);
void qsl_service_at_shutdown(qsl_shutdown_callback callback, void* argument);
void qsl_mm_at_shutdown(qsl_shutdown_callback callback, void* argument);
// The one-time shut-down: buffers, then both registries.
void qsl_shutdown();
}
