// The matrix product of level p4.
//
// k is cut in blocks of 104; the loops of blocked.h run in one of four orders, which a ladder of
// size tests selects.
#pragma once

#include "blas/level3/kernels/blocked.h"
#include "blas/level3/kernels/operation.h"

namespace qsl::QSL_LEVEL {

inline constexpr int ladder_depth = 104;

// The buffer in bytes, and what packed A and packed B take of it: 240 rows of doubles and 8
// columns, which stay in the second-level and the first-level cache. The long form has packed B
// behind that.
inline constexpr std::size_t ladder_buffer = 0x37f00;
inline constexpr int ladder_a_bytes = 240 * ladder_depth * 8;
inline constexpr int ladder_b_bytes = 8 * ladder_depth * 16;
static_assert(page + whole_pages(a_area + ladder_a_bytes) + b_area + ladder_b_bytes <=
              ladder_buffer);
// Columns of a panel of the transposed order.
inline constexpr int ladder_panel = 256;

enum class LadderOrder {
  whole,         // all columns of B at once: the long form of the buffer
  left_inside,   // strips of A are packed in the inner loop, against a few strips of B
  right_inside,  // a strip of B is packed in the inner loop, against all rows of a block of A
  transposed,    // as left_inside, panel by panel of columns
};

// (Every number decides the order of sums, which callers may count on: not for tuning.)
inline LadderOrder ladder_order(int m, int n, int k) {
  if (n < 101) {
    if (m >= 250 || k < 101) return LadderOrder::left_inside;
    return n < 80 ? LadderOrder::whole : LadderOrder::right_inside;
  }
  if (n > 600 && m < n - 100 && m < 601) return LadderOrder::transposed;
  return LadderOrder::left_inside;
}

// How a product of m by n by k is cut in blocks, with packed B `nc` columns wide.
inline BlockRecord ladder_blocks(int m, int n, int k, const OperationRecord& op, int nc,
                                 bool long_form) {
  const int mc = ladder_a_bytes / ladder_depth / op.element_size;
  BlockRecord block = size_blocks(m, n, k, ladder_depth, op, {mc, nc, nc});
  block.bytes = ladder_buffer;
  if (long_form) block.bytes += block.b_elements * op.element_size;
  return block;
}

template <class Shape>
inline void ladder_product(const MatrixDescriptor& a, const MatrixDescriptor& b,
                           const MatrixDescriptor& c, const void* alpha, const void* beta) {
  using Type = typename Shape::Type;
  using Tile = typename Shape::Tile;
  constexpr const OperationRecord& op = operation_record<Type, Tile>;
  constexpr int element = sizeof(typename Type::Element);
  constexpr int nc = ladder_b_bytes / ladder_depth / element / Tile::copies;
  const bool beta_is_zero = is_zero<Type>(beta);
  if (a.cols == 0 || is_zero<Type>(alpha)) {
    return op.scale(c, beta);
  }
  if (c.rows < 4 || a.cols < 8 || c.cols < 8) return op.simple_loops(a, b, c, alpha, beta);
  const auto multiply = [&](int columns, bool long_form) QSL_INLINE_LAMBDA {
    blocked_product(op, ladder_blocks(c.rows, c.cols, a.cols, op, columns, long_form), a, b, c,
                    alpha, beta, beta_is_zero);
  };
  switch (ladder_order(c.rows, c.cols, a.cols)) {
    case LadderOrder::whole:
      return multiply(c.cols, true);
    case LadderOrder::left_inside:
      return multiply(nc, false);
    case LadderOrder::right_inside:
      return multiply(op.tile.nr, false);
    case LadderOrder::transposed:
      break;
  }
  // One buffer serves all panels.
  if (!beta_is_zero) op.scale(c, beta);
  const BlockRecord block = ladder_blocks(c.rows, ladder_panel, a.cols, op, nc, false);
  const PackBuffer buffer(block);
  if (!buffer.is_had()) {
    report_no_buffer(op.name);
    return op.simple_loops(a, b, c, alpha, beta_is_zero ? beta : op.one);
  }
  for (int j = 0; j < c.cols; j += ladder_panel) {
    const int columns = least(c.cols - j, ladder_panel);
    blocked_loops(op, block, buffer, a, columns_of(b, j, columns), columns_of(c, j, columns), alpha,
                  beta_is_zero);
  }
}

// The product of a level: Type and Tile are its shape.
template <class Shape>
struct LadderGemm {
  using Element = typename Shape::Type::Element;

  QSL_INLINE static void multiply(int transa, int transb, int m, int n, int k, const Element* alpha,
                                  const Element* a, int lda, const Element* b, int ldb,
                                  const Element* beta, Element* c, int ldc) {
    constexpr int size = sizeof(Element);
    ladder_product<Shape>(describe(a, m, k, lda, transa, size),
                          describe(b, k, n, ldb, transb, size), describe(c, m, n, ldc, 0, size),
                          alpha, beta);
  }
};

}  // namespace qsl::QSL_LEVEL
