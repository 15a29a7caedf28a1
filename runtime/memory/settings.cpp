#include "runtime/memory/settings.h"

#include "runtime/dispatch/environment.h"
#include "runtime/memory/atomic.h"
#include "runtime/memory/high_bandwidth.h"
#include "runtime/memory/locks.h"
#include "runtime/memory/memory.h"
#include "runtime/text.h"

namespace qsl::memory {

Settings settings = {};
volatile int settings_lock = 0;

namespace {

constexpr int kBufferSize = 32;

}  // namespace

std::uint32_t limit_in_bytes(const char* megabytes) {
  constexpr int kShift = 20;
  const int value = parse_int(megabytes);
  if (value < 0 || value >= 1 << (32 - kShift)) return kNoLimit;
  return static_cast<std::uint32_t>(value) << kShift;
}

void read_settings() {
  if (observe(settings.read)) return;
  Guard guard(&settings_lock);
  if (settings.read) return;
  char buffer[kBufferSize];
  settings.fast_disabled = qsl_getenv("QSL_DISABLE_FAST_MM", buffer, kBufferSize) > 0;
  const bool limited = qsl_getenv("QSL_FAST_MEMORY_LIMIT", buffer, kBufferSize) > 0;
  hbw_limit = limited ? limit_in_bytes(buffer) : kNoLimit;
  publish(settings.read, true);
}

}  // namespace qsl::memory

extern "C" int qsl_mm_fast_disabled() {
  qsl::memory::read_settings();
  return qsl::memory::settings.fast_disabled ? 1 : 0;
}
