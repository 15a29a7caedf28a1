// Stand-in for the memkind library. MEMKIND_VERSION is what it reports; without it, it has no
// version function. MEMKIND_WITHOUT_FREE leaves hbw_free out.
#include "tests/memory/modules/memkind.h"

#include <cstdint>
#include <cstdlib>

#ifdef _WIN32
#define EXPORT extern "C" __declspec(dllexport)
#else
#define EXPORT extern "C" __attribute__((visibility("default")))
#endif

EXPORT MemkindStandIn stand_in;
MemkindStandIn stand_in = {};

#ifdef MEMKIND_VERSION
EXPORT int memkind_get_version() { return MEMKIND_VERSION; }
#endif

EXPORT int hbw_posix_memalign_psize(void** block, std::size_t alignment, std::size_t size,
                                    int kind) {
  __atomic_fetch_add(&stand_in.calls, 1, __ATOMIC_RELAXED);
  stand_in.last_alignment = alignment;
  stand_in.last_size = size;
  stand_in.last_kind = kind;
  if (kind == 2 ? stand_in.fail_large : stand_in.fail_small) return 12;
  char* raw = static_cast<char*>(std::malloc(size + alignment + sizeof(void*)));
  if (raw == nullptr) return 12;
  const std::uintptr_t start =
      (reinterpret_cast<std::uintptr_t>(raw) + sizeof(void*) + alignment - 1) & ~(alignment - 1);
  reinterpret_cast<void**>(start)[-1] = raw;
  *block = reinterpret_cast<void*>(start);
  __atomic_fetch_add(&stand_in.live, 1, __ATOMIC_RELAXED);
  return 0;
}

#ifndef MEMKIND_WITHOUT_FREE
EXPORT void hbw_free(void* block) {
  __atomic_fetch_sub(&stand_in.live, 1, __ATOMIC_RELAXED);
  std::free(static_cast<void**>(block)[-1]);
}
#endif
