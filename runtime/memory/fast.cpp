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

// A free slot of exactly this capacity, or -1. Slots without a block have the capacity 0.
inline int find_exact(const ThreadRecord& record, std::uint32_t need) {
  for (int i = 0; i < static_cast<int>(kSlots); ++i) {
    if (record.capacity[i] == need && observe(record.in_use[i]) == 0) return i;
  }
  return -1;
}

// The slot that serves a request: of exactly this capacity, else the smallest larger one, else a
// new block.
int find_or_make_slot(ThreadRecord* record, std::uint32_t need) {
  const int exact = find_exact(*record, need);
  if (exact >= 0) return exact;
  int larger = -1;
  int smaller = -1;
  for (int i = 0; i < static_cast<int>(record->count); ++i) {
    if (observe(record->in_use[i]) != 0) continue;
    if (record->capacity[i] > need) {
      if (larger < 0 || record->capacity[i] < record->capacity[larger]) larger = i;
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

// Whether a call may go the short way: the set-up done, no analysis tool to tell about locks, and a
// lock word that is the thread's own. The hooks are bound on the long way, by the first lock.
inline bool uses_fast_path(const Ticket& ticket) {
  return observe(setup_state) == Setup::fast_layer_on && qsl_trace_push_hook == nullptr &&
         ticket.index - 1 < kOwnWords;
}

[[gnu::noinline, gnu::cold]] void* allocate_slow(std::size_t size, int alignment) {
  if (size == 0) return nullptr;
  if (ensure_setup() == Setup::fast_layer_off || size > kLargestCached) {
    return allocate_plain(size, alignment);
  }
  std::uint32_t index;
  ThreadRecord* record = lock_record_or_make(&index);
  if (record == nullptr) return allocate_plain(size, alignment);
  const std::uint32_t boundary = effective_alignment(alignment);
  const int slot = find_or_make_slot(record, size + boundary);
  void* const block = slot >= 0 ? take_slot(record, slot, size, boundary) : nullptr;
  unlock_entry(index);
  return slot == kAllInUse ? allocate_plain(size, alignment) : block;
}

// A block of the calling thread's record that the short way did not find, of another one, or of the
// plain layer.
[[gnu::noinline, gnu::cold]] void deallocate_slow(void* p) {
  if (p == nullptr) return;
  if (ensure_setup() == Setup::fast_layer_off) {
    free_plain(p);
    return;
  }
  const std::uint32_t index = calling_index();
  lock_entry(index);
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

}  // namespace
}  // namespace qsl::memory

extern "C" {

void* qsl_mm_allocate(std::size_t size, int alignment) {
  using namespace qsl::memory;
  const Ticket* ticket = calling_ticket();
  if (ticket != nullptr && size - 1 < kLargestCached && uses_fast_path(*ticket)) [[likely]] {
    const std::uint32_t boundary = effective_alignment(alignment);
    const std::uint32_t index = ticket->index;
    lock_own(index);
    if (ThreadRecord* record = record_of_own(*ticket)) [[likely]] {
      // No overflow: the size is limited, and an alignment is at most 2^30.
      const int slot = find_exact(*record, size + boundary);
      if (slot >= 0) [[likely]] {
        void* const block = take_slot(record, slot, size, boundary);
        unlock_own(index);
        return block;
      }
    }
    unlock_own(index);
  }
  return allocate_slow(size, alignment);
}

void qsl_mm_deallocate(void* p) {
  using namespace qsl::memory;
  const Ticket* ticket = calling_ticket();
  if (p != nullptr && ticket != nullptr && uses_fast_path(*ticket)) [[likely]] {
    const std::uint32_t index = ticket->index;
    lock_own(index);
    if (ThreadRecord* record = record_of_own(*ticket)) [[likely]] {
      const int slot = find_slot(*record, p);
      if (slot >= 0) [[likely]] {
        release_slot(record, slot);
        unlock_own(index);
        return;
      }
    }
    unlock_own(index);
  }
  deallocate_slow(p);
}
}
