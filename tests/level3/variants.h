// The variants of the matrix products, for tests that call them directly.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "tests/frame/support.h"
#include "tests/level1/variants.h"
#include "tests/level3/problem.h"

namespace level3_test {

using level1_test::Level;

template <class Number>
using Gemm = void(int transa, int transb, int m, int n, int k, const Number* alpha, const Number* a,
                  int lda, const Number* b, int ldb, const Number* beta, Number* c, int ldc);

struct Variant {
  Level level;
  const char* name;
  int mode;  // reproducibility mode that selects one of a level's bodies; 0: there is one
  Gemm<double>* dgemm;
  Gemm<complex_float>* cgemm;
  Gemm<complex_double>* zgemm;

  template <class Number>
  Gemm<Number>* gemm() const {
    if constexpr (std::is_same_v<Number, double>) return dgemm;
    if constexpr (std::is_same_v<Number, complex_float>) return cgemm;
    if constexpr (std::is_same_v<Number, complex_double>) return zgemm;
  }
};

inline std::ostream& operator<<(std::ostream& out, const Variant& variant) {
  return out << variant.name;
}
inline std::string name_of(const testing::TestParamInfo<Variant>& info) { return info.param.name; }

// All of them; the processor need not support them.
const std::vector<Variant>& all_variants();

// The product by one variant.
template <class Number>
struct Direct {
  const Variant& variant;

  void operator()(const Call& call, const Shape& shape, const Number* alpha, const Number* a,
                  int lda, const Number* b, int ldb, const Number* beta, Number* c, int ldc) const {
    variant.template gemm<Number>()(call.transa, call.transb, shape.m, shape.n, shape.k, alpha, a,
                                    lda, b, ldb, beta, c, ldc);
  }
};

// The index-th of the rotating calls, as a variant takes it.
template <class Number>
Call rotated_for_variant(unsigned index, Data data) {
  Call call = rotated<Number>(index, data);
  call.style = Style::column_major;
  return call;
}

class VariantTest : public testing::TestWithParam<Variant> {
 protected:
  void SetUp() override {
    if (const char* why = level1_test::left_out(GetParam().level)) GTEST_SKIP() << why;
    if (GetParam().mode != 0) frame_test::Frame::mode(GetParam().mode);
  }
  void TearDown() override {
    if (GetParam().mode != 0) frame_test::Frame::reset();
  }
};

}  // namespace level3_test
