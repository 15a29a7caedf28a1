// The two environment variables of the memory manager, read once.
#pragma once

#include <cstdint>

namespace qsl::memory {

inline constexpr std::uint32_t kNoLimit = 0xffffffff;

struct Settings {
  bool read;
  bool fast_disabled;  // QSL_DISABLE_FAST_MM
};

extern Settings settings;
extern volatile int settings_lock;

// Reads both variables; the limit goes to hbw_limit of high_bandwidth.h.
void read_settings();

// Bytes for a QSL_FAST_MEMORY_LIMIT in megabytes, as atol reads it. A negative number means no
// limit, and so does one that exceeds the address space.
std::uint32_t limit_in_bytes(const char* megabytes);

}  // namespace qsl::memory
