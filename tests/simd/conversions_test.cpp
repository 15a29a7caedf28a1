// Conversions between types.
#include "tests/simd/support.h"

namespace simd_test {
namespace {

// Whether the conversion says what becomes of the number.
template <class To, class From>
bool defined(BitsOf<From> bits) {
  constexpr double limit = 0x1p51;
  if constexpr (std::is_same_v<From, double> && std::is_same_v<To, std::int64_t>) {
    return !is_nan<From>(bits) && std::abs(bit_cast<From>(bits)) <= limit;
  } else if constexpr (std::is_same_v<From, std::int64_t> && std::is_same_v<To, double>) {
    const auto x = bit_cast<From>(bits);
    return -(1ll << 51) <= x && x <= 1ll << 51;
  } else {
    return true;
  }
}

template <class To, class From>
BitsOf<To> expected(BitsOf<From> bits, bool truncated) {
  const From x = bit_cast<From>(bits);
  if constexpr (std::is_integral_v<From> && std::is_integral_v<To>) {
    return static_cast<BitsOf<To>>(static_cast<To>(x));
  } else if constexpr (std::is_integral_v<To>) {
    const From whole = truncated ? std::trunc(x) : std::nearbyint(x);
    constexpr double beyond = sizeof(To) == 8 ? 0x1p63 : 0x1p31;
    // NaN and numbers out of range give the least integer.
    if (!(-beyond <= whole && whole < beyond)) {
      return static_cast<BitsOf<To>>(std::numeric_limits<To>::min());
    }
    return static_cast<BitsOf<To>>(static_cast<To>(whole));
  } else {
    return bit_cast<BitsOf<To>>(static_cast<To>(x));
  }
}

template <class T>
std::vector<BitsOf<T>> numbers() {
  auto result = special_numbers<T>();
  const double borders[] = {0x1p31 - 1, 0x1p31 - 0.5, 0x1p31, 0x1p31 - 1.5, 0x1p51,
                            0x1p51 - 1, 0x1p51 - 0.5, 0x1p50, 0x1p50 + 0.5, 0x1p50 + 1.5};
  for (const double x : borders) {
    result.push_back(bit_cast<BitsOf<T>>(static_cast<T>(std::is_same_v<T, std::int32_t> ? 1 : x)));
    result.push_back(bit_cast<BitsOf<T>>(static_cast<T>(std::is_same_v<T, std::int32_t> ? 1 : -x)));
  }
  return result;
}

template <class To, class From>
void check(const Conversion& conversion) {
  const bool truncated = std::strcmp(conversion.name, "truncate") == 0;
  const int lanes = std::min(conversion.from_lanes, conversion.to_lanes);
  const auto all = numbers<From>();
  const std::size_t count = all.size();
  for (std::size_t start = 0; start < count; start++) {
    alignas(64) BitsOf<From> in[16];
    alignas(64) BitsOf<To> out[16];
    for (int i = 0; i < 16; i++) in[i] = all[(start + i) % count];
    conversion.run({in, nullptr, nullptr, out, 0});
    for (int i = 0; i < conversion.to_lanes; i++) {
      if (i < lanes && !defined<To, From>(in[i])) continue;
      const auto wanted = i < lanes ? expected<To, From>(in[i], truncated) : BitsOf<To>{0};
      if (is_nan<To>(wanted) && is_nan<To>(out[i])) continue;
      ASSERT_EQ(out[i], wanted) << conversion.name << " of " << lanes << " lanes, lane " << i
                                << ": " << shown<To>(out[i]) << " from " << shown<From>(in[i]);
    }
  }
}

class Conversions : public EachLevel {};

TEST_P(Conversions, RoundToTheNearestOrCutOff) {
  for (int n = 0; n < level().conversion_count; n++) {
    const Conversion& conversion = level().conversions[n];
    with_element(conversion.from, [&](auto from) {
      with_element(conversion.to,
                   [&](auto to) { check<decltype(to), decltype(from)>(conversion); });
    });
  }
}

INSTANTIATE_TEST_SUITE_P(Level, Conversions, testing::ValuesIn(all_levels()), name_of_level);

}  // namespace
}  // namespace simd_test
