// What the tests of the vector types share: the levels, numbers of every kind, comparison of bits.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <iomanip>
#include <limits>
#include <ostream>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "tests/listed.h"
#include "tests/simd/cases.h"

namespace simd_test {

struct TestedLevel {
  const Level* cases;
  bool supported;
};

inline std::ostream& operator<<(std::ostream& out, const TestedLevel& level) {
  return out << level.cases->name;
}

inline const std::vector<TestedLevel>& all_levels() {
  __builtin_cpu_init();
  const bool sse2 = __builtin_cpu_supports("sse2");
  const bool avx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
                    __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2");
  const bool avx512 = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
                      __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl");
  static const std::vector<TestedLevel> levels = {
      {&qsl::p4::operation_cases(), sse2},
      {&qsl::p4m::operation_cases(), bool(__builtin_cpu_supports("ssse3"))},
      {&qsl::p4m3::operation_cases(), bool(__builtin_cpu_supports("sse4.2"))},
      {&qsl::avx::operation_cases(), bool(__builtin_cpu_supports("avx"))},
      {&qsl::avx2::operation_cases(), avx2},
      {&qsl::avx512::operation_cases(), avx2 && avx512},
      {&qsl::cnr::operation_cases(), sse2},
  };
  return levels;
}

// A test of each level; levels that the processor lacks are reported as skipped.
class EachLevel : public testing::TestWithParam<TestedLevel> {
 protected:
  void SetUp() override {
    if (!GetParam().supported) {
      GTEST_SKIP() << "the processor lacks " << GetParam().cases->name;
    }
    if (!level_is_listed(GetParam().cases->name)) GTEST_SKIP() << "not among QSL_TEST_LEVELS";
  }
  const Level& level() const { return *GetParam().cases; }
};

inline std::string name_of_level(const testing::TestParamInfo<TestedLevel>& info) {
  return info.param.cases->name;
}

template <class T>
using BitsOf = std::conditional_t<sizeof(T) == 8, std::uint64_t, std::uint32_t>;

template <class To, class From>
To bit_cast(From from) {
  static_assert(sizeof(To) == sizeof(From));
  To to;
  std::memcpy(&to, &from, sizeof to);
  return to;
}

// Elements are kept as bits: a signalling NaN survives no trip through the x87 unit.
template <class T>
bool is_nan(BitsOf<T> bits) {
  if constexpr (std::is_integral_v<T>) {
    return false;
  } else {
    const T infinity = std::numeric_limits<T>::infinity();
    constexpr auto magnitude = static_cast<BitsOf<T>>(~BitsOf<T>{0} >> 1);
    return (bits & magnitude) > bit_cast<BitsOf<T>>(infinity);
  }
}

// Zeros, ones, limits, denormals, infinities, NaN of both kinds, halves, and what is around the
// borders that the operations' definitions name.
template <class T>
std::vector<BitsOf<T>> special_numbers() {
  using Bits = BitsOf<T>;
  std::vector<Bits> result;
  if constexpr (std::is_integral_v<T>) {
    constexpr Bits top = Bits{1} << (8 * sizeof(T) - 1);
    for (const Bits x : {Bits{0}, Bits{1}, Bits{2}, Bits{5}, Bits{0x7fff}, Bits{0x12345678},
                         Bits{0x7fffffff}, Bits{0x80000000}, Bits{0xffffffff}, Bits(top >> 1),
                         Bits(top / 3), Bits(top - 1), top, Bits(top + 1)}) {
      result.push_back(x);
      result.push_back(static_cast<Bits>(~x));
      result.push_back(static_cast<Bits>(0 - x));
    }
    if constexpr (sizeof(T) == 8) {
      for (const Bits x :
           {0x1'00000000ull, 0x1'00000001ull, 0x1'ffffffffull, 0x7fffffff'80000000ull,
            0x80000000'7fffffffull, 0x12345678'9abcdef0ull}) {
        result.push_back(x);
      }
    }
  } else {
    using Limits = std::numeric_limits<T>;
    const T whole = sizeof(T) == 8 ? T(0x1p52) : T(0x1p23);
    for (const T x : {T(0),
                      T(1),
                      T(0.5),
                      T(1.5),
                      T(2.5),
                      T(3.5),
                      T(0.1),
                      T(7),
                      T(100.75),
                      T(1) + Limits::epsilon(),
                      T(1) / 3,
                      Limits::min(),
                      Limits::denorm_min(),
                      Limits::min() - Limits::denorm_min(),
                      Limits::max(),
                      Limits::infinity(),
                      whole,
                      whole - T(0.5),
                      whole / 2 - T(0.5),
                      whole / 2 + T(0.5),
                      whole * 4}) {
      result.push_back(bit_cast<Bits>(x));
      result.push_back(bit_cast<Bits>(-x));
    }
    constexpr Bits quiet = Bits{1} << (Limits::digits - 2);
    const Bits infinity = bit_cast<Bits>(Limits::infinity());
    constexpr Bits sign = Bits{1} << (8 * sizeof(T) - 1);
    for (const Bits x : {infinity | quiet, infinity | quiet | 5, infinity | 1}) {
      result.push_back(x);
      result.push_back(x | sign);
    }
  }
  return result;
}

template <class T>
std::string shown(BitsOf<T> bits) {
  std::ostringstream out;
  out << bit_cast<T>(bits) << " (0x" << std::hex << std::setfill('0') << std::setw(2 * sizeof(T))
      << bits << ")";
  return out.str();
}

// Runs the body for the element type of a kind.
template <class Body>
void with_element(Kind kind, const Body& body) {
  switch (kind) {
    case Kind::f64:
      return body(double{});
    case Kind::f32:
      return body(float{});
    case Kind::i64:
      return body(std::int64_t{});
    case Kind::i32:
      return body(std::int32_t{});
  }
}

// The bits of the operands of one call, and those of the result.
template <class T>
struct Operands {
  using Bits = BitsOf<T>;
  static constexpr int most = 16;

  alignas(64) Bits a[most];
  alignas(64) Bits b[most];
  alignas(64) Bits c[most];
  alignas(64) Bits out[most];
  int k = 0;

  void run(const Case& tested) { tested.run({a, b, c, out, k}); }
};

// Calls check(operands) with every pair of the special numbers in lanes of a and b, and changing
// partners in c; k takes every number from 0 to `last_k`.
template <class T, class Check>
void for_all_operands(int lanes, int last_k, const Check& check) {
  const auto numbers = special_numbers<T>();
  const int count = static_cast<int>(numbers.size());
  int k = 0;
  for (int pair = 0; pair < count * count; pair += lanes) {
    Operands<T> operands;
    for (int i = 0; i < lanes; i++) {
      const int at = (pair + i) % (count * count);
      operands.a[i] = numbers[at / count];
      operands.b[i] = numbers[at % count];
      operands.c[i] = numbers[(at * 7 + pair) % count];
    }
    operands.k = k;
    k = k == last_k ? 0 : k + 1;
    check(operands);
    if (testing::Test::HasFailure()) return;
  }
}

}  // namespace simd_test
