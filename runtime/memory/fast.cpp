// The fast layer. A hit costs one thread-local read, one uncontended compare-exchange and a scan of
// at most five slots; everything else is out of line.

#include <cstddef>
#include <cstdint>

#include "runtime/memory/back_end.h"
#include "runtime/memory/buffers.h"
#include "runtime/memory/locks.h"
#include "runtime/memory/memory.h"
#include "runtime/memory/plain.h"
#include "runtime/memory/record.h"
#include "runtime/memory/registry.h"
#include "runtime/memory/setup.h"

namespace qsl::memory {
namespace {

// Results of the slot search besides a slot.
constexpr int kNoMemory = -1;
constexpr int kAllInUse = -2;

// A block of `need` bytes in a slot that is empty or new.
bool fill_slot(ThreadRecord* record, int slot, std::uint32_t need) {
  void* const base = back_end.malloc(need);
  if (base == nullptr) return false;
  record->base[slot] = base;
  record->capacity[slot] = need;
  return true;
}

// Gives a slot's block back. Whoever gets it next must not be found here, so the slot forgets it
// first.
void empty_slot(ThreadRecord* record, int slot) {
  void* const base = record->base[slot];
  record->base[slot] = nullptr;
  record->capacity[slot] = 0;
  publish<void*>(record->aligned[slot], nullptr);
  if (base != nullptr) back_end.free(base);
}

// No cached block is large enough. `smaller` is the first free one that is too small, or -1.
[[gnu::noinline, gnu::cold]] int make_slot(ThreadRecord* record, int smaller, std::uint32_t need) {
  const std::uint32_t count = record->count;
  if (count < kSlots) {
    const int slot = static_cast<int>(count);
    if (!fill_slot(record, slot, need)) return kNoMemory;
    publish(record->count, count + 1);
    return slot;
  }
  if (smaller < 0) return kAllInUse;
  empty_slot(record, smaller);
  return fill_slot(record, smaller, need) ? smaller : kNoMemory;
}

// The slot that serves a request: of exactly this capacity, else the smallest larger one, else a
// new block.
inline int find_or_make_slot(ThreadRecord* record, std::uint32_t need) {
  int larger = -1;
  int smaller = -1;
  const int count = static_cast<int>(record->count);
  for (int i = 0; i < count; ++i) {
    if (observe(record->in_use[i]) != 0) continue;
    const std::uint32_t capacity = record->capacity[i];
    if (capacity == need) [[likely]] {
      return i;
    }
    if (capacity > need) {
      if (larger < 0 || capacity < record->capacity[larger]) larger = i;
    } else if (smaller < 0) {
      smaller = i;
    }
  }
  return larger >= 0 ? larger : make_slot(record, smaller, need);
}

inline void* take_slot(ThreadRecord* record, int slot, std::size_t size, std::uint32_t alignment) {
  QSL_NOTE_TAKEN_OVER(&record->in_use[slot]);
  void* const block = align_up(record->base[slot], alignment);
  record->in_use[slot] = 1;
  record->requested[slot] = size;
  publish(record->aligned[slot], block);
  return block;
}

// Serves a request from the record and releases its lock, that of `index`.
inline void* serve(ThreadRecord* record, std::uint32_t index, std::size_t size, int alignment) {
  const std::uint32_t boundary = effective_alignment(alignment);
  // No overflow: the size is limited, and an alignment is at most 2^30.
  const int slot = find_or_make_slot(record, size + boundary);
  if (slot >= 0) [[likely]] {
    void* const block = take_slot(record, slot, size, boundary);
    unlock_entry(index);
    return block;
  }
  unlock_entry(index);
  return slot == kAllInUse ? allocate_plain(size, alignment) : nullptr;
}

[[gnu::noinline, gnu::cold]] void* allocate_slow(std::size_t size, int alignment) {
  if (size == 0) return nullptr;
  if (ensure_setup() == Setup::fast_layer_off || size > kLargestCached) {
    return allocate_plain(size, alignment);
  }
  std::uint32_t index;
  ThreadRecord* record = lock_record_or_make(&index);
  if (record == nullptr) return allocate_plain(size, alignment);
  return serve(record, index, size, alignment);
}

// Not in the calling thread's record: the block of another one, or of the plain layer. The lock of
// `index` is held.
[[gnu::noinline, gnu::cold]] void deallocate_elsewhere(void* p, std::uint32_t index) {
  const Found found = find_in_registry(p);
  if (found.slot < 0) {
    unlock_entry(index);
    free_plain(p);
    return;
  }
  const bool orphaned = found.record->orphaned != 0;
  release_slot(found.record, found.slot);
  unlock_entry(index);
  // From here on the record may be gone: only its place in the registry is known.
  if (orphaned) clean_orphan(found.index, found.generation);
}

[[gnu::noinline, gnu::cold]] void deallocate_slow(void* p) {
  if (ensure_setup() == Setup::fast_layer_off) {
    free_plain(p);
  } else {
    qsl_mm_deallocate(p);
  }
}

}  // namespace
}  // namespace qsl::memory

extern "C" {

void* qsl_mm_allocate(std::size_t size, int alignment) {
  using namespace qsl::memory;
  if (observe(setup_state) == Setup::fast_layer_on && size - 1 < kLargestCached) [[likely]] {
    if (const Ticket* ticket = calling_ticket()) [[likely]] {
      const std::uint32_t index = ticket->index;
      lock_entry(index);
      if (ThreadRecord* record = record_of(*ticket)) [[likely]] {
        return serve(record, index, size, alignment);
      }
      unlock_entry(index);
    }
  }
  return allocate_slow(size, alignment);
}

void qsl_mm_deallocate(void* p) {
  using namespace qsl::memory;
  if (p == nullptr) return;
  if (observe(setup_state) != Setup::fast_layer_on) [[unlikely]] {
    deallocate_slow(p);
    return;
  }
  const Ticket* ticket = calling_ticket();
  const std::uint32_t index = ticket != nullptr ? ticket->index : 0;
  lock_entry(index);
  if (ticket != nullptr) [[likely]] {
    if (ThreadRecord* record = record_of(*ticket)) [[likely]] {
      const int slot = find_slot(*record, p);
      if (slot >= 0) [[likely]] {
        release_slot(record, slot);
        unlock_entry(index);
        return;
      }
    }
  }
  deallocate_elsewhere(p, index);
}
}
