#include "runtime/memory/buffers.h"

#include "runtime/memory/high_bandwidth.h"
#include "runtime/memory/locks.h"
#include "runtime/memory/memory.h"
#include "runtime/memory/registry.h"
#include "runtime/memory/statistics.h"

namespace qsl::memory {
namespace {

// Excludes everybody who reads or changes the registry.
class Walk {
 public:
  Walk() {
    walker_lock();
    acquire(&registry_lock);
  }
  ~Walk() { end(); }
  Walk(const Walk&) = delete;
  Walk& operator=(const Walk&) = delete;

  static bool try_begin() {
    if (!walker_try_lock()) return false;
    if (try_acquire(&registry_lock)) return true;
    walker_unlock();
    return false;
  }
  static void end() {
    release(&registry_lock);
    walker_unlock();
  }
};

// The last steps in a record's life without an owner.
void settle(std::uint32_t index) {
  Entry* entry = entry_at(index);
  if (entry->record != nullptr) {
    if (!empty_record(entry->record)) {
      entry->owner = 0;
      entry->record->orphaned = 1;
      return;
    }
    free_record(entry->record);
  }
  recycle_entry(index);
}

// Empties all caches and starts a new generation. Records with blocks in use must stay within reach
// of the search, since these blocks carry no header: they move to the front of the registry,
// without an owner, and go with their last block.
void empty_registry() {
  std::uint32_t kept = 0;
  for (std::uint32_t index = 1; index <= registry.next_index; ++index) {
    ThreadRecord* const record = entry_at(index)->record;
    *entry_at(index) = {};
    if (record == nullptr) continue;
    if (empty_record(record)) {
      free_record(record);
    } else {
      record->orphaned = 1;
      ++kept;
      entry_at(kept)->record = record;
    }
  }
  registry.free_index = 0;
  publish(registry.next_index, kept);
  free_tables(kept == 0 ? 0 : table_of(kept) + 1);
  registry.generation += 1;
}

}  // namespace

Found find_in_registry(const void* p) {
  const std::uint32_t last = observe(registry.next_index);
  for (std::uint32_t index = 1; index <= last; ++index) {
    ThreadRecord* const record = observe(entry_at(index)->record);
    if (record == nullptr) continue;
    const int slot = find_slot(*record, p);
    if (slot >= 0) return {record, slot, index, registry.generation};
  }
  return {nullptr, -1, 0, 0};
}

void clean_orphan(std::uint32_t index, std::uint32_t generation) {
  Walk walk;
  if (generation != registry.generation) return;
  const ThreadRecord* const record = entry_at(index)->record;
  if (record != nullptr && record->orphaned != 0) settle(index);
}

void free_buffers() {
  Walk walk;
  empty_registry();
}

bool try_free_buffers() {
  if (!Walk::try_begin()) return false;
  // What the release of blocks and records needs besides.
  const bool usable = obtainable(&hbw_limit_lock) && obtainable(&totals_lock);
  if (usable) empty_registry();
  Walk::end();
  return usable;
}

}  // namespace qsl::memory

extern "C" void qsl_mm_thread_exit() {
  using namespace qsl::memory;
  const Ticket* ticket = calling_ticket();
  if (ticket == nullptr) return;
  if (ticket->index != 0) {
    Walk walk;
    if (ticket->generation == registry.generation) settle(ticket->index);
  }
  qsl::platform::thread_block_free(qsl::platform::ThreadBlock::ticket);
}
