// Products with a symmetric matrix, and products of which one triangle is wanted.
//
// Each cuts the matrix in two by two blocks: the block off the diagonal is a plain matrix product,
// those on the diagonal are cut again, down to leaves that are worked on as whole squares in a
// small array on the stack. The extra work of the leaves is about leaf_order / n of the whole.
#pragma once

#include "blas/level3/kernels/product_of.h"
#include "elements/apply_factor.h"

namespace qsl::QSL_LEVEL {

inline constexpr double plus_one = 1;
inline constexpr double no_share = 0;

struct SymmetricProduct {
  bool left, lower;
  int others;  // columns of B and C (left) or rows (right)
  const double* alpha;
  int lda, ldb, ldc;

  // C := alpha * X * B + beta * C, or with B from the left; op(X) is `rows` by `cols`.
  QSL_INLINE void multiply(int trans, int rows, int cols, const double* x, int ldx, const double* b,
                           const double* beta, double* c) const {
    if (left) {
      product_of(trans, 0, rows, others, cols, alpha, x, ldx, b, ldb, beta, c, ldc);
    } else {
      product_of(0, 1 - trans, others, rows, cols, alpha, b, ldb, x, ldx, beta, c, ldc);
    }
  }
};

// The whole of a symmetric matrix of order n, from one triangle.
inline void fill_square(bool lower, int n, const double* a, int lda, double* square) {
  for (int j = 0; j < n; j++) {
    const int end = lower ? n : j + 1;
    for (int i = lower ? j : 0; i < end; i++) {
      const f64 value = f64::load(a + i + j * lda);
      value.store(square + i + j * leaf_order);
      value.store(square + j + i * leaf_order);
    }
  }
}

// The leaf's square lies in a function of its own, or every level of the recursion had one.
[[gnu::noinline]] inline void symmetric_leaf(const SymmetricProduct& p, int n, const double* a,
                                             const double* b, const double* beta, double* c) {
  double square[leaf_order * leaf_order];
  fill_square(p.lower, n, a, p.lda, square);
  p.multiply(0, n, n, square, leaf_order, b, beta, c);
}

inline void symmetric_product(const SymmetricProduct& p, int n, const double* a, const double* b,
                              const double* beta, double* c) {
  if (n <= leaf_order) return symmetric_leaf(p, n, a, b, beta, c);
  const int half = first_half(n);
  const int rest = n - half;
  // The block below the diagonal: stored, or the transpose of the one above.
  const double* below = p.lower ? a + half : a + half * p.lda;
  const int trans = p.lower ? 0 : 1;
  const double* b2 = p.left ? b + half : b + half * p.ldb;
  double* c2 = p.left ? c + half : c + half * p.ldc;
  symmetric_product(p, half, a, b, beta, c);
  p.multiply(1 - trans, half, rest, below, p.lda, b2, &plus_one, c);
  symmetric_product(p, rest, a + half + half * p.lda, b2, beta, c2);
  p.multiply(trans, rest, half, below, p.lda, b, &plus_one, c2);
}

// One triangle of alpha * op(A) * op(B) + beta * C.
struct TriangleProduct {
  bool lower;
  int transa, transb, k;
  const double* alpha;
  int lda, ldb;
  const double* beta;
  int ldc;
};

// C := beta * C + square, in the triangle.
inline void add_triangle(const TriangleProduct& p, int n, const double* square, double* c) {
  const f64 beta = f64::load(p.beta);
  const bool store = is_zero<Real>(p.beta);
  for (int j = 0; j < n; j++) {
    const int end = p.lower ? n : j + 1;
    for (int i = p.lower ? j : 0; i < end; i++) {
      f64 value = f64::load(square + i + j * leaf_order);
      if (!store) value = value + beta * f64::load(c + i + j * p.ldc);
      value.store(c + i + j * p.ldc);
    }
  }
}

[[gnu::noinline]] inline void triangle_leaf(const TriangleProduct& p, int n, const double* a,
                                            const double* b, double* c) {
  double square[leaf_order * leaf_order];
  product_of(p.transa, p.transb, n, n, p.k, p.alpha, a, p.lda, b, p.ldb, &no_share, square,
             leaf_order);
  add_triangle(p, n, square, c);
}

inline void triangle_product(const TriangleProduct& p, int n, const double* a, const double* b,
                             double* c) {
  if (n <= leaf_order) return triangle_leaf(p, n, a, b, c);
  const int half = first_half(n);
  const int rest = n - half;
  const double* a2 = at(a, p.lda, p.transa, half, 0);
  const double* b2 = at(b, p.ldb, p.transb, 0, half);
  triangle_product(p, half, a, b, c);
  if (p.lower) {
    product_of(p.transa, p.transb, rest, half, p.k, p.alpha, a2, p.lda, b, p.ldb, p.beta, c + half,
               p.ldc);
  } else {
    product_of(p.transa, p.transb, half, rest, p.k, p.alpha, a, p.lda, b2, p.ldb, p.beta,
               c + half * p.ldc, p.ldc);
  }
  triangle_product(p, rest, a2, b2, c + half + half * p.ldc);
}

// True when C stays as it is.
QSL_INLINE bool adds_nothing(int k, const double* alpha, const double* beta) {
  return (k == 0 || is_zero<Real>(alpha)) && is_one<Real>(beta);
}

}  // namespace qsl::QSL_LEVEL
