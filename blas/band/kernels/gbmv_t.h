// y := alpha * A^T * x + beta * y for a band matrix A, or with A's conjugate: dot products with
// columns.
#pragma once

#include "blas/band/kernels/band.h"
#include "elements/dot_columns.h"

namespace qsl::QSL_LEVEL {

// Sums over a column: of (ar * xr, ai * xi) and of (ar * xi, ai * xr). They take one shuffle of x
// and none of the column, and are put together at their end.
template <class Vector>
struct ColumnSum {
  Vector direct = Vector::zero();
  Vector crossed = Vector::zero();

  QSL_INLINE void add(Vector elements, Vector x, Vector swapped) {
    keep_vector(elements);
    direct = mul_add(elements, x, direct);
    keep_vector(direct);
    crossed = mul_add(elements, swapped, crossed);
    keep_vector(crossed);
  }
  // The same with a product of its own: the sum waits for an addition, which is done sooner than a
  // fused operation, at the price of an instruction more.
  QSL_INLINE void add_product(Vector elements, Vector x, Vector swapped) {
    keep_vector(elements);
    direct = direct + elements * x;
    keep_vector(direct);
    crossed = crossed + elements * swapped;
    keep_vector(crossed);
  }
  // a * x = (d0 - d1, c0 + c1), conj(a) * x = (d0 + d1, c0 - c1)
  QSL_INLINE auto total(bool conjugate) const {
    const auto d = sum_to_narrow(direct);
    const auto c = sum_to_narrow(crossed);
    const auto first = unpack_lower(d, c);
    const auto second = unpack_upper(d, c);
    return conjugate ? first + negate_odd(second) : add_sub(first, second);
  }
};

// dots[c] := column c times x for pairs of columns of one shape, each a row below the one before.
// `a` is the first pair's first common element and x stands on that row.
//
// Four sums are too few to hide the latency of a fused operation in each. Short columns don't mind,
// since the next pair begins meanwhile; long ones take every second product by itself.
template <class Elements, bool long_columns>
[[gnu::noinline]] void dot_pairs(int pairs, PairShape shape, const typename Elements::Scalar* a,
                                 int lda, const typename Elements::Scalar* x, bool conjugate,
                                 typename Elements::Scalar* dots) {
  using Vector = typename Elements::Vector;
  using Scalar = typename Elements::Scalar;
  constexpr int lanes = Vector::lanes;
  constexpr int parts = Elements::parts;
  const int n = shape.rows * parts;
  const int rest = n % lanes;
  const auto whole = [](const Scalar* p) QSL_INLINE_LAMBDA { return Vector::load(p); };
  const auto one = [](const Scalar* p)
                       QSL_INLINE_LAMBDA { return Vector::lower(Elements::load_one(p)); };
  for (; pairs > 0; pairs--) {
    // Everything is counted from the end.
    const Scalar* const first = a + n;
    const Scalar* const second = at<Elements>(a, 1, lda - 1) + n;
    const Scalar* const end = x + n;
    ColumnSum<Vector> sums[2];
    if (shape.top) {
      const Vector top = one(end - n - parts);
      sums[0].add(one(first - n - parts), top, swap_pairs(top));
    }
    if (shape.bottom) {
      const Vector bottom = one(end);
      sums[1].add(one(second), bottom, swap_pairs(bottom));
    }
    const auto add = [&](const auto& load, int i) QSL_INLINE_LAMBDA {
      Vector factors = load(end + i);
      keep_vector(factors);
      const Vector swapped = swap_pairs(factors);
      sums[0].add(load(first + i), factors, swapped);
      sums[1].add(load(second + i), factors, swapped);
    };
    const auto add_product = [&](int i) QSL_INLINE_LAMBDA {
      Vector factors = Vector::load(end + i);
      keep_vector(factors);
      const Vector swapped = swap_pairs(factors);
      sums[0].add_product(Vector::load(first + i), factors, swapped);
      sums[1].add_product(Vector::load(second + i), factors, swapped);
    };
    int i = -n;
    for (; i < rest - n; i += parts) add(one, i);
    if (i & lanes) {
      add(whole, i);
      i += lanes;
    }
    for (; i != 0; i += 2 * lanes) {
      add(whole, i);
      if constexpr (long_columns) {
        add_product(i + lanes);
      } else {
        add(whole, i + lanes);
      }
      __builtin_prefetch(first + i + ahead);
      __builtin_prefetch(second + i + ahead);
      keep(i);
    }
    Elements::store_one(dots, sums[0].total(conjugate));
    Elements::store_one(dots + parts, sums[1].total(conjugate));
    a = at<Elements>(a, 2, lda);
    x += 2 * parts;
    dots += 2 * parts;
  }
}

inline constexpr int least_long_column = 64;

// The dot products of at most factor_block columns with some of their rows; x stands on the first.
template <class Elements>
QSL_INLINE void dot_block(const Band<Elements>& band, const typename Elements::Scalar* x,
                          bool conjugate, typename Elements::Scalar* dots) {
  const int taken = walk_pairs(
      band,
      [&](PairShape shape, int pairs, int j, int row) QSL_INLINE_LAMBDA {
        const auto dot =
            shape.rows < least_long_column ? dot_pairs<Elements, false> : dot_pairs<Elements, true>;
        dot(pairs, shape, band.element(row, j), band.lda, at<Elements>(x, row), conjugate,
            at<Elements>(dots, j));
      },
      [&](int j, int row, int rows) QSL_INLINE_LAMBDA {
        dot_columns<Elements, 1>(rows, band.element(row, j), band.lda, at<Elements>(x, row),
                                 conjugate, at<Elements>(dots, j));
      });
  for (int j = taken; j < band.n; j++) {
    Elements::store_one(at<Elements>(dots, j), Elements::Narrow::zero());
  }
}

// y := alpha * (dots with some rows) + beta * y for at most factor_block columns.
template <class Elements>
[[gnu::noinline]] void gbmv_t_rows(const Band<Elements>& band, int row, int rows,
                                   const typename Elements::Scalar* alpha,
                                   const typename Elements::Scalar* x, bool conjugate,
                                   const typename Elements::Scalar* beta, WalkTo<Elements> y) {
  using Scalar = typename Elements::Scalar;
  alignas(64) Scalar dots[factor_block * Elements::parts];
  const int before = band.first_column(row);
  for (int j = 0; j < before; j++) {
    Elements::store_one(at<Elements>(dots, j), Elements::Narrow::zero());
  }
  Band<Elements> part = band.of_rows(row, rows);
  part.n = band.n - before;
  dot_block(part, x, conjugate, at<Elements>(dots, before));
  update_pass<Elements>(band.n, alpha, dots, beta, y);
}

// x in blocks of rows: where it lies, or through a buffer.
template <class Elements>
[[gnu::noinline]] void gbmv_t(const Band<Elements>& band, const typename Elements::Scalar* alpha,
                              const typename Elements::Scalar* x_base, int incx, bool conjugate,
                              const typename Elements::Scalar* beta,
                              typename Elements::Scalar* y_base, int incy) {
  using Scalar = typename Elements::Scalar;
  const Scalar one[2] = {1, 0};
  alignas(64) Scalar buffer[buffer_elements<Elements> * Elements::parts];
  const WalkFrom<Elements> x_start(x_base, band.m, incx);
  WalkTo<Elements> y(y_base, band.n, incy);
  const bool contiguous = incx == 1;
  in_blocks(band.n, factor_block, [&](int first, int columns) QSL_INLINE_LAMBDA {
    const Band<Elements> block = band.of_columns(first, columns);
    WalkFrom<Elements> x = x_start;
    x.advance(static_cast<std::uintptr_t>(band.first_row(first)));
    const Scalar* kept = beta;  // of y, until it holds the first rows' sums
    if (block.m == 0) gbmv_t_rows<Elements>(block, 0, 0, alpha, buffer, conjugate, kept, y);
    in_blocks(block.m, contiguous ? row_block<Elements> : buffer_elements<Elements>,
              [&](int row, int rows) QSL_INLINE_LAMBDA {
                const Scalar* part = x[static_cast<std::uintptr_t>(row)];
                if (!contiguous) {
                  WalkFrom<Elements> from = x;
                  from.advance(static_cast<std::uintptr_t>(row));
                  WalkTo<Elements> into(buffer, rows, 1);
                  copy_pass<Elements>(rows, from, into);
                  part = buffer;
                }
                gbmv_t_rows<Elements>(block, row, rows, alpha, part, conjugate, kept, y);
                kept = one;
              });
    y.advance(static_cast<std::uintptr_t>(columns));
  });
}

}  // namespace qsl::QSL_LEVEL
