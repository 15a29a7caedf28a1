// The triangular product and the triangular solve, in place.
//
// The triangle is cut in two by two blocks; the block off the diagonal is a plain matrix product,
// those on the diagonal are cut again, down to leaves (triangular_leaf.h).
#pragma once

#include "blas/level3/kernels/scale.h"
#include "blas/level3/kernels/triangular_leaf.h"
#include "elements/small_triangle.h"

namespace qsl::QSL_LEVEL {

template <class Type>
struct TriangularCall {
  using Scalar = typename Type::Scalar;
  using Element = typename Type::Element;

  bool left;
  int trans;
  bool unit;
  // The first elements come first in a solve: op(A) is lower and on the left, or upper and on the
  // right.
  bool forward;
  int count;  // right-hand sides: columns of B (left) or rows
  int lda, ldb;
};

template <class Type, TriangularWork work>
[[gnu::noinline]] void triangular_leaf(const TriangularCall<Type>& t, int n,
                                       const typename Type::Element* a, typename Type::Element* b) {
  using Scalar = typename Type::Scalar;
  TriangularLeaf<Type> leaf;
  leaf.n = n;
  leaf.unit = t.unit;
  leaf.backward = !t.forward;
  const int row_step = (t.trans == 0 ? 1 : t.lda) * Type::parts;
  const int col_step = (t.trans == 0 ? t.lda : 1) * Type::parts;
  const auto* from = reinterpret_cast<const Scalar*>(a);
  auto* to = reinterpret_cast<Scalar*>(b);
  // From the right, the transpose of op(A) is what right-hand sides meet.
  if (t.left) {
    read_leaf<Type, work>(from, row_step, col_step, t.trans == 2, leaf);
    work_on_strips<Type, work, true>(leaf, t.count, to, t.ldb);
  } else {
    read_leaf<Type, work>(from, col_step, row_step, t.trans == 2, leaf);
    work_on_strips<Type, work, false>(leaf, t.count, to, t.ldb);
  }
}

// B1 += factor * (block of op(A)) * B2, or from the right.
template <class Type>
QSL_INLINE void add_block_product(const TriangularCall<Type>& t, const void* factor, int rows,
                                  int cols, const typename Type::Element* block,
                                  const typename Type::Element* from, typename Type::Element* to) {
  using Element = typename Type::Element;
  const auto* scale = static_cast<const Element*>(factor);
  const auto* unchanged = reinterpret_cast<const Element*>(one<Type>);
  if (t.left) {
    product_of(t.trans, 0, rows, t.count, cols, scale, block, t.lda, from, t.ldb, unchanged, to,
               t.ldb);
  } else {
    product_of(0, t.trans, t.count, rows, cols, scale, from, t.ldb, block, t.lda, unchanged, to,
               t.ldb);
  }
}

template <class Type, TriangularWork work>
void triangular_recursion(const TriangularCall<Type>& t, int n, const typename Type::Element* a,
                          typename Type::Element* b) {
  if (n <= leaf_order) return triangular_leaf<Type, work>(t, n, a, b);
  const int half = first_half(n);
  const int rest = n - half;
  const auto* a2 = a + half + half * t.lda;
  auto* b2 = t.left ? b + half : b + half * t.ldb;
  // The block below the diagonal of op(A) or the one above it, whichever is there.
  const bool lower = t.left == t.forward;
  const auto* block = lower ? at(a, t.lda, t.trans, half, 0) : at(a, t.lda, t.trans, 0, half);
  if constexpr (work == TriangularWork::solve) {
    if (t.forward) {
      triangular_recursion<Type, work>(t, half, a, b);
      add_block_product(t, minus_one<Type>, rest, half, block, b, b2);
      triangular_recursion<Type, work>(t, rest, a2, b2);
    } else {
      triangular_recursion<Type, work>(t, rest, a2, b2);
      add_block_product(t, minus_one<Type>, half, rest, block, b2, b);
      triangular_recursion<Type, work>(t, half, a, b);
    }
  } else {
    if (t.forward) {
      triangular_recursion<Type, work>(t, rest, a2, b2);
      add_block_product(t, one<Type>, rest, half, block, b, b2);
      triangular_recursion<Type, work>(t, half, a, b);
    } else {
      triangular_recursion<Type, work>(t, half, a, b);
      add_block_product(t, one<Type>, half, rest, block, b2, b);
      triangular_recursion<Type, work>(t, rest, a2, b2);
    }
  }
}

template <class Type, TriangularWork work>
QSL_INLINE void triangular(int side, int uplo, int trans, int diag, int m, int n,
                           const typename Type::Element* alpha, const typename Type::Element* a,
                           int lda, typename Type::Element* b, int ldb) {
  if (m <= 0 || n <= 0) return;
  const auto* factor = reinterpret_cast<const typename Type::Scalar*>(alpha);
  const bool left = side == QSL_LEFT;
  scale_matrix<Type>(describe(b, m, n, ldb, 0, sizeof(typename Type::Element)), alpha);
  if (is_zero<Type>(factor)) return;
  const bool op_is_lower = (uplo == QSL_LOWER) == (trans == 0);
  // The triangles of a factorisation, where they are small.
  if constexpr (work == TriangularWork::solve) {
    if (left && m <= largest_triangle_in_registers && trans == 0 &&
        op_is_lower == (diag == QSL_UNIT)) {
      using Elements = InRegisters<Type, Within256<double>>;
      const auto* from = reinterpret_cast<const double*>(a);
      auto* to = reinterpret_cast<double*>(b);
      if (op_is_lower) {
        solve_few_rows<Elements, true>(m, n, from, lda, to, ldb);
        return;
      }
      if (solve_few_rows<Elements, false>(m, n, from, lda, to, ldb)) return;
    }
  }
  triangular_recursion<Type, work>(
      {left, trans, diag == QSL_UNIT, left == op_is_lower, left ? n : m, lda, ldb}, left ? m : n, a,
      b);
}

}  // namespace qsl::QSL_LEVEL
