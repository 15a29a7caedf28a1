// The one seam to the operating system. Everything above it is platform-neutral; each function
// here has one implementation in linux/ and one in windows/.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qsl::platform {

// --- Optional modules, loaded by name -----------------------------------------------------------

struct Module;  // opaque; null when nothing was loaded

// File names of the optional modules in this platform's form, null-terminated lists in the order
// in which they are tried.
extern const char* const kTraceModuleNames[];
extern const char* const kAllocatorModuleNames[];
extern const char* const kMemkindModuleNames[];

// Short name as the verbose banner shows it: "Win" or "Lnx".
extern const char kName[];

Module* module_load(const char* name);
// The first of the names that loads, or null.
Module* module_load_any(const char* const* names);
void* module_symbol(Module* module, const char* symbol);
void module_free(Module* module);
// As module_load, through the wide-character interface where the platform has one; a name with a
// path separator is refused.
Module* module_load_wide(const char* name);

// --- Process and scheduling ---------------------------------------------------------------------

void yield();

// Ends the process at once: no exit handlers, no destructors, nothing flushed but standard output.
void terminate_process(int code);

// Has `before` called by a thread that is about to fork, `in_parent` afterwards if that was true,
// and `in_child` in any case; once each, even if this was called more than once with the same
// three. False when there is no memory for it. Nothing to do where processes don't fork.
bool at_fork(bool (*before)(), void (*in_parent)(), void (*in_child)());

// Copies the value of an environment variable: its length when it fits with its zero; the size
// needed, zero included, when it does not; 0 when it is unset or empty. Variables are ignored in a
// process that runs with raised privileges.
std::size_t environment(const char* name, char* buffer, std::size_t size);

// --- Clocks -------------------------------------------------------------------------------------

// Monotonic counter and its ticks per second; false when the platform has none.
bool performance_counter(std::uint64_t* ticks);
bool performance_frequency(std::uint64_t* ticks_per_second);
// A coarser clock of the same pace, and for how many of its ticks the processor's frequency is
// measured: some milliseconds of the one that ticks often, some ticks of the one that does not.
std::uint32_t coarse_clock();
extern const std::uint32_t kMeasuredTicks;

// --- C allocator --------------------------------------------------------------------------------

struct Allocator {
  void* (*malloc)(std::size_t);
  void* (*calloc)(std::size_t, std::size_t);
  void* (*realloc)(void*, std::size_t);
  void (*free)(void*);
};

// The C runtime's own allocator. Windows: bound late by name, the process heap when there is no C
// runtime in reach.
Allocator c_allocator();

// --- Per-thread blocks --------------------------------------------------------------------------

// One zero-filled block a thread and kind. Reading an existing block is one thread-local read.
enum class ThreadBlock { ticket = 0, state = 1 };
inline constexpr std::size_t kThreadBlockSize[] = {8, 24};

// Makes blocks of this kind possible (a slot index, and on Linux the end-of-thread hook, which
// calls qsl_thread_detach). False when the platform has none left. Not thread-safe: hold one lock
// for both kinds, which share the hook.
bool thread_blocks_open(ThreadBlock kind);
// Gives the slot back. Blocks of other, still living threads are released too, but never under a
// running thread's feet: where the platform can't tell, they live as long as their thread.
void thread_blocks_close(ThreadBlock kind);
// The calling thread's block, or null when it has none (or the kind is not open).
void* thread_block(ThreadBlock kind);
// The same, made when missing; null when it can't be had.
void* thread_block_make(ThreadBlock kind);
void thread_block_free(ThreadBlock kind);

// --- External message catalog -------------------------------------------------------------------

// The catalog of the thread's locale, or null: always null on a platform without message modules.
Module* message_catalog_open();
// Message `id` of the catalog, without its closing line break, in `buffer`; false when the catalog
// lacks it or the text has no closing line break.
bool message_catalog_fetch(Module* catalog, int id, char* buffer, std::size_t size);

}  // namespace qsl::platform
