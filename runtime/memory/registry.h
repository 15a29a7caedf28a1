// Which thread owns which record.
//
// A thread's ticket names its index in the registry and the generation in which it got it.
// QSL_Free_Buffers starts a new generation: all tickets are stale from then on, and a thread's next
// request registers it anew.
//
// The tables change under registry_lock. They are read under any entry lock, because whoever frees
// a table or a record is a walker. An entry's record is made by its owner under its entry lock.
#pragma once

#include <cstddef>
#include <cstdint>

#include "runtime/memory/atomic.h"
#include "runtime/memory/locks.h"
#include "runtime/memory/record.h"
#include "runtime/platform/platform.h"

namespace qsl::memory {

struct Ticket {
  std::uint32_t index;  // 0: not registered
  std::uint32_t generation;
};
static_assert(sizeof(Ticket) ==
              platform::kThreadBlockSize[static_cast<int>(platform::ThreadBlock::ticket)]);

struct Entry {
  std::uint32_t owner;  // the entry's own index; 0 once the thread is gone
  ThreadRecord* record;
  std::uint32_t next_free;  // chain of the entries of ended threads
  std::uint32_t padding[13];
};
static_assert(sizeof(Entry) == 64);

// Table 0 holds the indices 1 to 1024, table k those up to 1024 * 2^k.
inline constexpr std::uint32_t kTables = 22;
inline constexpr std::uint32_t kFirstTable = 1024;

struct Registry {
  std::uint32_t next_index;  // the highest index given out
  std::uint32_t generation;
  std::uint32_t free_index;  // first of the chain of unused entries
  Entry* tables[kTables];
  void* blocks[kTables];  // what the back end returned for each table
};

extern Registry registry;
extern volatile int registry_lock;

// Table that holds an index, from 1 on.
inline std::uint32_t table_of(std::uint32_t index) {
  const std::uint32_t beyond = (index - 1) / kFirstTable;
  return beyond == 0 ? 0 : 32 - static_cast<std::uint32_t>(__builtin_clz(beyond));
}

// Number of indices below a table's first.
inline std::uint32_t indices_before(std::uint32_t table) {
  return table == 0 ? 0 : kFirstTable << (table - 1);
}

inline std::uint32_t entries_in(std::uint32_t table) {
  return table == 0 ? kFirstTable : kFirstTable << (table - 1);
}

inline Entry* entry_at(std::uint32_t index) {
  if (index <= kFirstTable) [[likely]] {
    return observe(registry.tables[0]) + (index - 1);
  }
  const std::uint32_t table = table_of(index);
  return observe(registry.tables[table]) + (index - 1 - indices_before(table));
}

inline Ticket* calling_ticket() {
  return static_cast<Ticket*>(platform::thread_block(platform::ThreadBlock::ticket));
}

// Index by which the calling thread locks; 0 when it has no ticket.
inline std::uint32_t calling_index() {
  const Ticket* ticket = calling_ticket();
  return ticket != nullptr ? ticket->index : 0;
}

// The record of a ticket, or null when it has none or is stale. Its entry lock is held.
inline ThreadRecord* record_of(const Ticket& ticket) {
  if (ticket.index == 0 || ticket.generation != registry.generation) return nullptr;
  return entry_at(ticket.index)->record;
}

// The same for an index of the first table.
inline ThreadRecord* record_of_own(const Ticket& ticket) {
  if (ticket.generation != registry.generation) return nullptr;
  return observe(registry.tables[0])[ticket.index - 1].record;
}

// The calling thread's record, or null. The entry lock is held.
ThreadRecord* calling_record();

// The calling thread's record, made when missing, with the lock of *index held. Null, and nothing
// held, when it can't be had.
ThreadRecord* lock_record_or_make(std::uint32_t* index);

// Unlinks an entry from its record and keeps it for the next thread. registry_lock and the walker's
// lock are held.
void recycle_entry(std::uint32_t index);

// Frees the tables from `first` on. As above.
void free_tables(std::uint32_t first);

}  // namespace qsl::memory
