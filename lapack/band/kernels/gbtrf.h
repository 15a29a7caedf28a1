// The LU factorisation of a band matrix with partial pivoting.
//
// E. Anderson et al., LAPACK Users' Guide, 3rd ed., SIAM 1999; J. Du Croz, P. Mayes, G. Radicati,
// "Factorizations of band matrices using Level 3 BLAS", LAPACK Working Note 21 (1990).
#pragma once

#include "lapack/band/kernels/eliminate.h"

namespace qsl::QSL_LEVEL {

template <class Elements>
struct BandElimination {
  BandFactors<Elements> f;
  int* ipiv;
  int last = 0;  // the last column that the rows so far reach
  int first_zero = 0;
};

template <class Elements>
QSL_INLINE void clear(double* p, int count) {
  using Narrow = typename Elements::Narrow;
  for (; count > 0; count--) {
    Narrow::zero().store(p);
    p += Elements::parts;
  }
}

// The room for fill in column j, where it lies in the matrix: from row j - kv to row j - ku - 1.
template <class Elements>
QSL_INLINE void clear_fill(const BandFactors<Elements>& f, int j) {
  const int first = j > f.kv() ? j - f.kv() : 0;
  if (j < f.n && j > f.ku) clear<Elements>(f.element(first, j), j - f.ku - first);
}

// Steps `first` to `end` - 1, applied to the columns before `end`.
template <class Elements>
[[gnu::noinline]] void eliminate_columns(BandElimination<Elements>& e, int first, int end) {
  const BandFactors<Elements> f = e.f;
  for (int j = first; j < end; j++) {
    if (f.kv() < f.n - j) clear_fill(f, j + f.kv());
    const int rows = f.rows_below(j);
    double* const diagonal = f.element(j, j);
    const int pivot = index_of_greatest<Elements>(rows + 1, diagonal);
    e.ipiv[j] = j + pivot + 1;
    if (is_zero<Elements>(diagonal + pivot * Elements::parts)) {
      if (e.first_zero == 0) e.first_zero = j + 1;
      continue;
    }
    const int reach = f.ku < f.n - 1 - j - pivot ? j + pivot + f.ku : f.n - 1;
    if (reach > e.last) e.last = reach;
    if (rows == 0) continue;
    const int columns = (e.last < end ? e.last : end - 1) - j;
    if (rows <= Multipliers<Elements>::most) {
      short_step<Elements>(columns, rows, pivot, diagonal, f.step());
    } else {
      long_step<Elements>(columns, rows, pivot, diagonal, f.step());
    }
  }
}

// The fill of the columns that no step clears.
template <class Elements>
QSL_INLINE void clear_first_fill(const BandFactors<Elements>& f) {
  const int end = f.kv() < f.n ? f.kv() : f.n;
  for (int j = f.ku + 1; j < end; j++) clear_fill(f, j);
}

template <class Elements>
QSL_INLINE int band_lu(const BandFactors<Elements>& f, int* ipiv) {
  BandElimination<Elements> e = {f, ipiv};
  clear_first_fill(f);
  eliminate_columns(e, 0, f.n);
  return e.first_zero;
}

}  // namespace qsl::QSL_LEVEL
