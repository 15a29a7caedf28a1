// Small matrices in a buffer on the stack: columns start `stride` elements apart and are padded
// with zeros to whole registers, so that every access is a whole, aligned register.
#pragma once

#include "elements/in_registers.h"
#include "elements/rest.h"

namespace qsl::QSL_LEVEL {

template <class Elements>
inline constexpr int rows_of_register = Elements::Vector::lanes / Elements::parts;

// Registers that `rows` elements take.
template <class Elements>
constexpr int registers_for(int rows) {
  constexpr int in_one = rows_of_register<Elements>;
  return (rows + in_one - 1) / in_one;
}

// A column of `rows` elements to the buffer, and back.
template <class Elements>
QSL_INLINE void copy_to_buffer(int rows, const double* from, double* to) {
  using Vector = typename Elements::Vector;
  int count = rows * Elements::parts;
  for (; count >= Vector::lanes; count -= Vector::lanes) {
    Vector::load(from).store_aligned(to);
    from += Vector::lanes;
    to += Vector::lanes;
  }
  if constexpr (has_rest<Elements>) {
    if (count > 0) Vector{load_rest<Elements>(from, count).v}.store_aligned(to);
  }
}
template <class Elements>
QSL_INLINE void copy_from_buffer(int rows, const double* from, double* to) {
  using Vector = typename Elements::Vector;
  int count = rows * Elements::parts;
  for (; count >= Vector::lanes; count -= Vector::lanes) {
    Vector::load_aligned(from).store(to);
    from += Vector::lanes;
    to += Vector::lanes;
  }
  if constexpr (has_rest<Elements>) {
    if (count > 0) store_rest<Elements>(to, Vector::load_aligned(from), count);
  }
}

// From lane `first` on x, before it y.
template <int first, class Vector>
QSL_INLINE Vector from_lane(Vector x, Vector y) {
  if constexpr (first == 0) {
    return x;
  } else {
    return first_then<first>(y, x);
  }
}

// Up to lane `end` x, from there on y.
template <int end, class Vector>
QSL_INLINE Vector up_to_lane(Vector x, Vector y) {
  if constexpr (end == Vector::lanes) {
    return x;
  } else {
    return first_then<end>(x, y);
  }
}

// The elements in the narrowest registers, for columns of so few rows that they hold them.
template <class Elements, int rows,
          bool narrow = (rows * Elements::parts <= Elements::Narrow::lanes)>
struct Fitting {
  using Registers = Elements;
};
template <class Elements, int rows>
struct Fitting<Elements, rows, true> {
  using Registers = InRegisters<typename Elements::Type, typename Elements::Narrow>;
};
template <class Elements, int rows>
using FittingRows = typename Fitting<Elements, rows>::Registers;

}  // namespace qsl::QSL_LEVEL
