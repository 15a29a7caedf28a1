// C := beta * C, the first step of every driver. Zero is stored, not multiplied with: NaN and
// infinity in C do not survive it.
#pragma once

#include "blas/level3/kernels/pack.h"

namespace qsl::QSL_LEVEL {

// f(unit-wise register, place) over one column of `rows` elements.
template <class Type, class Body>
QSL_INLINE void for_column(typename Type::Scalar* c, int rows, const Body& body) {
  using Wide = RegisterOf<Type, widest<Type>>;
  int i = 0;
  for (; i + widest<Type> <= rows; i += widest<Type>) body(c + i * Type::parts, Wide::zero());
  for (; i < rows; i++) body(c + i * Type::parts, Unit<Type>::zero());
}

template <class Type>
void scale_matrix(const MatrixDescriptor& c, const void* beta) {
  using Scalar = typename Type::Scalar;
  const auto* factor = static_cast<const Scalar*>(beta);
  if (is_one<Type>(factor)) return;
  const bool zero = is_zero<Type>(factor);
  with_factor<Type>({beta, false}, [&](const auto& applied) QSL_INLINE_LAMBDA {
    for (int j = 0; j < c.cols; j++) {
      auto* column = reinterpret_cast<Scalar*>(c.at(0, j));
      if (zero) {
        for_column<Type>(column, c.rows,
                         [](Scalar* at, auto nothing) QSL_INLINE_LAMBDA { nothing.store(at); });
      } else {
        for_column<Type>(column, c.rows, [&](Scalar* at, auto nothing) QSL_INLINE_LAMBDA {
          applied.apply(decltype(nothing)::load(at)).store(at);
        });
      }
    }
  });
}

}  // namespace qsl::QSL_LEVEL
