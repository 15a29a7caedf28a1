#include "runtime/verbose/clock.h"

#include <cpuid.h>

#include <cstdint>

#include "runtime/dispatch/lock.h"
#include "runtime/platform/platform.h"
#include "runtime/text.h"
#include "runtime/verbose/verbose.h"

namespace qsl {
namespace {

constexpr int kBrandTail = 16;

std::uint64_t time_stamp() {
  std::uint32_t low, high;
  asm volatile("rdtsc" : "=a"(low), "=d"(high));
  return (std::uint64_t{high} << 32) | low;
}

// The same once all earlier instructions are done.
std::uint64_t serialised_time_stamp() {
  std::uint32_t eax, ebx, ecx, edx;
  __cpuid(0, eax, ebx, ecx, edx);
  asm volatile("" : : "r"(eax), "r"(ebx), "r"(ecx), "r"(edx));
  return time_stamp();
}

// Both counters at one moment.
struct Stamps {
  std::uint64_t per_second = 0, ticks = 0;
  std::uint64_t cycles = 0;
  bool good;

  // The thread may be interrupted between the two readings: of some pairs the closest one counts.
  Stamps() {
    constexpr int kPairs = 5;
    good = platform::performance_frequency(&per_second) && per_second > 0;
    std::uint64_t closest = ~std::uint64_t{0};
    for (int i = 0; i < kPairs && good; ++i) {
      std::uint64_t now = 0;
      const std::uint64_t before = time_stamp();
      good = platform::performance_counter(&now);
      const std::uint64_t distance = time_stamp() - before;
      if (distance >= closest) continue;
      closest = distance;
      ticks = now;
      cycles = before + distance / 2;
    }
  }

  // Time stamps a second from then on; 0 when a counter gave nothing or the time is not above the
  // least that can be trusted.
  double frequency_until_now(double shortest) const {
    const Stamps now;
    if (!good || !now.good || now.cycles <= cycles || now.ticks <= ticks) return 0;
    const double seconds = static_cast<double>(now.ticks - ticks) / static_cast<double>(per_second);
    return seconds < shortest ? 0 : static_cast<double>(now.cycles - cycles) / seconds;
  }
};

double frequency_from_brand() {
  constexpr std::uint32_t kLastBrandLeaf = 0x80000004;
  std::uint32_t highest, words[4] = {}, ebx, ecx, edx;
  __cpuid(0x80000000, highest, ebx, ecx, edx);
  if (highest < kLastBrandLeaf) return 0;
  __cpuid(kLastBrandLeaf, words[0], words[1], words[2], words[3]);
  return brand_frequency(reinterpret_cast<const char*>(words));
}

// The frequency once it has been measured. What the processor's time stamps count has one pace for
// the whole process, and a stamp is only worth something against others of the same pace.
double measured_frequency() {
  static double frequency = -1;
  static bool is_known = false;
  if (!__atomic_load_n(&is_known, __ATOMIC_ACQUIRE)) {
    LockGuard guard(&clock_lock);
    if (!is_known) {
      double value = frequency_by_clock();
      if (value <= 0) value = frequency_from_brand();
      if (value <= 0) value = frequency_by_loop();
      frequency = value;
      __atomic_store_n(&is_known, true, __ATOMIC_RELEASE);
    }
  }
  return frequency;
}

}  // namespace

volatile int clock_lock = 0;

// Time stamps against the performance counter, while the coarse clock advances by some ticks.
double frequency_by_clock() {
  // A clock that stands still must not hold the caller for ever.
  constexpr std::uint64_t kPatience = std::uint64_t{1} << 34;
  constexpr double kShortest = 0.0001;
  const Stamps start;
  const std::uint32_t ticks = platform::coarse_clock();
  while (platform::coarse_clock() - ticks < platform::kMeasuredTicks) {
    if (time_stamp() - start.cycles > kPatience) return 0;
  }
  return start.frequency_until_now(kShortest);
}

// The same while a loop of a known number of passes runs, whatever the coarse clock does.
double frequency_by_loop() {
  constexpr std::uint32_t kPasses = 20000000;
  constexpr double kUnknown = 1e9;
  const Stamps start;
  for (std::uint32_t i = 0; i < kPasses; ++i) asm volatile("" : "+r"(i));
  const double frequency = start.frequency_until_now(0);
  return frequency > 0 ? frequency : kUnknown;
}

double brand_frequency(const char* tail) {
  // From the fifth character on, a number of four characters fits before the unit.
  for (int i = 4; i + 2 < kBrandTail; ++i) {
    double unit;
    switch (tail[i]) {
      case 'M':
        unit = 1e6;
        break;
      case 'G':
        unit = 1e9;
        break;
      case 'T':
        unit = 1e12;
        break;
      default:
        continue;
    }
    if (tail[i + 1] != 'H' || tail[i + 2] != 'z') continue;
    const char* number = tail + i - 4;
    const auto digit = [number](int k) { return static_cast<double>(number[k] - '0'); };
    if (is_digit(number[0]) && number[1] == '.' && is_digit(number[2]) && is_digit(number[3])) {
      return (digit(0) * 100 + digit(2) * 10 + digit(3)) / 100 * unit;
    }
    if (is_digit(number[0]) && is_digit(number[1]) && is_digit(number[2]) && is_digit(number[3])) {
      return (digit(0) * 1000 + digit(1) * 100 + digit(2) * 10 + digit(3)) * unit;
    }
    return 0;
  }
  return 0;
}

double processor_frequency() {
  const double brand = frequency_from_brand();
  return brand > 0 ? brand : measured_frequency();
}

}  // namespace qsl

extern "C" double qsl_seconds() {
  // First the frequency: the first call measures it, which is no part of what the caller times.
  const double frequency = qsl::measured_frequency();
  return static_cast<double>(qsl::serialised_time_stamp()) / frequency;
}
