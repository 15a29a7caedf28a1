// A thread's cache of blocks.
//
// The owner changes its record under its entry lock. Other threads look through `aligned` and clear
// `in_use` meanwhile, under their own entry locks: a block in use keeps its slot, and a slot names
// no block that the back end has got back.
#pragma once

#include <cstddef>
#include <cstdint>

#include "runtime/memory/annotations.h"
#include "runtime/memory/atomic.h"

namespace qsl::memory {

inline constexpr std::uint32_t kSlots = 5;
inline constexpr std::size_t kLargestCached = 41943040;  // 40 MiB

struct ThreadRecord {
  void* base[kSlots];               // from the back end; null if none
  void* aligned[kSlots];            // the pointer handed out
  std::uint32_t requested[kSlots];  // size last asked for
  std::uint32_t capacity[kSlots];   // size plus alignment when the block was made
  std::uint32_t in_use[kSlots];
  std::uint32_t count;  // slots that hold or held a block
  std::uint32_t stat_blocks;
  std::uint32_t stat_bytes;
  std::uint32_t orphaned;  // the owner is gone, and blocks were still in use
};
static_assert(sizeof(ThreadRecord) == 116);

// A zeroed record, or null.
ThreadRecord* make_record();

// Gives a slot's block back. The owner's entry lock or the walker's lock is held.
void empty_slot(ThreadRecord* record, int slot);

// Gives the cached blocks back that nobody uses. True when no block is in use any more. The caller
// holds the walker's lock.
bool empty_record(ThreadRecord* record);

// As the end of a record: counts folded into the totals, memory given back.
void free_record(ThreadRecord* record);

// The slot of a pointer, or -1. Slots that were never filled hold null.
inline int find_slot(const ThreadRecord& record, const void* p) {
  for (int i = 0; i < static_cast<int>(kSlots); ++i) {
    if (observe(record.aligned[i]) == p) return i;
  }
  return -1;
}

inline void release_slot(ThreadRecord* record, int slot) {
  QSL_NOTE_HANDED_OVER(&record->in_use[slot]);
  publish(record->in_use[slot], 0u);
}

}  // namespace qsl::memory
