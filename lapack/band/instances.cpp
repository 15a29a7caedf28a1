// The routines of one level; compiled once for each.
#include "simd/level.h"

#include "lapack/band/kernels/blocked_lu.h"
#include "lapack/band/kernels/gbtrs.h"
#include "lapack/band/routines.h"

namespace qsl::QSL_LEVEL {

// The register that holds a pivot's row is put together from elements, two at most.
using BandVector = Within256<double>;

int zgbtrf(int n, int kl, int ku, complex_double* ab, int ldab, int* ipiv, complex_double* work) {
  using Elements = InRegisters<DoubleComplex, BandVector>;
  const BandFactors<Elements> f = {n, kl, ku, reinterpret_cast<double*>(ab), ldab};
  if (work == nullptr) return band_lu(f, ipiv);
  return blocked_band_lu(f, ipiv, reinterpret_cast<double*>(work));
}

void zgbtrs(int n, int kl, int ku, int nrhs, const complex_double* ab, int ldab, const int* ipiv,
            complex_double* b, int ldb) {
  using Elements = InRegisters<DoubleComplex, BandVector>;
  // The factors are only read.
  auto* factors = reinterpret_cast<double*>(const_cast<complex_double*>(ab));
  band_solve<Elements>({n, kl, ku, factors, ldab}, ipiv, nrhs, reinterpret_cast<double*>(b), ldb);
}

}  // namespace qsl::QSL_LEVEL
