// Operations on the caches of all threads.
#pragma once

#include <cstdint>

#include "runtime/memory/record.h"

namespace qsl::memory {

// Where a block of some thread's cache was found; slot -1 when nowhere.
struct Found {
  ThreadRecord* record;
  int slot;
  std::uint32_t index;
  std::uint32_t generation;
};

// Looks through all records. An entry lock is held.
Found find_in_registry(const void* p);

// After a release into a record whose owner is gone: frees what nobody uses, and the record with
// its last block. A record that is no longer there, or has an owner, is left alone.
void clean_orphan(std::uint32_t index, std::uint32_t generation);

// QSL_Free_Buffers.
void free_buffers();
// The same at the end of the library, when locks may be held by threads that no longer exist. False
// when it was skipped for that reason.
bool try_free_buffers();

}  // namespace qsl::memory
