// From the sums in registers to C: real columns as they are, complex ones from the products with
// the real and the imaginary parts of a column of B.
//
// The first `rows` scalars of a column are written, vector by vector; a vector that reaches past
// them is cut, so that nothing outside C is read or written.
#pragma once

#include "blas/level3/kernels/tile.h"
#include "elements/product.h"

namespace qsl::QSL_LEVEL {

// Vector v of column j.
template <class Type, class Vector, int V, int N>
QSL_INLINE Vector column_sum(const Sums<Vector, V, N>& sums, int v, int j) {
  if constexpr (Type::parts == 1) {
    return sums.at[v][j];
  } else {
    return complex_sum(sums.at[v][2 * j], sums.at[v][2 * j + 1]);
  }
}

// C := 0 + sums or C := C + sums: the sign of a zero is the same as if zeros had been stored
// before. `full` says that all V vectors lie within C; otherwise the last one has `last` scalars of
// it. `ldc` is in scalars.
template <class Type, bool full, class Vector, int V, int N>
QSL_INLINE void write_back(const Sums<Vector, V, N>& sums, typename Type::Scalar* c, int ldc,
                           int last, bool overwrite) {
  unroll<N / Type::parts>([&](auto j) QSL_INLINE_LAMBDA {
    unroll<V>([&](auto v) QSL_INLINE_LAMBDA {
      Vector sum = column_sum<Type>(sums, v.value, j.value);
      typename Type::Scalar* to = c + j.value * ldc + v.value * Vector::lanes;
      if constexpr (full || v.value + 1 < V) {
        sum = (overwrite ? Vector::zero() : Vector::load(to)) + sum;
        sum.store(to);
      } else {
        sum = (overwrite ? Vector::zero() : Vector::load_rest(to, last)) + sum;
        sum.store_rest(to, last);
      }
    });
  });
}

}  // namespace qsl::QSL_LEVEL
