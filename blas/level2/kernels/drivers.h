// The routines: what an alpha and a beta ask for, and which kernel does it.
#pragma once

#include "blas/level2/kernels/gemv_n.h"
#include "blas/level2/kernels/gemv_t.h"
#include "blas/level2/kernels/ger.h"

namespace qsl::QSL_LEVEL {

template <class Elements, class Number>
QSL_INLINE void gemv(int trans, int m, int n, const Number* alpha_at, const Number* a_at, int lda,
                     const Number* x_at, int incx, const Number* beta_at, Number* y_at, int incy) {
  using Scalar = typename Elements::Scalar;
  if (m <= 0 || n <= 0) return;
  const FactorCopy<Elements> alpha(alpha_at);
  const FactorCopy<Elements> beta(beta_at);
  const auto* a = reinterpret_cast<const Scalar*>(a_at);
  const auto* x = reinterpret_cast<const Scalar*>(x_at);
  auto* y = reinterpret_cast<Scalar*>(y_at);
  if (alpha.kind() == FactorKind::zero) {
    scale<Elements>(trans == 0 ? m : n, beta.parts, y, incy);
  } else if (trans == 0) {
    gemv_n<Elements>(m, n, alpha.parts, a, lda, x, incx, beta.parts, y, incy);
  } else {
    gemv_t<Elements>(m, n, alpha.parts, a, lda, x, incx, trans == 2, beta.parts, y, incy);
  }
}

template <class Elements, class Number>
QSL_INLINE void ger(int m, int n, const Number* alpha_at, const Number* x_at, int incx,
                    const Number* y_at, int incy, const Number* beta_at, Number* a_at, int lda) {
  using Scalar = typename Elements::Scalar;
  if (m <= 0 || n <= 0) return;
  const FactorCopy<Elements> alpha(alpha_at);
  const FactorCopy<Elements> beta(beta_at);
  const auto* x = reinterpret_cast<const Scalar*>(x_at);
  const auto* y = reinterpret_cast<const Scalar*>(y_at);
  auto* a = reinterpret_cast<Scalar*>(a_at);
  const FactorKind kind = beta.kind();
  if (alpha.kind() == FactorKind::zero) {
    if (kind == FactorKind::one) return;
    for (int j = 0; j < n; j++) scale<Elements>(m, beta.parts, at<Elements>(a, j, lda), 1);
  } else if (kind == FactorKind::zero) {
    ger_blocks<Elements, false>(m, n, alpha.parts, x, incx, y, incy, nullptr, a, lda);
  } else {
    const Scalar* general = kind == FactorKind::general ? beta.parts : nullptr;
    ger_blocks<Elements, true>(m, n, alpha.parts, x, incx, y, incy, general, a, lda);
  }
}

}  // namespace qsl::QSL_LEVEL
