#include "runtime/memory/record.h"

#include <cstring>

#include "runtime/memory/back_end.h"
#include "runtime/memory/statistics.h"

namespace qsl::memory {

ThreadRecord* make_record() {
  void* block = back_end.malloc(sizeof(ThreadRecord));
  if (block == nullptr) return nullptr;
  QSL_NOTE_ATOMIC_WORDS(block, sizeof(ThreadRecord));
  std::memset(block, 0, sizeof(ThreadRecord));
  return static_cast<ThreadRecord*>(block);
}

// Whoever gets the block next must not be found here, so the slot forgets it first.
void empty_slot(ThreadRecord* record, int slot) {
  QSL_NOTE_TAKEN_OVER(&record->in_use[slot]);
  void* const base = record->base[slot];
  record->base[slot] = nullptr;
  record->capacity[slot] = 0;
  publish<void*>(record->aligned[slot], nullptr);
  if (base != nullptr) back_end.free(base);
}

bool empty_record(ThreadRecord* record) {
  bool unused = true;
  for (int i = 0; i < static_cast<int>(record->count); ++i) {
    if (observe(record->in_use[i]) != 0) {
      unused = false;
    } else {
      empty_slot(record, i);
    }
  }
  return unused;
}

void free_record(ThreadRecord* record) {
  fold(*record);
  back_end.free(record);
}

}  // namespace qsl::memory
