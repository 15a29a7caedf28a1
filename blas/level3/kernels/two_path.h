// The matrix product of levels avx2 and avx512: small path or blocked path.
#pragma once

#include "blas/level3/kernels/blocked.h"
#include "blas/level3/kernels/operation.h"
#include "blas/level3/kernels/small.h"

namespace qsl::QSL_LEVEL {

// The sizes below which a product takes the small path, by whether A is plain.
struct PathLimits {
  int plain_a, transposed_a;
};

enum class Path { small, blocked };

QSL_INLINE Path path_by_size(bool a_plain, int m, int n, const PathLimits& limits) {
  const int limit = a_plain ? limits.plain_a : limits.transposed_a;
  return m < limit || n < limit ? Path::small : Path::blocked;
}

// (Every limit, and the two orders 9 and 12, decide bits that callers may count on: not for
// tuning.)
QSL_INLINE Path choose_path(bool a_plain, int m, int n, int k, bool alpha_is_zero,
                            bool beta_is_zero, const PathLimits& limits) {
  if (m == k && (m == 9 || m == 12) && beta_is_zero) return Path::small;
  if (alpha_is_zero) return Path::blocked;
  if (k > 128) return path_by_size(a_plain, m, n, limits);
  // (m * n) / (m + n) < 11, without the division.
  const auto rows = static_cast<unsigned>(m);
  const auto columns = static_cast<unsigned>(n);
  if (static_cast<unsigned long long>(rows) * columns < 11ull * (rows + columns)) {
    return m > 100 && (n > 10 || k > 10) ? Path::blocked : Path::small;
  }
  if (k > 6 || m > 40 || n > 40) return path_by_size(a_plain, m, n, limits);
  return Path::small;
}

template <class Shape>
[[gnu::noinline]] void blocked_gemm(int transa, int transb, int m, int n, int k, const void* alpha,
                                    const void* a, int lda, const void* b, int ldb,
                                    const void* beta, void* c, int ldc) {
  using Type = typename Shape::Type;
  constexpr const OperationRecord& op = operation_record<Type, typename Shape::Tile>;
  constexpr int size = sizeof(typename Type::Element);
  const MatrixDescriptor a_matrix = describe(a, m, k, lda, transa, size);
  const MatrixDescriptor b_matrix = describe(b, k, n, ldb, transb, size);
  const MatrixDescriptor c_matrix = describe(c, m, n, ldc, 0, size);
  if (k == 0 || is_zero<Type>(alpha)) {
    return op.scale(c_matrix, beta);
  }
  const bool simple = transa != 0 && transb == 0 ? m < 8 : n < 2;
  if (simple) return op.simple_loops(a_matrix, b_matrix, c_matrix, alpha, beta);
  blocked_product(op, size_blocks(m, n, k, Shape::depth(k, op.tile.ku), op, Shape::blocks),
                  a_matrix, b_matrix, c_matrix, alpha, beta, is_zero<Type>(beta));
}

// The product of a level: Type, Tile, Small, HalvedDepth depth, BlockNumbers blocks and PathLimits
// limits are its shape.
template <class Shape>
struct TwoPathGemm {
  using Type = typename Shape::Type;
  using Element = typename Type::Element;

  QSL_INLINE static void multiply(int transa, int transb, int m, int n, int k, const Element* alpha,
                                  const Element* a, int lda, const Element* b, int ldb,
                                  const Element* beta, Element* c, int ldc) {
    const bool alpha_is_zero = is_zero<Type>(alpha);
    const Path path =
        choose_path(transa == 0, m, n, k, alpha_is_zero, is_zero<Type>(beta), Shape::limits);
    if (path == Path::small && !alpha_is_zero && k > 0) {
      return small_product<Type, typename Shape::Small>(transa, transb, m, n, k, scalars(alpha),
                                                        scalars(a), lda, scalars(b), ldb,
                                                        scalars(beta), scalars(c), ldc);
    }
    blocked_gemm<Shape>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  }
};

}  // namespace qsl::QSL_LEVEL
