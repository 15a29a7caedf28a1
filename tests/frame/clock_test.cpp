// The clock behind the times of verbose lines, beside the system's own.
#include "runtime/verbose/clock.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <vector>

#include "runtime/platform/platform.h"
#include "runtime/verbose/verbose.h"
#include "tests/frame/support.h"

namespace {

using namespace frame_test;

double wall() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
  return values[values.size() / 2];
}

TEST(Clock, GoesForward) {
  double last = qsl_seconds();
  for (int i = 0; i < 100000; ++i) {
    const double now = qsl_seconds();
    ASSERT_GE(now, last);
    last = now;
  }
}

TEST(Clock, ASleepHasItsLength) {
  std::vector<double> ratios;
  for (int i = 0; i < 9; ++i) {
    const double wall0 = wall(), stamp0 = qsl_seconds();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const double stamp1 = qsl_seconds(), wall1 = wall();
    EXPECT_GE(stamp1 - stamp0, 0.0198);
    ratios.push_back((stamp1 - stamp0) / (wall1 - wall0));
  }
  EXPECT_NEAR(median(ratios), 1, 0.01);
}

// Over more than a second, whatever units the system counts in: a jump would end a measurement.
TEST(Clock, TheCoarseClockDoesNotJump) {
  const std::uint32_t start = qsl::platform::coarse_clock();
  std::uint32_t last = start;
  const double wall0 = wall();
  while (wall() - wall0 < 1.1) {
    const std::uint32_t now = qsl::platform::coarse_clock();
    ASSERT_LE(now - last, qsl::platform::kMeasuredTicks * 100);
    last = now;
  }
  EXPECT_GT(last - start, qsl::platform::kMeasuredTicks * 5);
}

// Each measurement counts: there is but one in a process.
TEST(Clock, EveryMeasurementSucceeds) {
  std::vector<double> frequencies;
  for (int i = 0; i < 50; ++i) frequencies.push_back(qsl::frequency_by_clock());
  const double middle = median(frequencies);
  EXPECT_GT(middle, 1e8);
  for (const double frequency : frequencies) EXPECT_NEAR(frequency / middle, 1, 0.05);
}

// The processor's cycles are another matter than its time stamps: their pace changes.
TEST(Clock, TheLastResortMeasuresTheSame) {
  std::vector<double> ratios;
  for (int i = 0; i < 5; ++i) {
    ratios.push_back(qsl::frequency_by_loop() / qsl::frequency_by_clock());
  }
  EXPECT_NEAR(median(ratios), 1, 0.01);
}

TEST(Clock, ManyThreadsMeasureAsWellAsOne) {
  const double alone = qsl::frequency_by_clock();
  race(8, [alone] { EXPECT_NEAR(qsl::frequency_by_clock() / alone, 1, 0.1); });
}

}  // namespace
