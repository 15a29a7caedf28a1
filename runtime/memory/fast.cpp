// The fast layer's short way. A hit costs one thread-local read, one uncontended compare-exchange
// and a scan of at most five slots. Nothing here leaves the library, and the one call comes first.

#include "runtime/memory/fast.h"

#include "runtime/memory/locks.h"
#include "runtime/memory/memory.h"
#include "runtime/memory/registry.h"
#include "runtime/memory/setup.h"

namespace qsl::memory {
namespace {

// Whether a call may go the short way: the set-up done, no analysis tool to tell about locks, and a
// lock word that is the thread's own. The hooks are bound on the long way, by the first lock.
inline bool uses_fast_path(const Ticket& ticket) {
  return observe(setup_state) == Setup::fast_layer_on && qsl_trace_push_hook == nullptr &&
         ticket.index - 1 < kOwnWords;
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
