// The routines of the dense kernels that the solvers of one element type stand on, and 1 and -1 as
// they take factors: by address.
#pragma once

#include "blas/level2/routines.h"
#include "blas/level3/routines.h"
#include "lapack/routines.h"
#include "lapack/solvers.h"
#include "runtime/arguments.h"

namespace qsl::lapack {

struct Real {
  using Element = double;
  static constexpr Element one = 1;
  static constexpr Element minus_one = -1;
  static constexpr auto gemm = qsl_dispatch_dgemm;
  static constexpr auto trsm = qsl_dispatch_dtrsm;
  static constexpr auto trsv = qsl_dispatch_dtrsv;
  static constexpr auto getrf_small = qsl_dispatch_dgetrf_small;
  static constexpr auto getrf_leaf = qsl_dispatch_dgetrf_leaf;
  static constexpr auto getrs_small = qsl_dispatch_dgetrs_small;
  static constexpr auto laswp = qsl_dispatch_dlaswp;
  static constexpr auto exchange = DLASWP;
  static constexpr auto factor = qsl_dgetrf;
  static constexpr auto solve = DGETRS;
  static constexpr char getrf_name[] = "DGETRF";
  static constexpr char getrs_name[] = "DGETRS";
  static constexpr char laswp_name[] = "DLASWP";
};

struct Complex {
  using Element = complex_double;
  static constexpr Element one = {1, 0};
  static constexpr Element minus_one = {-1, 0};
  static constexpr auto gemm = qsl_dispatch_zgemm;
  static constexpr auto trsm = qsl_dispatch_ztrsm;
  static constexpr auto trsv = qsl_dispatch_ztrsv;
  static constexpr auto getrf_small = qsl_dispatch_zgetrf_small;
  static constexpr auto getrf_leaf = qsl_dispatch_zgetrf_leaf;
  static constexpr auto getrs_small = qsl_dispatch_zgetrs_small;
  static constexpr auto laswp = qsl_dispatch_zlaswp;
  static constexpr auto exchange = ZLASWP;
  static constexpr auto factor = qsl_zgetrf;
  static constexpr auto solve = ZGETRS;
  static constexpr char getrf_name[] = "ZGETRF";
  static constexpr char getrs_name[] = "ZGETRS";
  static constexpr char laswp_name[] = "ZLASWP";
};

inline int least(int a, int b) { return a < b ? a : b; }

// Element (i, j), counted from 0; addresses wrap as everywhere.
template <class Element>
Element* at(Element* a, int lda, int i, int j) {
  return a + (static_cast<unsigned>(i) + static_cast<unsigned>(j) * static_cast<unsigned>(lda));
}

}  // namespace qsl::lapack
