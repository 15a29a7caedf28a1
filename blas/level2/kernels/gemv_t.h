// y := alpha * A^T * x + beta * y, or with A's conjugate: dot products with columns.
#pragma once

#include "elements/dot_columns.h"

namespace qsl::QSL_LEVEL {

// All columns of a block of rows.
template <class Elements>
[[gnu::noinline]] void gemv_t_rows(int rows, int n, const typename Elements::Scalar* alpha,
                                   const typename Elements::Scalar* a, int lda,
                                   const typename Elements::Scalar* x, bool conjugate,
                                   const typename Elements::Scalar* beta,
                                   typename Elements::Scalar* y_base, int incy) {
  using Scalar = typename Elements::Scalar;
  alignas(64) Scalar dots[factor_block * Elements::parts];
  WalkTo<Elements> y(y_base, n, incy);
  in_blocks(n, factor_block, [&](int first, int columns) QSL_INLINE_LAMBDA {
    const Scalar* block = at<Elements>(a, first, lda);
    in_groups<Elements::columns>(columns, [&](auto group, int j) QSL_INLINE_LAMBDA {
      dot_columns<Elements, group.value>(rows, at<Elements>(block, j, lda), lda, x, conjugate,
                                         at<Elements>(dots, j));
    });
    update_pass<Elements>(columns, alpha, dots, beta, y);
  });
}

// x in blocks of rows: where it lies, or through a buffer.
template <class Elements>
[[gnu::noinline]] void gemv_t(int m, int n, const typename Elements::Scalar* alpha,
                              const typename Elements::Scalar* a, int lda,
                              const typename Elements::Scalar* x_base, int incx, bool conjugate,
                              const typename Elements::Scalar* beta, typename Elements::Scalar* y,
                              int incy) {
  using Scalar = typename Elements::Scalar;
  const Scalar one[2] = {1, 0};
  const Scalar* kept = beta;  // of y, until it holds the first block's sums
  alignas(64) Scalar buffer[buffer_elements<Elements> * Elements::parts];
  WalkFrom<Elements> x(x_base, m, incx);
  const bool contiguous = incx == 1;
  in_blocks(m, contiguous ? row_block<Elements> : buffer_elements<Elements>,
            [&](int row, int rows) QSL_INLINE_LAMBDA {
              const Scalar* part = at<Elements>(x_base, row);
              if (!contiguous) {
                WalkTo<Elements> into(buffer, rows, 1);
                copy_pass<Elements>(rows, x, into);
                part = buffer;
              }
              gemv_t_rows<Elements>(rows, n, alpha, at<Elements>(a, row), lda, part, conjugate,
                                    kept, y, incy);
              kept = one;
            });
}

}  // namespace qsl::QSL_LEVEL
