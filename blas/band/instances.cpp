// The routine of one level; compiled once for each.
#include "simd/level.h"

#include "blas/band/kernels/gbmv_n.h"
#include "blas/band/kernels/gbmv_t.h"
#include "blas/band/routines.h"

namespace qsl::QSL_LEVEL {

void zgbmv(int trans, int m, int n, int kl, int ku, const complex_double* alpha_at,
           const complex_double* a_at, int lda, const complex_double* x_at, int incx,
           const complex_double* beta_at, complex_double* y_at, int incy) {
  using Elements = InRegisters<DoubleComplex, Widest<double>>;
  if (m <= 0 || n <= 0) return;
  const FactorCopy<Elements> alpha(alpha_at);
  const FactorCopy<Elements> beta(beta_at);
  const auto* x = reinterpret_cast<const double*>(x_at);
  auto* y = reinterpret_cast<double*>(y_at);
  const Band<Elements> band = {m, n, kl, ku, reinterpret_cast<const double*>(a_at), lda};
  if (alpha.kind() == FactorKind::zero) {
    scale<Elements>(trans == 0 ? m : n, beta.parts, y, incy);
  } else if (trans == 0) {
    gbmv_n<Elements>(band, alpha.parts, x, incx, beta.parts, y, incy);
  } else {
    gbmv_t<Elements>(band, alpha.parts, x, incx, trans == 2, beta.parts, y, incy);
  }
}

}  // namespace qsl::QSL_LEVEL
