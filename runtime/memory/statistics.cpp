#include "runtime/memory/statistics.h"

#include "runtime/memory/locks.h"
#include "runtime/memory/registry.h"

namespace qsl::memory {

Totals totals = {};
volatile int totals_lock = 0;

void count_allocation(std::uint32_t bytes) {
  std::uint32_t index;
  if (ThreadRecord* record = lock_record_or_make(&index)) {
    record->stat_blocks += 1;
    record->stat_bytes += bytes;
    unlock_entry(index);
  }
}

void count_release(std::uint32_t bytes) {
  const std::uint32_t index = calling_index();
  lock_entry(index);
  if (ThreadRecord* record = calling_record()) {
    record->stat_blocks -= 1;
    record->stat_bytes -= bytes;
    unlock_entry(index);
    return;
  }
  unlock_entry(index);
  Guard guard(&totals_lock);
  totals.blocks -= 1;
  totals.bytes -= bytes;
}

void fold(const ThreadRecord& record) {
  Guard guard(&totals_lock);
  totals.blocks += record.stat_blocks;
  totals.bytes += record.stat_bytes;
}

}  // namespace qsl::memory
