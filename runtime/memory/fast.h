// The fast layer in two parts: the short way of a hit, and everything else.
#pragma once

#include <cstddef>
#include <cstdint>

#include "runtime/memory/plain.h"
#include "runtime/memory/record.h"

namespace qsl::memory {

// A free slot of exactly this capacity, or -1. Slots without a block have the capacity 0.
inline int find_exact(const ThreadRecord& record, std::uint32_t need) {
  for (int i = 0; i < static_cast<int>(kSlots); ++i) {
    if (record.capacity[i] == need && observe(record.in_use[i]) == 0) return i;
  }
  return -1;
}

// Marks the slot's block as in use and says where it begins.
inline void* take_slot(ThreadRecord* record, int slot, std::size_t size, std::uint32_t alignment) {
  QSL_NOTE_TAKEN_OVER(&record->in_use[slot]);
  void* const block = align_up(record->base[slot], alignment);
  record->in_use[slot] = 1;
  record->requested[slot] = size;
  publish(record->aligned[slot], block);
  return block;
}

// Requests that are no hit, in full.
[[gnu::cold]] void* allocate_slow(std::size_t size, int alignment);
[[gnu::cold]] void deallocate_slow(void* p);

}  // namespace qsl::memory
