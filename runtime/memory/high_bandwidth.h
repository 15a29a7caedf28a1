// High-bandwidth memory of many-core processors, through the memkind library when there is one.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qsl::memory {

// memkind's own functions; null where high-bandwidth memory is absent.
struct HighBandwidth {
  int (*allocate)(void** block, std::size_t alignment, std::size_t size, int page_kind);
  void (*free)(void* block);
};

inline constexpr std::uint32_t kSmallPage = 4096;
inline constexpr std::uint32_t kLargePage = 2097152;

extern HighBandwidth high_bandwidth;
// Bytes that may still be taken; kNoLimit means any number.
extern std::uint32_t hbw_limit;
extern volatile int hbw_limit_lock;

// Looks for memkind where the processor has such memory.
void open_high_bandwidth();

// A block of `size` bytes and the size of its pages, or null: absent, exhausted or used up.
void* allocate_high_bandwidth(std::uint32_t size, std::uint32_t* page);
void free_high_bandwidth(void* block, std::uint32_t size);

}  // namespace qsl::memory
