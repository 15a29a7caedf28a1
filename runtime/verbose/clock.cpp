#include "runtime/verbose/clock.h"

#include <cpuid.h>

#include <cstdint>

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

// Cycles and seconds that pass while the C library's clock advances by some ticks; false when a
// counter gives nothing or the time is too short to be trusted.
bool measure_with_clock(double* frequency) {
  constexpr long kTicks = 100;
  constexpr double kShortest = 0.0001;
  // A clock that stands still must not hold the caller for ever.
  constexpr std::uint64_t kPatience = std::uint64_t{1} << 34;

  std::uint64_t per_second = 0, counter0 = 0, counter1 = 0;
  if (!platform::performance_frequency(&per_second) || per_second == 0) return false;
  if (!platform::performance_counter(&counter0)) return false;
  const std::uint64_t cycles0 = time_stamp();
  const long start = platform::processor_clock();
  while (platform::processor_clock() - start < kTicks) {
    if (time_stamp() - cycles0 > kPatience) return false;
  }
  if (!platform::performance_counter(&counter1)) return false;
  const std::uint64_t cycles1 = time_stamp();
  const double seconds = static_cast<double>(counter1 - counter0) / static_cast<double>(per_second);
  if (seconds < kShortest || cycles1 <= cycles0) return false;
  *frequency = static_cast<double>(cycles1 - cycles0) / seconds;
  return true;
}

double frequency_from_brand() {
  constexpr std::uint32_t kLastBrandLeaf = 0x80000004;
  std::uint32_t highest, words[4] = {}, ebx, ecx, edx;
  __cpuid(0x80000000, highest, ebx, ecx, edx);
  if (highest < kLastBrandLeaf) return 0;
  __cpuid(kLastBrandLeaf, words[0], words[1], words[2], words[3]);
  return brand_frequency(reinterpret_cast<const char*>(words));
}

// The last resort: a loop of a known number of dependent additions, one a cycle, against the clock.
double frequency_from_loop() {
  constexpr std::uint32_t kIterations = 20000000;
  constexpr double kUnknown = 1e9;
  std::uint64_t per_second = 0, counter0 = 0, counter1 = 0;
  if (!platform::performance_frequency(&per_second) || !platform::performance_counter(&counter0)) {
    return kUnknown;
  }
  for (std::uint32_t i = 0; i < kIterations; ++i) asm volatile("" : "+r"(i));
  if (!platform::performance_counter(&counter1) || counter1 == counter0) return kUnknown;
  return kIterations * static_cast<double>(per_second) / static_cast<double>(counter1 - counter0);
}

double measured_frequency() {
  static double frequency = -1;  // racing threads measure the same
  if (frequency < 0) {
    double value = 0;
    if (!measure_with_clock(&value)) value = frequency_from_brand();
    if (value <= 0) value = frequency_from_loop();
    frequency = value;
  }
  return frequency;
}

}  // namespace

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
  return static_cast<double>(qsl::serialised_time_stamp()) / qsl::measured_frequency();
}
