// The kinds of numbers that a matrix product takes, and reproducible values of them.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>
#include <vector>

#include "include/qsl/types.h"

namespace level3_test {

template <class Number>
inline constexpr bool is_real = std::is_same_v<Number, double>;
template <class Number>
using Part = std::conditional_t<std::is_same_v<Number, complex_float>, float, double>;
template <class Number>
inline constexpr int parts = is_real<Number> ? 1 : 2;
template <class Number>
inline constexpr double epsilon = std::numeric_limits<Part<Number>>::epsilon();
// What sums are exact enough in.
template <class Number>
using Wide = std::conditional_t<std::is_same_v<Number, complex_float>, double, long double>;

template <class Number>
constexpr const char* kind_name() {
  if (is_real<Number>) return "double";
  return std::is_same_v<Number, complex_float> ? "complex float" : "complex double";
}

// alpha or beta, or an element: parts that every kind of number holds exactly.
struct Value {
  double re = 0, im = 0;

  bool is_zero() const { return re == 0 && im == 0; }
  // At least the absolute value.
  double size() const { return std::fabs(re) + std::fabs(im); }
};

template <class Number>
Number number_of(Value value) {
  if constexpr (is_real<Number>) {
    return value.re;
  } else {
    return {static_cast<Part<Number>>(value.re), static_cast<Part<Number>>(value.im)};
  }
}

// Factors with ways of their own, small integers, so that products of integers stay exact. Their
// count has no divisor in common with those of the other things that calls rotate through.
template <class Number>
std::vector<Value> factors() {
  std::vector<Value> result = {{2, 0}, {1, 0}, {0, 0}, {-1, 0}, {-3, 0}};
  if (!is_real<Number>) result = {{2, -3}, {1, 0}, {0, 0}, {-1, 0}, {0, 1}, {2, 3}, {0, -2}};
  return result;
}
template <class Number>
Value general_factor() {
  return is_real<Number> ? Value{0.8125, 0} : Value{0.8125, -1.375};
}

// Numbers with all digits and of similar size, so that a missing one shows; or small integers,
// whose products and sums are exact in every order.
enum class Data { general, integers };

// A period of them, in the precision of `single` or double.
const std::vector<double>& values(Data data, bool single);

// body(number) for a number of each kind, while nothing fails.
template <class Body>
void for_each_kind(const Body& body) {
  body(double{});
  if (!testing::Test::HasFailure()) body(complex_float{});
  if (!testing::Test::HasFailure()) body(complex_double{});
}

}  // namespace level3_test
