// The variants of the routines with symmetric and triangular matrices, called directly.
#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "include/qsl/types.h"
#include "tests/level1/arrays.h"
#include "tests/level1/variants.h"

namespace structured_test {

using level1_test::emulated;
using level1_test::Level;

template <class Number>
using Triangular = void(int side, int uplo, int trans, int diag, int m, int n, const Number* alpha,
                        const Number* a, int lda, Number* b, int ldb);
using Symm = void(int side, int uplo, int m, int n, const double* alpha, const double* a, int lda,
                  const double* b, int ldb, const double* beta, double* c, int ldc);
using Gemmt = void(int uplo, int transa, int transb, int n, int k, const double* alpha,
                   const double* a, int lda, const double* b, int ldb, const double* beta,
                   double* c, int ldc);
using Syrk = void(int uplo, int trans, int n, int k, const double* alpha, const double* a, int lda,
                  const double* beta, double* c, int ldc);
using Syr2k = void(int uplo, int trans, int n, int k, const double* alpha, const double* a, int lda,
                   const double* b, int ldb, const double* beta, double* c, int ldc);

struct Variant {
  Level level;
  const char* name;
  Triangular<double>* dtrsm;
  Triangular<double>* dtrmm;
  Triangular<complex_double>* ztrsm;
  Symm* dsymm;
  Gemmt* dgemmt;
  Syrk* dsyrk;
  Syr2k* dsyr2k;
};

inline std::ostream& operator<<(std::ostream& out, const Variant& variant) {
  return out << variant.name;
}

// All of them; the processor need not support them.
const std::vector<Variant>& all_variants();

class StructuredKernels : public testing::TestWithParam<Variant> {
 protected:
  void SetUp() override {
    if (const char* why = level1_test::left_out(GetParam().level)) GTEST_SKIP() << why;
  }
};

inline std::string name_of(const testing::TestParamInfo<Variant>& info) { return info.param.name; }

// Around the order of the leaves, around a register's width, and one that is cut several times.
inline std::vector<int> orders() {
  if (emulated()) return {1, 3, 8, 33};
  return {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 40, 64, 65, 100};
}

// The first order may be any, the second one fewer when the first is large.
inline std::vector<int> others(int order) {
  if (emulated()) return {1, 5};
  return order > 40 ? std::vector<int>{1, 7, 33} : std::vector<int>{1, 2, 3, 4, 5, 8, 11, 34};
}

// Values of about one, away from the extremes: bounds are relative to sums of magnitudes.
class Ordinary {
 public:
  explicit Ordinary(unsigned seed) : state_(seed * 2654435761u + 1) {}

  double operator()() {
    state_ = state_ * 1664525u + 1013904223u;
    return static_cast<double>(state_ >> 8) * 0x1p-23 - 1.0;
  }

 private:
  unsigned state_;
};

}  // namespace structured_test
