// Real and complex numbers of the solvers' tests, and numbers wide enough to judge them by.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "include/qsl/types.h"
#include "tests/level1/arrays.h"

namespace lapack_test {

using level1_test::emulated;
using level1_test::instrumented;

template <class Number>
inline constexpr bool is_real = std::is_same_v<Number, double>;
template <class Number>
inline constexpr int parts = is_real<Number> ? 1 : 2;

// The unit roundoff.
inline constexpr long double eps = 0x1p-53L;
inline constexpr double safe_minimum = 0x1p-1022;
inline constexpr double infinity = std::numeric_limits<double>::infinity();
inline constexpr double nan_value = std::numeric_limits<double>::quiet_NaN();

template <class Number>
Number number(double re, double im = 0) {
  if constexpr (is_real<Number>) {
    return re;
  } else {
    return {re, im};
  }
}

template <class Number>
bool same_bits(const Number& a, const Number& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}
inline bool equal(double a, double b) { return a == b; }
inline bool equal(complex_double a, complex_double b) {
  return a.real == b.real && a.imag == b.imag;
}
inline bool has_nan(double a) { return std::isnan(a); }
inline bool has_nan(complex_double a) { return std::isnan(a.real) || std::isnan(a.imag); }
inline bool is_finite(double a) { return std::isfinite(a); }
inline bool is_finite(complex_double a) { return std::isfinite(a.real) && std::isfinite(a.imag); }

// Complex numbers in long double.
struct WideComplex {
  long double re, im;
};
inline WideComplex operator+(WideComplex x, WideComplex y) { return {x.re + y.re, x.im + y.im}; }
inline WideComplex operator-(WideComplex x, WideComplex y) { return {x.re - y.re, x.im - y.im}; }
inline WideComplex operator*(WideComplex x, WideComplex y) {
  return {x.re * y.re - x.im * y.im, x.re * y.im + x.im * y.re};
}
template <class Number>
using Wide = std::conditional_t<is_real<Number>, long double, WideComplex>;

inline long double wide(double x) { return x; }
inline WideComplex wide(complex_double x) { return {x.real, x.imag}; }
inline long double conjugate(long double x) { return x; }
inline WideComplex conjugate(WideComplex x) { return {x.re, -x.im}; }
// |x|, for a complex x |re| + |im|: between the modulus and its product with the root of 2.
inline long double size(long double x) { return std::fabs(x); }
inline long double size(WideComplex x) { return std::fabs(x.re) + std::fabs(x.im); }

// Reproducible numbers.
class Random {
 public:
  explicit Random(unsigned seed) : state_(seed * 2654435761u + 1) { word(); }

  // In [-1, 1).
  double unit() {
    const std::uint64_t high = word();
    return static_cast<double>(high << 21 | word() >> 11) * 0x1p-52 - 1.0;
  }
  // In [0, end).
  int below(int end) { return static_cast<int>((std::uint64_t{word()} * unsigned(end)) >> 32); }
  template <class Number>
  Number next() {
    const double re = unit();
    return number<Number>(re, is_real<Number> ? 0 : unit());
  }

 private:
  std::uint32_t word() {
    state_ = state_ * 6364136223846793005u + 1442695040888963407u;
    return static_cast<std::uint32_t>(state_ >> 32);
  }
  std::uint64_t state_;
};

// body(number) for a real and a complex number.
template <class Body>
void for_each_kind(const Body& body) {
  body(double{});
  body(complex_double{});
}

}  // namespace lapack_test
