// Systems with a factored band matrix.
//
// The columns of the factors are taken in blocks, each for all right-hand sides, so that they come
// from the cache for all but the first.
#pragma once

#include "elements/division.h"
#include "lapack/band/kernels/band_factors.h"

namespace qsl::QSL_LEVEL {

// Columns of the factors that are taken together.
inline constexpr int solve_block = 64;
// The rows next to the diagonal. They are needed at once, by the next step, which would wait for
// the cache if it loaded registers that were not stored as such.
inline constexpr int near_rows = 32;

// y[i] -= x * a[i] for `rows` elements; the first near_rows (from_end: the last) one by one.
template <class Elements, bool from_end>
QSL_INLINE void subtract_column(int rows, typename Elements::Narrow x, const double* a, double* y) {
  using Vector = typename Elements::Vector;
  using Narrow = typename Elements::Narrow;
  constexpr int parts = Elements::parts;
  const auto by = RegisterFactor<2, Narrow>::of_pairs(x);
  const auto one = [&](int i) QSL_INLINE_LAMBDA {
    by.taken_from(Narrow::load(y + i), Narrow::load(a + i)).store(y + i);
  };
  const int n = rows * parts;
  if constexpr (Vector::lanes == parts) {
    for (int i = 0; i < n; i += parts) one(i);
  } else {
    int begin = 0, end = n;
    const int near = near_rows * parts;
    if (n > near) {
      const int wide = (n - near) / Vector::lanes * Vector::lanes;
      const int first = from_end ? 0 : n - wide;
      const RegisterFactor<2, Vector> wide_by = {combine(by.real, by.real),
                                                 combine(by.imag, by.imag)};
      for (int i = first; i < first + wide; i += Vector::lanes) {
        wide_by.taken_from(Vector::load(y + i), Vector::load(a + i)).store(y + i);
      }
      (from_end ? begin : end) = from_end ? wide : first;
    }
    for (int i = begin; i < end; i += parts) one(i);
  }
}

// b := inverse(L) * b, steps `first` to `end` - 1.
template <class Elements>
[[gnu::noinline]] void forward_steps(const BandFactors<Elements>& f, const int* ipiv, int first,
                                     int end, double* b) {
  using Narrow = typename Elements::Narrow;
  for (int j = first; j < end; j++) {
    double* const own = at<Elements>(b, j);
    double* const other = at<Elements>(b, ipiv[j] - 1);
    const Narrow x = Narrow::load(other);
    Narrow::load(own).store(other);
    x.store(own);
    subtract_column<Elements, false>(f.rows_below(j), x, f.element(j, j) + Elements::parts,
                                     own + Elements::parts);
  }
}

// b := inverse(U) * b, steps `end` - 1 down to `first`.
template <class Elements>
[[gnu::noinline]] void backward_steps(const BandFactors<Elements>& f, int first, int end,
                                      double* b) {
  using Narrow = typename Elements::Narrow;
  for (int j = end - 1; j >= first; j--) {
    double* const own = at<Elements>(b, j);
    Narrow x = Narrow::load(own);
    ScaledDivision(f.element(j, j))
        .template with<Narrow>([&](const auto& quotient) QSL_INLINE_LAMBDA { x = quotient(x); });
    x.store(own);
    const int rows = f.rows_above(j);
    subtract_column<Elements, true>(rows, x, f.element(j - rows, j), at<Elements>(b, j - rows));
  }
}

template <class Elements>
QSL_INLINE void band_solve(const BandFactors<Elements>& f, const int* ipiv, int nrhs, double* b,
                           int ldb) {
  if (f.kl > 0) {
    in_blocks(f.n, solve_block, [&](int first, int count) QSL_INLINE_LAMBDA {
      for (int c = 0; c < nrhs; c++) {
        forward_steps<Elements>(f, ipiv, first, first + count, at<Elements>(b, c, ldb));
      }
    });
  }
  for (int end = f.n; end > 0; end -= solve_block) {
    const int first = end > solve_block ? end - solve_block : 0;
    for (int c = 0; c < nrhs; c++) {
      backward_steps<Elements>(f, first, end, at<Elements>(b, c, ldb));
    }
  }
}

}  // namespace qsl::QSL_LEVEL
