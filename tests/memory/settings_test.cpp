// The two environment variables.
#include "tests/memory/support.h"

namespace memory_test {
namespace {

using Settings = Memory;

TEST_F(Settings, LimitFollowsAtol) {
  EXPECT_EQ(limit_in_bytes("0"), 0u);
  EXPECT_EQ(limit_in_bytes("1"), 1u << 20);
  EXPECT_EQ(limit_in_bytes("100"), 100u << 20);
  EXPECT_EQ(limit_in_bytes("  7 MB"), 7u << 20);
  EXPECT_EQ(limit_in_bytes("+3"), 3u << 20);
  EXPECT_EQ(limit_in_bytes("12abc"), 12u << 20);
  EXPECT_EQ(limit_in_bytes("abc"), 0u);
  EXPECT_EQ(limit_in_bytes("-"), 0u);
  EXPECT_EQ(limit_in_bytes("0x10"), 0u);
  EXPECT_EQ(limit_in_bytes("4095"), 4095u << 20);
}

TEST_F(Settings, NegativeLimitMeansNone) {
  EXPECT_EQ(limit_in_bytes("-1"), kNoLimit);
  EXPECT_EQ(limit_in_bytes("-4096"), kNoLimit);
  EXPECT_EQ(limit_in_bytes("-99999999999999999999"), kNoLimit);
}

TEST_F(Settings, LimitBeyondTheAddressSpaceMeansNone) {
  EXPECT_EQ(limit_in_bytes("4096"), kNoLimit);
  EXPECT_EQ(limit_in_bytes("2147483647"), kNoLimit);
  EXPECT_EQ(limit_in_bytes("99999999999999999999"), kNoLimit);
}

void expect_limit(const char* value, std::uint32_t limit) {
  Memory::reset();
  set_variable("QSL_FAST_MEMORY_LIMIT", value);
  ensure_setup();
  EXPECT_EQ(hbw_limit, limit) << (value != nullptr ? value : "unset");
}

TEST_F(Settings, LimitVariable) {
  expect_limit(nullptr, kNoLimit);
  expect_limit("", kNoLimit);
  expect_limit("0", 0);
  expect_limit("-1", kNoLimit);
  expect_limit("16", 16u << 20);
  expect_limit("0000000000000000000000000000005", 5u << 20);   // 31 characters fit
  expect_limit("00000000000000000000000000000005", kNoLimit);  // 32 do not: as if unset
}

void expect_disabled(const char* value, int disabled) {
  Memory::reset();
  set_variable("QSL_DISABLE_FAST_MM", value);
  EXPECT_EQ(qsl_mm_fast_disabled(), disabled) << (value != nullptr ? value : "unset");
  EXPECT_EQ(ensure_setup(), disabled ? Setup::fast_layer_off : Setup::fast_layer_on);
}

TEST_F(Settings, AnyNonEmptyValueDisablesTheFastLayer) {
  expect_disabled(nullptr, 0);
  expect_disabled("", 0);
  expect_disabled("1", 1);
  expect_disabled("0", 1);
  expect_disabled("no", 1);
  expect_disabled("1234567890123456789012345678901", 1);   // 31 characters fit
  expect_disabled("12345678901234567890123456789012", 0);  // 32 do not: as if unset
}

TEST_F(Settings, AreReadOnce) {
  EXPECT_EQ(qsl_mm_fast_disabled(), 0);
  set_variable("QSL_DISABLE_FAST_MM", "1");
  EXPECT_EQ(qsl_mm_fast_disabled(), 0);
  EXPECT_EQ(ensure_setup(), Setup::fast_layer_on);
}

}  // namespace
}  // namespace memory_test
