// Counts of the blocks of QSL_malloc: a pair in every thread's record, and a pair for threads that
// have none or have ended. A block may be freed by another thread than the one that made it, so
// that only the sum over all pairs is exact.
#pragma once

#include <cstdint>

#include "runtime/memory/record.h"

namespace qsl::memory {

struct Totals {
  std::uint32_t blocks;
  std::uint32_t bytes;
};

extern Totals totals;
extern volatile int totals_lock;

void count_allocation(std::uint32_t bytes);
void count_release(std::uint32_t bytes);

// Adds the counts of a record that is about to go.
void fold(const ThreadRecord& record);

}  // namespace qsl::memory
