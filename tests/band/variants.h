// The variants of the band product, for tests that call them directly.
#pragma once

#include <gtest/gtest.h>

#include "tests/band/problem.h"
#include "tests/level1/variants.h"

namespace band_test {

using level1_test::Level;

struct Variant {
  Level level;
  const char* name;
  void (*zgbmv)(int trans, int m, int n, int kl, int ku, const Number* alpha, const Number* a,
                int lda, const Number* x, int incx, const Number* beta, Number* y, int incy);

  // The variants know one storage order.
  void operator()(const Call& call, const Number* alpha, const Number* a, const Number* x,
                  const Number* beta, Number* y) const {
    zgbmv(call.trans, call.m, call.n, call.kl, call.ku, alpha, a, call.lda(), x, call.incx, beta, y,
          call.incy);
  }
};

inline std::ostream& operator<<(std::ostream& out, const Variant& variant) {
  return out << variant.name;
}

// All of them; the processor need not support them.
const std::vector<Variant>& all_variants();

inline std::string name_of(const testing::TestParamInfo<Variant>& info) { return info.param.name; }

}  // namespace band_test
