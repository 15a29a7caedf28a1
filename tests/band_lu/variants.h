// The variants of the band factorisation and solve, for tests that call them directly.
#pragma once

#include <gtest/gtest.h>

#include "tests/band_lu/problem.h"
#include "tests/level1/variants.h"

namespace band_lu_test {

using level1_test::Level;

struct Variant {
  Level level;
  const char* name;
  int (*zgbtrf)(int n, int kl, int ku, Number* ab, int ldab, int* ipiv, Number* work);
  void (*zgbtrs)(int n, int kl, int ku, int nrhs, const Number* ab, int ldab, const int* ipiv,
                 Number* b, int ldb);
};

// Factors and solves by a variant, in blocks where it can.
struct Direct {
  const Variant& variant;
  bool blocks = true;

  int operator()(int n, int kl, int ku, int nrhs, Number* ab, int ldab, int* ipiv, Number* b,
                 int ldb) const;
};

inline std::ostream& operator<<(std::ostream& out, const Variant& variant) {
  return out << variant.name;
}

// All of them; the processor need not support them.
const std::vector<Variant>& all_variants();

inline std::string name_of(const testing::TestParamInfo<Variant>& info) { return info.param.name; }

class BandLuKernels : public testing::TestWithParam<Variant> {
 protected:
  void SetUp() override {
    if (const char* why = level1_test::left_out(GetParam().level)) GTEST_SKIP() << why;
  }
};

}  // namespace band_lu_test
