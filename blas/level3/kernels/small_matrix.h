// Small matrices in a buffer on the stack: columns start `stride` elements apart and are padded
// with zeros to whole registers, so that every access is a whole, aligned register.
//
// The steps of an elimination come in two forms with the same names: a fixed one, whose sizes the
// compiler knows, for straight-line code, and one that loops.
#pragma once

#include "blas/level2/kernels/elements.h"
#include "blas/level2/kernels/rest.h"

namespace qsl::QSL_LEVEL {

template <class Elements>
inline constexpr int rows_of_register = Elements::Vector::lanes / Elements::unit;

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
  int count = rows * Elements::unit;
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
  int count = rows * Elements::unit;
  for (; count >= Vector::lanes; count -= Vector::lanes) {
    Vector::load_aligned(from).store(to);
    from += Vector::lanes;
    to += Vector::lanes;
  }
  if constexpr (has_rest<Elements>) {
    if (count > 0) store_rest<Elements>(to, Vector::load_aligned(from), count);
  }
}

// Row k of an elimination in a matrix of n columns of `registers` registers. Its row is number
// `place` of its register.
template <int k_, int n, int registers, int register_rows>
struct FixedStep {
  static constexpr int place = k_ % register_rows;

  QSL_INLINE int k() const { return k_; }
  // The register that row k is in.
  QSL_INLINE int own() const { return k_ / register_rows; }
  QSL_INLINE bool is_last_row() const { return k_ + 1 == n; }
  QSL_INLINE bool is_last_column() const { return k_ + 1 == n; }
  template <class Body>
  QSL_INLINE void earlier_columns(const Body& body) const {
    unroll<k_>([&](auto c) QSL_INLINE_LAMBDA { body(c.value); });
  }
  // From column k + `after` on.
  template <int after, class Body>
  QSL_INLINE void later_columns(const Body& body) const {
    unroll<n - k_ - after>([&](auto c) QSL_INLINE_LAMBDA { body(k_ + after + c.value); });
  }
  template <class Body>
  QSL_INLINE void later_registers(const Body& body) const {
    constexpr int first = k_ / register_rows + 1;
    unroll<registers - first>([&](auto i) QSL_INLINE_LAMBDA { body(first + i.value); });
  }
};

// The same with a number of columns that is known at run time only; m <= the rows of the registers.
template <int k_, int registers, int register_rows>
struct RowStep {
  static constexpr int place = k_ % register_rows;
  int m, n;

  QSL_INLINE int k() const { return k_; }
  QSL_INLINE int own() const { return k_ / register_rows; }
  QSL_INLINE bool is_last_row() const { return k_ + 1 == m; }
  QSL_INLINE bool is_last_column() const { return k_ + 1 == n; }
  template <class Body>
  QSL_INLINE void earlier_columns(const Body& body) const {
    for (int c = 0; c < k_; c++) body(c);
  }
  template <int after, class Body>
  QSL_INLINE void later_columns(const Body& body) const {
    for (int c = k_ + after; c < n; c++) body(c);
  }
  template <class Body>
  QSL_INLINE void later_registers(const Body& body) const {
    constexpr int first = k_ / register_rows + 1;
    unroll<registers - first>([&](auto i) QSL_INLINE_LAMBDA { body(first + i.value); });
  }
};

template <int place_>
struct LoopStep {
  static constexpr int place = place_;
  int k_, own_, m, n, registers;

  QSL_INLINE int k() const { return k_; }
  QSL_INLINE int own() const { return own_; }
  QSL_INLINE bool is_last_row() const { return k_ + 1 == m; }
  QSL_INLINE bool is_last_column() const { return k_ + 1 == n; }
  template <class Body>
  QSL_INLINE void earlier_columns(const Body& body) const {
    for (int c = 0; c < k_; c++) body(c);
  }
  template <int after, class Body>
  QSL_INLINE void later_columns(const Body& body) const {
    for (int c = k_ + after; c < n; c++) body(c);
  }
  template <class Body>
  QSL_INLINE void later_registers(const Body& body) const {
    for (int i = own_ + 1; i < registers; i++) body(i);
  }
};

// body(step) for the rows of a square matrix, or of one of m by n.
template <class Elements, int n, class Body>
QSL_INLINE void fixed_steps(const Body& body) {
  constexpr int rows = rows_of_register<Elements>;
  unroll<n>([&](auto k) QSL_INLINE_LAMBDA {
    body(FixedStep<k.value, n, registers_for<Elements>(n), rows>{});
  });
}
template <class Elements, int registers, class Body>
QSL_INLINE void row_steps(int m, int n, const Body& body) {
  constexpr int rows = rows_of_register<Elements>;
  const int steps = m < n ? m : n;
  unroll<registers * rows>([&](auto k) QSL_INLINE_LAMBDA {
    if (k.value < steps) body(RowStep<k.value, registers, rows>{m, n});
  });
}
template <class Elements, class Body>
QSL_INLINE void loop_steps(int m, int n, const Body& body) {
  constexpr int rows = rows_of_register<Elements>;
  const int steps = m < n ? m : n;
  const int registers = registers_for<Elements>(m);
  for (int own = 0; own < registers; own++) {
    unroll<rows>([&](auto place) QSL_INLINE_LAMBDA {
      const int k = own * rows + place.value;
      if (k < steps) body(LoopStep<place.value>{k, own, m, n, registers});
    });
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
template <class Elements, bool narrow>
struct Fitting {
  using Type = Elements;
};
template <class Vector>
struct Fitting<RealElements<Vector>, true> {
  using Type = RealElements<f64x2>;
};
template <class Vector>
struct Fitting<ComplexElements<Vector>, true> {
  using Type = ComplexElements<f64x2>;
};
template <class Elements, int rows>
using FittingRows =
    typename Fitting<Elements, (rows * Elements::unit <= Elements::Narrow::lanes)>::Type;

}  // namespace qsl::QSL_LEVEL
