// The variants of the level-2 routines, for tests that call them directly.
#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

#include "include/qsl/types.h"
#include "tests/level1/arrays.h"
#include "tests/level1/variants.h"

namespace level2_test {

using level1_test::emulated;
using level1_test::Level;

template <class Number>
using Gemv = void(int trans, int m, int n, const Number* alpha, const Number* a, int lda,
                  const Number* x, int incx, const Number* beta, Number* y, int incy);
template <class Number>
using Ger = void(int m, int n, const Number* alpha, const Number* x, int incx, const Number* y,
                 int incy, const Number* beta, Number* a, int lda);

struct Variant {
  Level level;
  const char* name;
  Gemv<double>* dgemv;
  Gemv<complex_double>* zgemv;
  Gemv<complex_float>* cgemv;
  Ger<double>* dger;
  Ger<complex_double>* zgeru;
  Ger<complex_float>* cgeru;

  bool fuses() const { return level == Level::avx2 || level == Level::avx512; }

  template <class Number>
  Gemv<Number>* gemv() const {
    if constexpr (std::is_same_v<Number, double>) return dgemv;
    if constexpr (std::is_same_v<Number, complex_double>) return zgemv;
    if constexpr (std::is_same_v<Number, complex_float>) return cgemv;
  }
  template <class Number>
  Ger<Number>* ger() const {
    if constexpr (std::is_same_v<Number, double>) return dger;
    if constexpr (std::is_same_v<Number, complex_double>) return zgeru;
    if constexpr (std::is_same_v<Number, complex_float>) return cgeru;
  }
};

inline std::ostream& operator<<(std::ostream& out, const Variant& variant) {
  return out << variant.name;
}

// All of them; the processor need not support them.
const std::vector<Variant>& all_variants();

class Level2Kernels : public testing::TestWithParam<Variant> {
 protected:
  void SetUp() override {
    if (const char* why = level1_test::left_out(GetParam().level)) GTEST_SKIP() << why;
  }
};

inline std::string name_of(const testing::TestParamInfo<Variant>& info) { return info.param.name; }

// body(number) for a number of each kind that has the routines, while nothing fails.
template <class Body>
void for_each_kind(const Body& body) {
  body(double{});
  if (!testing::Test::HasFailure()) body(complex_double{});
  if (!testing::Test::HasFailure()) body(complex_float{});
}

}  // namespace level2_test
