#include "runtime/memory/registry.h"

#include <cstring>

#include "runtime/memory/back_end.h"
#include "runtime/memory/memory.h"

namespace qsl::memory {

Registry registry = {};
volatile int registry_lock = 0;

namespace {

constexpr std::size_t kTableAlignment = 4096;

// Of the tickets' thread-local slot. Once closed, by the shut-down, it stays so: threads that still
// run are served by the plain layer.
enum class Slot { unopened, open, closed };
Slot ticket_slot = Slot::unopened;

void close_ticket_slot(void*) {
  const bool locked = try_acquire(&thread_slots_lock);
  ticket_slot = Slot::closed;
  platform::thread_blocks_close(platform::ThreadBlock::ticket);
  if (locked) release(&thread_slots_lock);
}

// Opening and making go together: a shut-down in between would take the slot away again.
Ticket* make_ticket() {
  Guard guard(&thread_slots_lock);
  if (ticket_slot == Slot::unopened &&
      platform::thread_blocks_open(platform::ThreadBlock::ticket)) {
    ticket_slot = Slot::open;
    qsl_mm_at_shutdown(close_ticket_slot, nullptr);
  }
  if (ticket_slot != Slot::open) return nullptr;
  return static_cast<Ticket*>(platform::thread_block_make(platform::ThreadBlock::ticket));
}

bool make_table(std::uint32_t table) {
  const std::size_t size = entries_in(table) * sizeof(Entry);
  if (size / sizeof(Entry) != entries_in(table)) return false;
  const std::size_t block_size = size + kTableAlignment;
  void* const block = back_end.malloc(block_size);
  if (block == nullptr) return false;
  const std::uintptr_t start =
      (reinterpret_cast<std::uintptr_t>(block) + kTableAlignment - 1) & ~(kTableAlignment - 1);
  Entry* const entries = reinterpret_cast<Entry*>(start);
  QSL_NOTE_ATOMIC_WORDS(entries, size);
  std::memset(entries, 0, size);
  registry.blocks[table] = block;
  publish(registry.tables[table], entries);
  return true;
}

// An index for a new thread, or 0. registry_lock is held.
std::uint32_t take_index() {
  if (const std::uint32_t index = registry.free_index) {
    registry.free_index = entry_at(index)->next_free;
    entry_at(index)->owner = index;
    return index;
  }
  const std::uint32_t index = registry.next_index + 1;
  const std::uint32_t table = table_of(index);
  if (table >= kTables) return 0;
  if (registry.tables[table] == nullptr && !make_table(table)) return 0;
  entry_at(index)->owner = index;
  publish(registry.next_index, index);
  return index;
}

// The calling thread's ticket, brought up to date; null when it can't be registered.
Ticket* register_thread() {
  Guard guard(&registry_lock);
  Ticket* ticket = calling_ticket();
  if (ticket == nullptr) ticket = make_ticket();
  if (ticket == nullptr) return nullptr;
  if (ticket->index != 0 && ticket->generation == registry.generation) return ticket;
  const std::uint32_t index = take_index();
  if (index == 0) return nullptr;
  *ticket = {index, registry.generation};
  return ticket;
}

[[gnu::noinline, gnu::cold]] ThreadRecord* register_and_lock(std::uint32_t* index) {
  for (;;) {
    const Ticket* ticket = register_thread();
    if (ticket == nullptr) return nullptr;
    *index = ticket->index;
    lock_entry(*index);
    // A walker may have come between.
    if (ticket->generation == registry.generation) break;
    unlock_entry(*index);
  }
  Entry* entry = entry_at(*index);
  if (entry->record == nullptr) {
    ThreadRecord* record = make_record();
    if (record == nullptr) {
      unlock_entry(*index);
      return nullptr;
    }
    publish(entry->record, record);
  }
  return entry->record;
}

}  // namespace

ThreadRecord* calling_record() {
  const Ticket* ticket = calling_ticket();
  return ticket != nullptr ? record_of(*ticket) : nullptr;
}

ThreadRecord* lock_record_or_make(std::uint32_t* index) {
  if (const Ticket* ticket = calling_ticket()) {
    *index = ticket->index;
    lock_entry(*index);
    if (ThreadRecord* record = record_of(*ticket)) return record;
    unlock_entry(*index);
  }
  return register_and_lock(index);
}

void recycle_entry(std::uint32_t index) {
  Entry* entry = entry_at(index);
  entry->owner = 0;
  publish<ThreadRecord*>(entry->record, nullptr);
  entry->next_free = registry.free_index;
  registry.free_index = index;
}

void free_tables(std::uint32_t first) {
  for (std::uint32_t table = first; table < kTables; ++table) {
    if (registry.tables[table] == nullptr) continue;
    publish<Entry*>(registry.tables[table], nullptr);
    back_end.free(registry.blocks[table]);
    registry.blocks[table] = nullptr;
  }
}

}  // namespace qsl::memory
