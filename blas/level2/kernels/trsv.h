// x := inverse(op(A)) * x for a triangular A.
//
// Blocks on the diagonal are solved element by element, everything else is a matrix-vector product
// with what is found so far: with the columns of a plain A as soon as a block is found, with those
// of a transposed one just before the next block is.
#pragma once

#include "blas/level2/routines.h"
#include "blas/level3/routines.h"
#include "elements/division.h"

namespace qsl::QSL_LEVEL {

// Order of the blocks on the diagonal.
inline constexpr int trsv_block = 16;

QSL_INLINE void level_gemv(int trans, int m, int n, const double* alpha, const double* a, int lda,
                           const double* x, const double* beta, double* y) {
  dgemv(trans, m, n, alpha, a, lda, x, 1, beta, y, 1);
}
QSL_INLINE void level_gemv(int trans, int m, int n, const complex_double* alpha,
                           const complex_double* a, int lda, const complex_double* x,
                           const complex_double* beta, complex_double* y) {
  zgemv(trans, m, n, alpha, a, lda, x, 1, beta, y, 1);
}

template <class Type>
struct TriangularSystem {
  using Scalar = typename Type::Scalar;
  using Register = Unit<Type>;

  int trans;
  bool unit;
  const Scalar* a;
  int ld;  // in scalars

  // Element (i, j) of op(A).
  QSL_INLINE Register element(int i, int j) const {
    const Scalar* at = a + (trans == 0 ? i * Type::parts + j * ld : j * Type::parts + i * ld);
    const Register value = Register::load(at);
    return trans == 2 ? conjugate<Type>(value) : value;
  }
  QSL_INLINE Register divided(Register value, int i) const {
    if (unit) return value;
    Scalar diagonal[2];
    Scalar divisor;
    Scalar d[2];
    element(i, i).store(d);
    set_quotient<Type>(d, diagonal, &divisor);
    if constexpr (Type::parts == 1) {
      return value / Register::load(&divisor);
    } else {
      return product<Type>(value, Register::load(diagonal)) / Register::broadcast_from(&divisor);
    }
  }
};

// One block of order n on the diagonal, first to last element or the other way.
template <class Type>
[[gnu::noinline]] void trsv_block_solve(const TriangularSystem<Type>& t, bool forward, int n,
                                        typename Type::Scalar* x) {
  constexpr int parts = Type::parts;
  for (int step = 0; step < n; step++) {
    const int i = forward ? step : n - 1 - step;
    auto value = Unit<Type>::load(x + i * parts);
    for (int before = 0; before < step; before++) {
      const int j = forward ? before : n - 1 - before;
      value = value - product<Type>(t.element(i, j), Unit<Type>::load(x + j * parts));
    }
    t.divided(value, i).store(x + i * parts);
  }
}

template <class Type>
QSL_INLINE void trsv(int uplo, int trans, int diag, int n, const typename Type::Element* a, int lda,
                     typename Type::Element* x) {
  using Scalar = typename Type::Scalar;
  const bool forward = (uplo == QSL_LOWER) == (trans == 0);
  const auto* kept = reinterpret_cast<const typename Type::Element*>(one<Type>);
  const auto* taken = reinterpret_cast<const typename Type::Element*>(minus_one<Type>);
  for (int done = 0; done < n; done += trsv_block) {
    const int left = n - done;
    const int order = left < trsv_block ? left : trsv_block;
    const int first = forward ? done : left - order;
    const auto* diagonal = a + first + first * lda;
    if (trans != 0 && done > 0) {
      // What is found already stands before the block, or after it.
      const int found = forward ? 0 : first + order;
      level_gemv(trans, done, order, taken, a + found + first * lda, lda, x + found, kept,
                 x + first);
    }
    trsv_block_solve<Type>(
        {trans, diag == QSL_UNIT, reinterpret_cast<const Scalar*>(diagonal), lda * Type::parts},
        forward, order, reinterpret_cast<Scalar*>(x + first));
    if (trans == 0 && left > order) {
      const int other = forward ? first + order : 0;
      level_gemv(0, left - order, order, taken, a + other + first * lda, lda, x + first, kept,
                 x + other);
    }
  }
}

}  // namespace qsl::QSL_LEVEL
