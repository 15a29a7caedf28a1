// The register tiles of the small path: operands where they lie, alpha and beta at the end.
//
// Sizes and strides count in scalars; see tile.h for how a complex product becomes a real one.
#pragma once

#include "blas/level3/kernels/some_rows.h"
#include "blas/level3/kernels/write_back.h"
#include "elements/apply_factor.h"

namespace qsl::QSL_LEVEL {

// The register that holds rows, and the tile of most rows in registers by real columns.
template <class Vector_, int vectors_, int columns_>
struct SmallShape {
  using Vector = Vector_;
  static constexpr int vectors = vectors_;
  static constexpr int columns = columns_;
};

// What happens to C: C := result + 0, which has the sign of a zero as if zeros had been stored
// before, C := result + C or C := result + beta * C.
enum class Update { store, add, scale };

// The whole product.
template <class Type>
struct SmallProduct {
  using Scalar = typename Type::Scalar;

  int m, n, k;  // in elements
  const Scalar* a;
  int a_row, a_k;  // from row to row, and from k to k
  const Scalar* b;
  int b_k, b_column;
  Scalar* c;
  int ldc;
  const Scalar* alpha;
  const Scalar* beta;
  Update update;
  bool a_plain, conjugate_a, conjugate_b;
};

// One strip of rows by some columns, over a part of k.
template <class Type>
struct SmallBlock {
  int depth;
  const typename Type::Scalar* a;
  int a_k;
  const typename Type::Scalar* b;
  typename Type::Scalar* c;
  int columns;  // in elements
  Update update;
};

// One k. `fourth` is where the columns from the fourth element on start.
template <class Type, class Vector, int V, int N, class Rows>
QSL_INLINE void small_step(const typename Type::Scalar* a, const typename Type::Scalar* b,
                           const typename Type::Scalar* fourth, int b_column, Rows rows,
                           Sums<Vector, V, N>& sums) {
  const auto value_at = [&](auto j) QSL_INLINE_LAMBDA {
    constexpr int element = j.value / Type::parts;
    constexpr int part = j.value % Type::parts;
    return Vector::broadcast_from(
        (element < 3 ? b + element * b_column : fourth + (element - 3) * b_column) + part);
  };
  // The first register of rows is loaded once, the others are operands of every multiply-add: with
  // six sums and a value of B, that is all eight registers.
  Vector first = V == 1 ? load_rows<Vector>(a, rows) : Vector::load(a);
  keep_vector(first);
  unroll<N>([&](auto j) QSL_INLINE_LAMBDA {
    const Vector value = value_at(j);
    sums.at[0][j.value] = mul_add(first, value, sums.at[0][j.value]);
    unroll<V - 1>([&](auto v) QSL_INLINE_LAMBDA {
      add_product(sums.at[v.value + 1][j.value], a + (v.value + 1) * Vector::lanes, value);
    });
  });
}

template <class Type, class Vector, int V, int N, class Rows>
QSL_INLINE void small_sums(const SmallBlock<Type>& block, const typename Type::Scalar* b, int b_k,
                           int b_column, Rows rows, Sums<Vector, V, N>& sums) {
  sums.clear();
  const auto* a = block.a;
  const int a_k = block.a_k;
  const auto* fourth = b + 3 * b_column;
  for (int depth = block.depth; depth > 0; depth--) {
    keep(depth);
    small_step<Type>(a, b, fourth, b_column, rows, sums);
    a += a_k;
    b += b_k;
    if constexpr (N / Type::parts > 3) fourth += b_k;
  }
}

// alpha * sum, the sum being column j of a tile's vector v.
template <class Type, class Vector, int V, int N>
QSL_INLINE Vector small_result(const SmallProduct<Type>& p, const Sums<Vector, V, N>& sums, int v,
                               int j) {
  if constexpr (Type::parts == 1) {
    return sums.at[v][j] * Vector::broadcast_from(p.alpha);
  } else {
    Vector by_imaginary = sums.at[v][2 * j + 1];
    // conj(a) * b = conj(a * conj(b))
    if (p.conjugate_a != p.conjugate_b) by_imaginary = negate_odd(negate_even(by_imaginary));
    Vector sum = complex_sum(sums.at[v][2 * j], by_imaginary);
    if (p.conjugate_a) sum = negate_odd(sum);
    return is_one<Type>(p.alpha) ? sum : product<Type>(sum, Vector::broadcast_pair(p.alpha));
  }
}

template <class Type>
QSL_INLINE Update update_by(const typename Type::Scalar* beta) {
  if (is_zero<Type>(beta)) return Update::store;
  return is_one<Type>(beta) ? Update::add : Update::scale;
}

template <class Type, class Vector>
QSL_INLINE Vector updated(Vector result, Vector c, const typename Type::Scalar* beta,
                          Update update) {
  if (update == Update::add) return result + c;
  if constexpr (Type::parts == 1) {
    return mul_add(c, Vector::broadcast_from(beta), result);
  } else {
    return result + product<Type>(c, Vector::broadcast_pair(beta));
  }
}

template <class Type, class Vector, int V, int N, class Rows>
QSL_INLINE void small_tile(const SmallProduct<Type>& p, const SmallBlock<Type>& block,
                           const typename Type::Scalar* b, typename Type::Scalar* c, Rows rows) {
  Sums<Vector, V, N> sums;
  small_sums<Type>(block, b, p.b_k, p.b_column, rows, sums);
  const Update update = block.update;
  unroll<N / Type::parts>([&](auto j) QSL_INLINE_LAMBDA {
    unroll<V>([&](auto v) QSL_INLINE_LAMBDA {
      typename Type::Scalar* to = c + j.value * p.ldc + v.value * Vector::lanes;
      Vector result = small_result<Type>(p, sums, v.value, j.value);
      if constexpr (v.value + 1 < V) {
        if (update == Update::store) {
          result = result + Vector::zero();
        } else {
          result = updated<Type>(result, Vector::load(to), p.beta, update);
        }
        result.store(to);
      } else {
        if (update == Update::store) {
          result = result + Vector::zero();
        } else {
          result = updated<Type>(result, load_rows<Vector>(to, rows), p.beta, update);
        }
        store_rows(result, to, rows);
      }
    });
  });
}

// All columns of a block for one strip of V registers of rows; `rows` says how many scalars of the
// last one count: an Index, or an int where registers have masks.
template <class Type, class Vector, int V, int N, class Rows>
[[gnu::noinline]] void small_strip(const SmallProduct<Type>& p, const SmallBlock<Type>& block,
                                   Rows rows) {
  constexpr int elements = N / Type::parts;
  const auto* b = block.b;
  auto* c = block.c;
  int columns = block.columns;
  for (; columns >= elements; columns -= elements) {
    small_tile<Type, Vector, V, N>(p, block, b, c, rows);
    b += elements * p.b_column;
    c += elements * p.ldc;
  }
  // (By value: what a lambda refers to would leave the loop's registers, for 3 % of a product of
  // order 4 to 16.)
  at_index_from_last<0, elements - 1>(
      columns, [&p, &block, b, c, rows](auto left) QSL_INLINE_LAMBDA {
        if constexpr (left.value > 0) {
          small_tile<Type, Vector, V, left.value * Type::parts>(p, block, b, c, rows);
        }
      });
}

}  // namespace qsl::QSL_LEVEL
