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
  int kc;  // of all blocks but the last, as it is: no multiple of the tile's ku
};

// The product of a level: Type, Tile, BlockNumbers blocks and FixedDepth sizes are its shape.
template <class Shape>
struct FixedDepthGemm {
  using Type = typename Shape::Type;
  using Element = typename Type::Element;

  QSL_INLINE static void multiply(int transa, int transb, int m, int n, int k, const Element* alpha,
                                  const Element* a, int lda, const Element* b, int ldb,
                                  const Element* beta, Element* c, int ldc) {
    constexpr int size = sizeof(Element);
    constexpr const OperationRecord& op = operation_record<Type, typename Shape::Tile>;
    const MatrixDescriptor a_matrix = describe(a, m, k, lda, transa, size);
    const MatrixDescriptor b_matrix = describe(b, k, n, ldb, transb, size);
    const MatrixDescriptor c_matrix = describe(c, m, n, ldc, 0, size);
    if (k == 0 || is_zero<Type>(alpha)) return op.scale(c_matrix, beta);
    if (m < Shape::sizes.least_m || n < Shape::sizes.least_n || k < Shape::sizes.least_k) {
      return op.simple_loops(a_matrix, b_matrix, c_matrix, alpha, beta);
    }
    blocked_product(op, size_blocks(m, n, k, Shape::sizes.kc, op, Shape::blocks), a_matrix,
                    b_matrix, c_matrix, alpha, beta, is_zero<Type>(beta));
  }
};

}  // namespace qsl::QSL_LEVEL
