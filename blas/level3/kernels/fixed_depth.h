// The matrix product of the levels without fused multiply-add: the loops of blocked.h with blocks
// of one depth, or the simple loops.
//
// Four sums and two products are what the registers hold without fusing. A block of B is a few
// strips that stay in the first-level cache together with the strip of A; packed A stays in the
// second-level cache.
#pragma once

#include "blas/level3/kernels/blocked.h"
#include "blas/level3/kernels/operation.h"

namespace qsl::QSL_LEVEL {

// What a level sets at the start of each call.
struct FixedDepth {
  int least_m, least_n, least_k;  // of the blocked form
  int kc;                         // blocks are not deeper
};

template <class Shape, class Tile>
QSL_INLINE void fixed_depth_product(const FixedDepth& sizes, const MatrixDescriptor& a,
                                    const MatrixDescriptor& b, const MatrixDescriptor& c,
                                    const void* alpha, const void* beta) {
  using Type = typename Shape::Type;
  using Scalar = typename Type::Scalar;
  constexpr const OperationRecord& op = operation_record<Shape, Tile>;
  if (a.cols == 0 || is_zero(static_cast<const Scalar*>(alpha), Type::parts)) {
    return op.scale(c, beta);
  }
  if (c.rows < sizes.least_m || c.cols < sizes.least_n || a.cols < sizes.least_k) {
    return op.simple_loops(a, b, c, alpha, beta);
  }
  blocked_product(op, Shape::blocks, sizes.kc / op.tile.ku * op.tile.ku, a, b, c, alpha, beta,
                  is_zero(static_cast<const Scalar*>(beta), Type::parts));
}

template <class Shape>
QSL_INLINE void fixed_depth_gemm(int transa, int transb, int m, int n, int k, const void* alpha,
                                 const void* a, int lda, const void* b, int ldb, const void* beta,
                                 void* c, int ldc) {
  constexpr int size = sizeof(typename Shape::Type::Element);
  Shape::multiply(describe(a, m, k, lda, transa, size), describe(b, k, n, ldb, transb, size),
                  describe(c, m, n, ldc, 0, size), alpha, beta);
}

}  // namespace qsl::QSL_LEVEL
