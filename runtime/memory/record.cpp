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

bool empty_record(ThreadRecord* record) {
  bool unused = true;
  for (std::uint32_t i = 0; i < record->count; ++i) {
    if (observe(record->in_use[i]) != 0) {
      unused = false;
      continue;
    }
    QSL_NOTE_TAKEN_OVER(&record->in_use[i]);
    void* const base = record->base[i];
    record->base[i] = nullptr;
    record->capacity[i] = 0;
    publish<void*>(record->aligned[i], nullptr);
    if (base != nullptr) back_end.free(base);
  }
  return unused;
}

void free_record(ThreadRecord* record) {
  fold(*record);
  back_end.free(record);
}

}  // namespace qsl::memory
