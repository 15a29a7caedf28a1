// A routine's factors, alpha and beta: what they ask for, and a copy of one.
#pragma once

#include "elements/number_bits.h"
#include "elements/unit.h"

namespace qsl::QSL_LEVEL {

template <class Type>
QSL_INLINE bool is_zero(const void* factor) {
  return qsl::is_zero(static_cast<const typename Type::Element*>(factor));
}
template <class Type>
QSL_INLINE bool is_one(const void* factor) {
  return qsl::is_one(static_cast<const typename Type::Element*>(factor));
}

// Nothing of what stood there, what stood there as it is, or a product.
enum class FactorKind { zero, one, general };

template <class Type>
QSL_INLINE FactorKind kind_of(const void* factor) {
  if (is_zero<Type>(factor)) return FactorKind::zero;
  return is_one<Type>(factor) ? FactorKind::one : FactorKind::general;
}

// A factor, copied by vector registers: read before anything is written, wherever it lies.
template <class Type>
struct FactorCopy {
  typename Type::Scalar parts[Type::parts];

  QSL_INLINE explicit FactorCopy(const void* factor) {
    Unit<Type>::load(static_cast<const typename Type::Scalar*>(factor)).store(parts);
  }
  QSL_INLINE FactorKind kind() const { return kind_of<Type>(parts); }
};

}  // namespace qsl::QSL_LEVEL
