// The plain layer: aligned blocks with an outer header right before them.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qsl::memory {

inline constexpr std::uint32_t kDefaultAlignment = 64;

// A value below 64, or one that is not a power of two, counts as 64.
inline std::uint32_t effective_alignment(int alignment) {
  if (alignment < static_cast<int>(kDefaultAlignment) || (alignment & (alignment - 1)) != 0) {
    return kDefaultAlignment;
  }
  return static_cast<std::uint32_t>(alignment);
}

inline void* align_up(void* p, std::uint32_t alignment) {
  const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(p);
  return reinterpret_cast<void*>((address + alignment - 1) & ~(alignment - 1));
}

// The 16 bytes before a block.
struct OuterHeader {
  void* raw;  // from the back end
  std::uint32_t total;
  std::uint32_t reserved;
  std::uint32_t alignment;
};
static_assert(sizeof(OuterHeader) == 16);

// What QSL_malloc, QSL_free and qsl_mm_calloc do.
void* allocate_plain(std::size_t size, int alignment);
void free_plain(void* p);

}  // namespace qsl::memory
