// The matrix product by its definition, column by column: no workspace, no tiles. For shapes too
// small for blocks, and for calls that get no buffer.
//
// With a plain A a column of C gathers alpha * b times the columns of A; otherwise each element of
// C is a sum along the contiguous columns of A, multiplied by alpha at the end. Both add in the
// order of k. An alpha of one is left out; alpha * b takes part as it is, one or not.
#pragma once

#include "blas/level3/kernels/scale.h"
#include "elements/product.h"

namespace qsl::QSL_LEVEL {

// Element (row, col) of op(X), conjugated if op says so.
template <class Type>
QSL_INLINE Unit<Type> element(const MatrixDescriptor& x, int row, int col) {
  const auto value =
      Unit<Type>::load(reinterpret_cast<const typename Type::Scalar*>(x.at(row, col)));
  return x.flags & conjugate_transposed ? conjugate<Type>(value) : value;
}

// C(:, j) += alpha * op(B)(k, j) * A(:, k)
template <class Type>
QSL_INLINE void add_columns(const MatrixDescriptor& a, const MatrixDescriptor& b,
                            typename Type::Scalar* column, int j, const Scaling& alpha) {
  using Scalar = typename Type::Scalar;
  for (int k = 0; k < a.cols; k++) {
    Scalar value[2];
    with_factor<Type>(alpha, [&](const auto& by_alpha) QSL_INLINE_LAMBDA {
      by_alpha.apply(element<Type>(b, k, j)).store(value);
    });
    const auto factor = element_as_factor<Type>(value);
    const char* from = a.at(0, k);
    for_column<Type>(column, a.rows, [&](Scalar* at, auto nothing) QSL_INLINE_LAMBDA {
      using Vector = decltype(nothing);
      const auto x =
          Vector::load(reinterpret_cast<const Scalar*>(from + ((char*)at - (char*)column)));
      (Vector::load(at) + factor.apply(x)).store(at);
    });
  }
}

// C(:, j) += alpha * sum over k of op(A)(:, k) * op(B)(k, j)
template <class Type>
QSL_INLINE void add_sums(const MatrixDescriptor& a, const MatrixDescriptor& b,
                         typename Type::Scalar* column, int j, const Scaling& alpha) {
  for (int i = 0; i < a.rows; i++) {
    Unit<Type> sum = Unit<Type>::zero();
    for (int k = 0; k < a.cols; k++) {
      sum = sum + product<Type>(element<Type>(a, i, k), element<Type>(b, k, j));
    }
    typename Type::Scalar* at = column + i * Type::parts;
    with_factor<Type>(alpha, [&](const auto& by_alpha) QSL_INLINE_LAMBDA {
      (Unit<Type>::load(at) + by_alpha.apply(sum)).store(at);
    });
  }
}

// C := alpha * op(A) * op(B) + beta * C: OperationRecord::SimpleLoops.
template <class Type>
void simple_loops(const MatrixDescriptor& a, const MatrixDescriptor& b, const MatrixDescriptor& c,
                  const void* alpha, const void* beta) {
  using Scalar = typename Type::Scalar;
  scale_matrix<Type>(c, beta);
  if (is_zero<Type>(alpha)) return;
  const Scaling scaling = {alpha, false};
  for (int j = 0; j < c.cols; j++) {
    auto* column = reinterpret_cast<Scalar*>(c.at(0, j));
    if (a.is_plain()) {
      add_columns<Type>(a, b, column, j, scaling);
    } else {
      add_sums<Type>(a, b, column, j, scaling);
    }
  }
}

}  // namespace qsl::QSL_LEVEL
