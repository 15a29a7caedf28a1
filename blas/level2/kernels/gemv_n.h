// y := alpha * A * x + beta * y: sums of columns.
#pragma once

#include "elements/add_columns.h"

namespace qsl::QSL_LEVEL {

// y := y + alpha * A * x, y being contiguous
template <class Elements>
[[gnu::noinline]] void gemv_n_contiguous(int m, int n, const typename Elements::Scalar* alpha,
                                         const typename Elements::Scalar* a, int lda,
                                         const typename Elements::Scalar* x_base, int incx,
                                         typename Elements::Scalar* y) {
  using Scalar = typename Elements::Scalar;
  alignas(64) Scalar factors[factor_block * Elements::parts];
  WalkFrom<Elements> x(x_base, n, incx);
  in_blocks(n, factor_block, [&](int first, int columns) QSL_INLINE_LAMBDA {
    WalkTo<Elements> to(factors, columns, 1);
    multiply_pass<Elements>(columns, alpha, x, to);
    add_products<Elements>(m, columns, at<Elements>(a, first, lda), lda, factors, y);
  });
}

// The same with beta, and with y through a buffer.
template <class Elements>
[[gnu::noinline]] void gemv_n_strided(int m, int n, const typename Elements::Scalar* alpha,
                                      const typename Elements::Scalar* a, int lda,
                                      const typename Elements::Scalar* x, int incx,
                                      const typename Elements::Scalar* beta,
                                      typename Elements::Scalar* y_base, int incy) {
  using Scalar = typename Elements::Scalar;
  alignas(64) Scalar buffer[buffer_elements<Elements> * Elements::parts];
  WalkFrom<Elements> from(y_base, m, incy);
  WalkTo<Elements> to(y_base, m, incy);
  in_blocks(m, buffer_elements<Elements>, [&](int row, int rows) QSL_INLINE_LAMBDA {
    WalkTo<Elements> into(buffer, rows, 1);
    multiply_pass<Elements>(rows, beta, from, into);
    gemv_n_contiguous<Elements>(rows, n, alpha, at<Elements>(a, row), lda, x, incx, buffer);
    WalkFrom<Elements> out_of(buffer, rows, 1);
    copy_pass<Elements>(rows, out_of, to);
  });
}

template <class Elements>
QSL_INLINE void gemv_n(int m, int n, const typename Elements::Scalar* alpha,
                       const typename Elements::Scalar* a, int lda,
                       const typename Elements::Scalar* x, int incx,
                       const typename Elements::Scalar* beta, typename Elements::Scalar* y,
                       int incy) {
  if (incy == 1) {
    scale<Elements>(m, beta, y, 1);
    gemv_n_contiguous<Elements>(m, n, alpha, a, lda, x, incx, y);
  } else {
    gemv_n_strided<Elements>(m, n, alpha, a, lda, x, incx, beta, y, incy);
  }
}

}  // namespace qsl::QSL_LEVEL
