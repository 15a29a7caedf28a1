#include "runtime/memory/plain.h"

#include "runtime/memory/back_end.h"
#include "runtime/memory/setup.h"
#include "runtime/memory/statistics.h"

namespace qsl::memory {

void* allocate_plain(std::size_t size, int alignment) {
  if (size == 0) return nullptr;
  ensure_setup();
  const std::uint32_t boundary = effective_alignment(alignment);
  const std::size_t total = size + sizeof(OuterHeader) + boundary;
  if (total < size) return nullptr;
  char* const raw = static_cast<char*>(back_end.malloc(total));
  if (raw == nullptr) return nullptr;
  // Rounded down from past the header's room, so that the header always fits.
  const std::uintptr_t highest =
      reinterpret_cast<std::uintptr_t>(raw) + sizeof(OuterHeader) + boundary;
  OuterHeader* const block = reinterpret_cast<OuterHeader*>(highest & ~(boundary - 1));
  block[-1] = {raw, total, 0, boundary};
  count_allocation(total);
  return block;
}

void free_plain(void* p) {
  if (p == nullptr) return;
  ensure_setup();
  const OuterHeader header = static_cast<const OuterHeader*>(p)[-1];
  if (header.raw == nullptr) return;
  back_end.free(header.raw);
  count_release(header.total);
}

}  // namespace qsl::memory
