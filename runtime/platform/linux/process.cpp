#include <sched.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include "runtime/platform/platform.h"

namespace qsl::platform {

void yield() { sched_yield(); }

void terminate_process(int code) {
  fflush(stdout);
  _exit(code);
}

std::size_t environment(const char* name, char* buffer, std::size_t size) {
  const char* value = secure_getenv(name);
  if (value == nullptr) return 0;
  const std::size_t length = strlen(value);
  if (length >= size) return length + 1;
  memcpy(buffer, value, length + 1);
  return length;
}

bool performance_counter(std::uint64_t* ticks) {
  timespec now;
  if (clock_gettime(CLOCK_MONOTONIC, &now) != 0) return false;
  *ticks = static_cast<std::uint64_t>(now.tv_sec) * 1000000000u +
           static_cast<std::uint64_t>(now.tv_nsec);
  return true;
}

bool performance_frequency(std::uint64_t* ticks_per_second) {
  *ticks_per_second = 1000000000u;
  return true;
}

// Microseconds. The C library's own clock counts the time of all threads together.
std::uint32_t coarse_clock() {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint32_t>(now.tv_sec) * 1000000u +
         static_cast<std::uint32_t>(now.tv_nsec) / 1000u;
}
const std::uint32_t kMeasuredTicks = 5000;

Allocator c_allocator() { return {::malloc, ::calloc, ::realloc, ::free}; }

}  // namespace qsl::platform
