// One pass over contiguous elements, in place.
#pragma once

#include "elements/in_registers.h"

namespace qsl::QSL_LEVEL {

// x[i] := body(x[i]) for n elements, a register at a time.
template <class Elements, class Body>
QSL_INLINE void for_each_register(int n, double* x, const Body& body) {
  using Vector = typename Elements::Vector;
  using Narrow = typename Elements::Narrow;
  int count = n * Elements::parts;
  for (; count >= Vector::lanes; count -= Vector::lanes) {
    body(Vector::load(x)).store(x);
    x += Vector::lanes;
  }
  if constexpr (Vector::lanes > Narrow::lanes) {
    for (; count >= Narrow::lanes; count -= Narrow::lanes) {
      body(Narrow::load(x)).store(x);
      x += Narrow::lanes;
    }
  }
  if constexpr (Narrow::lanes > Elements::parts) {
    if (count > 0) Elements::store_one(x, body(Elements::load_one(x)));
  }
}

}  // namespace qsl::QSL_LEVEL
