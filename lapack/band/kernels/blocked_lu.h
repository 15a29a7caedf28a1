// The factorisation of wide bands in blocks of columns: a block is factored column by column, and
// the columns to its right are updated by a triangular solve and a matrix product.
//
// Of the block's multipliers and of its rows to the right, corners lie beyond the bands, where the
// array has no room for them. Both are copied to a work area, where the corners are zeros. In the
// copy of the multipliers later exchanges are applied to earlier columns, as a triangular solve
// needs them.
#pragma once

#include "blas/level3/routines.h"
#include "lapack/band/blocking.h"
#include "lapack/band/kernels/gbtrf.h"

namespace qsl::QSL_LEVEL {

using lapack::gbtrf_block;

inline constexpr complex_double band_one = {1, 0};
inline constexpr complex_double band_minus_one = {-1, 0};

// The steps of a block, and where its copies are.
template <class Elements>
struct BandBlock {
  const BandFactors<Elements>& f;
  const int* ipiv;
  int first, count;
  int rows;     // of the block, down to the end of its last column
  double* l;    // multipliers, `rows` by `count`
  int columns;  // to the right
  double* u;    // rows of the block in these columns, `count` by `columns`

  // The row that is exchanged with row k, both counted from the block's first.
  QSL_INLINE int pivot(int k) const { return ipiv[first + k] - 1 - first; }
  QSL_INLINE double* multiplier(int i, int k) const {
    return at<Elements>(at<Elements>(l, k, rows), i);
  }
  QSL_INLINE double* right(int i, int c) const {
    return at<Elements>(at<Elements>(u, c, count), i);
  }
  // Rows of the block that are stored in column c to its right: those before do not reach it.
  QSL_INLINE int first_stored(int c) const {
    const int beyond = count + c - f.kv();
    return beyond > 0 ? beyond : 0;
  }
};

template <class Elements>
QSL_INLINE void copy_elements(int n, const double* from, double* to) {
  WalkFrom<Elements> source(from, n, 1);
  WalkTo<Elements> target(to, n, 1);
  copy_pass<Elements>(n, source, target);
}

template <class Elements>
[[gnu::noinline]] void copy_multipliers(const BandBlock<Elements>& block) {
  for (int k = 0; k < block.count; k++) {
    const int below = block.f.rows_below(block.first + k);
    copy_elements<Elements>(below,
                            block.f.element(block.first + k, block.first + k) + Elements::parts,
                            block.multiplier(k + 1, k));
    clear<Elements>(block.multiplier(k + 1 + below, k), block.rows - k - 1 - below);
    const int other = block.pivot(k);
    for (int c = 0; c < k && other != k; c++) {
      exchange_elements<Elements>(block.multiplier(k, c), block.multiplier(other, c));
    }
  }
}

// The block's rows to the right, exchanged with each other and with rows below them.
template <class Elements>
[[gnu::noinline]] void copy_rows(const BandBlock<Elements>& block) {
  for (int c = 0; c < block.columns; c++) {
    double* const column = block.f.element(block.first, block.first + block.count + c);
    const int stored = block.first_stored(c);
    clear<Elements>(block.right(0, c), stored);
    copy_elements<Elements>(block.count - stored, column + stored * Elements::parts,
                            block.right(stored, c));
    for (int k = 0; k < block.count; k++) {
      const int other = block.pivot(k);
      exchange_elements<Elements>(block.right(k, c), other < block.count
                                                         ? block.right(other, c)
                                                         : column + other * Elements::parts);
    }
  }
}

template <class Elements>
[[gnu::noinline]] void return_rows(const BandBlock<Elements>& block) {
  for (int c = 0; c < block.columns; c++) {
    const int stored = block.first_stored(c);
    copy_elements<Elements>(block.count - stored, block.right(stored, c),
                            block.f.element(block.first + stored, block.first + block.count + c));
  }
}

template <class Elements>
QSL_INLINE void update_right(const BandBlock<Elements>& block) {
  const auto number = [](double* p)
                          QSL_INLINE_LAMBDA { return reinterpret_cast<complex_double*>(p); };
  const int next = block.first + block.count;
  copy_multipliers(block);
  copy_rows(block);
  ztrsm(QSL_LEFT, QSL_LOWER, 0, QSL_UNIT, block.count, block.columns, &band_one, number(block.l),
        block.rows, number(block.u), block.count);
  if (block.rows > block.count) {
    zgemm(0, 0, block.rows - block.count, block.columns, block.count, &band_minus_one,
          number(block.multiplier(block.count, 0)), block.rows, number(block.u), block.count,
          &band_one, number(block.f.element(next, next)), block.f.step());
  }
  return_rows(block);
}

template <class Elements>
QSL_INLINE int blocked_band_lu(const BandFactors<Elements>& f, int* ipiv, double* work) {
  BandElimination<Elements> e = {f, ipiv};
  clear_first_fill(f);
  in_blocks(f.n, gbtrf_block, [&](int first, int count) QSL_INLINE_LAMBDA {
    const int next = first + count;
    eliminate_columns(e, first, next);
    if (e.last < next) return;
    const int rows = count + f.rows_below(next - 1);
    update_right<Elements>(
        {f, ipiv, first, count, rows, work, e.last + 1 - next, at<Elements>(work, rows * count)});
  });
  return e.first_zero;
}

}  // namespace qsl::QSL_LEVEL
