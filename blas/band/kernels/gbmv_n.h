// y := alpha * A * x + beta * y for a band matrix A: sums of columns.
#pragma once

#include "blas/band/kernels/band.h"
#include "elements/add_columns.h"

namespace qsl::QSL_LEVEL {

// The factors of two columns, and the sum that they make of the columns' elements.
template <class Vector>
struct PairFactors {
  Vector real[2];
  Vector imag[2];  // (f, -f)

  // y + first * factor 0 + second * factor 1. A vector that is loaded once stays in its register.
  QSL_INLINE Vector add(Vector y, Vector first, Vector second) const {
    keep_vector(first);
    keep_vector(second);
    const Vector direct = mul_add(second, real[1], mul_add(first, real[0], y));
    return direct + swap_pairs(mul_add(second, imag[1], first * imag[0]));
  }
  QSL_INLINE Vector add_one(Vector y, Vector element, int column) const {
    keep_vector(element);
    return mul_add(element, real[column], y) + swap_pairs(element * imag[column]);
  }
};

// y := y + the sum of factors[c] * column c for pairs of columns of one shape, each a row below the
// one before. `a` is the first pair's first common element and y stands on that row.
template <class Elements>
[[gnu::noinline]] void add_pairs(int pairs, PairShape shape, const typename Elements::Scalar* a,
                                 int lda, const typename Elements::Scalar* factors,
                                 typename Elements::Scalar* y) {
  using Vector = typename Elements::Vector;
  using Narrow = typename Elements::Narrow;
  using Scalar = typename Elements::Scalar;
  constexpr int lanes = Vector::lanes;
  constexpr int parts = Elements::parts;
  const int n = shape.rows * parts;
  const int rest = n % lanes;
  for (; pairs > 0; pairs--) {
    const auto by_first = Elements::multiplier(factors);
    const auto by_second = Elements::multiplier(factors + parts);
    const PairFactors<Vector> by = {{by_first.real, by_second.real},
                                    {by_first.imag, by_second.imag}};
    const PairFactors<Narrow> by_narrow = {{narrow(by_first.real), narrow(by_second.real)},
                                           {narrow(by_first.imag), narrow(by_second.imag)}};
    // Everything is counted from the end.
    const Scalar* const first = a + n;
    const Scalar* const second = at<Elements>(a, 1, lda - 1) + n;
    Scalar* const sums = y + n;
    // The next pair loads what this one stores. It finds whole registers on the same places but for
    // the element at the bottom, which is stored first, to be in the cache by then.
    if (shape.bottom) by_narrow.add_one(Narrow::load(sums), Narrow::load(second), 1).store(sums);
    if (shape.top) {
      by_narrow.add_one(Narrow::load(sums - n - parts), Narrow::load(first - n - parts), 0)
          .store(sums - n - parts);
    }
    int i = -n;
    if constexpr (lanes > parts) {
      for (; i < rest - n; i += parts) {
        by_narrow.add(Narrow::load(sums + i), Narrow::load(first + i), Narrow::load(second + i))
            .store(sums + i);
      }
    }
    const auto add = [&](int k) QSL_INLINE_LAMBDA {
      by.add(Vector::load(sums + k), Vector::load(first + k), Vector::load(second + k))
          .store(sums + k);
    };
    if (i & lanes) {
      add(i);
      i += lanes;
    }
    for (; i != 0; i += 2 * lanes) {
      add(i);
      add(i + lanes);
      __builtin_prefetch(first + i + ahead);
      __builtin_prefetch(second + i + ahead);
      keep(i);
    }
    a = at<Elements>(a, 2, lda);
    y += 2 * parts;
    factors += 2 * parts;
  }
}

// y := y + alpha * A * x, y being contiguous; x stands on A's first column.
template <class Elements>
[[gnu::noinline]] void gbmv_n_contiguous(const Band<Elements>& band,
                                         const typename Elements::Scalar* alpha,
                                         WalkFrom<Elements> x, typename Elements::Scalar* y) {
  using Scalar = typename Elements::Scalar;
  alignas(64) Scalar factors[factor_block * Elements::parts];
  in_blocks(band.n, factor_block, [&](int first, int columns) QSL_INLINE_LAMBDA {
    WalkTo<Elements> to(factors, columns, 1);
    multiply_pass<Elements>(columns, alpha, x, to);
    const int top = band.first_row(first);
    const Band<Elements> block = band.of_columns(first, columns);
    walk_pairs(
        block,
        [&](PairShape shape, int pairs, int j, int row) QSL_INLINE_LAMBDA {
          add_pairs<Elements>(pairs, shape, block.element(row, j), band.lda,
                              at<Elements>(factors, j), at<Elements>(y, top + row));
        },
        [&](int j, int row, int rows) QSL_INLINE_LAMBDA {
          add_columns<Elements, 1>(rows, block.element(row, j), band.lda, at<Elements>(factors, j),
                                   at<Elements>(y, top + row));
        });
  });
}

// The same with beta, and with y through a buffer.
template <class Elements>
[[gnu::noinline]] void gbmv_n_strided(const Band<Elements>& band,
                                      const typename Elements::Scalar* alpha,
                                      const WalkFrom<Elements>& x,
                                      const typename Elements::Scalar* beta,
                                      typename Elements::Scalar* y_base, int incy) {
  using Scalar = typename Elements::Scalar;
  alignas(64) Scalar buffer[buffer_elements<Elements> * Elements::parts];
  WalkFrom<Elements> from(y_base, band.m, incy);
  WalkTo<Elements> to(y_base, band.m, incy);
  in_blocks(band.m, buffer_elements<Elements>, [&](int row, int rows) QSL_INLINE_LAMBDA {
    WalkTo<Elements> into(buffer, rows, 1);
    multiply_pass<Elements>(rows, beta, from, into);
    WalkFrom<Elements> x_part = x;
    x_part.advance(static_cast<std::uintptr_t>(band.first_column(row)));
    gbmv_n_contiguous<Elements>(band.of_rows(row, rows), alpha, x_part, buffer);
    WalkFrom<Elements> out_of(buffer, rows, 1);
    copy_pass<Elements>(rows, out_of, to);
  });
}

template <class Elements>
QSL_INLINE void gbmv_n(const Band<Elements>& band, const typename Elements::Scalar* alpha,
                       const typename Elements::Scalar* x_base, int incx,
                       const typename Elements::Scalar* beta, typename Elements::Scalar* y,
                       int incy) {
  const WalkFrom<Elements> x(x_base, band.n, incx);
  if (incy == 1) {
    scale<Elements>(band.m, beta, y, 1);
    gbmv_n_contiguous<Elements>(band, alpha, x, y);
  } else {
    gbmv_n_strided<Elements>(band, alpha, x, beta, y, incy);
  }
}

}  // namespace qsl::QSL_LEVEL
