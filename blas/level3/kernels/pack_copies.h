// Packing of B for levels without an instruction that broadcasts from memory: each value stands in
// the strip once for every lane, ready to be loaded as a register.
#pragma once

#include "blas/level3/kernels/pack.h"

namespace qsl::QSL_LEVEL {

// One element: its scalars, each in all lanes of a register.
template <class Type, class Vector>
QSL_INLINE void copy_to_lanes(const typename Type::Scalar* from, bool conjugate,
                              typename Type::Scalar* to) {
  Vector::broadcast_from(from).store_aligned(to);
  if constexpr (Type::parts == 2) {
    const Vector imaginary = Vector::broadcast_from(from + 1);
    (conjugate ? negate_odd(negate_even(imaginary)) : imaginary).store_aligned(to + Vector::lanes);
  }
}

// OperationRecord::Pack; the factor's value is not looked at.
template <class Type, int width, class Vector, bool along_k>
void pack_copies(const void* from_at, int ld, int count, int depth, const Scaling& scaling,
                 void* to_at) {
  using Scalar = typename Type::Scalar;
  const auto* from = static_cast<const Scalar*>(from_at);
  auto* to = static_cast<Scalar*>(to_at);
  ld *= Type::parts;
  const int k_step = along_k ? Type::parts : ld;
  const int column_step = along_k ? ld : Type::parts;
  for (; count > 0; count -= width) {
    const int columns = count < width ? count : width;
    for (int k = 0; k < depth; k++) {
      for (int j = 0; j < columns; j++) {
        copy_to_lanes<Type, Vector>(from + k * k_step + j * column_step, scaling.conjugate, to);
        to += Type::parts * Vector::lanes;
      }
    }
    from += width * column_step;
  }
}

}  // namespace qsl::QSL_LEVEL
