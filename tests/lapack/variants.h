// The variants of the solvers' kernels, for tests that call them directly.
#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "tests/lapack/numbers.h"
#include "tests/level1/variants.h"

namespace lapack_test {

using level1_test::Level;

template <class Number>
struct Kernels {
  using Factor = void(int m, int n, Number* a, int lda, int* ipiv, int* info);

  Factor* getrf_leaf;
  void (*trsv)(int uplo, int trans, int diag, int n, const Number* a, int lda, Number* x);
  Factor* getrf_small;
  void (*getrs_small)(int trans, int n, int nrhs, const Number* a, int lda, const int* ipiv,
                      Number* b, int ldb);
  int (*laswp)(int n, Number* a, int lda, int row, int direction, const int* pivot, int step,
               int count);
  void (*omatcopy_t)(int rows, int columns, const Number* alpha, const Number* a, int lda,
                     Number* b, int ldb);
};

struct Variant {
  Level level;
  const char* name;
  Kernels<double> real;
  Kernels<complex_double> complex;
  int (*nan_in_runs)(int direct, int count, int length, const double* x, int step);
  int (*nan_in_band)(int direct, int count, int first, int end, int most, const complex_double* x,
                     int ld);

  bool fuses() const { return level == Level::avx2 || level == Level::avx512; }
  template <class Number>
  const Kernels<Number>& kernels() const {
    if constexpr (is_real<Number>) {
      return real;
    } else {
      return complex;
    }
  }
};

inline std::ostream& operator<<(std::ostream& out, const Variant& variant) {
  return out << variant.name;
}

// All of them; the processor need not support them.
const std::vector<Variant>& all_variants();

class VariantTest : public testing::TestWithParam<Variant> {
 protected:
  void SetUp() override {
    if (const char* why = level1_test::left_out(GetParam().level)) GTEST_SKIP() << why;
  }
};

inline std::string name_of(const testing::TestParamInfo<Variant>& info) { return info.param.name; }

}  // namespace lapack_test
