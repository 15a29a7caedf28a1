// The fast layer away from the short way: first requests, misses, requests that fall through to the
// plain layer, and blocks of other threads.

#include "runtime/memory/back_end.h"
#include "runtime/memory/buffers.h"
#include "runtime/memory/fast.h"
#include "runtime/memory/locks.h"
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

// No cached block is large enough. `smaller` is the first free one that is too small, or -1.
int make_slot(ThreadRecord* record, int smaller, std::uint32_t need) {
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

}  // namespace

void* allocate_slow(std::size_t size, int alignment) {
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
void deallocate_slow(void* p) {
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

}  // namespace qsl::memory
