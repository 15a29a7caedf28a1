// The end of a column: fewer lanes than a register has.
#pragma once

#include "simd/inline.h"

namespace qsl::QSL_LEVEL {

// Whether columns may end within a register.
template <class Elements>
inline constexpr bool has_rest = Elements::Vector::lanes > Elements::parts;

// The first k lanes, those of whole elements, 0 < k < lanes; the others are neither read nor
// written.
template <class Elements>
QSL_INLINE auto load_rest(const typename Elements::Scalar* p, int k) {
  using Vector = typename Elements::Vector;
  if constexpr (Vector::bytes == 16) {
    return Elements::load_one(p);
  } else {
    return Vector::load_rest(p, k);
  }
}
// 256 bits by halves: a masked store takes a dozen cycles on some processors (a rank-one update of
// three rows on one of them: twice the time).
template <class Elements, class Vector>
QSL_INLINE void store_rest(typename Elements::Scalar* p, Vector x, int k) {
  if constexpr (Vector::bytes == 16) {
    Elements::store_one(p, x);
  } else if constexpr (Vector::bytes == 32) {
    auto rest = lower_half(x);
    constexpr int half = rest.lanes;
    if (k >= half) {
      rest.store(p);
      if (k == half) return;
      rest = upper_half(x);
      p += half;
    }
    store_rest<Elements>(p, rest, k);
  } else {
    x.store_rest(p, k);
  }
}

}  // namespace qsl::QSL_LEVEL
